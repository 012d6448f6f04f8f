// NUC values of a user-defined calibration point: the base member, chosen by
// correction mode, and the one-pair versioned members 1 and 2.
//
// Each member computes one point: output_nuc, the response the camera will
// present to the NUC table for output_temp once the new KT/BT arrays are in
// force, and setting_nuc, the NUC-table response of setting_temp with the
// scene removed. setting_nuc is written only when the whole point succeeds.
#include <cstdint>

#include "calib/user_points.h"
#include "libradimo.h"

namespace {

using radimo::calib::OutputForm;
using radimo::calib::PointArrays;
using radimo::calib::PointSteps;
using radimo::calib::ResultMessage;

PointArrays point_arrays(const multi_point_calib_array_t &arrays, const two_point_calib_result_t &result) {
    return PointArrays{arrays.nuc_table, arrays.kt_array,      arrays.bt_array,         result.kt_array,
                       result.bt_array,  arrays.correct_table, arrays.correct_table_arg};
}

// Correction modes: 0-3 environment factor, 4-7 enhanced-distance reverse
// correction, 8 and above none.
constexpr bool uses_environment_factor(uint32_t mode) {
    return mode <= 3;
}
constexpr bool uses_enhanced_distance(uint32_t mode) {
    return mode >= 4 && mode <= 7;
}

}  // namespace

extern "C" {

int multi_point_calc_user_defined_nuc(second_cal_param_t *multi_point_param, uint32_t correct_mode,
                                      const multi_point_calib_array_t *multi_point_calib_array,
                                      const two_point_calib_result_t *two_point_calib_result,
                                      multi_point_temp_t *temp, multi_point_nuc_t *multi_point_nuc) {
    // The result arrays are reported with the calibration arrays' message, deliberately.
    if (!radimo::calib::point_inputs_valid(multi_point_param, multi_point_calib_array, two_point_calib_result,
                                           temp, multi_point_nuc, ResultMessage::kCalibArray, __func__)) {
        return RADIMO_ERR_PARAM;
    }
    // The correct table is the environment tau table in modes 0-3, the raw
    // correction table in modes 4-7.
    const env_correct_param_t *scene = &multi_point_param->env_correct_param;
    const PointSteps steps{OutputForm::kStandard, uses_enhanced_distance(correct_mode) ? scene : nullptr,
                           uses_environment_factor(correct_mode) ? scene : nullptr};
    return radimo::calib::compute_point(
        steps, point_arrays(*multi_point_calib_array, *two_point_calib_result),
        multi_point_param->second_calib_param, temp, multi_point_nuc, __func__);
}

// Always the environment factor of the first scene; never the
// enhanced-distance correction.
int multi_point_calc_user_defined_nuc_with_version1(advanced_second_cal_param_t *multi_point_param,
                                                    const multi_point_calib_array_t *multi_point_calib_array,
                                                    const two_point_calib_result_t *two_point_calib_result,
                                                    multi_point_temp_t *temp,
                                                    multi_point_nuc_t *multi_point_nuc) {
    if (!radimo::calib::point_inputs_valid(multi_point_param, multi_point_calib_array, two_point_calib_result,
                                           temp, multi_point_nuc, ResultMessage::kResult, __func__)) {
        return RADIMO_ERR_PARAM;
    }
    const PointSteps steps{OutputForm::kStandard, nullptr, &multi_point_param->high_env_correct_param};
    return radimo::calib::compute_point(
        steps, point_arrays(*multi_point_calib_array, *two_point_calib_result),
        multi_point_param->second_calib_param, temp, multi_point_nuc, __func__);
}

// 3601-entry arrays and table-length lookups; always the enhanced-distance
// correction of the first scene, never the environment factor.
int multi_point_calc_user_defined_nuc_with_version2(advanced_second_cal_param_t *multi_point_param,
                                                    const multi_point_calib_array_t *multi_point_calib_array,
                                                    const two_point_calib_result_t *two_point_calib_result,
                                                    multi_point_temp_t *temp,
                                                    multi_point_nuc_t *multi_point_nuc) {
    if (!radimo::calib::point_inputs_valid(multi_point_param, multi_point_calib_array, two_point_calib_result,
                                           temp, multi_point_nuc, ResultMessage::kResult, __func__)) {
        return RADIMO_ERR_PARAM;
    }
    const PointSteps steps{OutputForm::kLong, &multi_point_param->high_env_correct_param, nullptr};
    return radimo::calib::compute_point(
        steps, point_arrays(*multi_point_calib_array, *two_point_calib_result),
        multi_point_param->second_calib_param, temp, multi_point_nuc, __func__);
}

}  // extern "C"
