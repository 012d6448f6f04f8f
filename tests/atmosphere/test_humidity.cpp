// Humidity recalculation of tau: vapour pressure, coefficient, rescale, driver and gate.
#include "support/prelude.h"

namespace {

float vapour(uint16_t version, float hum, float ta) {
    float e = -1.0f;
    EXPECT_EQ(calculate_vapor_pressure(version, &e, hum, ta), RADIMO_SUCCESS);
    return e;
}
float coef(uint16_t version, float t) {
    float c = -1.0f;
    EXPECT_EQ(calculate_coef(version, &c, t), RADIMO_SUCCESS);
    return c;
}
int rescaled(uint16_t version, float dist, float e) {
    uint16_t out = 0;
    EXPECT_EQ(recalc_tau(version, 12000, &out, dist, -0.03f, e), RADIMO_SUCCESS);
    return out;
}

class Humidity : public radimo::test::LoggedTest {};

TEST_F(Humidity, ComputingSteps) {
    // Vapour pressure: an 800 Pa floor for every version, caps of 3000 Pa (1) and 4000 Pa (2, 3).
    for (uint16_t version : {1, 2, 4}) EXPECT_EQ(vapour(version, 0.0f, 25.0f), 800.0f);
    EXPECT_THAT((std::vector<float>{vapour(1, 1.0f, 40.0f), vapour(3, 1.0f, 40.0f), vapour(4, 1.0f, 40.0f)}),
                ElementsAre(3000.0f, 4000.0f, 7394.90039f));
    // Coefficient: two branches meeting at 410.15 K, 0 outside 273.15 .. 1273.1501 K; version 2
    // scales by 0.6 and version 3 by 0.3, each in double precision.
    EXPECT_THAT((std::vector<float>{coef(1, 300.0f), coef(2, 300.0f), coef(3, 300.0f), coef(1, 273.0f),
                                    coef(1, 1273.15f), coef(1, 1273.2f)}),
                ElementsAre(-0.0150629813f, -0.00903778896f, -0.00451889448f, 0.0f, -0.315527916f, 0.0f));
    EXPECT_NEAR(coef(1, 410.15f), -0.04f, 1e-7);
    // Rescale: 1 at the reference vapour pressure and at 1 m (shorter distances are raised to
    // 1 m); versions 2 and 3 cap the distance at 10 m, version 1 does not.
    EXPECT_THAT(
        (std::vector<int>{rescaled(1, 30.0f, 1425.0f), rescaled(1, 1.0f, 3000.0f), rescaled(1, 0.5f, 3000.0f),
                          rescaled(1, 8.0f, 3000.0f), rescaled(1, 50.0f, 3000.0f),
                          rescaled(2, 50.0f, 3000.0f), rescaled(2, 10.0f, 3000.0f)}),
        ElementsAre(12000, 12000, 12000, 11222, 10578, 11141, 11141));
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(Humidity, GateAndFailureChain) {
    correct_table_t table{};
    const env_correct_param_t invalid{8.0f, 0.95f, 1.5f, 30.0f, 30.0f},
        scene{20.0f, 0.95f, 0.9f, 35.0f, 30.0f};
    uint16_t out = 0, direct = 0;
    ASSERT_EQ(recalc_tau_under_influence_of_hum(&table, &invalid, 12345, &out, 320.0f), RADIMO_SUCCESS);
    EXPECT_EQ(out, 12345);  // switch off: the invalid scene is not consulted
    table.hum_enable = 1;
    table.hum_version = 2;
    ASSERT_EQ(recalc_tau_under_influence_of_hum(&table, &scene, 12000, &out, 320.0f), RADIMO_SUCCESS);
    ASSERT_EQ(recalc_tau_with_hum_version(&scene, 2, 12000, &direct, 320.0f), RADIMO_SUCCESS);
    EXPECT_EQ(out, direct);
    EXPECT_EQ(recalc_tau_with_hum_version(&invalid, 1, 12000, &out, 320.0f), RADIMO_ERR_VAPOR_PRESSURE);
    log.clear();
    EXPECT_EQ(recalc_tau_under_influence_of_hum(&table, &invalid, 12000, &out, 320.0f),
              RADIMO_ERR_HUM_CORRECT);
    EXPECT_EQ(out, direct);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre(
            "src/temp_correct/calculate_vapor_pressure: x is invalid\n",
            "src/temp_correct/recalc_tau_with_hum_version: calculate_vapor_pressure failed\n",
            "src/temp_correct/recalc_tau_under_influence_of_hum: recalc_tau_with_hum_version failed\n"));
    log.clear();
    EXPECT_EQ(calculate_vapor_pressure(1, nullptr, 0.5f, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_coef(1, nullptr, 300.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(recalc_tau(1, 100, nullptr, 2.0f, 0.1f, 900.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(recalc_tau_with_hum_version(nullptr, 1, 100, &out, 300.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(recalc_tau_under_influence_of_hum(nullptr, &scene, 100, &out, 300.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(log.error_texts(), std::vector<std::string>(5, "data is NULL\n"));
}

}  // namespace

namespace {

// Wetter air transmits less: both through the humidity classes of a table
// filled from the two-band model and through the recalculation of a tau.
TEST(HumidityProperty, WetterAirLowersTau) {
    const std::vector<uint16_t> env = radimo::test::env_table();
    const uint16_t reference = radimo::tau_model::to_q14(radimo::tau_model::transmittance(8.0, 0.5, 30.0));
    int previous_read = 1 << 20, previous_recalc = 1 << 20;
    for (float hum : {0.1f, 0.4f, 0.6f, 0.9f}) {  // one humidity per class
        uint16_t read = 0, recalc = 0;
        ASSERT_EQ(read_tau(env.data(), &read, hum, 23.0f, 8.0f), RADIMO_SUCCESS);
        const env_correct_param_t scene{8.0f, 0.95f, hum, 30.0f, 30.0f};
        ASSERT_EQ(recalc_tau_with_hum_version(&scene, 1, reference, &recalc, 320.0f), RADIMO_SUCCESS);
        EXPECT_LT(read, previous_read) << hum;
        EXPECT_LE(recalc, previous_recalc) << hum;
        previous_read = read;
        previous_recalc = recalc;
    }
    EXPECT_LT(previous_recalc, reference);
}

}  // namespace
