// NUC conversion: lookups, reverse search, inverse environment factor, frame
// NUC value, flat-run trimming, gain tables and K/B recalibration.
#include "support/prelude.h"

namespace {

using radimo::test::kHighGain;
using radimo::test::Table;
using NucTest = radimo::test::LoggedTest;

// Celsius temperature whose search target is exactly `units` (1/16 K).
float celsius(double units) {
    const float temp = static_cast<float>(units / 16.0 - 273.15);
    EXPECT_EQ(static_cast<float>((temp + 273.15) * 16.0), static_cast<float>(units));
    return temp;
}

// 4000, 4010, ... flat at 60000 from entry 5600; entries 100 and 101 are 5000 and 5010.
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

TEST_F(NucTest, ForwardLookups) {
    Table t = rising_by_ten(16384);
    t[100] = 4800;
    uint16_t a = 0, b = 0;
    remap_temp(t.data(), 154, &a);
    remap_temp(t.data(), 0x10000u + 155, &b);  // the pair's other value; low 16 bits
    EXPECT_EQ(a, 4770);
    EXPECT_EQ(b, 4770);
    float c = 0, d = 0;
    calc_temperature_with_nuc_t_table_len(t.data(), 201, 8192, &c);
    calc_temperature_with_nuc_t_table_len(t.data(), 100, 0x10000u + 16384, &d);
    EXPECT_EQ(c, static_cast<float>(300.0 - 273.15));  // 26.85
    EXPECT_EQ(d, c);
    EXPECT_EQ(remap_temp(nullptr, 0, &a), RADIMO_ERR_PARAM);
    EXPECT_EQ(calc_temperature_with_nuc_t_table_len(t.data(), 0, 4096, &c), RADIMO_ERR_PARAM);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/temp_correct/remap_temp: nuc_table is NULL\n",
                    "src/temp_correct/calc_temperature_with_nuc_t_table_len: nuc_table_len is invalid\n"));
}

// Worked values that anchor the reference scan of the differential test.
TEST_F(NucTest, ReverseSearchWorkedValues) {
    const Table up = rising_by_ten(), down = radimo::test::reversed(up);
    Table last(8192, 5000);
    last.back() = 6000;
    EXPECT_EQ(search(up, celsius(5230)), 246);  // exact entry 123
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("NUC_MAX=60000,NUC_MIN=4000\n", "nuc_table[0]=4000\n",
                            "target_temp=5230.000000\n", "i=123,nuc_value=246\n", "nuc_table[123]=5230\n"));
    EXPECT_EQ(log.debugs()[0].where_what(),
              "src/temp_correct/reverse_calc_NUC_with_nuc_t: NUC_MAX=60000,NUC_MIN=4000\n");
    const struct {
        const Table *table;
        float temp;
        int nuc;
    } cases[] = {
        {&up, celsius(5004), 200},         // nearer entry of 5000 / 5010
        {&up, celsius(5005), 202},         // a tie goes up
        {&down, celsius(5004), 2 * 8090},  // 5010 at 8090, 5000 at 8091: the farther entry is taken
        {&down, celsius(5006), 2 * 8091},
        {&up, celsius(70000), 2 * 5600},  // moved to 59999
        {&up, -200.0f, 0},                // moved to 4001
        {&last, celsius(6000), 16382},    // the last entry still matches exactly
    };
    for (const auto &c : cases) EXPECT_EQ(search(*c.table, c.temp), c.nuc) << c.temp;
}

TEST_F(NucTest, ReverseSearchFailuresAndTheTableLenForm) {
    const Table flat(8192, 5000), zeros(8192, 0), t = rising_by_ten(16384);
    uint16_t nuc = 77;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(flat.data(), &nuc, celsius(6000)), RADIMO_ERR_PARAM);
    EXPECT_EQ(nuc, 0);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(nullptr, &nuc, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(zeros.data(), 8192, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t_table_len(t.data(), 4096, &nuc, 20.0f), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_texts(), ElementsAre("reverse calculate failed\n", "data is invalid\n",
                                               "NUC value is invalid\n", "nuc_table_len is invalid\n"));
    log.clear();
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t_table_len(t.data(), 16384, &nuc, celsius(5230)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 123);  // a long table is indexed by the NUC value itself
    ASSERT_EQ(reverse_calc_NUC_with_nuc_t_table_len(t.data(), 8192, &nuc, celsius(5005)), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 202);
    // The opening lines of the standard lookup, then one closing line per search.
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("NUC_MAX=60000,NUC_MIN=4000\n", "nuc_table[0]=4000\n",
                            "target_temp=5230.000000\n", "i=123,nuc_value=123, nuc_table[i] = 5230\n",
                            "NUC_MAX=60000,NUC_MIN=4000\n", "nuc_table[0]=4000\n",
                            "target_temp=5005.000000\n", "i=100,nuc_value=202, nuc_table[i] = 5000\n"));
}

