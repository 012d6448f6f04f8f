// Double-point KT/BT recalibration: the worked offset drift, the modes, the
// coefficients on their own, the array rewrite's edges, the refusals, and the
// versioned entry points: the dispatcher, version 0 (environment factor),
// version 1 (enhanced distance) and version 2 (three ranges).
#include "ktbt/second_cal_bench.h"
#include "support/prelude.h"

namespace {

using radimo::test::second_cal_debug;
using radimo::test::SecondCalBench;
using ::testing::Contains;
using ::testing::ElementsAreArray;
namespace model = radimo::tau_model;

// The bench's scene and record in the versioned layout.
struct Versioned {
    explicit Versioned(SecondCalBench &b, uint32_t temp_area = 0) : arrays(b.arrays()) {
        scenes.high_env_correct_param = scenes.low_env_correct_param = b.param.env_correct_param;
        scenes.second_calib_param = b.calib();
        param = {&scenes, &arrays, nullptr, nullptr, 0, 0, temp_area};
    }
    advanced_second_cal_param_t scenes{};
    multi_point_calib_array_t arrays;
    multi_point_calib_param_t param{};
};

class SecondCal : public radimo::test::LoggedTest {
protected:
    // Version 1 on a bench whose correct table is the raw table and whose scene is grey.
    int version1(SecondCalBench &b) {
        b.tau = raw;
        b.param.env_correct_param = kGrey;
        Versioned v(b);
        two_point_calib_result_t r = b.result();
        const int rc = new_ktbt_recal_double_point_calculate_with_version(&v.param, 1, &r);
        b.calib() = v.scenes.second_calib_param;
        return rc;
    }
    static constexpr env_correct_param_t kGrey{5.0f, 0.9f, 0.5f, 20.0f, 20.0f};
    std::vector<uint16_t> raw = radimo::test::raw_table(model::TargetLayout::kV3, {0, 300});
};

TEST_F(SecondCal, WorkedOffsetDriftInEveryModeWithoutSceneEffect) {
    // Mode 8: no scene correction; mode 1: a transparent scene at emissivity 1.
    for (uint32_t mode : {8u, 1u}) {
        SecondCalBench b;
        log.clear();
        ASSERT_EQ(b.run(mode), RADIMO_SUCCESS);
        const std::string target = "calculate_target_sitf_and_offset_before_ktbt: ";
        const std::string actual = "calculate_actual_sitf_and_offset_before_ktbt: ";
        const std::string fit = "calculate_sitf_and_offset: ",
                          update = "update_kt_and_bt_array_double_point: ";
        EXPECT_THAT(second_cal_debug(log),
                    ElementsAre("new_ktbt_recal_double_point_calculate: target_high_celsius = 90.000000\n",
                                "new_ktbt_recal_double_point_calculate: target_low_celsius = 30.000000\n",
                                target + "target_object_nuc_low_before_nuct=1700\n",
                                target + "target_object_nuc_high_before_nuct=3620\n",
                                fit + "sitf = 32.000000 b_offset = 740.000000\n",
                                target + "target_object_nuc_low_before_ktbt=1700\n",
                                target + "target_object_nuc_high_before_ktbt=3620\n",
                                fit + "sitf = 32.000000 b_offset = 740.000000\n",
                                actual + "object_nuc_low_before_ktbt=1732\n",
                                actual + "object_nuc_high_before_ktbt=3652\n",
                                fit + "sitf = 32.000000 b_offset = 772.000000\n",
                                update + "sitf = 32.000000\n", update + "b_offset = 740.000000\n",
                                update + "Kc = 1.000000\n", update + "Bc = -32.000000\n",
                                update + "sitf_c = 32.000000\n", update + "b_c = 740.000000\n",
                                update + "Kd = 1.000000\n", update + "Bd = 0.000000\n"))
            << mode;
        // Every entry is rewritten, nothing beyond the 1201 entries.
        EXPECT_THAT(std::vector<uint16_t>(b.new_kt.begin(), b.new_kt.begin() + 1201), Each(16384));
        EXPECT_THAT(std::vector<int16_t>(b.new_bt.begin(), b.new_bt.begin() + 1201), Each(-32));
        EXPECT_EQ(b.new_kt[1201], radimo::test::kSentinelKt);
        EXPECT_EQ(b.new_bt[1204], radimo::test::kSentinelBt);
        EXPECT_EQ(b.calib().target_high_celsius, 90.0f);  // written back in modes 4-7 only
    }
}

TEST_F(SecondCal, CoefficientsAlone) {
    // Kc = 20 / 10, Bc = 1000 - 500 * 2; the current arrays are the identity,
    // so Ll = 600 * 2 = 1200, Lh = 2200, sitf_c = 1000 / 50, b_c = 1200;
    // Kd = 40 / 20, Bd = 3000 - 1200 * 2.
    const second_cal_temp_param_t target{20, 1000, 0, 0, 7, 3}, nuct{40, 3000, 0, 0, 0, 0},
        actual{10, 500, 1100, 600, 7, 3};
    second_calib_param_t p{};
    p.ktbt_array_len = 8;
    p.target_high_celsius = 50;
    const std::vector<uint16_t> kt(8, 16384);
    const std::vector<int16_t> bt(8, 0);
    float k[4] = {};
    ASSERT_EQ(KcBc_KdBd_calculate(&target, &nuct, &actual, &p, kt.data(), bt.data(), k), RADIMO_SUCCESS);
    EXPECT_THAT(k, ElementsAre(2.0f, 0.0f, 2.0f, 600.0f));
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("target_second_cal_temp_param_before_ktbt->sitf = 20.000000\n",
                            "target_second_cal_temp_param_before_ktbt->b_offset = 1000.000000\n",
                            "actual_second_cal_temp_param->sitf = 10.000000\n",
                            "actual_second_cal_temp_param->b_offset = 500.000000\n", "Kc = 2.000000\n",
                            "Bc = 0.000000\n", "sitf_c = 20.000000\n", "b_c = 1200.000000\n",
                            "Kd = 2.000000\n", "Bd = 600.000000\n"));
    EXPECT_EQ(log.debugs()[0].where_what().substr(0, 36), "src/sencond_cal/KcBc_KdBd_calculate:");
    log.clear();
    const second_cal_temp_param_t outside{20, 1000, 0, 0, 8, 3};  // index 8 of 8 entries
    EXPECT_EQ(KcBc_KdBd_calculate(nullptr, &nuct, &actual, &p, kt.data(), bt.data(), k), RADIMO_ERR_PARAM);
    EXPECT_EQ(KcBc_KdBd_calculate(&target, &nuct, &actual, &p, nullptr, bt.data(), k), RADIMO_ERR_PARAM);
    EXPECT_EQ(KcBc_KdBd_calculate(&outside, &nuct, &actual, &p, kt.data(), bt.data(), k), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_texts(),
                ElementsAre("data is NULL\n", "data is NULL\n", "ktbt_index is invalid\n"));
    EXPECT_EQ(k[3], 600.0f);
}

