// KT/BT index of a focal-plane reading: rounded (internal) and truncated (lens change).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "ktbt/ktbt_index.h"
#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using radimo::ktbt::calculate_ktbt_index_according_vtemp;
using ::testing::ElementsAre;
using KtbtIndexTest = radimo::test::LoggedTest;

second_calib_param_t params(int16_t k_temp, int16_t b_temp, uint16_t address_ca, uint16_t index_len) {
    second_calib_param_t p{};
    p.K_Temp = k_temp;
    p.B_Temp = b_temp;
    p.Address_CA = address_ca;
    p.ktbt_index_len = index_len;
    return p;
}

TEST_F(KtbtIndexTest, WorkedValueClampsAndDebugLines) {
    const second_calib_param_t p = params(16384, -50, 100, 1201);
    int rounded = -5, truncated = -5;
    ASSERT_EQ(calculate_ktbt_index_according_vtemp(650, &p, &rounded), RADIMO_SUCCESS);
    ASSERT_EQ(calculate_ktbt_index_according_vtemp_in_change_lens(0x10000 + 650, &p, &truncated),
              RADIMO_SUCCESS);
    EXPECT_EQ(rounded, 499);  // T_FPA 600
    EXPECT_EQ(truncated, 499);
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("ktbt_index = 499\n", "B_Temp = -50\n", "Address_CA = 100\n", "K_Temp = 16384\n",
                            "T_FPA = 600\n", "ktbt_index = 499\n", "B_Temp = -50\n", "Address_CA = 100\n",
                            "K_Temp = 16384\n", "T_FPA = 600\n"));
    EXPECT_EQ(log.lines()[0].where_what(),
              "src/sencond_cal/calculate_ktbt_index_according_vtemp: ktbt_index = 499\n");
    EXPECT_EQ(log.lines()[5].function, "calculate_ktbt_index_according_vtemp_in_change_lens");
    log.clear();
    // The index is clamped to 0 .. ktbt_index_len - 1; the logged T_FPA is not.
    calculate_ktbt_index_according_vtemp(20, &p, &rounded);
    calculate_ktbt_index_according_vtemp_in_change_lens(-1, &p, &truncated);  // vtemp 65535
    EXPECT_EQ(rounded, 0);
    EXPECT_EQ(truncated, 1200);
    EXPECT_EQ(log.debug_texts()[4], "T_FPA = -30\n");
    EXPECT_EQ(log.debug_texts()[9], "T_FPA = 65485\n");
    EXPECT_EQ(calculate_ktbt_index_according_vtemp_in_change_lens(600, nullptr, &rounded), RADIMO_ERR_PARAM);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/sencond_cal/calculate_ktbt_index_according_vtemp_in_change_lens: data is NULL\n"));
}

TEST_F(KtbtIndexTest, RoundedAndTruncatedProductsDifferByAtMostOne) {
    bool differ = false;
    for (int16_t k_temp : {16384, 8193, 12345, 20000, 30001, -9000}) {
        const second_calib_param_t p = params(k_temp, 37, 10, 60000);
        for (int vtemp = 0; vtemp < 65536; vtemp += 97) {
            int rounded = 0, truncated = 0;
            calculate_ktbt_index_according_vtemp(vtemp, &p, &rounded);
            calculate_ktbt_index_according_vtemp_in_change_lens(vtemp, &p, &truncated);
            EXPECT_TRUE(rounded == truncated || rounded == truncated + 1) << k_temp << " " << vtemp;
            differ = differ || rounded != truncated;
        }
        log.clear();
    }
    EXPECT_TRUE(differ);
}

}  // namespace
