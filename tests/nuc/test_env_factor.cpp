// Environment factors: the KE/BE calculators in their unit systems, the float
// scene on realistic tau tables, applying and removing a factor.
#include "support/prelude.h"
#include "tau_model.h"

namespace {

namespace model = radimo::tau_model;
using radimo::test::dip_table;
using radimo::test::Table;

constexpr nuc_factor_t kHigh = radimo::test::kHighGain;
constexpr env_factor_t kUntouched{0xDEAD, -7};
constexpr env_param_t kPerfectOrg{128, 128, 300, 300};
constexpr nuc_factor_t kHalfPerKelvin{0, 1 << 19, 0};

enum Kind { kOrgFactor, kNewFactor, kOrgTable, kNewTable };

class EnvFactor : public radimo::test::LoggedTest {
protected:
    // In the kind's own units: Q7 and kelvin (org) or Q14 and 1/16 K (new).
    int call(Kind k, env_param_t p, int gain = 1, const Table *table = nullptr) {
        out = kUntouched;
        const uint16_t *t = (table ? table : &nuc)->data();
        return k == kOrgFactor   ? calculate_KE_and_BE(&p, &kHigh, gain, &out)
               : k == kNewFactor ? calculate_new_KE_and_BE(&p, &kHigh, gain, &out)
               : k == kOrgTable  ? calculate_org_KE_and_BE_with_nuc_t(&p, t, gain, &out)
                                 : calculate_new_KE_and_BE_with_nuc_t(&p, t, gain, &out);
    }
    // A scene in physical units: ems and tau as fractions, ta and tu in degC.
    env_factor_t of(Kind k, double ems, double tau, double ta, double tu) {
        const bool org = k == kOrgFactor || k == kOrgTable;
        const auto q = [&](double v) { return static_cast<int32_t>(std::lround(v * (org ? 128 : 16384))); };
        const auto t = [&](double c) {
            return static_cast<int32_t>(std::lround((c + 273.15) * (org ? 1 : 16)));
        };
        EXPECT_EQ(call(k, {q(ems), q(tau), t(ta), t(tu)}), RADIMO_SUCCESS);
        return out;
    }
    int scene(env_correct_param_t s, const Table *tau_table = nullptr, const Table *nuc_table = nullptr) {
        out = kUntouched;
        return calc_env_factor_with_dist_and_env_temp(&s, (tau_table ? tau_table : &tau)->data(),
                                                      (nuc_table ? nuc_table : &nuc)->data(), &out);
    }
    Table nuc = radimo::test::high_gain_table(), tau = radimo::test::env_table();
    env_factor_t out{};
};

TEST_F(EnvFactor, PerfectSceneAndGainModes) {
    EXPECT_EQ(call(kOrgFactor, kPerfectOrg), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int64_t>{out.KE, out.BE}), ElementsAre(16383, 0));  // 16383 * 16384 numerator
    for (Kind k : {kNewFactor, kOrgTable, kNewTable})
        EXPECT_THAT((std::vector<int64_t>{of(k, 1, 1, 20, 40).KE, out.BE}), ElementsAre(16384, 0)) << k;
    const Table clear(model::kEnvTableSize, 16384);
    log.clear();
    ASSERT_EQ(scene({10.0f, 1.0f, 0.5f, 25.0f, 40.0f}, &clear), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int64_t>{out.KE, out.BE}), ElementsAre(16384, 0));
    EXPECT_EQ(log.debug_texts()[0], "quant_ems=16384\n");
    EXPECT_EQ(log.debugs()[1].where_what(),
              "src/temp_correct/calc_env_factor_with_dist_and_env_temp: "
              "hum=0.500000,ta=25.000000,dist=10.000000\n");
    // The NUC values of Ta and Tu round the Q20 sum: 0.5 NUC per kelvin gives 151 at 301 K, not
    // 150, and BE = 151 + 2 * 151 at half emissivity and transmittance.
    const env_param_t half{64, 64, 301, 301};
    ASSERT_EQ(calculate_KE_and_BE(&half, &kHalfPerKelvin, 1, &out), RADIMO_SUCCESS);
    EXPECT_EQ(out.BE, 453);
    // Only the low 8 bits select the gain; 2 (or 0x102) checks no range at all.
    EXPECT_EQ(call(kOrgFactor, {100, 100, 5, 5000}, 0x102), RADIMO_SUCCESS);
    EXPECT_EQ(call(kNewFactor, {9000, 9000, -70000, 1 << 30}, 2), RADIMO_SUCCESS);  // wraps, no UB
    EXPECT_EQ(call(kOrgFactor, {100, 100, 500, 300}, 0x100), RADIMO_SUCCESS);
}