TEST_F(SecondCal, EnhancedModesWriteTheApparentTemperaturesBack) {
    SecondCalBench b;
    b.param.env_correct_param = kGrey;
    b.tau = raw;
    float high = 90.0f, low = 30.0f;
    for (int call = 0; call < 2; ++call) {  // a second call corrects the written values again
        reverse_enhance_distance_temp_correct(&kGrey, raw.data(), 0, &high, high);
        reverse_enhance_distance_temp_correct(&kGrey, raw.data(), 0, &low, low);
        ASSERT_EQ(b.run(6), RADIMO_SUCCESS);
        EXPECT_EQ(b.calib().target_high_celsius, high);
        EXPECT_EQ(b.calib().target_low_celsius, low);
    }
    EXPECT_LT(high, 85.0f);  // a grey body at 90 degC looks colder
    // Version 1 does the same once, and logs the values it writes.
    SecondCalBench once;
    log.clear();
    ASSERT_EQ(version1(once), RADIMO_SUCCESS);
    high = 90.0f, low = 30.0f;
    reverse_enhance_distance_temp_correct(&kGrey, raw.data(), 0, &high, high);
    reverse_enhance_distance_temp_correct(&kGrey, raw.data(), 0, &low, low);
    EXPECT_EQ(once.calib().target_high_celsius, high);
    EXPECT_EQ(once.calib().target_low_celsius, low);
    const std::string stage1 = "calculate_target_sitf_and_offset_before_ktbt_with_version: ";
    const std::vector<std::string> lines = second_cal_debug(log);
    ASSERT_GE(lines.size(), 5u);
    EXPECT_EQ(lines[2] + lines[3],
              stage1 + "reverse_enhance_distance_temp_correct temp_high = " + std::to_string(high) + "\n" +
                  stage1 + "reverse_enhance_distance_temp_correct temp_low = " + std::to_string(low) + "\n");
    EXPECT_EQ(lines[4].substr(0, stage1.size() + 28), stage1 + "target_object_nuc_low_before");
    // The environment factor of the same grey scene leaves the record alone
    // but changes the result; with no correction the scene does not count.
    SecondCalBench grey, plain;
    grey.param.env_correct_param = plain.param.env_correct_param = kGrey;
    grey.tau = radimo::test::env_table();
    ASSERT_EQ(grey.run(3), RADIMO_SUCCESS);
    ASSERT_EQ(plain.run(9), RADIMO_SUCCESS);
    EXPECT_EQ(grey.calib().target_high_celsius, 90.0f);
    EXPECT_NE(grey.new_bt[0], -32);
    EXPECT_EQ(plain.new_bt[0], -32);
}

