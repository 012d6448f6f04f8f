// KT/BT index of a focal-plane reading: rounded (internal) and truncated (lens change).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "ktbt/ktbt_index.h"
#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using radimo::ktbt::calculate_ktbt_index_according_vtemp;
using radimo::test::LoggedTest;
using ::testing::ElementsAre;

second_calib_param_t params(int16_t k_temp, int16_t b_temp, uint16_t address_ca, uint16_t index_len = 1201) {
    second_calib_param_t p{};
    p.K_Temp = k_temp;
    p.B_Temp = b_temp;
    p.Address_CA = address_ca;
    p.ktbt_index_len = index_len;
    return p;
}

using KtbtIndexTest = LoggedTest;

TEST_F(KtbtIndexTest, WorkedValueWithTheFiveDebugLines) {
    const second_calib_param_t p = params(16384, 0, 100);
    int index = -5;
    ASSERT_EQ(calculate_ktbt_index_according_vtemp(600, &p, &index), RADIMO_SUCCESS);
    EXPECT_EQ(index, 499);
    ASSERT_EQ(calculate_ktbt_index_according_vtemp_in_change_lens(600, &p, &index), RADIMO_SUCCESS);
    EXPECT_EQ(index, 499);
    const auto expected = ElementsAre(
        "ktbt_index = 499\n", "B_Temp = 0\n", "Address_CA = 100\n", "K_Temp = 16384\n", "T_FPA = 600\n",
        "ktbt_index = 499\n", "B_Temp = 0\n", "Address_CA = 100\n", "K_Temp = 16384\n", "T_FPA = 600\n");
    EXPECT_THAT(log.debug_texts(), expected);
    const auto lines = log.debugs();
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].module, "src/sencond_cal");
        EXPECT_EQ(lines[i].function, i < 5 ? "calculate_ktbt_index_according_vtemp"
                                           : "calculate_ktbt_index_according_vtemp_in_change_lens");
    }
}

TEST_F(KtbtIndexTest, IndexIsClampedButTheLoggedTFpaIsNot) {
    const second_calib_param_t p = params(16384, -50, 100, 1201);
    int index = 0;
    ASSERT_EQ(calculate_ktbt_index_according_vtemp(20, &p, &index), RADIMO_SUCCESS);
    EXPECT_EQ(index, 0);
    EXPECT_EQ(log.debug_texts()[4], "T_FPA = -30\n");
    ASSERT_EQ(calculate_ktbt_index_according_vtemp_in_change_lens(5000, &p, &index), RADIMO_SUCCESS);
    EXPECT_EQ(index, 1200);
    EXPECT_EQ(log.debug_texts()[9], "T_FPA = 4950\n");
    // Only the low 16 bits of vtemp count.
    ASSERT_EQ(calculate_ktbt_index_according_vtemp(0x10000 + 600, &p, &index), RADIMO_SUCCESS);
    EXPECT_EQ(index, 449);
    ASSERT_EQ(calculate_ktbt_index_according_vtemp_in_change_lens(-1, &p, &index), RADIMO_SUCCESS);
    EXPECT_EQ(index, 1200);  // 65535
}

TEST_F(KtbtIndexTest, RoundedAndTruncatedProductsDifferByAtMostOne) {
    bool differ = false;
    for (int16_t k_temp : {16384, 8193, 12345, 20000, 30001, -9000}) {
        const second_calib_param_t p = params(k_temp, 37, 10, 60000);
        for (int vtemp = 0; vtemp < 65536; vtemp += 97) {
            int rounded = 0;
            int truncated = 0;
            calculate_ktbt_index_according_vtemp(vtemp, &p, &rounded);
            calculate_ktbt_index_according_vtemp_in_change_lens(vtemp, &p, &truncated);
            EXPECT_GE(rounded, truncated);
            EXPECT_LE(rounded - truncated, 1) << k_temp << " " << vtemp;
            differ = differ || rounded != truncated;
        }
        log.clear();
    }
    EXPECT_TRUE(differ);
}

TEST_F(KtbtIndexTest, ChangeLensRejectsNulls) {
    const second_calib_param_t p = params(16384, 0, 100);
    int index = 7;
    EXPECT_EQ(calculate_ktbt_index_according_vtemp_in_change_lens(600, nullptr, &index), RADIMO_ERR_PARAM);
    EXPECT_EQ(calculate_ktbt_index_according_vtemp_in_change_lens(600, &p, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(index, 7);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/sencond_cal/calculate_ktbt_index_according_vtemp_in_change_lens: data is NULL\n",
                    "src/sencond_cal/calculate_ktbt_index_according_vtemp_in_change_lens: data is NULL\n"));
}

}  // namespace
