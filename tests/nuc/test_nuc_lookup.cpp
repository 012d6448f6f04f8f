// NUC table lookup and reverse lookup, environment-factor inverse, NUC value
// of a frame position and flat-run trimming.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Table = std::vector<uint16_t>;
using NucLookupTest = radimo::test::LoggedTest;

// Celsius temperature whose search target is exactly `units` (1/16 K).
float celsius(double units) {
    const float temp = static_cast<float>(units / 16.0 - 273.15);
    EXPECT_EQ(static_cast<float>((temp + 273.15) * 16.0), static_cast<float>(units));
    return temp;
}

// 4000, 4010, 4020, ... flat at 60000 from entry 5600; entries 100, 101 are 5000, 5010.
Table rising_by_ten(size_t len = 8192) {
    Table t(len);
    for (size_t i = 0; i < len; ++i) t[i] = static_cast<uint16_t>(std::min<size_t>(4000 + 10 * i, 60000));
    return t;
}

uint16_t search(const Table &t, float temp) {
    uint16_t nuc = 0xBEEF;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, temp), RADIMO_SUCCESS) << temp;
    return nuc;
}

TEST_F(NucLookupTest, ForwardLookups) {
    Table t = rising_by_ten(16384);
    t[100] = 4800;
    uint16_t a = 0, b = 0;
    ASSERT_EQ(remap_temp(t.data(), 154, &a), RADIMO_SUCCESS);
    ASSERT_EQ(remap_temp(t.data(), 0x10000u + 155, &b), RADIMO_SUCCESS);  // same entry; low 16 bits
    EXPECT_EQ(a, 4770);
    EXPECT_EQ(b, 4770);
    ASSERT_EQ(remap_temp(t.data(), 40000, &a), RADIMO_SUCCESS);  // capped at 16383: entry 8191
    EXPECT_EQ(a, t[8191]);
    float c = 0;
    ASSERT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 201, 8192, &c), RADIMO_SUCCESS);
    EXPECT_EQ(c, static_cast<float>(300.0 - 273.15));  // 26.85
    ASSERT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 100, 0x10000u + 16384, &c), RADIMO_SUCCESS);
    EXPECT_EQ(c, static_cast<float>(300.0 - 273.15));
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(remap_temp(nullptr, 0, &a), RADIMO_ERR_PARAM);
    EXPECT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 0, 8192, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 0, 4096, &c), RADIMO_ERR_PARAM);
    EXPECT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 0, 0, &c), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_texts(), ElementsAre("nuc_table is NULL\n", "data is invalid\n",
                                               "nuc_table_len is invalid\n", "nuc_table_len is invalid\n"));
    EXPECT_EQ(log.errors()[0].where_what(), "src/temp_correct/remap_temp: nuc_table is NULL\n");
}

TEST_F(NucLookupTest, ReverseSearchExactMatchLogsFiveDebugLines) {
    EXPECT_EQ(search(rising_by_ten(), celsius(5230)), 246);
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("NUC_MAX=60000,NUC_MIN=4000\n", "nuc_table[0]=4000\n",
                            "target_temp=5230.000000\n", "i=123,nuc_value=246\n", "nuc_table[123]=5230\n"));
    EXPECT_EQ(log.lines()[0].where_what(),
              "src/temp_correct/reverse_calc_NUC_with_nuc_t: NUC_MAX=60000,NUC_MIN=4000\n");
}

TEST_F(NucLookupTest, ReverseSearchBrackets) {
    const Table up = rising_by_ten();
    EXPECT_EQ(search(up, celsius(5004)), 200);  // nearer entry
    EXPECT_EQ(search(up, celsius(5006)), 202);
    EXPECT_EQ(search(up, celsius(5005)), 202);  // a tie goes up
    const auto texts = log.debug_texts();       // each bracket logs both of its entries
    EXPECT_THAT(std::vector<std::string>(texts.begin() + 3, texts.begin() + 5),
                ElementsAre("nuc_table[100]=5000\n", "nuc_table[101]=5010\n"));
    Table down = up;
    std::reverse(down.begin(), down.end());  // 5010 at 8090, 5000 at 8091: the farther entry is taken
    EXPECT_EQ(search(down, celsius(5004)), 2 * 8090);
    EXPECT_EQ(search(down, celsius(5006)), 2 * 8091);
    EXPECT_EQ(search(down, celsius(5005)), 2 * 8091);
    // Beyond the table: moved one unit inside (59999, 4001); the log shows the unmoved target.
    log.clear();
    EXPECT_EQ(search(up, celsius(70000)), 2 * 5600);
    EXPECT_EQ(log.debug_texts()[2], "target_temp=70000.000000\n");
    EXPECT_EQ(search(up, -200.0f), 0);
    // The last entry has no partner but still matches exactly.
    Table last(8192, 5000);
    last.back() = 6000;
    EXPECT_EQ(search(last, celsius(6000)), 16382);
}

