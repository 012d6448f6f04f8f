// KT/BT index, forward and reverse correction, and the one-call temperature measurement.
#include "ktbt/ktbt_index.h"
#include "support/prelude.h"

namespace {
using KtbtTest = radimo::test::LoggedTest;
constexpr auto record = radimo::test::ktbt_record;

struct Arrays {
    std::vector<uint16_t> kt;
    std::vector<int16_t> bt;
};

Arrays arrays(size_t len, uint16_t kt, int16_t bt) {
    return Arrays{std::vector<uint16_t>(len, kt), std::vector<int16_t>(len, bt)};
}

// Unit gain and offset = index: a corrected value reveals the index used.
Arrays index_offsets(size_t len) {
    Arrays a = arrays(len, 16384, 0);
    for (size_t i = 0; i < len; ++i) a.bt[i] = static_cast<int16_t>(i);
    return a;
}

uint16_t forward(const Arrays &a, uint16_t vtemp, uint32_t nuc, bool v3 = false, uint16_t ca = 100,
                 int16_t k = 16384, int16_t b = 0) {
    const ktbt_correct_param_t p{k, b, ca, a.kt.data(), a.bt.data(), vtemp};
    uint16_t out = 0xFFFF;
    EXPECT_EQ(v3 ? ktbt_correct_process_with_version3(&p, nuc, &out) : ktbt_correct_process(&p, nuc, &out),
              0);
    return out;
}

uint16_t reverse(const Arrays &a, const second_calib_param_t &p, int vtemp, uint32_t nuc, bool v3 = false) {
    uint16_t out = 0xFFFF;
    EXPECT_EQ(v3 ? reverse_ktbt_correct_with_version3(&p, a.kt.data(), a.bt.data(), nullptr, vtemp, nuc, &out)
                 : reverse_ktbt_correct(&p, a.kt.data(), a.bt.data(), nullptr, vtemp, nuc, &out),
              0);
    return out;
}

TEST_F(KtbtTest, IndexFromVtemp) {
    const second_calib_param_t p = record(16384, -50, 100, 1201);
    int rounded = -5, truncated = -5;
    radimo::ktbt::calculate_ktbt_index_according_vtemp(650, &p, &rounded);
    calculate_ktbt_index_according_vtemp_in_change_lens(0x10000 + 650, &p, &truncated);
    EXPECT_EQ(rounded, 499);  // T_FPA 600
    EXPECT_EQ(truncated, 499);
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("ktbt_index = 499\n", "B_Temp = -50\n", "Address_CA = 100\n", "K_Temp = 16384\n",
                            "T_FPA = 600\n", "ktbt_index = 499\n", "B_Temp = -50\n", "Address_CA = 100\n",
                            "K_Temp = 16384\n", "T_FPA = 600\n"));
    EXPECT_EQ(log.debugs()[0].where_what(),
              "src/sencond_cal/calculate_ktbt_index_according_vtemp: ktbt_index = 499\n");
    EXPECT_EQ(log.debugs()[5].function, "calculate_ktbt_index_according_vtemp_in_change_lens");
    log.clear();
    radimo::ktbt::calculate_ktbt_index_according_vtemp(20, &p, &rounded);
    calculate_ktbt_index_according_vtemp_in_change_lens(-1, &p, &truncated);  // vtemp 65535
    EXPECT_EQ(rounded, 0);
    EXPECT_EQ(truncated, 1200);
    EXPECT_EQ(log.debug_texts()[4] + log.debug_texts()[9], "T_FPA = -30\nT_FPA = 65485\n");  // not clamped
    EXPECT_EQ(calculate_ktbt_index_according_vtemp_in_change_lens(600, nullptr, &rounded), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_texts(), ElementsAre("data is NULL\n"));
    // The rounded and the truncated product give indices at most one apart.
    for (int16_t k : {8193, 12345, 20000, 30001, -9000}) {
        const second_calib_param_t q = record(k, 37, 10, 60000);
        for (int vtemp = 0; vtemp < 65536; vtemp += 97) {
            radimo::ktbt::calculate_ktbt_index_according_vtemp(vtemp, &q, &rounded);
            calculate_ktbt_index_according_vtemp_in_change_lens(vtemp, &q, &truncated);
            EXPECT_TRUE(rounded == truncated || rounded == truncated + 1) << k << " " << vtemp;
        }
    }
}

