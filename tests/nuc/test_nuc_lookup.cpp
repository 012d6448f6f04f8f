// NUC table lookup, reverse lookup, environment-factor inverse, NUC value of a
// frame position and flat-run trimming.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using radimo::test::LoggedTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Table = std::vector<uint16_t>;

// Celsius temperature whose search target is exactly `units` (1/16 K); the
// tests below pick targets the float arithmetic reaches exactly.
float celsius(double units) {
    const float temp = static_cast<float>(units / 16.0 - 273.15);
    EXPECT_EQ(static_cast<float>((static_cast<double>(temp) + 273.15) * 16.0), static_cast<float>(units));
    return temp;
}

std::string fixed6(double v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%f", v);
    return buf;
}

// 4000, 4010, 4020, ... rising by 10 per entry, flat at 60000 from entry 5600.
Table rising_by_ten(size_t len = 8192) {
    Table t(len);
    for (size_t i = 0; i < len; ++i) t[i] = static_cast<uint16_t>(std::min<size_t>(4000 + 10 * i, 60000));
    return t;
}

using RemapTest = LoggedTest;

TEST_F(RemapTest, BothNucValuesOfAPairReadTheSameEntry) {
    const Table t = rising_by_ten();
    uint16_t even = 0;
    uint16_t odd = 0;
    ASSERT_EQ(remap_temp(t.data(), 2 * 77, &even), RADIMO_SUCCESS);
    ASSERT_EQ(remap_temp(t.data(), 2 * 77 + 1, &odd), RADIMO_SUCCESS);
    EXPECT_EQ(even, 4770);
    EXPECT_EQ(odd, 4770);
    // Only the low 16 bits of the NUC value count; beyond 16383 the last entry is read.
    ASSERT_EQ(remap_temp(t.data(), 0x10000u + 10, &even), RADIMO_SUCCESS);
    EXPECT_EQ(even, 4050);
    ASSERT_EQ(remap_temp(t.data(), 40000, &even), RADIMO_SUCCESS);
    EXPECT_EQ(even, t[8191]);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RemapTest, NullTableIsRejected) {
    uint16_t temp = 123;
    EXPECT_EQ(remap_temp(nullptr, 0, &temp), RADIMO_ERR_PARAM);
    EXPECT_EQ(temp, 123);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/temp_correct/remap_temp: nuc_table is NULL\n"));
}

TEST_F(RemapTest, CelsiusOfAStandardAndALongTable) {
    Table t(16384, 0);
    t[100] = 4800;
    t[200] = 4370;
    float temp = 0;
    ASSERT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 200, 8192, &temp), RADIMO_SUCCESS);
    EXPECT_EQ(temp, static_cast<float>(4800 * 0.0625 - 273.15));
    EXPECT_NEAR(temp, 26.85f, 1e-5f);
    ASSERT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 201, 8192, &temp), RADIMO_SUCCESS);
    EXPECT_NEAR(temp, 26.85f, 1e-5f);
    ASSERT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 200, 16384, &temp), RADIMO_SUCCESS);
    EXPECT_NEAR(temp, -0.025f, 1e-6f);
    // Only the low 16 bits of the length count.
    ASSERT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 200, 0x10000u + 8192, &temp), RADIMO_SUCCESS);
    EXPECT_NEAR(temp, 26.85f, 1e-5f);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RemapTest, CelsiusRejectsNullsAndOtherLengths) {
    const Table t = rising_by_ten(16384);
    float temp = 1.5f;
    EXPECT_EQ(calc_temperature_with_nuc_t_table_len(nullptr, 0, 8192, &temp), RADIMO_ERR_PARAM);
    EXPECT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 0, 8192, nullptr), RADIMO_ERR_PARAM);
    for (uint32_t len : {4096u, 0u, 8191u, 12288u, 16385u, 32768u})
        EXPECT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 0, len, &temp), RADIMO_ERR_PARAM) << len;
    EXPECT_EQ(temp, 1.5f);
    const std::string invalid =
        "src/temp_correct/calc_temperature_with_nuc_t_table_len: nuc_table_len is invalid\n";
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/calc_temperature_with_nuc_t_table_len: data is invalid\n",
                            "src/temp_correct/calc_temperature_with_nuc_t_table_len: data is invalid\n",
                            invalid, invalid, invalid, invalid, invalid, invalid));
}

