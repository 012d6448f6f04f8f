// Second-stage (K, B) recalibration and the offset of a line over the KT/BT index range.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <random>

#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using radimo::test::LoggedTest;
using ::testing::ElementsAre;

// The two-stage reading: ((K1 x + B1) K / 1024 + B) / 1024.
double two_stage(const kb_param_t &first, const kb_param_t &second, uint32_t x) {
    const double y = static_cast<double>(first.K) * x + first.B;
    return (y * second.K / 1024.0 + second.B) / 1024.0;
}

using KbTest = LoggedTest;

TEST_F(KbTest, SinglePointPassesTheFirstStageThroughAndShiftsIt) {
    const kb_param_t first{2, 10};
    kb_param_t kb{0, 0};
    ASSERT_EQ(single_point_recalibrate_KB(&first, 100, &kb, 1.0), RADIMO_SUCCESS);
    EXPECT_EQ(kb.K, 1024);
    EXPECT_EQ(kb.B, 1024 - 210);
    ASSERT_EQ(single_point_recalibrate_KB(&first, 100, &kb, -0.5), RADIMO_SUCCESS);
    EXPECT_EQ(kb.B, -512 - 210);
}

TEST_F(KbTest, DoublePointWorkedValue) {
    const kb_param_t first{2, 10};
    const uint32_t x[2] = {1000, 200};
    const double target[2] = {50.0, 10.0};
    kb_param_t kb{0, 0};
    ASSERT_EQ(double_point_recalibrate_KB(&first, x, target, &kb), RADIMO_SUCCESS);
    EXPECT_EQ(kb.K, 26214);  // 40 * 2^20 / 1600, truncated
    EXPECT_EQ(kb.B, -255);   // 51200 - 2010 * 26214 / 1024, truncated
}

TEST_F(KbTest, DoublePointHitsBothTargetsWithinTruncation) {
    std::mt19937 rng(11);
    for (int n = 0; n < 500; ++n) {
        const kb_param_t first{std::uniform_int_distribution<int>(1, 4000)(rng),
                               std::uniform_int_distribution<int>(-100000, 100000)(rng)};
        const uint32_t x[2] = {std::uniform_int_distribution<uint32_t>(0, 16383)(rng),
                               std::uniform_int_distribution<uint32_t>(0, 16383)(rng)};
        if (x[0] == x[1]) continue;
        const double target[2] = {std::uniform_real_distribution<double>(-40, 120)(rng),
                                  std::uniform_real_distribution<double>(-40, 120)(rng)};
        const double ya = static_cast<double>(first.K) * x[0] + first.B;
        if (std::abs(ya * 4e5) > 2e9) continue;  // keep ya * K inside 32 bits
        kb_param_t kb{0, 0};
        ASSERT_EQ(double_point_recalibrate_KB(&first, x, target, &kb), RADIMO_SUCCESS);
        if (std::abs(ya * kb.K) > 2e9) continue;
        // K is truncated to whole Q10 steps: the error grows with the first-stage output.
        const double slack =
            (std::abs(ya) + 1e5) / 1048576.0 + std::abs(first.K * 16384.0) / 1048576.0 + 0.01;
        EXPECT_NEAR(two_stage(first, kb, x[0]), target[0], slack);
        EXPECT_NEAR(two_stage(first, kb, x[1]), target[1],
                    2 * slack + std::abs(target[0] - target[1]) * 1e-3);
    }
}

