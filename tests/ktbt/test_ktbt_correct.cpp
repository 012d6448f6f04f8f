// Forward and reverse KT/BT correction and the one-call temperature measurement.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using KtbtCorrectTest = radimo::test::LoggedTest;

struct Arrays {
    std::vector<uint16_t> kt;
    std::vector<int16_t> bt;
};

Arrays uniform(size_t len, uint16_t kt, int16_t bt) {
    return Arrays{std::vector<uint16_t>(len, kt), std::vector<int16_t>(len, bt)};
}

// Unit gain and offset = index: a corrected value reveals the index used.
Arrays index_revealing(size_t len) {
    Arrays a = uniform(len, 16384, 0);
    for (size_t i = 0; i < len; ++i) a.bt[i] = static_cast<int16_t>(i);
    return a;
}

ktbt_correct_param_t fwd(const Arrays &a, uint16_t vtemp, uint16_t ca = 100, int16_t k = 16384,
                         int16_t b = 0) {
    return ktbt_correct_param_t{k, b, ca, a.kt.data(), a.bt.data(), vtemp};
}

second_calib_param_t rev(uint16_t ca = 100, int16_t k = 16384, int16_t b = 0, uint16_t index_len = 1201) {
    second_calib_param_t p{};
    p.K_Temp = k;
    p.B_Temp = b;
    p.Address_CA = ca;
    p.ktbt_index_len = index_len;
    return p;
}

uint16_t corrected(const ktbt_correct_param_t &p, uint32_t nuc, bool v3 = false) {
    uint16_t out = 0xFFFF;
    EXPECT_EQ(v3 ? ktbt_correct_process_with_version3(&p, nuc, &out) : ktbt_correct_process(&p, nuc, &out),
              0);
    return out;
}

uint16_t reversed(const second_calib_param_t &p, const Arrays &a, int vtemp, uint32_t nuc, bool v3 = false) {
    uint16_t out = 0xFFFF;
    EXPECT_EQ(v3 ? reverse_ktbt_correct_with_version3(&p, a.kt.data(), a.bt.data(), nullptr, vtemp, nuc, &out)
                 : reverse_ktbt_correct(&p, a.kt.data(), a.bt.data(), nullptr, vtemp, nuc, &out),
              0);
    return out;
}

TEST_F(KtbtCorrectTest, ForwardWorkedValuesAndClamps) {
    EXPECT_EQ(corrected(fwd(uniform(1201, 16384, -20), 600), 1000), 980);
    EXPECT_EQ(corrected(fwd(uniform(1201, 16384, -20), 600), 10), 0);
    EXPECT_EQ(corrected(fwd(uniform(1201, 16384, 50), 600), 16383), 16383);
    EXPECT_EQ(corrected(fwd(uniform(1201, 8192, 0), 600), 0x10000u + 1001), 501);  // 500.5 rounds up
    EXPECT_EQ(corrected(fwd(uniform(1201, 65535, -32768), 600), 65535), 16383);    // product beyond 2^31
    const Arrays a = index_revealing(3601);
    EXPECT_EQ(corrected(fwd(a, 600), 1000), 1000 + 499);
    EXPECT_EQ(corrected(fwd(a, 0), 1000), 1000 + 0);
    EXPECT_EQ(corrected(fwd(a, 60000), 1000), 1000 + 1200);          // index clamp
    EXPECT_EQ(corrected(fwd(a, 60000, 3000), 1000), 1000 + 1094);    // T_FPA clamp at 4095
    EXPECT_EQ(corrected(fwd(a, 601, 100, 8192), 1000), 1000 + 200);  // T_FPA 300.5 rounds to 301
    EXPECT_EQ(corrected(fwd(a, 60000), 1000, true), 1000 + 3600);
    EXPECT_EQ(corrected(fwd(a, 60000, 14000), 1000, true), 1000 + 16383 - 14001);
    EXPECT_THAT(log.lines(), IsEmpty());  // nothing logged on success
}

TEST_F(KtbtCorrectTest, ReverseWorkedValuesAndTheDeliberateWrap) {
    // (1000 * 16384 - 8192) / 16384: the round trip loses one step at unit gain.
    EXPECT_EQ(reversed(rev(), uniform(1201, 16384, 0), 600, 1000), 999);
    // Below the offset: -16384 - 8192 wraps to 4294942720; / 21000 = 204521 keeps 7913.
    EXPECT_EQ(reversed(rev(), uniform(1201, 21000, 1), 600, 0), 7913);
    EXPECT_EQ(reversed(rev(), uniform(1201, 8192, 0), 600, 16000), 16383);
    // Offset = index: nuc 5000 at index i reverses to 5000 - i - 1; version 3 is
    // limited by the record's index count, the other form by 1200.
    const Arrays a = index_revealing(3601);
    EXPECT_EQ(reversed(rev(100, 16384, 0, 2000), a, 60000, 5000, true), 5000 - 1999 - 1);
    EXPECT_EQ(reversed(rev(100, 16384, 0, 2000), a, 1500, 5000, true), 5000 - 1399 - 1);
    EXPECT_EQ(reversed(rev(100, 16384, 0, 2000), a, 60000, 5000), 5000 - 1200 - 1);
}