TEST_F(KtbtTest, ForwardCorrection) {
    // 500.5 rounds up; a product beyond 2^31 wraps in the signed 32-bit arithmetic and clamps to 0.
    EXPECT_THAT((std::vector<int>{forward(arrays(1201, 16384, -20), 600, 1000),
                                  forward(arrays(1201, 16384, -20), 600, 10),
                                  forward(arrays(1201, 16384, 50), 600, 16383),
                                  forward(arrays(1201, 8192, 0), 600, 0x10000u + 1001),
                                  forward(arrays(1201, 65535, -32768), 600, 65535)}),
                ElementsAre(980, 0, 16383, 501, 0));
    // The offset reveals the index: clamped to 1200 (3600), T_FPA clamped at 4095 (16383), and
    // T_FPA 300.5 rounds to 301.
    const Arrays a = index_offsets(3601);
    EXPECT_THAT((std::vector<int>{forward(a, 600, 0), forward(a, 0, 0), forward(a, 60000, 0),
                                  forward(a, 60000, 0, false, 3000), forward(a, 601, 0, false, 100, 8192),
                                  forward(a, 60000, 0, true), forward(a, 60000, 0, true, 14000)}),
                ElementsAre(499, 0, 1200, 1094, 200, 3600, 16383 - 14001));
    EXPECT_THAT(log.lines(), IsEmpty());  // nothing logged on success
}

