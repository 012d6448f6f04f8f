// Forward and reverse KT/BT correction and the one-call temperature measurement.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using radimo::test::LoggedTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Arrays {
    std::vector<uint16_t> kt;
    std::vector<int16_t> bt;
};

Arrays uniform_arrays(size_t len, uint16_t kt, int16_t bt) {
    return Arrays{std::vector<uint16_t>(len, kt), std::vector<int16_t>(len, bt)};
}

// Unit gain and offset = index: the corrected value reveals the index used.
Arrays index_revealing(size_t len) {
    Arrays a = uniform_arrays(len, 16384, 0);
    for (size_t i = 0; i < len; ++i) a.bt[i] = static_cast<int16_t>(i);
    return a;
}

ktbt_correct_param_t forward(const Arrays &a, uint16_t vtemp, uint16_t address_ca = 100,
                             int16_t k_temp = 16384, int16_t b_temp = 0) {
    return ktbt_correct_param_t{k_temp, b_temp, address_ca, a.kt.data(), a.bt.data(), vtemp};
}

second_calib_param_t reverse_params(uint16_t address_ca = 100, int16_t k_temp = 16384, int16_t b_temp = 0,
                                    uint16_t index_len = 1201) {
    second_calib_param_t p{};
    p.K_Temp = k_temp;
    p.B_Temp = b_temp;
    p.Address_CA = address_ca;
    p.ktbt_index_len = index_len;
    return p;
}

uint16_t corrected(const ktbt_correct_param_t &p, uint32_t nuc, bool version3 = false) {
    uint16_t out = 0xFFFF;
    const int rc =
        version3 ? ktbt_correct_process_with_version3(&p, nuc, &out) : ktbt_correct_process(&p, nuc, &out);
    EXPECT_EQ(rc, RADIMO_SUCCESS);
    return out;
}

using KtbtCorrectTest = LoggedTest;

TEST_F(KtbtCorrectTest, GainAndOffsetWithClampedResult) {
    const Arrays minus20 = uniform_arrays(1201, 16384, -20);
    const Arrays plus50 = uniform_arrays(1201, 16384, 50);
    EXPECT_EQ(corrected(forward(minus20, 600), 1000), 980);
    EXPECT_EQ(corrected(forward(minus20, 600), 10), 0);
    EXPECT_EQ(corrected(forward(plus50, 600), 16383), 16383);
    EXPECT_EQ(corrected(forward(plus50, 600), 0x10000u + 100), 150);  // low 16 bits of nuc
    // Half gain rounds: 1001 * 8192 / 16384 = 500.5 -> 501.
    const Arrays half = uniform_arrays(1201, 8192, 0);
    EXPECT_EQ(corrected(forward(half, 600), 1001), 501);
    // A gain product beyond 2^31 is not wrapped negative.
    const Arrays huge = uniform_arrays(1201, 65535, -32768);
    EXPECT_EQ(corrected(forward(huge, 600), 65535), 16383);
    EXPECT_THAT(log.lines(), IsEmpty());  // nothing logged on success
}

TEST_F(KtbtCorrectTest, FocalPlaneTemperatureAndIndexAreClamped) {
    const Arrays a = index_revealing(1201);
    EXPECT_EQ(corrected(forward(a, 600), 1000), 1000 + 499);
    EXPECT_EQ(corrected(forward(a, 0), 1000), 1000 + 0);         // index below 0
    EXPECT_EQ(corrected(forward(a, 60000), 1000), 1000 + 1200);  // 4095 - 101, clamped to 1200
    // With the arrays starting at 3000, the T_FPA clamp at 4095 decides: index 1094.
    EXPECT_EQ(corrected(forward(a, 60000, 3000), 1000), 1000 + 1094);
    // Rounded Q14 product: 601 * 8192 / 16384 = 300.5 -> 301.
    EXPECT_EQ(corrected(forward(a, 601, 100, 8192), 1000), 1000 + 200);
}

TEST_F(KtbtCorrectTest, Version3UsesTheLongRanges) {
    const Arrays a = index_revealing(3601);
    EXPECT_EQ(corrected(forward(a, 60000), 1000, true), 1000 + 3600);
    EXPECT_EQ(corrected(forward(a, 60000, 14000), 1000, true), 1000 + 16383 - 14001);
    EXPECT_EQ(corrected(forward(a, 2000), 1000, true), 1000 + 1899);
}