using ReverseSearchTest = LoggedTest;

TEST_F(ReverseSearchTest, ExactEntryGivesTwiceItsIndexWithTheFiveDebugLines) {
    const Table t = rising_by_ten();
    uint16_t nuc = 0;
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, celsius(5230)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 246);
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("NUC_MAX=60000,NUC_MIN=4000\n", "nuc_table[0]=4000\n",
                            "target_temp=5230.000000\n", "i=123,nuc_value=246\n", "nuc_table[123]=5230\n"));
    for (const auto &line : log.lines()) {
        EXPECT_EQ(line.module, "src/temp_correct");
        EXPECT_EQ(line.function, "reverse_calc_NUC_with_nuc_t");
    }
}

TEST_F(ReverseSearchTest, RisingBracketTakesTheNearerEntryAndATieGoesUp) {
    const Table t = rising_by_ten();  // entries 100 and 101 are 5000 and 5010
    uint16_t nuc = 0;
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, celsius(5005)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 202);
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, celsius(5004)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 200);
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, celsius(5006)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 202);
    // Each bracket closes with both entries, whichever was chosen.
    const auto texts = log.debug_texts();
    ASSERT_EQ(texts.size(), 15u);
    EXPECT_EQ(texts[3], "nuc_table[100]=5000\n");
    EXPECT_EQ(texts[4], "nuc_table[101]=5010\n");
    EXPECT_EQ(texts[8], "nuc_table[100]=5000\n");
    EXPECT_EQ(texts[9], "nuc_table[101]=5010\n");
}

TEST_F(ReverseSearchTest, FallingBracketTakesTheFartherEntry) {
    Table t = rising_by_ten();
    std::reverse(t.begin(), t.end());  // ... 5010 at 8090, 5000 at 8091 ...
    uint16_t nuc = 0;
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, celsius(5004)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 2 * 8090);  // 5010, though 5000 is nearer
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, celsius(5006)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 2 * 8091);  // 5000, though 5010 is nearer
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, celsius(5005)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 2 * 8091);
}

TEST_F(ReverseSearchTest, TargetsBeyondTheTableAreMovedOneUnitInside) {
    const Table t = rising_by_ten();
    uint16_t nuc = 0;
    // Above: target 59999 falls between 59990 (entry 5599) and 60000 (entry 5600).
    const float hot = 4000.0f;
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, hot), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 2 * 5600);
    // The debug line shows the target before it was moved.
    const float unclamped = static_cast<float>((static_cast<double>(hot) + 273.15) * 16.0);
    EXPECT_EQ(log.debug_texts()[2], "target_temp=" + fixed6(unclamped) + "\n");
    EXPECT_THAT(log.debug_texts()[3], "nuc_table[5599]=59990\n");
    // Below: target 4001 falls between 4000 and 4010; the nearer entry 0 wins.
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, -200.0f), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 0);
}

TEST_F(ReverseSearchTest, TheLastEntryCanStillMatchExactly) {
    Table t(8192, 5000);
    t.back() = 6000;
    uint16_t nuc = 0;
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, celsius(6000)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 16382);
    EXPECT_EQ(log.debug_texts()[3], "i=8191,nuc_value=16382\n");
}

TEST_F(ReverseSearchTest, NoStopWritesZeroAndFails) {
    const Table flat(8192, 5000);  // a target other than 5000 becomes 4999 or 5001
    uint16_t nuc = 77;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(flat.data(), &nuc, celsius(6000)), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 0);
    nuc = 77;
    EXPECT_EQ(
        reverse_calc_NUC_with_nuc_t(rising_by_ten().data(), &nuc, std::numeric_limits<float>::quiet_NaN()),
        RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 0);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/reverse_calc_NUC_with_nuc_t: reverse calculate failed\n",
                            "src/temp_correct/reverse_calc_NUC_with_nuc_t: reverse calculate failed\n"));
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("NUC_MAX=5000,NUC_MIN=5000\n", "nuc_table[0]=5000\n", "target_temp=6000.000000\n",
                            "NUC_MAX=60000,NUC_MIN=4000\n", "nuc_table[0]=4000\n", "target_temp=nan\n"));
}