TEST_F(KbTest, ZeroDivisorsAndNullsAreRejected) {
    const kb_param_t first{2, 10};
    const kb_param_t flat{0, 10};
    const uint32_t same[2] = {500, 500};
    const uint32_t apart[2] = {600, 500};
    const uint32_t wrapping[2] = {65536, 0};
    const kb_param_t wrap_gain{65536, 0};  // 65536 * 65536 wraps to 0 in 32 bits
    const double target[2] = {1.0, 2.0};
    kb_param_t kb{7, 8};
    EXPECT_EQ(double_point_recalibrate_KB(&first, same, target, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(double_point_recalibrate_KB(&flat, apart, target, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(double_point_recalibrate_KB(&wrap_gain, wrapping, target, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(double_point_recalibrate_KB(nullptr, apart, target, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(double_point_recalibrate_KB(&first, nullptr, target, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(double_point_recalibrate_KB(&first, apart, nullptr, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(double_point_recalibrate_KB(&first, apart, target, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(single_point_recalibrate_KB(nullptr, 1, &kb, 1.0), RADIMO_ERR_PARAM);
    EXPECT_EQ(single_point_recalibrate_KB(&first, 1, nullptr, 1.0), RADIMO_ERR_PARAM);
    EXPECT_EQ(kb.K, 7);
    EXPECT_EQ(kb.B, 8);
    const std::string invalid = "src/temp_correct/double_point_recalibrate_KB: data is invalid\n";
    const std::string null = "src/temp_correct/double_point_recalibrate_KB: data is NULL\n";
    const std::string single = "src/temp_correct/single_point_recalibrate_KB: data is NULL\n";
    EXPECT_THAT(log.error_trace(),
                ElementsAre(invalid, invalid, invalid, null, null, null, null, single, single));
}

second_calib_param_t kt_info(int16_t k_temp, int16_t b_temp, uint16_t address_ca) {
    second_calib_param_t p{};
    p.K_Temp = k_temp;
    p.B_Temp = b_temp;
    p.Address_CA = address_ca;
    p.ktbt_index_len = 1201;
    return p;
}

TEST_F(KbTest, LineOffsetThroughTheEndOfTheIndexRange) {
    const second_calib_param_t info = kt_info(16384, 0, 100);
    const uint16_t index[2] = {0, 1200};
    const uint32_t value = 5;
    kb_param_t kb{3, 0};
    ASSERT_EQ(calculate_Kn_and_Bn(&info, index, &value, &kb), RADIMO_SUCCESS);
    EXPECT_EQ(kb.K, 3);  // read, not written
    EXPECT_EQ(kb.B, 5 * 1024 - 1301 * 3);
}

TEST_F(KbTest, EndVtempMapsBackOntoTheEndIndex) {
    // With K = -1 and value 0 the offset is the end vtemp itself.
    for (int16_t k_temp : {16384, 12000, 20000, 8191}) {
        for (int16_t b_temp : {-300, 0, 250}) {
            const second_calib_param_t info = kt_info(k_temp, b_temp, 150);
            const uint16_t index[2] = {10, 900};
            const uint32_t zero = 0;
            kb_param_t kb{-1, 0};
            ASSERT_EQ(calculate_Kn_and_Bn(&info, index, &zero, &kb), RADIMO_SUCCESS);
            int back = -1;
            ASSERT_EQ(calculate_ktbt_index_according_vtemp_in_change_lens(kb.B, &info, &back),
                      RADIMO_SUCCESS);
            // Both divisions truncate: at most one vtemp step (k_temp / 16384 indices) plus one short.
            EXPECT_GE(back, 900 - 1 - k_temp / 16384) << k_temp << " " << b_temp;
            EXPECT_LE(back, 900) << k_temp << " " << b_temp;
        }
    }
}

TEST_F(KbTest, LineOffsetRejectsDegenerateRanges) {
    const second_calib_param_t info = kt_info(16384, 0, 100);
    const second_calib_param_t no_gain = kt_info(0, 0, 100);
    const uint16_t equal[2] = {500, 500};
    const uint16_t range[2] = {0, 500};
    const uint32_t value = 5;
    kb_param_t kb{3, 4};
    EXPECT_EQ(calculate_Kn_and_Bn(&info, equal, &value, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_Kn_and_Bn(&no_gain, range, &value, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_Kn_and_Bn(nullptr, range, &value, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_Kn_and_Bn(&info, nullptr, &value, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_Kn_and_Bn(&info, range, nullptr, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_Kn_and_Bn(&info, range, &value, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(kb.K, 3);
    EXPECT_EQ(kb.B, 4);
    EXPECT_THAT(log.error_texts(),
                ElementsAre("kt_info is invalid\n", "kt_info is invalid\n", "data is NULL\n",
                            "data is NULL\n", "data is NULL\n", "data is NULL\n"));
}

TEST_F(KbTest, LineOffsetWrapsInsteadOfOverflowing) {
    // (65535 + 65535 + 1 + 1) * 16384 = 2^31 wraps to INT32_MIN; dividing by -1 wraps again.
    const second_calib_param_t info = kt_info(-1, -1, 65535);
    const uint16_t index[2] = {0, 65535};
    const uint32_t zero = 0;
    kb_param_t kb{-1, 0};
    ASSERT_EQ(calculate_Kn_and_Bn(&info, index, &zero, &kb), RADIMO_SUCCESS);
    EXPECT_EQ(kb.B, INT32_MIN);
}

}  // namespace
