// Humidity recalculation of tau: vapour pressure, coefficient, rescale, driver and gate.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "libradimo.h"
#include "support/log_capture.h"
#include "tau_model.h"

using ::testing::ElementsAre;

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
    for (uint16_t version : {1, 2, 4}) EXPECT_EQ(vapour(version, 0.0f, 25.0f), 800.0f);
    EXPECT_EQ(vapour(1, 1.0f, 40.0f), 3000.0f);
    EXPECT_EQ(vapour(3, 1.0f, 40.0f), 4000.0f);
    EXPECT_NEAR(vapour(4, 1.0f, 40.0f), 7395.0f, 5.0f);  // about 7.4 kPa, unclamped
    const float at300 = static_cast<float>((std::pow(410.15 / 300.0, 4.0) - 1.0) * 0.01 - 0.04);
    EXPECT_EQ(coef(1, 300.0f), at300);
    EXPECT_EQ(coef(3, 300.0f), static_cast<float>(at300 * 0.3));
    EXPECT_EQ(coef(2, 300.0f), static_cast<float>(at300 * 0.6));
    EXPECT_EQ(coef(1, 273.0f), 0.0f);
    EXPECT_NEAR(coef(1, 410.15f), -0.04f, 1e-7);  // the branches meet
    EXPECT_NEAR(coef(1, 1273.15f), (std::pow(1273.15 / 410.15, 4.0) - 1.0) * -0.003 - 0.04, 1e-5);
    EXPECT_EQ(coef(1, 1273.2f), 0.0f);
    EXPECT_EQ(rescaled(1, 30.0f, 1425.0f), 12000);                        // reference vapour pressure
    EXPECT_EQ(rescaled(1, 1.0f, 3000.0f), 12000);                         // log2(1) = 0
    EXPECT_EQ(rescaled(1, 0.5f, 3000.0f), 12000);                         // raised to 1 m
    EXPECT_EQ(rescaled(2, 50.0f, 3000.0f), rescaled(2, 10.0f, 3000.0f));  // capped at 10 m
    EXPECT_LT(rescaled(1, 50.0f, 3000.0f), rescaled(1, 10.0f, 3000.0f));  // version 1 is not
    const double p = std::pow(static_cast<double>(3000.0f / 1425.0f), 1.4427 * std::log(8.0) * -0.03f);
    EXPECT_EQ(rescaled(1, 8.0f, 3000.0f), static_cast<int>(12000.0f * static_cast<float>(p)));
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(Humidity, HumidAirLowersATableTau) {
    const uint16_t tau = radimo::tau_model::to_q14(radimo::tau_model::transmittance(8.0, 0.5, 30.0));
    int previous = 70000;
    for (float hum : {0.2f, 0.4f, 0.6f, 0.8f, 1.0f}) {
        const env_correct_param_t scene{8.0f, 0.95f, hum, 30.0f, 30.0f};
        uint16_t out = 0;
        ASSERT_EQ(recalc_tau_with_hum_version(&scene, 1, tau, &out, 320.0f), RADIMO_SUCCESS);
        EXPECT_LE(out, previous) << hum;
        previous = out;
    }
    EXPECT_LT(previous, tau);
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
