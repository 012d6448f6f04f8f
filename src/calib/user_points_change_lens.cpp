// NUC values of a user-defined calibration point after a lens change: the
// response is carried from the old arrays to the new ones by its own index
// arithmetic, and no scene correction of any kind is applied.
#include <cstdint>

#include "calib/user_points.h"
#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// Whether an index addresses one of the len entries of the KT/BT arrays.
constexpr bool within_arrays(int32_t index, uint16_t len) {
    return index >= 0 && index < static_cast<int32_t>(len);
}

// Index of the new arrays: (cur_vtemp * K_Temp) / 16384 truncated toward
// zero, plus B_Temp, minus Address_CA and one. Unlike the KT/BT index of the
// correction process there is no +8192 rounding and no clamping, deliberately.
// A 16-bit reading times a 16-bit gain always fits in 32 bits.
constexpr int32_t new_ktbt_index(const second_calib_param_t &p) {
    const int32_t product = static_cast<int32_t>(p.cur_vtemp) * p.K_Temp;
    return radimo::fx::div32(product, radimo::fx::kQ14One) + p.B_Temp - p.Address_CA - 1;
}

}  // namespace

extern "C" {

// Besides the listed checks, an old index outside the arrays ("default_ktbt_index
// is invalid"), a zero old gain ("default_kt_array is invalid") and a new index
// outside the arrays ("new_ktbt_index is invalid") are refused with
// RADIMO_ERR_PARAM rather than read or divided by; the arrays hold the record's
// ktbt_array_len entries, so a length of 0 refuses every index.
int multi_point_calc_user_defined_nuc_in_change_lens(second_cal_param_t *multi_point_param,
                                                     const multi_point_calib_array_t *multi_point_calib_array,
                                                     const two_point_calib_result_t *two_point_calib_result,
                                                     multi_point_temp_t *temp,
                                                     multi_point_nuc_t *multi_point_nuc) {
    // The result arrays are reported with the calibration arrays' message, deliberately.
    if (!radimo::calib::point_inputs_valid(multi_point_param, multi_point_calib_array, two_point_calib_result,
                                           temp, multi_point_nuc, radimo::calib::ResultMessage::kCalibArray,
                                           __func__)) {
        return RADIMO_ERR_PARAM;
    }
    const multi_point_calib_array_t &old_arrays = *multi_point_calib_array;
    const two_point_calib_result_t &new_arrays = *two_point_calib_result;
    const second_calib_param_t &param = multi_point_param->second_calib_param;
    uint16_t &output_nuc = multi_point_nuc->output_nuc;

    if (reverse_calc_NUC_with_nuc_t_table_len(old_arrays.nuc_table, param.nuc_table_len, &output_nuc,
                                              temp->output_temp) != RADIMO_SUCCESS) {
        RADIMO_ERROR("reverse calc output_temp nuc failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    RADIMO_DEBUG("output_nuc = %d\n", output_nuc);
    RADIMO_DEBUG("cur_vtemp = %d\n", param.cur_vtemp);

    int old_index = 0;
    if (calculate_ktbt_index_according_vtemp_in_change_lens(param.cur_vtemp, &param, &old_index) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR("calculate_ktbt_index_according_vtemp_in_change_lens failed\n");
        return RADIMO_ERR_KTBT_INDEX;
    }
    RADIMO_DEBUG("default_ktbt_index=%d\n", old_index);
    if (!within_arrays(old_index, param.ktbt_array_len)) {
        RADIMO_ERROR("default_ktbt_index is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (old_arrays.kt_array[old_index] == 0) {
        RADIMO_ERROR("default_kt_array is invalid\n");
        return RADIMO_ERR_PARAM;
    }

    // The response before KT/BT, as a float division in single precision.
    const float old_kt = static_cast<float>(old_arrays.kt_array[old_index]);
    const float old_bt = static_cast<float>(old_arrays.bt_array[old_index]);
    const int32_t above_offset = (output_nuc - old_arrays.bt_array[old_index]) * radimo::fx::kQ14One;
    const float tnr = static_cast<float>(above_offset) / old_kt;
    RADIMO_DEBUG("(float)default_kt_array[low_ktbt_index] =%.5f\n", static_cast<double>(old_kt));
    RADIMO_DEBUG("(float)default_bt_array[low_ktbt_index] =%.5f\n", static_cast<double>(old_bt));
    RADIMO_DEBUG("TNR=%.5f\n", static_cast<double>(tnr));

    const int32_t new_index = new_ktbt_index(param);
    if (!within_arrays(new_index, param.ktbt_array_len)) {
        RADIMO_ERROR("new_ktbt_index is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    // The gain product in single precision, scaled and offset in double
    // precision, truncated toward zero and kept in 16 bits.
    const float new_kt = static_cast<float>(new_arrays.kt_array[new_index]);
    const double corrected = static_cast<double>(new_kt * tnr) * radimo::fx::kQ14Scale +
                             static_cast<double>(static_cast<float>(new_arrays.bt_array[new_index]));
    output_nuc = radimo::fx::trunc_u16(corrected);
    RADIMO_DEBUG("new_ktbt_index = %d\n", new_index);
    RADIMO_DEBUG("(float)new_kt_array[new_ktbt_index] = %.2f\n", static_cast<double>(new_kt));
    RADIMO_DEBUG("multi_point_nuc->output_nuc = %d\n", output_nuc);

    uint16_t setting_nuc = 0;
    const int rc =
        radimo::calib::lookup_setting_nuc(radimo::calib::LookupForm::kTableLength, old_arrays.nuc_table,
                                          param.nuc_table_len, temp->setting_temp, &setting_nuc, __func__);
    if (rc != RADIMO_SUCCESS) return rc;
    multi_point_nuc->setting_nuc = setting_nuc;
    return RADIMO_SUCCESS;
}

}  // extern "C"
