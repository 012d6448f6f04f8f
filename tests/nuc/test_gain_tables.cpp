// NUC value of a temperature through the quadratic factor, and the generated
// high- and low-gain NUC tables.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using radimo::test::LoggedTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Table = std::vector<uint16_t>;

constexpr uint16_t kUntouched = 0xABCD;

// Responses of a plausible camera: a few thousand NUC at the cold end of the
// range rising to about 16000 at the hot end, with a quadratic bend.
constexpr nuc_factor_t kHighGain{-5645, 9300000, 104858};  // 253 K .. 423 K
constexpr nuc_factor_t kLowGain{-2701, 15196000, 10486};   // 273 K .. 823 K

double model_nuc(const nuc_factor_t &f, double kelvin) {
    return f.c0 + (f.c2 * kelvin * kelvin + f.c1 * kelvin) / 1048576.0;
}

using NucFactorTest = LoggedTest;

TEST_F(NucFactorTest, ConstantFactorGivesItsConstantEverywhere) {
    const nuc_factor_t constant{1000, 0, 0};
    for (float temp : {-50.0f, 0.0f, 26.85f, 500.0f}) {
        uint16_t nuc = 0;
        ASSERT_EQ(calculate_nuc_with_nuc_factor(&constant, &nuc, temp), RADIMO_SUCCESS);
        EXPECT_EQ(nuc, 1000);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(NucFactorTest, TruncatesAndKeepsTheLow16BitsWithoutCap) {
    const nuc_factor_t one_per_kelvin{0, 1 << 20, 0};
    uint16_t nuc = 0;
    ASSERT_EQ(calculate_nuc_with_nuc_factor(&one_per_kelvin, &nuc, 26.5f), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 299);  // 299.65 K, truncated
    const nuc_factor_t big{70000, 0, 0};
    ASSERT_EQ(calculate_nuc_with_nuc_factor(&big, &nuc, 0.0f), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 70000 - 65536);
    const nuc_factor_t minus_one{-1, 0, 0};
    ASSERT_EQ(calculate_nuc_with_nuc_factor(&minus_one, &nuc, 0.0f), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 65535);
}

TEST_F(NucFactorTest, FollowsTheQuadraticModel) {
    for (double kelvin = 253.0; kelvin <= 423.0; kelvin += 7.3) {
        uint16_t nuc = 0;
        ASSERT_EQ(calculate_nuc_with_nuc_factor(&kHighGain, &nuc, static_cast<float>(kelvin - 273.15)),
                  RADIMO_SUCCESS);
        EXPECT_NEAR(nuc, model_nuc(kHighGain, kelvin), 1.5) << kelvin;
    }
}

TEST_F(NucFactorTest, AnyNullPointerIsRejectedWithoutWriting) {
    uint16_t nuc = 7;
    EXPECT_EQ(calculate_nuc_with_nuc_factor(nullptr, nullptr, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_nuc_with_nuc_factor(nullptr, &nuc, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_nuc_with_nuc_factor(&kHighGain, nullptr, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 7);
    const std::string invalid = "src/temp_correct/calculate_nuc_with_nuc_factor: data is invalid\n";
    EXPECT_THAT(log.error_trace(), ElementsAre(invalid, invalid, invalid));
}

using GainTableTest = LoggedTest;

// Largest difference between neighbouring entries of t[first..last], in K.
double largest_step_kelvin(const Table &t, size_t first, size_t last) {
    int step = 0;
    for (size_t i = first; i < last; ++i) step = std::max(step, std::abs(t[i + 1] - t[i]));
    return step / 16.0;
}

// Temperature -> NUC value -> temperature through a generated table stays
// within one table step, and the NUC value agrees with the factor itself.
void expect_round_trip(const Table &t, const nuc_factor_t &f, double low_c, double high_c) {
    const double step = largest_step_kelvin(t, 1, t.size() - 2);
    ASSERT_GT(step, 0.0);
    ASSERT_LE(step, 0.5);
    for (double c = low_c; c <= high_c; c += 0.37) {
        const float temp = static_cast<float>(c);
        uint16_t nuc = 0;
        ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, temp), RADIMO_SUCCESS) << c;
        float back = 0;
        ASSERT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), nuc, 8192, &back), RADIMO_SUCCESS);
        EXPECT_LE(std::fabs(back - temp), step + 1e-3) << c;
        uint16_t direct = 0;
        ASSERT_EQ(calculate_nuc_with_nuc_factor(&f, &direct, temp), RADIMO_SUCCESS);
        // The table floors c0 / 2 and both scan terms separately: up to about
        // five NUC below the factor's own value, plus a table step.
        EXPECT_NEAR(direct, nuc, 8.0) << c;
    }
}