TEST_F(NucLookupTest, ReverseSearchFailures) {
    const Table flat(8192, 5000);  // any other target becomes 4999 or 5001: no stop
    uint16_t nuc = 77;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(flat.data(), &nuc, celsius(6000)), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 0);
    nuc = 77;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(flat.data(), &nuc, std::numeric_limits<float>::quiet_NaN()),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 0);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(nullptr, &nuc, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(flat.data(), nullptr, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_texts(), ElementsAre("reverse calculate failed\n", "reverse calculate failed\n",
                                               "data is invalid\n", "data is invalid\n"));
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("NUC_MAX=5000,NUC_MIN=5000\n", "nuc_table[0]=5000\n", "target_temp=6000.000000\n",
                            "NUC_MAX=5000,NUC_MIN=5000\n", "nuc_table[0]=5000\n", "target_temp=nan\n"));
}

TEST_F(NucLookupTest, TableLenSearch) {
    const Table t = rising_by_ten(16384);
    uint16_t nuc = 0;
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t_table_len(t.data(), 16384, &nuc, celsius(5230)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 123);  // a long table is indexed by the NUC value itself
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t_table_len(t.data(), 8192, &nuc, celsius(5005)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 202);
    EXPECT_THAT(log.debug_texts(), ElementsAre("i=123,nuc_value=123, nuc_table[i] = 5230\n",
                                               "i=100,nuc_value=202, nuc_table[i] = 5000\n"));
    const Table zeros(16384, 0), flat(8192, 5000);
    nuc = 5;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(zeros.data(), 16384, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(zeros.data(), 4096, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(nullptr, 8192, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 5);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(flat.data(), 8192, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 0);
    EXPECT_THAT(log.error_texts(), ElementsAre("NUC value is invalid\n", "nuc_table_len is invalid\n",
                                               "data is invalid\n", "reverse calculate failed\n"));
    EXPECT_EQ(log.errors()[0].function, "reverse_calc_NUC_with_nuc_t_table_len");
}

TEST_F(NucLookupTest, EnvironmentFactorInverse) {
    const auto inverse = [](env_factor_t f, uint32_t object_nuc) {
        uint16_t nuc = 0xBEEF;
        EXPECT_EQ(reverse_calc_NUC_without_env_correct(&f, object_nuc, &nuc), RADIMO_SUCCESS);
        return nuc;
    };
    EXPECT_EQ(inverse({16384, 0}, 8000), 8000);
    EXPECT_EQ(inverse({16384, 0}, 20000), 16383);
    EXPECT_EQ(inverse({16384, 0}, 0x10000u + 5), 5);
    EXPECT_EQ(inverse({32768, 100}, 900), 500);
    EXPECT_EQ(inverse({16384, -100}, 50), 16383);  // -50 wraps: 65486 in 16 bits, capped
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

TEST_F(NucLookupTest, NucValueOfAFramePosition) {
    std::vector<uint16_t> frame(10 * 8);
    for (uint32_t i = 0; i < frame.size(); ++i)
        frame[i] = static_cast<uint16_t>(100 + i % 10 + 10 * (i / 10));
    const uint32_t resolution = 10 | (8u << 16);
    uint16_t nuc = 0;
    // Samples 112..156 sum to 3350; without 112 and 156, 3082 = 23 * 134.
    ASSERT_EQ(get_NUC_value(frame.data(), resolution, point_t{4, 3}, &nuc), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 134);
    // Outside the frame: still 0 returned, nothing read outside, 0 written.
    ASSERT_EQ(get_NUC_value(frame.data(), resolution, point_t{10, 0}, &nuc), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 0);
    EXPECT_EQ(get_NUC_value(nullptr, resolution, point_t{4, 3}, &nuc), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_NUC_value(frame.data(), resolution, point_t{4, 3}, nullptr), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/libradimo/get_pixel_square_array: the point is invalid\n",
                                               "src/temp_correct/get_NUC_value: src is NULL\n",
                                               "src/temp_correct/get_NUC_value: nuc is NULL\n"));
}

TEST_F(NucLookupTest, FlatRunsAtTheTableEnds) {
    const auto bounds = [](const Table &t, uint16_t start, uint16_t end, int len) {
        const uint16_t in[2] = {start, end};
        std::vector<uint16_t> out{111, 222};
        EXPECT_EQ(find_start_and_end_addr(t.data(), in, len, out.data()), RADIMO_SUCCESS);
        return out;
    };
    const Table t{0, 0, 0, 5, 6, 7, 9, 9};
    EXPECT_THAT(bounds(t, 0, 7, 8), ElementsAre(3, 6));
    EXPECT_THAT(bounds(t, 3, 5, 0x10000 + 8), ElementsAre(4, 5));      // low 16 bits of len
    EXPECT_THAT(bounds(Table(8, 4), 2, 7, 8), ElementsAre(111, 222));  // runs reach both ends
    EXPECT_THAT(bounds(t, 8, 9, 8), ElementsAre(111, 222));            // outside the table: left alone
    uint16_t out[2];
    EXPECT_EQ(find_start_and_end_addr(t.data(), nullptr, 8, out), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/temp_correct/find_start_and_end_addr: data is NULL\n"));
}

}  // namespace
