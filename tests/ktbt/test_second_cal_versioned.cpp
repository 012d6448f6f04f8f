// Versioned double-point recalibration: the dispatcher, version 0 (environment
// factor), version 1 (enhanced distance) and version 2 (three ranges).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "ktbt/second_cal_bench.h"
#include "libradimo.h"
#include "support/log_capture.h"
#include "tau_model.h"

namespace {

using radimo::test::second_cal_debug;
using radimo::test::SecondCalBench;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
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

std::vector<uint16_t> raw_table() {
    std::vector<uint16_t> raw(model::raw_table_size(model::TargetLayout::kV3));
    model::fill_raw_correction_table(model::TargetLayout::kV3, {0, 300, 0, 0, 0, 0, 0, 0, 0, 0}, raw.data());
    return raw;
}

class SecondCalVersioned : public radimo::test::LoggedTest {
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
    std::vector<uint16_t> raw = raw_table();
};

TEST_F(SecondCalVersioned, DispatcherRoutesAndRefuses) {
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

TEST_F(SecondCalVersioned, Version1WritesBackAndLogsTheApparentTemperatures) {
    SecondCalBench b;
    ASSERT_EQ(version1(b), RADIMO_SUCCESS);
    float high = 90.0f, low = 30.0f;
    reverse_enhance_distance_temp_correct(&kGrey, raw.data(), 0, &high, high);
    reverse_enhance_distance_temp_correct(&kGrey, raw.data(), 0, &low, low);
    EXPECT_EQ(b.calib().target_high_celsius, high);
    EXPECT_EQ(b.calib().target_low_celsius, low);
    const std::string stage1 = "calculate_target_sitf_and_offset_before_ktbt_with_version: ";
    const std::vector<std::string> lines = second_cal_debug(log);
    ASSERT_GE(lines.size(), 5u);
    EXPECT_EQ(lines[2],
              stage1 + "reverse_enhance_distance_temp_correct temp_high = " + std::to_string(high) + "\n");
    EXPECT_EQ(lines[3],
              stage1 + "reverse_enhance_distance_temp_correct temp_low = " + std::to_string(low) + "\n");
    EXPECT_EQ(lines[4].substr(0, stage1.size() + 28), stage1 + "target_object_nuc_low_before");
}

TEST_F(SecondCalVersioned, Version2RewritesAllRangesWithOneRangesCoefficients) {
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