TEST_F(KtbtCorrectTest, ForwardThenReverseAcrossTheIndexClamps) {
    for (const bool v3 : {false, true}) {
        const size_t len = v3 ? 3601 : 1201;
        Arrays a = uniform(len, 0, 0);
        for (size_t i = 0; i < len; ++i) {
            a.kt[i] = static_cast<uint16_t>(12000 + 7 * i % 8000);
            a.bt[i] = static_cast<int16_t>(static_cast<int>(i % 97) - 48);
        }
        for (int vtemp : {0, 180, 181, 182, 900, 1780, 1781, 5000, 22500, 40000, 65535}) {
            for (uint32_t n = 60; n < 12000; n += 131) {
                const uint16_t c = corrected(fwd(a, static_cast<uint16_t>(vtemp), 100, 12000, -30), n, v3);
                if (c == 0 || c == 16383) continue;
                // Same entry both ways; the forward rounding and the reverse minus 8192 cost at most two
                // steps.
                const int back = reversed(rev(100, 12000, -30, static_cast<uint16_t>(len)), a, vtemp, c, v3);
                EXPECT_TRUE(back <= static_cast<int>(n) && back + 2 >= static_cast<int>(n))
                    << vtemp << " " << n;
            }
        }
    }
}

TEST_F(KtbtCorrectTest, RejectedInputsAndTheirMessages) {
    const Arrays a = uniform(1201, 16384, 0), zero_gain = uniform(1201, 0, 0);
    ktbt_correct_param_t f = fwd(a, 600);
    const second_calib_param_t p = rev(), empty = rev(100, 16384, 0, 0);
    uint16_t out = 3;
    EXPECT_EQ(ktbt_correct_process(nullptr, 1, &out), RADIMO_ERR_PARAM);
    f.bt_array = nullptr;
    EXPECT_EQ(ktbt_correct_process_with_version3(&f, 1, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct(&p, a.kt.data(), a.bt.data(), nullptr, 600, 1, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct(&p, nullptr, a.bt.data(), nullptr, 600, 1, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct(&p, zero_gain.kt.data(), zero_gain.bt.data(), nullptr, 600, 1, &out),
              -1100);
    EXPECT_EQ(reverse_ktbt_correct_with_version3(&empty, a.kt.data(), a.bt.data(), nullptr, 600, 1, &out),
              -1100);
    EXPECT_EQ(out, 3);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/temp_correct/ktbt_correct_process: data is null\n",
                    "src/temp_correct/ktbt_correct_process_with_version3: kt_array or bt_array is NULL\n",
                    "src/temp_correct/reverse_ktbt_correct: ktbt_param or new_nuc is NULL\n",
                    "src/temp_correct/reverse_ktbt_correct: kt_array or bt_array is NULL\n",
                    "src/temp_correct/reverse_ktbt_correct: kt_array is invalid\n",
                    "src/temp_correct/reverse_ktbt_correct_with_version3: ktbt_index_len is invalid\n"));
}

TEST_F(KtbtCorrectTest, TemperatureOfARawNucValue) {
    std::vector<uint16_t> table(8192);
    for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint16_t>(4000 + i);
    const Arrays a = uniform(1201, 16384, -20);
    ktbt_correct_param_t p = fwd(a, 600);
    uint16_t temp = 0;
    ASSERT_EQ(temp_measure_with_NUC_value(&p, table.data(), 1000, &temp), RADIMO_SUCCESS);
    EXPECT_EQ(temp, 4000 + 980 / 2);
    ASSERT_EQ(temp_measure_with_NUC_value(&p, table.data(), 30000, &temp), RADIMO_SUCCESS);
    EXPECT_EQ(temp, 4000 + 8191);  // corrected value clamped to 16383
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(temp_measure_with_NUC_value(&p, nullptr, 1000, &temp), RADIMO_ERR_PARAM);
    p.bt_array = nullptr;
    EXPECT_EQ(temp_measure_with_NUC_value(&p, table.data(), 1000, &temp), RADIMO_ERR_KTBT_CORRECT);
    EXPECT_EQ(temp, 4000 + 8191);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/temp_correct/temp_measure_with_NUC_value: ktbt correct param or nuc_table or temp "
                    "data is in valid.\n",
                    "src/temp_correct/ktbt_correct_process: kt_array or bt_array is NULL\n",
                    "src/temp_correct/temp_measure_with_NUC_value: ktbt correct process failed\n"));
}

}  // namespace
