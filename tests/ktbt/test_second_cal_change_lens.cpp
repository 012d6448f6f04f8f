// Double-point recalibration after a lens change: the worked offset drift,
// the truncated index product, and the refusals and failure chains.
#include "ktbt/second_cal_bench.h"
#include "support/prelude.h"

namespace {

using radimo::test::SecondCalBench;
using ::testing::ElementsAreArray;
using LensRecal = radimo::test::LoggedTest;

int run_lens(SecondCalBench &b) {
    const multi_point_calib_array_t a = b.arrays();
    two_point_calib_result_t r = b.result();
    return new_ktbt_recal_double_point_calculate_in_change_lens(&b.param, &a, &r);
}

TEST_F(LensRecal, WorkedOffsetDriftAsTheDoublePointWithoutScene) {
    // Blackbodies read one degree (32 NUC) high: every offset becomes -32,
    // as with the double point in mode 8, and nothing needs a correct table.
    SecondCalBench lens, plain;
    lens.tau.clear();
    ASSERT_EQ(run_lens(lens), RADIMO_SUCCESS);
    ASSERT_EQ(plain.run(8), RADIMO_SUCCESS);
    EXPECT_EQ(lens.new_kt, plain.new_kt);
    EXPECT_EQ(lens.new_bt, plain.new_bt);
    EXPECT_EQ(lens.new_bt[1200], -32);
    EXPECT_EQ(lens.new_bt[1201], radimo::test::kSentinelBt);
    EXPECT_TRUE(log.errors().empty());
    EXPECT_EQ(log.debugs().at(0).where_what(),
              "src/sencond_cal/new_ktbt_recal_double_point_calculate_in_change_lens: target_high_celsius = "
              "90.000000\n");
}

TEST_F(LensRecal, CalibrationIndicesTakeTheTruncatedProduct) {
    // K_Temp one half: vtemp 801 gives T_FPA 400.5, index 299 truncated and
    // 300 rounded. The lens-change recalibration at 801/1201 takes indices
    // 299/499 and equals the plain one at 800/1200, whose rounded indices
    // they are, with offsets that differ from index to index.
    SecondCalBench lens, plain;
    for (SecondCalBench *b : {&lens, &plain}) {
        b->calib().K_Temp = 8192;
        for (int i = 0; i < 1201; ++i) b->bt[i] = static_cast<int16_t>(i / 4 - 150);
    }
    lens.calib().low_vtemp = 801;
    lens.calib().high_vtemp = 1201;
    plain.calib().low_vtemp = 800;
    plain.calib().high_vtemp = 1200;
    ASSERT_EQ(run_lens(lens), RADIMO_SUCCESS);
    std::vector<std::string> indices;
    for (const auto &l : log.debugs())
        if (l.text.rfind("ktbt_index = ", 0) == 0) indices.push_back(l.function + ": " + l.text);
    EXPECT_THAT(indices,
                Each(::testing::StartsWith("calculate_ktbt_index_according_vtemp_in_change_lens: ")));
    EXPECT_THAT(indices, ElementsAre(::testing::EndsWith("299\n"), ::testing::EndsWith("499\n"),
                                     ::testing::EndsWith("299\n"), ::testing::EndsWith("499\n")));
    ASSERT_EQ(plain.run(8), RADIMO_SUCCESS);
    EXPECT_EQ(lens.new_kt, plain.new_kt);
    EXPECT_EQ(lens.new_bt, plain.new_bt);
}

TEST_F(LensRecal, RefusalsAndFailureChainsWriteNothing) {
    const std::string driver = "src/sencond_cal/new_ktbt_recal_double_point_calculate_in_change_lens: ";
    const std::string stage1 =
        "src/sencond_cal/calculate_target_sitf_and_offset_before_ktbt_in_change_lens: ";
    const std::string stage1_failed =
        driver + "calculate_target_sitf_and_offset_before_ktbt_in_change_lens failed\n";
    struct Case {
        void (*spoil)(SecondCalBench &);
        int rc;
        std::vector<std::string> trace;
    };
    const Case cases[] = {
        {[](SecondCalBench &b) { b.calib().actual_low_celsius = NAN; },
         RADIMO_ERR_PARAM,
         {driver + "temperature is not finite\n"}},
        {[](SecondCalBench &b) { b.calib().target_low_celsius = 90.0f; },
         RADIMO_ERR_PARAM,
         {driver + "target_high_celsius equals target_low_celsius\n"}},
        {[](SecondCalBench &b) { b.calib().actual_low_celsius = 91.0f; },  // both read alike: no map
         RADIMO_ERR_PARAM,
         {driver + "Kc, Bc, Kd or Bd is invalid\n"}},
        {[](SecondCalBench &b) { b.kt[299] = 0; },
         RADIMO_ERR_REVERSE_NUC,
         {"src/sencond_cal/reverse_calc_nuc_with_ktbt: kt_array is invalid\n",
          stage1 + "reverse_calc_nuc_with_ktbt failed\n", stage1_failed}},
        {[](SecondCalBench &b) { b.calib().nuc_table_len = 100; },
         RADIMO_ERR_REVERSE_NUC,
         {"src/temp_correct/reverse_calc_NUC_with_nuc_t_table_len: nuc_table_len is invalid\n",
          stage1 + "reverse_calc_nuc_with_nuc_t failed\n", stage1_failed}},
    };
    for (const Case &c : cases) {
        SecondCalBench b;
        c.spoil(b);
        log.clear();
        EXPECT_EQ(run_lens(b), c.rc);
        EXPECT_THAT(log.error_trace(), ElementsAreArray(c.trace));
        EXPECT_TRUE(b.outputs_untouched());
    }
    SecondCalBench b;
    multi_point_calib_array_t a = b.arrays();
    two_point_calib_result_t r = b.result();
    log.clear();
    EXPECT_EQ(new_ktbt_recal_double_point_calculate_in_change_lens(&b.param, &a, nullptr), RADIMO_ERR_PARAM);
    r.bt_array = nullptr;
    EXPECT_EQ(new_ktbt_recal_double_point_calculate_in_change_lens(&b.param, &a, &r), RADIMO_ERR_PARAM);
    a.nuc_table = nullptr;
    EXPECT_EQ(new_ktbt_recal_double_point_calculate_in_change_lens(&b.param, &a, &r), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(),
                ElementsAre(driver + "handle is NULL\n", driver + "two_point_calib_result is NULL\n",
                            driver + "multi_point_calib_array is NULL\n"));
}

}  // namespace