// The exported index is the one the correction uses: with offset = index, the
// corrected 0 reveals it, across both clamps of both array lengths.
TEST_F(KtbtTest, ExportedIndexIsTheCorrections) {
    const Arrays a = index_offsets(3601);
    for (const bool v3 : {false, true}) {
        for (const uint16_t ca : {100, 3000, 14000}) {
            for (const int16_t k : {16384, 8193, -9000}) {
                for (int vtemp = 0; vtemp < 65536; vtemp += 251) {
                    const ktbt_correct_param_t p{k, -30, ca, nullptr, nullptr, static_cast<uint16_t>(vtemp)};
                    int32_t index = -1;
                    ASSERT_EQ(radimo_ktbt_index(&p, v3 ? 3601 : 1201, &index), RADIMO_SUCCESS);
                    EXPECT_EQ(index, forward(a, static_cast<uint16_t>(vtemp), 0, v3, ca, k, -30));
                }
            }
        }
    }
    EXPECT_THAT(log.lines(), IsEmpty());
    const ktbt_correct_param_t p{16384, 0, 100, nullptr, nullptr, 600};
    int32_t index = -1;
    EXPECT_EQ(radimo_ktbt_index(nullptr, 1201, &index), RADIMO_ERR_PARAM);
    EXPECT_EQ(radimo_ktbt_index(&p, 1201, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(radimo_ktbt_index(&p, 8192, &index), RADIMO_ERR_PARAM);
    EXPECT_EQ(index, -1);
    EXPECT_THAT(log.error_texts(), ElementsAre("data is NULL\n", "data is NULL\n", "ktbt_len is invalid\n"));
    EXPECT_EQ(log.errors()[2].where_what(), "src/temp_correct/radimo_ktbt_index: ktbt_len is invalid\n");
}

TEST_F(KtbtTest, ReverseCorrection) {
    const second_calib_param_t p = record(16384, 0, 100, 2000);
    EXPECT_EQ(reverse(arrays(1201, 16384, 0), p, 600, 1000), 999);  // (1000 * 16384 - 8192) / 16384
    // Below the offset: -16384 - 8192 wraps to 4294942720; / 21000 = 204521 keeps 7913.
    EXPECT_EQ(reverse(arrays(1201, 21000, 1), p, 600, 0), 7913);
    EXPECT_EQ(reverse(arrays(1201, 8192, 0), p, 600, 16000), 16383);
    EXPECT_EQ(reverse(arrays(1201, 8193, 0), p, 600, 1), 0);  // 8192 / 8193: the full half step comes off
    // Offset = index: 5000 at index i reverses to 5000 - i - 1. Version 3 is
    // limited by the record's index count (2000), the other form by 1200.
    const Arrays a = index_offsets(3601);
    EXPECT_EQ(reverse(a, p, 60000, 5000, true), 5000 - 1999 - 1);
    EXPECT_EQ(reverse(a, p, 1500, 5000, true), 5000 - 1399 - 1);
    EXPECT_EQ(reverse(a, p, 60000, 5000), 5000 - 1200 - 1);
    // Forward then reverse, across both index clamps: the same entry is used both
    // ways, and rounding plus the minus 8192 cost at most two steps.
    for (const bool v3 : {false, true}) {
        Arrays g = arrays(v3 ? 3601 : 1201, 0, 0);
        for (size_t i = 0; i < g.kt.size(); ++i) {
            g.kt[i] = static_cast<uint16_t>(12000 + 7 * i % 8000);
            g.bt[i] = static_cast<int16_t>(static_cast<int>(i % 97) - 48);
        }
        const second_calib_param_t q = record(12000, -30, 100, static_cast<uint16_t>(g.kt.size()));
        for (int vtemp : {0, 180, 181, 182, 900, 1780, 1781, 5000, 22500, 40000, 65535}) {
            for (uint32_t n = 60; n < 12000; n += 131) {
                const uint16_t c = forward(g, static_cast<uint16_t>(vtemp), n, v3, 100, 12000, -30);
                const int back = reverse(g, q, vtemp, c, v3);
                if (c > 0 && c < 16383) {
                    EXPECT_TRUE(back <= int(n) && back + 2 >= int(n)) << vtemp << " " << n;
                }
            }
        }
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(KtbtTest, RejectedInputsAndTheMeasurementChain) {
    const Arrays a = arrays(1201, 16384, 0), zero_gain = arrays(1201, 0, 0);
    const second_calib_param_t p = record(16384, 0, 100, 1201), empty = record(16384, 0, 100, 0);
    ktbt_correct_param_t f{16384, 0, 100, a.kt.data(), nullptr, 600};
    uint16_t out = 3;
    EXPECT_EQ(ktbt_correct_process(nullptr, 1, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(ktbt_correct_process_with_version3(&f, 1, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct(&p, a.kt.data(), a.bt.data(), nullptr, 600, 1, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_ktbt_correct(&p, zero_gain.kt.data(), zero_gain.bt.data(), nullptr, 600, 1, &out),
              -1100);
    EXPECT_EQ(reverse_ktbt_correct_with_version3(&empty, a.kt.data(), a.bt.data(), nullptr, 600, 1, &out),
              -1100);
    std::vector<uint16_t> table(8192);
    for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint16_t>(4000 + i);
    EXPECT_EQ(temp_measure_with_NUC_value(&f, nullptr, 1000, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(temp_measure_with_NUC_value(&f, table.data(), 1000, &out), RADIMO_ERR_KTBT_CORRECT);
    EXPECT_EQ(out, 3);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/temp_correct/ktbt_correct_process: data is null\n",
                    "src/temp_correct/ktbt_correct_process_with_version3: kt_array or bt_array is NULL\n",
                    "src/temp_correct/reverse_ktbt_correct: ktbt_param or new_nuc is NULL\n",
                    "src/temp_correct/reverse_ktbt_correct: kt_array is invalid\n",
                    "src/temp_correct/reverse_ktbt_correct_with_version3: ktbt_index_len is invalid\n",
                    "src/temp_correct/temp_measure_with_NUC_value: ktbt correct param or nuc_table or "
                    "temp data is in valid.\n",
                    "src/temp_correct/ktbt_correct_process: kt_array or bt_array is NULL\n",
                    "src/temp_correct/temp_measure_with_NUC_value: ktbt correct process failed\n"));
    const Arrays minus20 = arrays(1201, 16384, -20);
    f.bt_array = minus20.bt.data();
    ASSERT_EQ(temp_measure_with_NUC_value(&f, table.data(), 1000, &out), RADIMO_SUCCESS);
    EXPECT_EQ(out, 4000 + 980 / 2);
    ASSERT_EQ(temp_measure_with_NUC_value(&f, table.data(), 30000, &out), RADIMO_SUCCESS);
    EXPECT_EQ(out, 4000 + 8191);  // corrected value clamped to 16383
}

}  // namespace
