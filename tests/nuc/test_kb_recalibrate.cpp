// Second-stage (K, B) recalibration and the offset of a line over the KT/BT index range.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using ::testing::ElementsAre;
using KbTest = radimo::test::LoggedTest;

TEST_F(KbTest, SingleAndDoublePointRecalibration) {
    const kb_param_t first{2, 10};
    kb_param_t kb{0, 0};
    ASSERT_EQ(single_point_recalibrate_KB(&first, 100, &kb, 1.0), RADIMO_SUCCESS);
    EXPECT_EQ(kb.K, 1024);
    EXPECT_EQ(kb.B, 1024 - 210);
    const uint32_t x[2] = {1000, 200};
    const double target[2] = {50.0, 10.0};
    ASSERT_EQ(double_point_recalibrate_KB(&first, x, target, &kb), RADIMO_SUCCESS);
    EXPECT_EQ(kb.K, 26214);  // 40 * 2^20 / 1600, truncated
    EXPECT_EQ(kb.B, -255);   // 51200 - 2010 * 26214 / 1024, truncated
    // The second stage now yields both targets within truncation.
    for (int i = 0; i < 2; ++i) EXPECT_NEAR(((2.0 * x[i] + 10) * kb.K / 1024 + kb.B) / 1024, target[i], 2e-3);
}

TEST_F(KbTest, ZeroDivisorsAndNullsAreRejected) {
    const kb_param_t first{2, 10}, flat{0, 10}, wrap_gain{65536, 0};
    const uint32_t same[2] = {500, 500}, apart[2] = {600, 500},
                   wide[2] = {65536, 0};  // 2^16 * 2^16 wraps to 0
    const double target[2] = {1.0, 2.0};
    kb_param_t kb{7, 8};
    EXPECT_EQ(double_point_recalibrate_KB(&first, same, target, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(double_point_recalibrate_KB(&flat, apart, target, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(double_point_recalibrate_KB(&wrap_gain, wide, target, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(double_point_recalibrate_KB(&first, apart, nullptr, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(single_point_recalibrate_KB(&first, 1, nullptr, 1.0), RADIMO_ERR_PARAM);
    EXPECT_EQ(kb.K, 7);
    EXPECT_EQ(kb.B, 8);
    const std::string invalid = "src/temp_correct/double_point_recalibrate_KB: data is invalid\n";
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre(invalid, invalid, invalid, "src/temp_correct/double_point_recalibrate_KB: data is NULL\n",
                    "src/temp_correct/single_point_recalibrate_KB: data is NULL\n"));
}

TEST_F(KbTest, LineOffsetThroughTheEndOfTheIndexRange) {
    second_calib_param_t info{};
    info.K_Temp = 16384;
    info.Address_CA = 100;
    info.ktbt_index_len = 1201;
    const uint16_t range[2] = {0, 1200}, equal[2] = {500, 500};
    const uint32_t value = 5;
    kb_param_t kb{3, 0};
    ASSERT_EQ(calculate_Kn_and_Bn(&info, range, &value, &kb), RADIMO_SUCCESS);
    EXPECT_EQ(kb.K, 3);                    // read, not written
    EXPECT_EQ(kb.B, 5 * 1024 - 1301 * 3);  // the vtemp of index 1200 is 1301
    EXPECT_EQ(calculate_Kn_and_Bn(&info, equal, &value, &kb), RADIMO_ERR_PARAM);
    info.K_Temp = 0;
    EXPECT_EQ(calculate_Kn_and_Bn(&info, range, &value, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_Kn_and_Bn(&info, range, nullptr, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(kb.B, 5 * 1024 - 1301 * 3);
    EXPECT_THAT(log.error_texts(),
                ElementsAre("kt_info is invalid\n", "kt_info is invalid\n", "data is NULL\n"));
    // (65535 + 65535 + 1 + 1) * 16384 wraps to INT32_MIN; dividing by -1 wraps again.
    info = second_calib_param_t{-1, -1, 65535, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const uint16_t top[2] = {0, 65535};
    const uint32_t zero = 0;
    kb = kb_param_t{-1, 0};
    ASSERT_EQ(calculate_Kn_and_Bn(&info, top, &zero, &kb), RADIMO_SUCCESS);
    EXPECT_EQ(kb.B, INT32_MIN);
}

}  // namespace
