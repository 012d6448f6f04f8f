// Versioned double-point KT/BT recalibration: version 0 (environment factor)
// and version 1 (enhanced distance) on one pair of arrays, version 2 on
// calibration data split into three temperature ranges, and the dispatcher.
#include <cstdint>
#include <cstdio>

#include "core/message.h"
#include "ktbt/second_cal_stages.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleSencondCal;

constexpr int kRanges = 3;

bool any_null(const void *const *pointers, int count) {
    for (int i = 0; i < count; ++i)
        if (pointers[i] == nullptr) return true;
    return false;
}

}  // namespace

extern "C" {

int advanced_ktbt_recal_double_point_calculate_with_version(multi_point_calib_param_t *param,
                                                            uint32_t version,
                                                            two_point_calib_result_t *result) {
    using namespace radimo::ktbt;
    if (param == nullptr || result == nullptr || param->multi_point_param == nullptr) {
        RADIMO_ERROR("handle is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const auto *arrays = static_cast<const multi_point_calib_array_t *>(param->multi_point_calib_array);
    if (arrays == nullptr) {
        RADIMO_ERROR("multi_point_calib_array is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (!double_point_arrays_present(__func__, *arrays, *result)) return RADIMO_ERR_PARAM;
    if (version >= 2) {
        RADIMO_ERROR("version is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    advanced_second_cal_param_t &scenes = *param->multi_point_param;
    second_calib_param_t *p = &scenes.second_calib_param;
    log_target_temperatures(__func__, *p);

    second_cal_temp_param_t before_nuct{};
    second_cal_temp_param_t before_ktbt{};
    if (calculate_target_sitf_and_offset_before_ktbt_with_version(
            p, &scenes.high_env_correct_param, &scenes.low_env_correct_param, version, arrays->kt_array,
            arrays->bt_array, arrays->nuc_table, arrays->correct_table, arrays->correct_table_arg,
            &before_nuct, &before_ktbt) != RADIMO_SUCCESS) {
        RADIMO_ERROR("calculate_target_sitf_and_offset_before_ktbt_with_version failed\n");
        return RADIMO_ERR_SITF_OFFSET;
    }
    return finish_double_point(__func__, p, before_nuct, before_ktbt, arrays->kt_array, arrays->bt_array,
                               arrays->nuc_table, result->kt_array, result->bt_array);
}

int advanced_ktbt_recal_double_point_calculate_version3(multi_point_calib_param_t *param,
                                                        two_point_calib_result_v3_t *result) {
    using namespace radimo::ktbt;
    if (param == nullptr || result == nullptr || param->multi_point_param == nullptr) {
        RADIMO_ERROR("handle is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const auto *arrays = static_cast<const multi_point_calib_array_v3_t *>(param->multi_point_calib_array);
    if (arrays == nullptr) {
        RADIMO_ERROR("multi_point_calib_array is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const void *const calibration[] = {arrays->kt_array[0], arrays->kt_array[1],  arrays->kt_array[2],
                                       arrays->bt_array[0], arrays->bt_array[1],  arrays->bt_array[2],
                                       arrays->nuc_table,   arrays->correct_table};
    const void *const outputs[] = {result->kt_array[0], result->kt_array[1], result->kt_array[2],
                                   result->bt_array[0], result->bt_array[1], result->bt_array[2]};
    if (any_null(calibration, 8) || any_null(outputs, 6)) {
        RADIMO_ERROR("multi_point_calib_array is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    advanced_second_cal_param_t &scenes = *param->multi_point_param;
    second_calib_param_t *p = &scenes.second_calib_param;
    log_target_temperatures(__func__, *p);

    // temp_area picks the range the coefficients are measured on; any other
    // value selects no arrays, and stage 1 fails where it needs them.
    const bool in_range = param->temp_area < kRanges;
    const uint16_t *kt = in_range ? arrays->kt_array[param->temp_area] : nullptr;
    const int16_t *bt = in_range ? arrays->bt_array[param->temp_area] : nullptr;

    second_cal_temp_param_t before_nuct{};
    second_cal_temp_param_t before_ktbt{};
    second_cal_temp_param_t actual{};
    if (calculate_target_sitf_and_offset_before_ktbt_with_version3(
            p, &scenes.high_env_correct_param, &scenes.low_env_correct_param, kt, bt, arrays->nuc_table,
            arrays->correct_table, arrays->correct_table_arg, &before_nuct, &before_ktbt) != RADIMO_SUCCESS) {
        RADIMO_ERROR("calculate_target_sitf_and_offset_before_ktbt_with_version3 failed\n");
        return RADIMO_ERR_SITF_OFFSET;
    }
    if (calculate_actual_sitf_and_offset_before_ktbt(p, kt, bt, arrays->nuc_table, &actual) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR("calculate_actual_sitf_and_offset_before_ktbt failed\n");
        return RADIMO_ERR_SITF_OFFSET;
    }
    // Its result is not examined: stages 1 and 2 have already checked the
    // arrays and the indices it reads.
    float coefficients[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    KcBc_KdBd_calculate(&before_ktbt, &before_nuct, &actual, p, kt, bt, coefficients);
    // Printed on standard output whatever the log level, deliberately.
    std::printf("Kc = %f\n", static_cast<double>(coefficients[0]));
    std::printf("Bc = %f\n", static_cast<double>(coefficients[1]));
    std::printf("Kd = %f\n", static_cast<double>(coefficients[2]));
    std::printf("Bd = %f\n", static_cast<double>(coefficients[3]));
    std::fflush(stdout);
    if (p->ktbt_array_len == 0) return RADIMO_SUCCESS;

    // The coefficients measured on one range rewrite all three.
    const Coefficients c{coefficients[0], coefficients[1], 0.0f, 0.0f, coefficients[2], coefficients[3]};
    const uint16_t *const kt_in[kRanges] = {arrays->kt_array[0], arrays->kt_array[1], arrays->kt_array[2]};
    const int16_t *const bt_in[kRanges] = {arrays->bt_array[0], arrays->bt_array[1], arrays->bt_array[2]};
    rewrite_ktbt_entries(c, p->ktbt_array_len, kRanges, kt_in, bt_in, result->kt_array, result->bt_array);
    return RADIMO_SUCCESS;
}

int new_ktbt_recal_double_point_calculate_with_version(multi_point_calib_param_t *param, uint32_t version,
                                                       void *result) {
    if (param == nullptr || result == nullptr) {
        RADIMO_ERROR("handle is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (version > 2) {
        RADIMO_ERROR("version is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (version == 2) {
        if (advanced_ktbt_recal_double_point_calculate_version3(
                param, static_cast<two_point_calib_result_v3_t *>(result)) != RADIMO_SUCCESS) {
            RADIMO_ERROR("advanced_ktbt_recal_double_point_calculate_version3 failed\n");
            return RADIMO_ERR_KTBT_UPDATE;
        }
        return RADIMO_SUCCESS;
    }
    if (advanced_ktbt_recal_double_point_calculate_with_version(
            param, version, static_cast<two_point_calib_result_t *>(result)) != RADIMO_SUCCESS) {
        RADIMO_ERROR("advanced_ktbt_recal_double_point_calculate failed\n");
        return RADIMO_ERR_KTBT_UPDATE;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