TEST_F(GainTableTest, HighGainTableRoundTripsTemperatures) {
    Table t(8192, kUntouched);
    ASSERT_EQ(generate_high_gain_nuc_t(&kHighGain, t.data()), RADIMO_SUCCESS);
    EXPECT_TRUE(std::is_sorted(t.begin(), t.end()));
    EXPECT_EQ(t.front(), 4048);  // 253 K below the range
    EXPECT_EQ(t.back(), 6768);   // 423 K above it
    EXPECT_EQ(std::count(t.begin(), t.end(), kUntouched), 0);
    expect_round_trip(t, kHighGain, -20.0, 149.5);
    EXPECT_THAT(log.errors(), IsEmpty());
}

TEST_F(GainTableTest, LowGainTableRoundTripsTemperatures) {
    Table t(8192, kUntouched);
    ASSERT_EQ(generate_low_gain_nuc_t(&kLowGain, t.data()), RADIMO_SUCCESS);
    EXPECT_TRUE(std::is_sorted(t.begin(), t.end()));
    EXPECT_EQ(t.front(), 4368);  // 273 K
    EXPECT_EQ(t.back(), 13168);  // 823 K
    EXPECT_EQ(std::count(t.begin(), t.end(), kUntouched), 0);
    expect_round_trip(t, kLowGain, 0.5, 549.5);
}

TEST_F(GainTableTest, StartAtIndexZeroLeavesEntryZeroToTheScan) {
    // One table index per kelvin, 253 K at index 0: the scan starts on index 0,
    // which is its initial previous index, so it writes nothing there either.
    const nuc_factor_t per_kelvin{-506, 1 << 21, 0};
    Table t(8192, kUntouched);
    ASSERT_EQ(generate_high_gain_nuc_t(&per_kelvin, t.data()), RADIMO_SUCCESS);
    EXPECT_EQ(t[0], kUntouched);
    // 64 scan steps land on each index; the first (coldest) one keeps it.
    EXPECT_EQ(t[1], 254 * 16);
    EXPECT_EQ(t[100], 353 * 16);
    EXPECT_EQ(t[169], 422 * 16);
    EXPECT_EQ(t[170], 6768);  // the end index and everything above it
    EXPECT_EQ(t[8191], 6768);
}

TEST_F(GainTableTest, JumpsFillTheGapAndIndicesBeyondTheTableAreNotWritten) {
    // Three indices per 1/8 K step, 273 K at index 0 and 823 K at 13200.
    const nuc_factor_t steep{-13104, 3 << 24, 0};
    Table t(8192, kUntouched);  // exactly 8192 entries: a write past it is caught
    ASSERT_EQ(generate_low_gain_nuc_t(&steep, t.data()), RADIMO_SUCCESS);
    EXPECT_EQ(t[0], kUntouched);
    EXPECT_THAT((std::vector<uint16_t>(t.begin() + 1, t.begin() + 7)),
                ElementsAre(4370, 4370, 4370, 4372, 4372, 4372));
    EXPECT_EQ(t[8191], 2 * 4915);  // filled by the step from 8190 to 8193
}

TEST_F(GainTableTest, NullArgumentsAreRejected) {
    Table t(8192, kUntouched);
    EXPECT_EQ(generate_high_gain_nuc_t(nullptr, t.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(generate_high_gain_nuc_t(&kHighGain, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(generate_low_gain_nuc_t(nullptr, t.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(generate_low_gain_nuc_t(&kLowGain, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(std::count(t.begin(), t.end(), kUntouched), 8192);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/generate_high_gain_nuc_t: data is invalid\n",
                            "src/temp_correct/generate_high_gain_nuc_t: data is invalid\n",
                            "src/temp_correct/generate_low_gain_nuc_t: data is invalid\n",
                            "src/temp_correct/generate_low_gain_nuc_t: data is invalid\n"));
}

}  // namespace