TEST_F(KtbtCorrectTest, ForwardRejectsNulls) {
    const Arrays a = uniform_arrays(1201, 16384, 0);
    ktbt_correct_param_t p = forward(a, 600);
    uint16_t out = 5;
    EXPECT_EQ(ktbt_correct_process(nullptr, 1, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(ktbt_correct_process(&p, 1, nullptr), RADIMO_ERR_PARAM);
    p.kt_array = nullptr;
    EXPECT_EQ(ktbt_correct_process(&p, 1, &out), RADIMO_ERR_PARAM);
    p.kt_array = a.kt.data();
    p.bt_array = nullptr;
    EXPECT_EQ(ktbt_correct_process_with_version3(&p, 1, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(ktbt_correct_process_with_version3(nullptr, 1, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(out, 5);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/temp_correct/ktbt_correct_process: data is null\n",
                    "src/temp_correct/ktbt_correct_process: data is null\n",
                    "src/temp_correct/ktbt_correct_process: kt_array or bt_array is NULL\n",
                    "src/temp_correct/ktbt_correct_process_with_version3: kt_array or bt_array is NULL\n",
                    "src/temp_correct/ktbt_correct_process_with_version3: data is null\n"));
}

uint16_t reversed(const second_calib_param_t &p, const Arrays &a, int vtemp, uint32_t nuc,
                  bool version3 = false) {
    uint16_t out = 0xFFFF;
    const int rc =
        version3 ? reverse_ktbt_correct_with_version3(&p, a.kt.data(), a.bt.data(), nullptr, vtemp, nuc, &out)
                 : reverse_ktbt_correct(&p, a.kt.data(), a.bt.data(), nullptr, vtemp, nuc, &out);
    EXPECT_EQ(rc, RADIMO_SUCCESS);
    return out;
}

TEST_F(KtbtCorrectTest, ReverseWorkedValuesAndTheDeliberateWrap) {
    const second_calib_param_t p = reverse_params();
    // (1000 * 16384 - 8192) / 16384: the round trip loses one step at unit gain.
    EXPECT_EQ(reversed(p, uniform_arrays(1201, 16384, 0), 600, 1000), 999);
    EXPECT_EQ(reversed(p, uniform_arrays(1201, 16384, -20), 600, 980), 999);
    // Below the offset: (0 - 1) * 16384 - 8192 wraps to 4294942720; / 21000 = 204521,
    // whose low 16 bits are 7913.
    EXPECT_EQ(reversed(p, uniform_arrays(1201, 21000, 1), 600, 0), 7913);
    // Quotients beyond 16383 are capped.
    EXPECT_EQ(reversed(p, uniform_arrays(1201, 8192, 0), 600, 16000), 16383);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KtbtCorrectTest, Version3ReverseIsLimitedByTheRecordIndexCount) {
    const Arrays a = index_revealing(3601);
    const second_calib_param_t p = reverse_params(100, 16384, 0, 2000);
    // Offset = index: nuc 5000 at index i reverses to 5000 - i - 1.
    EXPECT_EQ(reversed(p, a, 60000, 5000, true), 5000 - 1999 - 1);
    EXPECT_EQ(reversed(p, a, 0, 5000, true), 5000 - 0 - 1);
    EXPECT_EQ(reversed(p, a, 1500, 5000, true), 5000 - 1399 - 1);
    // The 1201-entry form clamps T_FPA to 4095 and the index to 1200.
    EXPECT_EQ(reversed(p, a, 60000, 5000), 5000 - 1200 - 1);
}

TEST_F(KtbtCorrectTest, ForwardThenReverseAcrossTheIndexClamps) {
    for (const bool version3 : {false, true}) {
        const size_t len = version3 ? 3601 : 1201;
        Arrays a = uniform_arrays(len, 0, 0);
        for (size_t i = 0; i < len; ++i) {
            a.kt[i] = static_cast<uint16_t>(12000 + 7 * i % 8000);
            a.bt[i] = static_cast<int16_t>(static_cast<int>(i % 97) - 48);
        }
        const second_calib_param_t p = reverse_params(100, 12000, -30, static_cast<uint16_t>(len));
        for (int vtemp : {0, 100, 180, 181, 182, 900, 1700, 1780, 1781, 5000, 22500, 40000, 65535}) {
            const ktbt_correct_param_t f = forward(a, static_cast<uint16_t>(vtemp), 100, 12000, -30);
            for (uint32_t n = 60; n < 12000; n += 131) {
                const uint16_t c = corrected(f, n, version3);
                if (c == 0 || c == 16383) continue;
                const uint16_t back = reversed(p, a, vtemp, c, version3);
                // Both directions pick the same entry; the rounding of the forward
                // product and the minus 8192 of the reverse cost at most two steps.
                EXPECT_LE(back, n) << vtemp << " " << n;
                EXPECT_GE(back + 2, static_cast<int>(n)) << vtemp << " " << n;
            }
        }
    }
}

TEST_F(KtbtCorrectTest, ReverseRejectsNullsZeroGainAndNoIndices) {
    const Arrays a = uniform_arrays(1201, 16384, 0);
    const Arrays zero_gain = uniform_arrays(1201, 0, 0);
    const second_calib_param_t p = reverse_params();
    const second_calib_param_t empty = reverse_params(100, 16384, 0, 0);
    uint16_t out = 3;
    EXPECT_EQ(reverse_ktbt_correct(nullptr, a.kt.data(), a.bt.data(), nullptr, 600, 1, &out),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct(&p, a.kt.data(), a.bt.data(), nullptr, 600, 1, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct(&p, nullptr, a.bt.data(), nullptr, 600, 1, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct(&p, zero_gain.kt.data(), zero_gain.bt.data(), nullptr, 600, 1, &out),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct_with_version3(&p, a.kt.data(), nullptr, nullptr, 600, 1, &out),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct_with_version3(&empty, a.kt.data(), a.bt.data(), nullptr, 600, 1, &out),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct_with_version3(&p, zero_gain.kt.data(), zero_gain.bt.data(), nullptr, 600,
                                                 1, &out),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(out, 3);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/temp_correct/reverse_ktbt_correct: ktbt_param or new_nuc is NULL\n",
                    "src/temp_correct/reverse_ktbt_correct: ktbt_param or new_nuc is NULL\n",
                    "src/temp_correct/reverse_ktbt_correct: kt_array or bt_array is NULL\n",
                    "src/temp_correct/reverse_ktbt_correct: kt_array is invalid\n",
                    "src/temp_correct/reverse_ktbt_correct_with_version3: kt_array or bt_array is NULL\n",
                    "src/temp_correct/reverse_ktbt_correct_with_version3: ktbt_index_len is invalid\n",
                    "src/temp_correct/reverse_ktbt_correct_with_version3: kt_array is invalid\n"));
}

using TempMeasureTest = LoggedTest;

TEST_F(TempMeasureTest, CorrectsThenLooksUp) {
    std::vector<uint16_t> table(8192);
    for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint16_t>(4000 + i);
    const Arrays a = uniform_arrays(1201, 16384, -20);
    const ktbt_correct_param_t p = forward(a, 600);
    uint16_t temp = 0;
    ASSERT_EQ(temp_measure_with_NUC_value(&p, table.data(), 1000, &temp), RADIMO_SUCCESS);
    EXPECT_EQ(temp, 4000 + 980 / 2);
    ASSERT_EQ(temp_measure_with_NUC_value(&p, table.data(), 30000, &temp), RADIMO_SUCCESS);
    EXPECT_EQ(temp, 4000 + 8191);  // corrected value clamped to 16383
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TempMeasureTest, FailuresReportTheirOwnLine) {
    const std::vector<uint16_t> table(8192, 4000);
    const Arrays a = uniform_arrays(1201, 16384, 0);
    ktbt_correct_param_t p = forward(a, 600);
    uint16_t temp = 77;
    EXPECT_EQ(temp_measure_with_NUC_value(&p, nullptr, 1000, &temp), RADIMO_ERR_PARAM);
    EXPECT_EQ(temp_measure_with_NUC_value(&p, table.data(), 1000, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(temp_measure_with_NUC_value(nullptr, table.data(), 1000, &temp), RADIMO_ERR_PARAM);
    p.bt_array = nullptr;
    EXPECT_EQ(temp_measure_with_NUC_value(&p, table.data(), 1000, &temp), RADIMO_ERR_KTBT_CORRECT);
    EXPECT_EQ(temp, 77);
    const std::string invalid =
        "src/temp_correct/temp_measure_with_NUC_value: ktbt correct param or nuc_table or temp data is in "
        "valid.\n";
    EXPECT_THAT(log.error_trace(),
                ElementsAre(invalid, invalid, invalid,
                            "src/temp_correct/ktbt_correct_process: kt_array or bt_array is NULL\n",
                            "src/temp_correct/temp_measure_with_NUC_value: ktbt correct process failed\n"));
}

}  // namespace
