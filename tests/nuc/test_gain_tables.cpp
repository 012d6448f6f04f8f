// NUC value through the quadratic factor, and the generated gain tables.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using ::testing::ElementsAre;
using Table = std::vector<uint16_t>;
using GainTableTest = radimo::test::LoggedTest;

constexpr uint16_t kUntouched = 0xABCD;
// A plausible camera: a few thousand NUC at the cold end rising to ~16000 at the hot end.
constexpr nuc_factor_t kHighGain{-5645, 9300000, 104858};  // 253 K .. 423 K
constexpr nuc_factor_t kLowGain{-2701, 15196000, 10486};   // 273 K .. 823 K

uint16_t factor_nuc(const nuc_factor_t &f, float temp) {
    uint16_t nuc = 0;
    EXPECT_EQ(calculate_nuc_with_nuc_factor(&f, &nuc, temp), RADIMO_SUCCESS);
    return nuc;
}

TEST_F(GainTableTest, NucOfOneTemperature) {
    EXPECT_EQ(factor_nuc({1000, 0, 0}, -50.0f), 1000);
    EXPECT_EQ(factor_nuc({1000, 0, 0}, 500.0f), 1000);
    EXPECT_EQ(factor_nuc({0, 1 << 20, 0}, 26.5f), 299);         // 299.65 K truncated
    EXPECT_EQ(factor_nuc({70000, 0, 0}, 0.0f), 70000 - 65536);  // low 16 bits, no cap
    EXPECT_EQ(factor_nuc({-1, 0, 0}, 0.0f), 65535);
    EXPECT_NEAR(factor_nuc(kHighGain, 150.0f),
                -5645 + (104858 * 423.15 * 423.15 + 9300000 * 423.15) / 1048576, 1);
    uint16_t nuc = 7;
    EXPECT_EQ(calculate_nuc_with_nuc_factor(nullptr, &nuc, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_nuc_with_nuc_factor(&kHighGain, nullptr, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 7);
    EXPECT_THAT(log.error_texts(), ElementsAre("data is invalid\n", "data is invalid\n"));
}

// Temperature -> NUC -> temperature through a generated table stays within one
// table step, and the NUC value agrees with the factor's own.
void expect_round_trip(const Table &t, const nuc_factor_t &f, double low_c, double high_c) {
    int step = 0;
    for (size_t i = 0; i + 1 < t.size(); ++i) step = std::max(step, t[i + 1] - t[i]);
    ASSERT_LE(step, 8);  // at most half a kelvin between neighbours
    for (double c = low_c; c <= high_c; c += 0.37) {
        const float temp = static_cast<float>(c);
        uint16_t nuc = 0;
        float back = 0;
        ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, temp), RADIMO_SUCCESS);
        ASSERT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), nuc, 8192, &back), RADIMO_SUCCESS);
        EXPECT_LE(std::fabs(back - temp), step / 16.0 + 1e-3) << c;
        // The table floors c0 / 2 and both scan terms separately: a few NUC below the factor.
        EXPECT_NEAR(factor_nuc(f, temp), nuc, 8) << c;
    }
}

TEST_F(GainTableTest, GeneratedTablesRoundTripTemperatures) {
    Table high(8192, kUntouched), low(8192, kUntouched);
    ASSERT_EQ(generate_high_gain_nuc_t(&kHighGain, high.data()), RADIMO_SUCCESS);
    ASSERT_EQ(generate_low_gain_nuc_t(&kLowGain, low.data()), RADIMO_SUCCESS);
    EXPECT_TRUE(std::is_sorted(high.begin(), high.end()));
    EXPECT_TRUE(std::is_sorted(low.begin(), low.end()));
    EXPECT_THAT((std::vector<int>{high.front(), high.back(), low.front(), low.back()}),
                ElementsAre(4048, 6768, 4368, 13168));  // range limits below and above
    expect_round_trip(high, kHighGain, -20.0, 149.5);
    expect_round_trip(low, kLowGain, 0.5, 549.5);
}

TEST_F(GainTableTest, ScanWritesFirstComerFillsGapsAndStaysInTheTable) {
    // One index per kelvin with 253 K at index 0: the scan starts on its initial
    // previous index, so nothing writes entry 0; the coldest of the 64 steps
    // reaching an index keeps it.
    Table t(8192, kUntouched);
    const nuc_factor_t per_kelvin{-506, 1 << 21, 0};
    ASSERT_EQ(generate_high_gain_nuc_t(&per_kelvin, t.data()), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int>{t[0], t[1], t[100], t[169], t[170], t[8191]}),
                ElementsAre(kUntouched, 254 * 16, 353 * 16, 422 * 16, 6768, 6768));
    // Three indices per 1/8 K step up to index 13200: gaps take the step's value,
    // and nothing is written past entry 8191 (the vector has exactly 8192).
    Table steep(8192, kUntouched);
    const nuc_factor_t three{-13104, 3 << 24, 0};
    ASSERT_EQ(generate_low_gain_nuc_t(&three, steep.data()), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int>{steep[0], steep[1], steep[2], steep[3], steep[4], steep[8191]}),
                ElementsAre(kUntouched, 4370, 4370, 4370, 4372, 2 * 4915));
    EXPECT_EQ(generate_high_gain_nuc_t(nullptr, t.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(generate_low_gain_nuc_t(&kLowGain, nullptr), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/generate_high_gain_nuc_t: data is invalid\n",
                            "src/temp_correct/generate_low_gain_nuc_t: data is invalid\n"));
}

}  // namespace
