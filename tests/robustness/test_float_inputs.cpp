// What the specified functions do with NaN, infinite and out-of-range float
// arguments: they keep their defined behaviour, and docs/robustness.md tells
// hosts which results are then meaningless. These cases pin that list.
#include <functional>
#include <limits>

#include "support/prelude.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

struct Case {
    const char *what;
    int code;
    float value;  // NaN matches NaN
    std::function<int(float *)> call;
};

TEST(FloatInputs, PassTheChecksAndGiveTheDocumentedResults) {
    radimo_log_register(2);
    const env_correct_param_t scene{2.0f, 0.95f, 0.5f, 23.0f, 23.0f};
    const std::vector<uint16_t> raw(4096, 15000);
    const std::vector<uint16_t> table = radimo::test::high_gain_table();
    const nuc_factor_t factor = radimo::test::kHighGain;
    const auto with = [&](auto change) {
        env_correct_param_t s = scene;
        change(s);
        return s;
    };
    const auto u16 = [](auto call) {
        return [call](float *out) {
            uint16_t v = 0;
            const int rc = call(&v);
            *out = v;
            return rc;
        };
    };
    const std::vector<Case> cases{
        {"NaN emissivity", 0, kNaN, [](float *r) { return temp_correct(16384, r, kNaN, 20, 50); }},
        {"NaN apparent", 0, kNaN, [](float *r) { return reverse_temp_correct(16384, r, 0.9f, 20, kNaN); }},
        {"infinite apparent", 0, kInf, [](float *r) { return temp_correct(16384, r, 0.9f, 20, kInf); }},
        {"below absolute zero", 0, -273.15f, [](float *r) { return temp_correct(16384, r, 0.9f, 20, -300); }},
        {"enhanced, NaN emissivity", 0, kNaN,
         [&](float *r) {
             auto s = with([](auto &s) { s.ems = kNaN; });
             return enhance_distance_temp_correct(&s, raw.data(), 0, r, 50);
         }},
        {"enhanced, mapped below absolute zero", 0, -273.15f,
         [&](float *r) {
             auto s = with([](auto &s) { s.ems = 0.01f, s.ta = 90; });
             return enhance_distance_temp_correct(&s, raw.data(), 0, r, -100);
         }},
        {"humidity class of NaN", 0, 3, u16([](uint16_t *v) { return get_hum_index(v, kNaN); })},
        {"distance column of NaN", 0, 63, u16([](uint16_t *v) { return get_dist_read_index(v, kNaN); })},
        {"target row of infinity", 0, 55,
         u16([](uint16_t *v) { return get_target_temp_read_index(v, kInf); })},
        {"tau for a NaN distance", 0, 0,
         u16([](uint16_t *v) { return recalc_tau(1, 15000, v, kNaN, 0.1f, 1000); })},
        {"NUC beyond 16 bits wraps", 0, 3697,
         u16([&](uint16_t *v) { return calculate_nuc_with_nuc_factor(&factor, v, 5000); })},
        {"NUC of NaN", 0, 0,
         u16([&](uint16_t *v) { return calculate_nuc_with_nuc_factor(&factor, v, kNaN); })},
        {"reverse search of NaN", RADIMO_ERR_PARAM, 0,
         u16([&](uint16_t *v) { return reverse_calc_NUC_with_nuc_t(table.data(), v, kNaN); })},
        {"zero tau in the environment table", RADIMO_ERR_PARAM, 0, u16([&](uint16_t *) {
             const std::vector<uint16_t> opaque(3584, 0);
             env_factor_t f{};
             return calc_env_factor_with_dist_and_env_temp(&scene, opaque.data(), table.data(), &f);
         })},
    };
    for (const Case &c : cases) {
        float out = 0;
        EXPECT_EQ(c.call(&out), c.code) << c.what;
        if (std::isnan(c.value)) {
            EXPECT_TRUE(std::isnan(out)) << c.what << ": " << out;
        } else if (c.code == RADIMO_SUCCESS) {
            EXPECT_FLOAT_EQ(out, c.value) << c.what;
        }
    }
}

}  // namespace