TEST_F(SecondCal, EdgesOfTheRewrite) {
    // Equal targets divide by zero in float: NaN everywhere, and a NaN
    // truncates to the integer indefinite value whose low 16 bits are 0.
    SecondCalBench same;
    same.calib().target_high_celsius = same.calib().target_low_celsius = 60.0f;
    ASSERT_EQ(same.run(8), RADIMO_SUCCESS);
    EXPECT_THAT(std::vector<uint16_t>(same.new_kt.begin(), same.new_kt.begin() + 1201), Each(0));
    EXPECT_THAT(std::vector<int16_t>(same.new_bt.begin(), same.new_bt.begin() + 1201), Each(0));
    // The offset's gain term rounds: 16000 * Bc (-32) / 16384 = -31.25 gives -31 (an entry
    // away from the calibration indices 299 and 499 leaves the coefficients alone).
    SecondCalBench gain;
    gain.kt[600] = 16000;
    gain.kt[601] = 256;  // 256 * -32 = -8192: exactly half a step, rounded up to 0
    ASSERT_EQ(gain.run(8), RADIMO_SUCCESS);
    EXPECT_EQ(gain.new_bt[600], -31);
    EXPECT_EQ(gain.new_bt[601], 0);
    // Length 0: the coefficients are computed, nothing is written.
    SecondCalBench empty(0);
    empty.kt.assign(1201, 16384);
    empty.bt.assign(1201, 0);
    log.clear();
    ASSERT_EQ(empty.run(8), RADIMO_SUCCESS);
    EXPECT_TRUE(empty.outputs_untouched());
    EXPECT_THAT(log.debug_texts(), Contains("Bc = -32.000000\n"));
    // The signed 16-bit entry counter reaches entry 32767 and no further.
    SecondCalBench longer(40000);
    ASSERT_EQ(longer.run(8), RADIMO_SUCCESS);
    EXPECT_EQ(longer.new_bt[32767], -32);
    EXPECT_EQ(longer.new_bt[32768], radimo::test::kSentinelBt);
    // Readings outside the index range clamp to the first and last entries.
    SecondCalBench ends;
    ends.calib().low_vtemp = 0;
    ends.calib().high_vtemp = 65535;
    log.clear();
    ASSERT_EQ(ends.run(8), RADIMO_SUCCESS);
    std::vector<std::string> indices;  // low then high, in stage 1 and in stage 2
    for (const auto &l : log.debugs())
        if (l.text.rfind("ktbt_index = ", 0) == 0) indices.push_back(l.text);
    EXPECT_THAT(indices, ElementsAre("ktbt_index = 0\n", "ktbt_index = 1200\n", "ktbt_index = 0\n",
                                     "ktbt_index = 1200\n"));
}