TEST_F(ReverseSearchTest, NullArgumentsAreRejected) {
    const Table t = rising_by_ten();
    uint16_t nuc = 9;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(nullptr, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), nullptr, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(nullptr, 8192, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(t.data(), 8192, nullptr, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 9);
    EXPECT_THAT(log.error_texts(), ElementsAre("data is invalid\n", "data is invalid\n", "data is invalid\n",
                                               "data is invalid\n"));
    EXPECT_THAT(log.debug_texts(), IsEmpty());
}

TEST_F(ReverseSearchTest, TableLenSearchIndexesLongTablesByNucValue) {
    const Table long_table = rising_by_ten(16384);
    uint16_t nuc = 0;
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t_table_len(long_table.data(), 16384, &nuc, celsius(5230)),
              RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 123);
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t_table_len(long_table.data(), 8192, &nuc, celsius(5005)),
              RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 202);
    // One closing debug line and nothing before it.
    EXPECT_THAT(log.debug_texts(), ElementsAre("i=123,nuc_value=123, nuc_table[i] = 5230\n",
                                               "i=100,nuc_value=202, nuc_table[i] = 5000\n"));
    EXPECT_EQ(log.debugs()[0].function, "reverse_calc_NUC_with_nuc_t_table_len");
}

TEST_F(ReverseSearchTest, TableLenSearchFailures) {
    const Table zeros(16384, 0);
    const Table flat(8192, 5000);
    uint16_t nuc = 5;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(zeros.data(), 16384, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(zeros.data(), 4096, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 5);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(flat.data(), 8192, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 0);
    EXPECT_THAT(log.error_texts(), ElementsAre("NUC value is invalid\n", "nuc_table_len is invalid\n",
                                               "reverse calculate failed\n"));
    EXPECT_THAT(log.debug_texts(), IsEmpty());
}

using EnvInverseTest = LoggedTest;

TEST_F(EnvInverseTest, UnitGainAndZeroOffsetReturnTheInputCapped) {
    const env_factor_t unit{16384, 0};
    uint16_t nuc = 0;
    for (uint32_t v : {0u, 1u, 8000u, 16383u}) {
        ASSERT_EQ(reverse_calc_NUC_without_env_correct(&unit, v, &nuc), RADIMO_SUCCESS);
        EXPECT_EQ(nuc, v);
    }
    ASSERT_EQ(reverse_calc_NUC_without_env_correct(&unit, 20000, &nuc), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 16383);
    ASSERT_EQ(reverse_calc_NUC_without_env_correct(&unit, 0x10000u + 5, &nuc), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 5);
}

TEST_F(EnvInverseTest, UndoesGainAndOffsetAndWrapsBelowZero) {
    const env_factor_t doubled{32768, 100};
    uint16_t nuc = 0;
    ASSERT_EQ(reverse_calc_NUC_without_env_correct(&doubled, 900, &nuc), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 500);  // (900 + 100) / 2
    // -50 wraps in 32 bits: (2^32 - 50) * 16384 / 16384 keeps 65486 in 16 bits, capped.
    const env_factor_t negative{16384, -100};
    ASSERT_EQ(reverse_calc_NUC_without_env_correct(&negative, 50, &nuc), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 16383);
}

TEST_F(EnvInverseTest, NullAndZeroGainAreRejected) {
    const env_factor_t zero{0, 10};
    uint16_t nuc = 42;
    EXPECT_EQ(reverse_calc_NUC_without_env_correct(nullptr, 1, &nuc), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_without_env_correct(&zero, 1, &nuc), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 42);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/temp_correct/reverse_calc_NUC_without_env_correct: env_factor is NULL\n",
                    "src/temp_correct/reverse_calc_NUC_without_env_correct: env_factor is invalid\n"));
}

using NucValueTest = LoggedTest;

constexpr uint32_t resolution_of(uint32_t w, uint32_t h) {
    return w | (h << 16);
}