TEST_F(EnvFactor, ChecksInOrderWriteNothing) {
    const auto fails = [&](Kind k, env_param_t p, int gain = 1) {
        EXPECT_EQ(call(k, p, gain), RADIMO_ERR_PARAM);
        return out.KE == kUntouched.KE;
    };
    EXPECT_TRUE(fails(kOrgFactor, {0, 129, 0, 0}) && fails(kOrgTable, {129, 128, 300, 300}) &&
                fails(kOrgFactor, {128, 129, 0, 0}) && fails(kOrgTable, {64, 64, 229, 300}) &&
                fails(kOrgFactor, {64, 64, 300, 431}, 0x101) && fails(kOrgTable, {64, 64, 300, 874}, 0) &&
                fails(kOrgFactor, {-(1 << 25), 128, 300, 300}) &&  // ems * tau wraps to 0
                fails(kNewFactor, {-1, 1, 4800, 4800}) && fails(kNewTable, {16384, 0, 4800, 4800}) &&
                fails(kNewFactor, {1, 16384, 3679, 4800}) && fails(kNewTable, {1, 1, 4800, 13969}, 0));
    const Table opaque(model::kEnvTableSize, 0), dip = dip_table();
    const env_correct_param_t invalid[] = {
        {1, 0.0f, 0.5f, 20, 20},  {1, 1.01f, 0.5f, 20, 20}, {1, 0.9f, 1.1f, 20, 20},
        {1, 0.9f, -0.1f, 20, 20}, {-1, 0.9f, 0.5f, 20, 20}, {1, 0.9f, 0.5f, -274, 20},
        {1, 0.9f, 0.5f, 20, 101}, {1, 1e-5f, 0.5f, 20, 20}};  // the last is 0 in Q14
    for (const env_correct_param_t &s : invalid) EXPECT_EQ(scene(s), RADIMO_ERR_PARAM);
    EXPECT_EQ(scene({1, 0.9f, 0.5f, 20, 20}, &opaque), RADIMO_ERR_PARAM);
    EXPECT_EQ(scene({0.1f, 0.9f, 0.5f, 20, 20}), RADIMO_ERR_TAU_TABLE);
    EXPECT_EQ(scene({1, 0.9f, 0.5f, -23.15f, 20}, nullptr, &dip), RADIMO_ERR_REVERSE_NUC);
    EXPECT_EQ(scene({1, 0.9f, 0.5f, 40, -23.15f}, nullptr, &dip), RADIMO_ERR_REVERSE_NUC);
    EXPECT_EQ(out.KE, kUntouched.KE);
    EXPECT_THAT(
        log.error_texts(),
        ElementsAre("EMS is invalid\n", "EMS is invalid\n", "TAU is invalid\n",
                    "Ta or Tu is invalid in high gain mode\n", "Ta or Tu is invalid in high gain mode\n",
                    "Ta or Tu is invalid in low gain mode\n", "EMS is invalid\n", "new EMS is invalid\n",
                    "new TAU is invalid\n", "new Ta or Tu is invalid in high gain mode\n",
                    "new Ta or Tu is invalid in low gain mode\n",  // the float scene:
                    "new EMS is invalid\n", "new EMS is invalid\n", "hum is out of range\n",
                    "hum is out of range\n", "dist is invalid\n", "ta is invalid\n", "tu is invalid\n",
                    "new EMS is invalid\n", "new TAU is invalid\n", "dist is invalid\n", "read_tau failed\n",
                    "reverse calculate failed\n", "reverse_calc_NUC_with_nuc_t failed\n",
                    "reverse calculate failed\n", "read_tau failed\n"));  // the tau text, deliberately
    log.clear();
    EXPECT_EQ(calculate_KE_and_BE(nullptr, &kHigh, 1, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_new_KE_and_BE_with_nuc_t(&kPerfectOrg, nuc.data(), 1, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(calc_env_factor_with_dist_and_env_temp(nullptr, tau.data(), nuc.data(), &out),
              RADIMO_ERR_PARAM);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/temp_correct/calculate_KE_and_BE: data is NULL\n",
                    "src/temp_correct/calculate_new_KE_and_BE_with_nuc_t:  env_param or nuc_table or "
                    "env_factor is invalid\n",
                    "src/temp_correct/calc_env_factor_with_dist_and_env_temp: input param is invalid\n"));
}

TEST_F(EnvFactor, TableLookupFailures) {
    const Table dip = dip_table();
    // Both lookups count in the org variant, only the first in the new one.
    EXPECT_EQ(call(kOrgTable, {100, 100, 310, 250}, 1, &dip), RADIMO_ERR_REVERSE_NUC);
    EXPECT_EQ(call(kNewTable, {16384, 16384, 250 * 16, 310 * 16}, 1, &dip), RADIMO_ERR_REVERSE_NUC);
    EXPECT_EQ(out.KE, kUntouched.KE);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre(
            "src/temp_correct/reverse_calc_NUC_with_nuc_t: reverse calculate failed\n",
            "src/temp_correct/calculate_org_KE_and_BE_with_nuc_t: reverse calculate NUC value failed\n",
            "src/temp_correct/reverse_calc_NUC_with_nuc_t: reverse calculate failed\n",
            "src/temp_correct/calculate_new_KE_and_BE_with_nuc_t: reverse calculate NUC value failed\n"));
    // The new variant ignores a failing Tu lookup (NUC 0) and drops the 1/16 K
    // fraction of Ta (310 K is found at 4799, entry 3201): BE = 2.0 * 6402.
    EXPECT_EQ(call(kNewTable, {8192, 8192, 310 * 16 + 15, 250 * 16}, 1, &dip), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int64_t>{out.KE, out.BE}), ElementsAre(65536, 2 * 6402));
    // The org variant rounds its Q14 sum: (5461 + 21845) * 6402 / 16384 = 10669.74 gives 10670.
    EXPECT_EQ(call(kOrgTable, {96, 64, 310, 310}, 1, &dip), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int64_t>{out.KE, out.BE}), ElementsAre(43690, 10670));
}