TEST_F(SecondCal, RefusalsAndFailureChains) {
    SecondCalBench b;
    multi_point_calib_array_t a = b.arrays();
    two_point_calib_result_t r = b.result();
    advanced_second_cal_param_t adv{};
    EXPECT_EQ(new_ktbt_recal_double_point_calculate(nullptr, 8, &a, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(advanced_ktbt_recal_double_point_calculate(&adv, 8, &a, nullptr), RADIMO_ERR_PARAM);
    a.correct_table = nullptr;  // required even where no mode reads it
    EXPECT_EQ(new_ktbt_recal_double_point_calculate(&b.param, 8, &a, &r), RADIMO_ERR_PARAM);
    a = b.arrays();
    r.bt_array = nullptr;
    EXPECT_EQ(advanced_ktbt_recal_double_point_calculate(&adv, 8, &a, &r), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/sencond_cal/new_ktbt_recal_double_point_calculate: handle is NULL\n",
                            "src/sencond_cal/advanced_ktbt_recal_double_point_calculate: handle is NULL\n",
                            "src/sencond_cal/new_ktbt_recal_double_point_calculate: "
                            "multi_point_calib_array is NULL\n",
                            "src/sencond_cal/advanced_ktbt_recal_double_point_calculate: "
                            "multi_point_calib_array is NULL\n"));

    const std::string driver = "src/sencond_cal/new_ktbt_recal_double_point_calculate: ";
    const std::string stage1 = "src/sencond_cal/calculate_target_sitf_and_offset_before_ktbt: ";
    const std::string stage2 = "src/sencond_cal/calculate_actual_sitf_and_offset_before_ktbt: ";
    const std::string removal = "src/sencond_cal/reverse_calc_nuc_with_ktbt: ";
    struct Case {
        void (*spoil)(SecondCalBench &);
        uint32_t mode;
        std::vector<std::string> trace;
    };
    const Case cases[] = {
        {[](SecondCalBench &s) { s.kt[299] = 0; },
         8,  // zero gain at the low calibration index
         {removal + "kt_array is invalid\n", stage1 + "reverse_calc_nuc_with_ktbt failed\n",
          driver + "calculate_target_sitf_and_offset_before_ktbt failed\n"}},
        {[](SecondCalBench &s) { s.calib().ktbt_index_len = 0; },
         8,  // index -1
         {removal + "ktbt_index is invalid\n", stage1 + "reverse_calc_nuc_with_ktbt failed\n",
          driver + "calculate_target_sitf_and_offset_before_ktbt failed\n"}},
        {[](SecondCalBench &s) {  // index 1599 of an index range longer than the arrays
             s.calib().ktbt_index_len = 2000;
             s.calib().high_vtemp = 1700;
         },
         8,
         {removal + "ktbt_index is invalid\n", stage1 + "reverse_calc_nuc_with_ktbt failed\n",
          driver + "calculate_target_sitf_and_offset_before_ktbt failed\n"}},
        {[](SecondCalBench &s) { s.param.env_correct_param.ems = 0.0f; },
         0,
         {"src/temp_correct/calc_env_factor_with_dist_and_env_temp: new EMS is invalid\n",
          stage1 + "calc_high_temp_env_factor_with_dist_and_env_temp failed\n",
          driver + "calculate_target_sitf_and_offset_before_ktbt failed\n"}},
        {[](SecondCalBench &s) { s.param.env_correct_param.ems = 1.5f; },
         4,
         {"src/temp_correct/reverse_enhance_distance_temp_correct: ems is out of range\n",
          stage1 + "reverse high temp failed\n",
          driver + "calculate_target_sitf_and_offset_before_ktbt failed\n"}},
        {[](SecondCalBench &s) { s.calib().nuc_table_len = 100; },
         8,  // only the actual side uses it
         {"src/temp_correct/reverse_calc_NUC_with_nuc_t_table_len: nuc_table_len is invalid\n",
          stage2 + "reverse_calc_NUC_with_nuc_t failed\n",
          driver + "calculate_actual_sitf_and_offset_before_ktbt failed\n"}},
    };
    for (const Case &c : cases) {
        SecondCalBench s;
        c.spoil(s);
        log.clear();
        EXPECT_EQ(s.run(c.mode), RADIMO_ERR_SITF_OFFSET);
        EXPECT_THAT(log.error_trace(), ElementsAreArray(c.trace));
        EXPECT_TRUE(s.outputs_untouched());
    }
}

TEST_F(SecondCal, DispatcherRoutesAndRefuses) {
    SecondCalBench b;  // transparent environment table: version 0 gives the worked offset drift
    Versioned v(b);
    two_point_calib_result_t r = b.result();
    ASSERT_EQ(new_ktbt_recal_double_point_calculate_with_version(&v.param, 0, &r), RADIMO_SUCCESS);
    EXPECT_THAT(std::vector<int16_t>(b.new_bt.begin(), b.new_bt.begin() + 1201), Each(-32));
    EXPECT_THAT(second_cal_debug(log), Contains("calculate_target_sitf_and_offset_before_ktbt_with_version: "
                                                "target_object_nuc_high_before_nuct=3620\n"));
    EXPECT_EQ(second_cal_debug(log)[0],
              "advanced_ktbt_recal_double_point_calculate_with_version: target_high_celsius = 90.000000\n");
    EXPECT_TRUE(log.errors().empty());

    EXPECT_EQ(new_ktbt_recal_double_point_calculate_with_version(nullptr, 0, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(new_ktbt_recal_double_point_calculate_with_version(&v.param, 3, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(advanced_ktbt_recal_double_point_calculate_with_version(&v.param, 2, &r), RADIMO_ERR_PARAM);
    r.kt_array = nullptr;
    EXPECT_EQ(new_ktbt_recal_double_point_calculate_with_version(&v.param, 1, &r), RADIMO_ERR_KTBT_UPDATE);
    const std::string dispatcher = "src/sencond_cal/new_ktbt_recal_double_point_calculate_with_version: ";
    const std::string member = "src/sencond_cal/advanced_ktbt_recal_double_point_calculate_with_version: ";
    EXPECT_THAT(log.error_trace(),
                ElementsAre(dispatcher + "handle is NULL\n", dispatcher + "version is invalid\n",
                            member + "version is invalid\n", member + "multi_point_calib_array is NULL\n",
                            dispatcher + "advanced_ktbt_recal_double_point_calculate failed\n"));

    // Range 3 selects no arrays: stage 1 fails where it removes KT/BT.
    multi_point_calib_array_v3_t ranges{{b.kt.data(), b.kt.data(), b.kt.data()},
                                        {b.bt.data(), b.bt.data(), b.bt.data()},
                                        b.nuc_table.data(),
                                        raw.data(),
                                        0};
    two_point_calib_result_v3_t out{{b.new_kt.data(), b.new_kt.data(), b.new_kt.data()},
                                    {b.new_bt.data(), b.new_bt.data(), b.new_bt.data()}};
    v.param.multi_point_calib_array = &ranges;
    v.param.temp_area = 3;
    log.clear();
    EXPECT_EQ(new_ktbt_recal_double_point_calculate_with_version(&v.param, 2, &out), RADIMO_ERR_KTBT_UPDATE);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/sencond_cal/reverse_calc_nuc_with_ktbt: data is NULL\n",
                            "src/sencond_cal/calculate_target_sitf_and_offset_before_ktbt_with_version3: "
                            "reverse_calc_nuc_with_ktbt failed\n",
                            "src/sencond_cal/advanced_ktbt_recal_double_point_calculate_version3: "
                            "calculate_target_sitf_and_offset_before_ktbt_with_version3 failed\n",
                            dispatcher + "advanced_ktbt_recal_double_point_calculate_version3 failed\n"));
    ranges.correct_table = nullptr;
    log.clear();
    EXPECT_EQ(advanced_ktbt_recal_double_point_calculate_version3(&v.param, &out), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_texts(), ElementsAre("multi_point_calib_array is NULL\n"));
}

TEST_F(SecondCal, Version2RewritesAllRangesWithOneRangesCoefficients) {
    // Range 2 is a copy of range 1, and so is range 0 except for a zero gain at
    // the low calibration entry, which only a measurement on range 0 reads.
    SecondCalBench one, ranged;
    for (int i = 0; i < 1201; ++i) {
        one.kt[i] = static_cast<uint16_t>(15800 + i % 500);
        one.bt[i] = static_cast<int16_t>(30 - i % 61);
    }
    std::vector<uint16_t> kt0 = one.kt;
    kt0[299] = 0;
    ranged.param.env_correct_param = kGrey;
    std::vector<std::vector<uint16_t>> kt(3, std::vector<uint16_t>(1201, 1));
    std::vector<std::vector<int16_t>> bt(3, std::vector<int16_t>(1201, 1));
    std::string printed;
    const auto run = [&](uint32_t temp_area) {
        Versioned v(ranged, temp_area);
        multi_point_calib_array_v3_t in{{kt0.data(), one.kt.data(), one.kt.data()},
                                        {one.bt.data(), one.bt.data(), one.bt.data()},
                                        ranged.nuc_table.data(),
                                        raw.data(),
                                        0};
        two_point_calib_result_v3_t out{{kt[0].data(), kt[1].data(), kt[2].data()},
                                        {bt[0].data(), bt[1].data(), bt[2].data()}};
        v.param.multi_point_calib_array = &in;
        testing::internal::CaptureStdout();
        const int rc = new_ktbt_recal_double_point_calculate_with_version(&v.param, 2, &out);
        printed = testing::internal::GetCapturedStdout();
        return rc;
    };
    log.clear();
    ASSERT_EQ(run(1), RADIMO_SUCCESS);
    std::string coefficients;  // the same four values through the debug printer
    for (const std::string name : {"Kc = ", "Bc = ", "Kd = ", "Bd = "})
        for (const auto &l : log.debugs())
            if (l.function == "KcBc_KdBd_calculate" && l.text.rfind(name, 0) == 0) coefficients += l.text;
    EXPECT_EQ(printed, coefficients);
    EXPECT_EQ(printed.substr(0, 5), "Kc = ");
    // Range 1 comes out as version 1 makes it; the copies follow with the same coefficients.
    ASSERT_EQ(version1(one), RADIMO_SUCCESS);
    EXPECT_EQ(kt[1], std::vector<uint16_t>(one.new_kt.begin(), one.new_kt.begin() + 1201));
    EXPECT_EQ(bt[1], std::vector<int16_t>(one.new_bt.begin(), one.new_bt.begin() + 1201));
    EXPECT_EQ(kt[2], kt[1]);
    EXPECT_EQ(bt[2], bt[1]);
    EXPECT_EQ(kt[0][299], 0);
    kt[0][299] = kt[1][299];
    bt[0][299] = bt[1][299];
    EXPECT_EQ(kt[0], kt[1]);
    EXPECT_EQ(bt[0], bt[1]);
    // Measured on range 0, the zero gain fails the target line.
    log.clear();
    EXPECT_EQ(run(0), RADIMO_ERR_KTBT_UPDATE);
    EXPECT_EQ(log.error_texts()[0], "kt_array is invalid\n");
    EXPECT_EQ(printed, "");
    // Length 0: measured and printed, nothing written.
    ranged.calib().ktbt_array_len = 0;
    for (int r = 0; r < 3; ++r) kt[r].assign(1201, 1), bt[r].assign(1201, 1);
    ASSERT_EQ(run(1), RADIMO_SUCCESS);
    EXPECT_EQ(printed.substr(0, 5), "Kc = ");
    for (int r = 0; r < 3; ++r)
        EXPECT_TRUE(std::all_of(kt[r].begin(), kt[r].end(), [](int e) { return e == 1; }) &&
                    std::all_of(bt[r].begin(), bt[r].end(), [](int e) { return e == 1; }));
}

}  // namespace