TEST_F(NucValueTest, TrimmedMeanOfTheFiveByFiveSquare) {
    const uint32_t w = 10;
    const uint32_t h = 8;
    std::vector<uint16_t> frame(w * h);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) frame[y * w + x] = static_cast<uint16_t>(100 + x + 10 * y);
    uint16_t nuc = 0;
    // Samples 112..156 sum to 3350; without 112 and 156 that is 3082 = 23 * 134.
    ASSERT_EQ(get_NUC_value(frame.data(), resolution_of(w, h), point_t{4, 3}, &nuc), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 134);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(NucValueTest, PointOutsideTheFrameStillReturnsZeroAndReadsNothingOutside) {
    const std::vector<uint16_t> frame(4 * 4, 500);
    uint16_t nuc = 99;
    EXPECT_EQ(get_NUC_value(frame.data(), resolution_of(4, 4), point_t{4, 0}, &nuc), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 0);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/libradimo/get_pixel_square_array: the point is invalid\n"));
}

TEST_F(NucValueTest, NullArgumentsAreRejected) {
    const std::vector<uint16_t> frame(25, 1);
    uint16_t nuc = 3;
    EXPECT_EQ(get_NUC_value(nullptr, resolution_of(5, 5), point_t{2, 2}, &nuc), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_NUC_value(frame.data(), resolution_of(5, 5), point_t{2, 2}, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 3);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/temp_correct/get_NUC_value: src is NULL\n",
                                               "src/temp_correct/get_NUC_value: nuc is NULL\n"));
}

using TableBoundsTest = LoggedTest;

TEST_F(TableBoundsTest, SkipsTheFlatRunsAtBothEnds) {
    const Table t{0, 0, 0, 5, 6, 7, 9, 9};
    const uint16_t in[2] = {0, 7};
    uint16_t out[2] = {111, 222};
    ASSERT_EQ(find_start_and_end_addr(t.data(), in, 8, out), RADIMO_SUCCESS);
    EXPECT_EQ(out[0], 3);
    EXPECT_EQ(out[1], 6);
    // A start or end inside a rising stretch moves one step at most.
    const uint16_t inner[2] = {3, 5};
    ASSERT_EQ(find_start_and_end_addr(t.data(), inner, 8, out), RADIMO_SUCCESS);
    EXPECT_EQ(out[0], 4);
    EXPECT_EQ(out[1], 5);
    // Only the low 16 bits of the length count.
    ASSERT_EQ(find_start_and_end_addr(t.data(), in, 0x10000 + 8, out), RADIMO_SUCCESS);
    EXPECT_EQ(out[0], 3);
}

TEST_F(TableBoundsTest, RunsReachingTheTableEndsLeaveTheOutputs) {
    const Table flat(8, 4);
    const uint16_t in[2] = {2, 7};
    uint16_t out[2] = {111, 222};
    ASSERT_EQ(find_start_and_end_addr(flat.data(), in, 8, out), RADIMO_SUCCESS);
    EXPECT_EQ(out[0], 111);
    EXPECT_EQ(out[1], 222);
    // Positions outside the table are left as well, and nothing outside is read.
    const uint16_t outside[2] = {8, 9};
    ASSERT_EQ(find_start_and_end_addr(flat.data(), outside, 8, out), RADIMO_SUCCESS);
    EXPECT_EQ(out[0], 111);
    EXPECT_EQ(out[1], 222);
}

TEST_F(TableBoundsTest, NullArgumentsAreRejected) {
    const Table t(8, 1);
    const uint16_t in[2] = {0, 7};
    uint16_t out[2] = {};
    EXPECT_EQ(find_start_and_end_addr(nullptr, in, 8, out), RADIMO_ERR_PARAM);
    EXPECT_EQ(find_start_and_end_addr(t.data(), nullptr, 8, out), RADIMO_ERR_PARAM);
    EXPECT_EQ(find_start_and_end_addr(t.data(), in, 8, nullptr), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_texts(), ElementsAre("data is NULL\n", "data is NULL\n", "data is NULL\n"));
    EXPECT_EQ(log.errors()[0].function, "find_start_and_end_addr");
}

}  // namespace
