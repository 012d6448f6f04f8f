// One stretch of an 8192-entry table corrected from three calibration points.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "calib/calib_tables.h"
#include "libradimo.h"
#include "support/log_capture.h"

using radimo::test::linear_table;
using radimo::test::reversed;

namespace {

constexpr uint32_t kLen = 8192;

struct StretchCase {
    uint16_t s0, s2;
    uint32_t from, to;
};

class OnePointStretch : public ::testing::TestWithParam<StretchCase> {};

// Every point reads 200 NUC (100 entries) above its setting, so the rebuilt
// stretch is the old table shifted up by 100 entries, flat at the minimum
// where the shift reaches below entry 0. A third setting equal to the second
// makes the last segment's slope 0/0: the map and the rebuild are then NaN,
// which ends at the minimum everywhere.
TEST_P(OnePointStretch, CopiesOnlyTheChosenStretchOfTheRebuild) {
    const StretchCase c = GetParam();
    const std::vector<uint16_t> old = linear_table(kLen, 2000, 3);
    std::vector<uint16_t> table = old, out(kLen);
    multi_point_nuc_t points[] = {
        {static_cast<uint16_t>(c.s0 + 200), c.s0}, {3200, 3000}, {static_cast<uint16_t>(c.s2 + 200), c.s2}};
    ASSERT_EQ(multi_point_calc_one_point_correct(table.data(), points, 3, out.data()), RADIMO_SUCCESS);
    for (uint32_t i = 0; i < kLen; ++i) {
        const uint16_t rebuilt = i < 100 || c.s2 == 3000 ? old[0] : old[i - 100];
        ASSERT_EQ(out[i], i >= c.from && i < c.to ? rebuilt : old[i]) << i;
    }
    EXPECT_EQ(table, old);
}

// (1000, 3000, 3000): s2 equal to s1 corrects below the first point, not above it.
// A first setting of 0 or 1 with the third below it corrects nothing.
INSTANTIATE_TEST_SUITE_P(ThirdPoint, OnePointStretch,
                         ::testing::Values(StretchCase{1000, 2000, 500, 1500}, StretchCase{1000, 500, 0, 500},
                                           StretchCase{1000, 3000, 0, 500},
                                           StretchCase{1000, 5000, 1500, kLen}, StretchCase{0, 0, 0, 0},
                                           StretchCase{1, 0, 0, 0}),
                         [](const auto &info) {
                             return "s0_" + std::to_string(info.param.s0) + "_s2_" +
                                    std::to_string(info.param.s2);
                         });

TEST(OnePointCorrect, FallingTableGivesTheMirrorOfTheRisingResult) {
    const std::vector<uint16_t> rising = linear_table(kLen, 2000, 3);
    std::vector<uint16_t> table = rising, rising_out(kLen), falling_out(kLen);
    multi_point_nuc_t points[] = {{1200, 1000}, {3200, 3000}, {2200, 2000}};
    ASSERT_EQ(multi_point_calc_one_point_correct(table.data(), points, 3, rising_out.data()), 0);
    table = reversed(rising);
    multi_point_nuc_t mirrored[] = {{15184, 15384}, {13184, 13384}, {14184, 14384}};
    ASSERT_EQ(multi_point_calc_one_point_correct(table.data(), mirrored, 3, falling_out.data()), 0);
    EXPECT_EQ(falling_out, reversed(rising_out));
    EXPECT_EQ(table, reversed(rising));
}

class OnePointLog : public radimo::test::LoggedTest {};

TEST_F(OnePointLog, Failures) {
    std::vector<uint16_t> table = linear_table(kLen, 2000, 3), out(kLen);
    multi_point_nuc_t points[] = {{3200, 3000}, {1200, 1000}, {2200, 2000}};
    EXPECT_EQ(multi_point_calc_one_point_correct(table.data(), points, 2, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(multi_point_calc_one_point_correct(table.data(), points, 3, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(multi_point_calc_one_point_correct(nullptr, points, 3, out.data()), RADIMO_ERR_PARAM);
    multi_point_nuc_t beyond[] = {{40000, 40000}, {50000, 50000}, {45000, 45000}};
    EXPECT_EQ(multi_point_calc_one_point_correct(table.data(), beyond, 3, out.data()), RADIMO_ERR_VERSION);
    const std::string where = "src/temp_correct/multi_point_calc_one_point_correct: ";
    EXPECT_THAT(
        log.error_trace(),
        ::testing::ElementsAre(
            where + "temp num is in valid.\n",
            where + "the sencond temperature point must greater than the first temperature point.3000 1000\n",
            where + "input param is invalid\n",
            "src/temp_correct/multi_point_calc_new_nuc_table: input param is invalid\n",
            where + "multi_point_calc_new_nuc_table failed\n"));
}

}  // namespace
