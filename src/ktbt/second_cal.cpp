// Double-point KT/BT recalibration: the two drivers (one scene for both
// blackbodies, or one scene each) and the coefficients on their own.
#include <cstdint>

#include "core/message.h"
#include "ktbt/second_cal_stages.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleSencondCal;

// Checks, the target temperatures' lines, then stages 1 to 4; every line of
// this sequence names the exported driver (`caller`).
int run_double_point(const char *caller, second_calib_param_t *p, const env_correct_param_t *high_env,
                     const env_correct_param_t *low_env, uint32_t correct_mode,
                     const multi_point_calib_array_t *arrays, two_point_calib_result_t *result) {
    using namespace radimo::ktbt;
    if (arrays == nullptr || result == nullptr || p == nullptr) {
        RADIMO_ERROR_FOR(caller, "handle is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // The correct table is required even in the modes that do not use it.
    if (!double_point_arrays_present(caller, *arrays, *result)) return RADIMO_ERR_PARAM;
    log_target_temperatures(caller, *p);

    second_cal_temp_param_t before_nuct{};
    second_cal_temp_param_t before_ktbt{};
    if (calculate_target_sitf_and_offset_before_ktbt(
            p, high_env, low_env, correct_mode, arrays->kt_array, arrays->bt_array, arrays->nuc_table,
            arrays->correct_table, arrays->correct_table_arg, &before_nuct, &before_ktbt) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "calculate_target_sitf_and_offset_before_ktbt failed\n");
        return RADIMO_ERR_SITF_OFFSET;
    }
    return finish_double_point(caller, p, before_nuct, before_ktbt, arrays->kt_array, arrays->bt_array,
                               arrays->nuc_table, result->kt_array, result->bt_array);
}

}  // namespace

extern "C" {

int new_ktbt_recal_double_point_calculate(second_cal_param_t *param, uint32_t correct_mode,
                                          const multi_point_calib_array_t *multi_point_calib_array,
                                          two_point_calib_result_t *result) {
    // Both blackbodies share the one scene.
    const env_correct_param_t *scene = param != nullptr ? &param->env_correct_param : nullptr;
    return run_double_point(__func__, param != nullptr ? &param->second_calib_param : nullptr, scene, scene,
                            correct_mode, multi_point_calib_array, result);
}

int advanced_ktbt_recal_double_point_calculate(advanced_second_cal_param_t *param, uint32_t correct_mode,
                                               const multi_point_calib_array_t *multi_point_calib_array,
                                               two_point_calib_result_t *result) {
    if (param == nullptr)
        return run_double_point(__func__, nullptr, nullptr, nullptr, correct_mode, multi_point_calib_array,
                                result);
    return run_double_point(__func__, &param->second_calib_param, &param->high_env_correct_param,
                            &param->low_env_correct_param, correct_mode, multi_point_calib_array, result);
}

int KcBc_KdBd_calculate(const second_cal_temp_param_t *target_second_cal_temp_param_before_ktbt,
                        const second_cal_temp_param_t *target_second_cal_temp_param_before_nuct,
                        const second_cal_temp_param_t *actual_second_cal_temp_param,
                        const second_calib_param_t *second_calib_param, const uint16_t *kt_array,
                        const int16_t *bt_array, float *kcbc_kdbd) {
    const second_cal_temp_param_t *target = target_second_cal_temp_param_before_ktbt;
    const second_cal_temp_param_t *actual = actual_second_cal_temp_param;
    // The before-nuct line and the arrays are read as well; a missing one is
    // refused with the same text rather than dereferenced.
    if (target == nullptr || actual == nullptr || second_calib_param == nullptr || kcbc_kdbd == nullptr ||
        target_second_cal_temp_param_before_nuct == nullptr || kt_array == nullptr || bt_array == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // The calibration indices come from the caller's record here: one the
    // arrays do not hold is refused before any read.
    const int32_t entries = radimo::ktbt::readable_entries(*second_calib_param);
    if (target->low_ktbt_index < 0 || target->low_ktbt_index >= entries || target->high_ktbt_index < 0 ||
        target->high_ktbt_index >= entries) {
        RADIMO_ERROR("ktbt_index is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    RADIMO_DEBUG("target_second_cal_temp_param_before_ktbt->sitf = %f\n", static_cast<double>(target->sitf));
    RADIMO_DEBUG("target_second_cal_temp_param_before_ktbt->b_offset = %f\n",
                 static_cast<double>(target->b_offset));
    RADIMO_DEBUG("actual_second_cal_temp_param->sitf = %f\n", static_cast<double>(actual->sitf));
    RADIMO_DEBUG("actual_second_cal_temp_param->b_offset = %f\n", static_cast<double>(actual->b_offset));
    const radimo::ktbt::Coefficients c = radimo::ktbt::double_point_coefficients(
        *target, target_second_cal_temp_param_before_nuct->sitf,
        target_second_cal_temp_param_before_nuct->b_offset, *actual, *second_calib_param, kt_array, bt_array);
    radimo::ktbt::log_coefficients(__func__, c);
    kcbc_kdbd[0] = c.kc;
    kcbc_kdbd[1] = c.bc;
    kcbc_kdbd[2] = c.kd;
    kcbc_kdbd[3] = c.bd;
    return RADIMO_SUCCESS;
}

}  // extern "C"