TEST_F(NucTest, InverseEnvironmentFactorFrameValueAndFlatRuns) {
    const auto inverse = [](env_factor_t f, uint32_t object_nuc) {
        uint16_t nuc = 0xBEEF;
        return reverse_calc_NUC_without_env_correct(&f, object_nuc, &nuc) == 0 ? nuc : -1;
    };
    EXPECT_THAT((std::vector<int>{inverse({16384, 0}, 8000), inverse({16384, 0}, 20000),
                                  inverse({32768, 100}, 0x10000u + 900), inverse({16384, -100}, 50),
                                  inverse({0, 10}, 50), inverse({20000, 0}, 7)}),
                ElementsAre(8000, 16383, 500, 16383, -1, 5));  // -50 wraps to 65486, capped; 5.73 truncates
    const env_factor_t unit{16384, 0};
    EXPECT_EQ(reverse_calc_NUC_without_env_correct(&unit, 5, nullptr), RADIMO_ERR_PARAM);
    // 5 x 5 samples 112..156 sum to 3350; without 112 and 156, 3082 = 23 * 134.
    std::vector<uint16_t> frame(10 * 8);
    for (uint32_t i = 0; i < frame.size(); ++i)
        frame[i] = static_cast<uint16_t>(100 + i % 10 + 10 * (i / 10));
    uint16_t nuc = 0, outside = 99;
    EXPECT_EQ(get_NUC_value(frame.data(), 10 | (8u << 16), point_t{4, 3}, &nuc), RADIMO_SUCCESS);
    EXPECT_EQ(nuc, 134);
    EXPECT_EQ(get_NUC_value(frame.data(), 10 | (8u << 16), point_t{10, 0}, &outside), RADIMO_SUCCESS);
    EXPECT_EQ(outside, 0);  // nothing read outside the frame
    const Table t{0, 0, 0, 5, 6, 7, 9, 9};
    const uint16_t ends[2] = {0, 7}, beyond[2] = {8, 9};
    uint16_t out[2] = {111, 222}, kept[2] = {111, 222};
    EXPECT_EQ(find_start_and_end_addr(t.data(), ends, 8, out), RADIMO_SUCCESS);
    EXPECT_EQ(find_start_and_end_addr(t.data(), beyond, 8, kept), RADIMO_SUCCESS);
    EXPECT_THAT(out, ElementsAre(3, 6));
    EXPECT_THAT(kept, ElementsAre(111, 222));
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/reverse_calc_NUC_without_env_correct: env_factor is invalid\n",
                            "src/temp_correct/reverse_calc_NUC_without_env_correct: nuc is NULL\n",
                            "src/libradimo/get_pixel_square_array: the point is invalid\n"));
}

uint16_t factor_nuc(const nuc_factor_t &f, float temp) {
    uint16_t nuc = 0;
    EXPECT_EQ(calculate_nuc_with_nuc_factor(&f, &nuc, temp), RADIMO_SUCCESS);
    return nuc;
}

// Temperature -> NUC -> temperature stays within one table step, and the NUC
// value is within a few of the factor's own (the table floors each term).
void expect_round_trip(const Table &t, const nuc_factor_t &f, double low_c, double high_c) {
    int step = 0;
    for (size_t i = 0; i + 1 < t.size(); ++i) step = std::max(step, t[i + 1] - t[i]);
    ASSERT_LE(step, 8);
    for (double c = low_c; c <= high_c; c += 0.37) {
        uint16_t nuc = 0;
        float back = 0;
        ASSERT_EQ(reverse_calc_NUC_with_nuc_t(t.data(), &nuc, static_cast<float>(c)), RADIMO_SUCCESS);
        calc_temperature_with_nuc_t_table_len(t.data(), nuc, 8192, &back);
        EXPECT_LE(std::fabs(back - c), step / 16.0 + 1e-3) << c;
        EXPECT_NEAR(factor_nuc(f, static_cast<float>(c)), nuc, 8) << c;
    }
}