TEST_F(EnvFactor, PhysicalBehaviourAndUnitSystemsAgree) {
    const auto nuc_of = [](double c) {
        return -5645 + (104858 * (c + 273.15) + 9300000) * (c + 273.15) / 1048576;
    };
    for (Kind k : {kOrgFactor, kNewFactor, kOrgTable, kNewTable}) {
        const env_factor_t f = of(k, 0.9, 0.85, 25, 30);
        EXPECT_GT(of(k, 0.7, 0.85, 25, 30).KE, f.KE) << k;  // lower emissivity
        EXPECT_GT(of(k, 0.9, 0.6, 25, 30).KE, f.KE) << k;   // lower tau
        EXPECT_GT(of(k, 0.9, 0.85, 60, 30).BE, f.BE) << k;  // warmer ambient
        EXPECT_GT(of(k, 0.9, 0.85, 25, 60).BE, f.BE) << k;  // warmer reflection
        // Every unit system: KE = 1 / (ems tau), BE the weighted NUC values of Tu and Ta.
        EXPECT_NEAR(f.KE, 16384 / (0.9 * 0.85), 200) << k;
        EXPECT_NEAR(f.BE, nuc_of(30) * 0.1 / 0.9 + nuc_of(25) * 0.15 / (0.9 * 0.85), 40) << k;
    }
}

