// NUC values of a user-defined calibration point on calibration data split
// into three temperature ranges: the arrays of range temp_area are used.
#include <cstdint>

#include "calib/user_points.h"
#include "core/message.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

using radimo::calib::arrays_present;

constexpr uint32_t kRangeCount = 3;

}  // namespace

extern "C" {

// As the second versioned member, on the old and new arrays of range
// temp_area; prints the response before KT/BT to standard output.
int multi_point_calc_user_defined_nuc_with_version3(
    multi_point_calib_param_t *param, const two_point_calib_result_v3_t *two_point_calib_result) {
    // The record's own pointers stand for the other members' pointer arguments.
    if (param == nullptr || two_point_calib_result == nullptr || param->multi_point_param == nullptr ||
        param->multi_point_temp == nullptr || param->multi_point_nuc == nullptr) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (param->temp_area >= kRangeCount) {
        RADIMO_ERROR("temp_area is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const auto *input = static_cast<const multi_point_calib_array_v3_t *>(param->multi_point_calib_array);
    if (input == nullptr || !arrays_present(*input)) {
        RADIMO_ERROR("multi_point_calib_input_param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (!arrays_present(*two_point_calib_result)) {
        RADIMO_ERROR("two_point_calib_result is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const uint32_t r = param->temp_area;
    const radimo::calib::PointArrays arrays{input->nuc_table,
                                            input->kt_array[r],
                                            input->bt_array[r],
                                            two_point_calib_result->kt_array[r],
                                            two_point_calib_result->bt_array[r],
                                            input->correct_table,
                                            input->correct_table_arg};
    const radimo::calib::PointSteps steps{radimo::calib::OutputForm::kRanges,
                                          &param->multi_point_param->high_env_correct_param, nullptr};
    return radimo::calib::compute_point(steps, arrays, param->multi_point_param->second_calib_param,
                                        param->multi_point_temp, param->multi_point_nuc, __func__);
}

}  // extern "C"