TEST_F(NucTest, GainTables) {
    EXPECT_EQ(factor_nuc({1000, 0, 0}, 500.0f), 1000);
    EXPECT_EQ(factor_nuc({0, 1 << 20, 0}, 26.5f), 299);         // 299.65 K truncated
    EXPECT_EQ(factor_nuc({70000, 0, 0}, 0.0f), 70000 - 65536);  // low 16 bits, no cap
    EXPECT_EQ(calculate_nuc_with_nuc_factor(&kHighGain, nullptr, 1.0f), RADIMO_ERR_PARAM);
    const nuc_factor_t low_gain{-2701, 15196000, 10486};  // 273 K .. 823 K
    Table high(8192, 0xABCD), low(8192, 0xABCD);
    ASSERT_EQ(generate_high_gain_nuc_t(&kHighGain, high.data()), RADIMO_SUCCESS);
    ASSERT_EQ(generate_low_gain_nuc_t(&low_gain, low.data()), RADIMO_SUCCESS);
    EXPECT_TRUE(std::is_sorted(high.begin(), high.end()) && std::is_sorted(low.begin(), low.end()));
    EXPECT_THAT((std::vector<int>{high.front(), high.back(), low.front(), low.back()}),
                ElementsAre(4048, 6768, 4368, 13168));
    expect_round_trip(high, kHighGain, -20.0, 149.5);
    expect_round_trip(low, low_gain, 0.5, 549.5);
    // One index per kelvin, 253 K at index 0: the scan's first index equals its
    // initial previous index, so entry 0 stays as it was; the first (coldest) of
    // the 64 steps reaching an index keeps it.
    const nuc_factor_t per_kelvin{-506, 1 << 21, 0}, three_per_step{-13104, 3 << 24, 0};
    std::fill(high.begin(), high.end(), 0xABCD);
    std::fill(low.begin(), low.end(), 0xABCD);
    ASSERT_EQ(generate_high_gain_nuc_t(&per_kelvin, high.data()), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int>{high[0], high[1], high[169], high[170]}),
                ElementsAre(0xABCD, 254 * 16, 422 * 16, 6768));
    // Three indices per step up to index 13200: gaps take the step's value and
    // nothing is written past entry 8191 (the vector has exactly 8192).
    ASSERT_EQ(generate_low_gain_nuc_t(&three_per_step, low.data()), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int>{low[0], low[1], low[3], low[4], low[8191]}),
                ElementsAre(0xABCD, 4370, 4370, 4372, 2 * 4915));
    EXPECT_EQ(generate_high_gain_nuc_t(nullptr, high.data()), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/calculate_nuc_with_nuc_factor: data is invalid\n",
                            "src/temp_correct/generate_high_gain_nuc_t: data is invalid\n"));
}

TEST_F(NucTest, KbRecalibration) {
    const kb_param_t first{2, 10}, flat{0, 10};
    kb_param_t kb{0, 0};
    ASSERT_EQ(single_point_recalibrate_KB(&first, 100, &kb, 1.0), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int>{kb.K, kb.B}), ElementsAre(1024, 1024 - 210));
    const uint32_t x[2] = {1000, 200}, same[2] = {500, 500};
    const double target[2] = {50.0, 10.0};
    ASSERT_EQ(double_point_recalibrate_KB(&first, x, target, &kb), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int>{kb.K, kb.B}), ElementsAre(26214, -255));  // 40 * 2^20 / 1600; truncated
    EXPECT_EQ(double_point_recalibrate_KB(&first, same, target, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(double_point_recalibrate_KB(&flat, x, target, &kb), RADIMO_ERR_PARAM);
    second_calib_param_t info = radimo::test::ktbt_record(16384, 0, 100, 1201);
    const uint16_t range[2] = {0, 1200}, equal[2] = {500, 500};
    const uint32_t value = 5;
    kb = kb_param_t{3, 0};
    ASSERT_EQ(calculate_Kn_and_Bn(&info, range, &value, &kb), RADIMO_SUCCESS);
    EXPECT_THAT((std::vector<int>{kb.K, kb.B}),
                ElementsAre(3, 5 * 1024 - 1301 * 3));  // vtemp 1301: index 1200
    EXPECT_EQ(calculate_Kn_and_Bn(&info, equal, &value, &kb), RADIMO_ERR_PARAM);
    info.K_Temp = 0;
    EXPECT_EQ(calculate_Kn_and_Bn(&info, range, &value, &kb), RADIMO_ERR_PARAM);
    EXPECT_EQ(kb.B, 5 * 1024 - 1301 * 3);
    // (65535 + 65535 + 1 + 1) * 16384 wraps to INT32_MIN; dividing by -1 wraps again.
    info = radimo::test::ktbt_record(-1, -1, 65535, 1201);
    const uint16_t top[2] = {0, 65535};
    const uint32_t zero = 0;
    kb = kb_param_t{-1, 0};
    ASSERT_EQ(calculate_Kn_and_Bn(&info, top, &zero, &kb), RADIMO_SUCCESS);
    EXPECT_EQ(kb.B, INT32_MIN);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/double_point_recalibrate_KB: data is invalid\n",
                            "src/temp_correct/double_point_recalibrate_KB: data is invalid\n",
                            "src/temp_correct/calculate_Kn_and_Bn: kt_info is invalid\n",
                            "src/temp_correct/calculate_Kn_and_Bn: kt_info is invalid\n"));
}

}  // namespace