TEST_F(EnvFactor, RealisticAtmosphere) {
    // 26.85 and 36.85 degC are 300 K and 310 K, so the whole-kelvin Q14 table
    // calculator sees the same scene when given the same tau.
    env_factor_t nearer{0, 0};
    for (float dist : {0.5f, 2.0f, 8.0f, 20.0f, 45.0f}) {
        for (float hum : {0.15f, 0.6f, 0.85f}) {
            ASSERT_EQ(scene({dist, 0.95f, hum, 26.85f, 36.85f}), RADIMO_SUCCESS) << dist << " " << hum;
            const env_factor_t f = out;
            EXPECT_NEAR(f.KE, 16384 / (0.95 * model::transmittance(dist, hum, 26.85)), f.KE * 0.01) << dist;
            uint16_t q = 0;
            ASSERT_EQ(read_tau(tau.data(), &q, hum, 26.85f, dist), RADIMO_SUCCESS);
            ASSERT_EQ(call(kNewTable, {15564, q, 300 * 16, 310 * 16}), RADIMO_SUCCESS);  // 0.95 in Q14
            EXPECT_THAT((std::vector<int64_t>{out.KE, out.BE}), ElementsAre(f.KE, f.BE));
            if (hum < 0.8f) continue;
            EXPECT_GT(f.KE, nearer.KE);  // farther: less transmission, more of the air's radiation
            EXPECT_GT(f.BE, nearer.BE);
            nearer = f;
        }
    }
}

TEST_F(EnvFactor, ApplyRemoveAndNucOfTemperature) {
    const auto apply = [](env_factor_t f, int nuc) {
        uint16_t v = 0xBEEF;
        return recalc_NUC_with_env_correct(&f, nuc, &v) == RADIMO_SUCCESS ? int(v) : -1;
    };
    // The low 16 bits of the NUC value count; 32768 is capped, 32769 counts as negative; the
    // product wraps in 32 bits.
    EXPECT_THAT((std::vector<int>{apply({16384, 100}, 50), apply({16384, 100}, 16500),
                                  apply({16384, 100}, 0x10000 + 300), apply({16384, 0}, 32768),
                                  apply({16384, 0}, 32769), apply({1u << 20, 0}, 65535)}),
                ElementsAre(0, 16383, 200, 16383, 0, 0));
    for (uint32_t KE : {16384u, 17000u, 19500u, 25000u, 40000u}) {
        for (int32_t BE : {0, 150, 1200, 4000}) {
            for (int n = 0; n < 16384; n += 13) {
                const env_factor_t f{KE, BE};
                const int v = apply(f, n);
                uint16_t back = 0;
                if (v == 0 || v == 16383) continue;
                ASSERT_EQ(reverse_calc_NUC_without_env_correct(&f, v, &back), RADIMO_SUCCESS);
                EXPECT_TRUE(back == n || back == n - 1) << KE << " " << BE << " " << n << " " << back;
            }
        }
    }
    const auto nuc_of = [](nuc_factor_t f, double kelvin) {
        uint16_t v = 0xBEEF;
        return reverse_calc_NUC_with_env_correct(&f, &v, kelvin) == RADIMO_SUCCESS ? int(v) : -1;
    };
    // 300.5 + 0.5 rounds up; -1.5 truncates to -1: 65535 in 16 bits, capped.
    EXPECT_THAT((std::vector<int>{nuc_of({1000, 1 << 20, 0}, 300.5), nuc_of({1000, 1 << 20, 0}, 300.49),
                                  nuc_of({20000, 0, 0}, 300.0), nuc_of({-2, 0, 0}, 300.0)}),
                ElementsAre(1301, 1300, 16383, 16383));
    const kb_param_t first{2048, 1024}, second{512, -2048};
    double temp = 0;
    ASSERT_EQ(env_temp_calculate(&first, &second, 0x10000 + 100, &temp), RADIMO_SUCCESS);
    EXPECT_EQ(temp, 98.5);  // ((2 * 100 * 1024 + 1024) / 2 - 2048) / 1024
    EXPECT_EQ(recalc_NUC_with_env_correct(nullptr, 5, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_with_env_correct(nullptr, nullptr, 1.0), RADIMO_ERR_PARAM);
    EXPECT_EQ(env_temp_calculate(&first, nullptr, 1, &temp), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_texts(),
                ElementsAre("env_factor is NULL\n", "nuc_factor is NULL\n", "data is NULL\n"));
}

}  // namespace
