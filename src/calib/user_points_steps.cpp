// Steps shared by the user-defined calibration point members (see user_points.h).
#include <cstdint>
#include <cstdio>

#include "calib/user_points.h"
#include "core/message.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

using radimo::calib::LookupForm;
using radimo::calib::OutputForm;
using radimo::calib::PointArrays;

// The forward correction's record: the vtemp mapping of the second
// calibration, the new arrays and the current reading.
ktbt_correct_param_t new_ktbt_record(const second_calib_param_t &param, const PointArrays &a) {
    return ktbt_correct_param_t{param.K_Temp, param.B_Temp, param.Address_CA,
                                a.new_kt,     a.new_bt,     param.cur_vtemp};
}

// output_nuc of output_temp, written in place step by step. Returns 0,
// RADIMO_ERR_REVERSE_NUC or RADIMO_ERR_KTBT_CORRECT.
int compute_output_nuc(OutputForm form, const PointArrays &arrays, const second_calib_param_t &param,
                       float output_temp, uint16_t *output_nuc, const char *caller) {
    const bool standard = form == OutputForm::kStandard;
    const int found = standard ? reverse_calc_NUC_with_nuc_t(arrays.nuc_table, output_nuc, output_temp)
                               : reverse_calc_NUC_with_nuc_t_table_len(arrays.nuc_table, param.nuc_table_len,
                                                                       output_nuc, output_temp);
    if (found != RADIMO_SUCCESS) {
        // The range member reports the failure with the lookup's own name.
        if (form == OutputForm::kRanges) {
            RADIMO_ERROR_FOR(caller, "reverse_calc_nuc_with_nuc_t failed\n");
        } else {
            RADIMO_ERROR_FOR(caller, "reverse calc output_temp nuc failed\n");
        }
        return RADIMO_ERR_REVERSE_NUC;
    }
    // The response before KT/BT under the old arrays; the result code is
    // deliberately not examined.
    if (standard) {
        (void)reverse_ktbt_correct(&param, arrays.old_kt, arrays.old_bt, arrays.nuc_table, param.cur_vtemp,
                                   *output_nuc, output_nuc);
    } else {
        (void)reverse_ktbt_correct_with_version3(&param, arrays.old_kt, arrays.old_bt, arrays.nuc_table,
                                                 param.cur_vtemp, *output_nuc, output_nuc);
    }
    if (form == OutputForm::kRanges) {
        // Straight to standard output, whatever the log level; hosts read it.
        std::printf("multi_point_nuc->output_nuc = %d\n", *output_nuc);
        std::fflush(stdout);
    }
    const ktbt_correct_param_t record = new_ktbt_record(param, arrays);
    const int corrected = standard ? ktbt_correct_process(&record, *output_nuc, output_nuc)
                                   : ktbt_correct_process_with_version3(&record, *output_nuc, output_nuc);
    if (corrected != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "ktbt_correct_process failed\n");
        return RADIMO_ERR_KTBT_CORRECT;
    }
    return RADIMO_SUCCESS;
}

// Replaces *setting_temp by its apparent temperature under the scene (the
// correction reads the field and writes the result into it). Returns 0 or
// RADIMO_ERR_REVERSE_TEMP.
int correct_setting_temp(const env_correct_param_t &scene, const uint16_t *correct_table,
                         uint32_t correct_table_arg, float *setting_temp, const char *caller) {
    if (reverse_enhance_distance_temp_correct(&scene, correct_table, correct_table_arg, setting_temp,
                                              *setting_temp) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "reverse setting temp failed\n");
        return RADIMO_ERR_REVERSE_TEMP;
    }
    return RADIMO_SUCCESS;
}

// Takes the scene's environment factor (tau from the environment tau table)
// out of *setting_nuc. Returns 0, RADIMO_ERR_ENV_FACTOR or RADIMO_ERR_REVERSE_NUC.
int remove_environment(const env_correct_param_t &scene, const uint16_t *tau_table, const uint16_t *nuc_table,
                       uint16_t *setting_nuc, const char *caller) {
    env_factor_t factor{};
    if (calc_env_factor_with_dist_and_env_temp(&scene, tau_table, nuc_table, &factor) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "calc_env_factor_with_dist_and_env_temp failed\n");
        return RADIMO_ERR_ENV_FACTOR;
    }
    if (reverse_calc_NUC_without_env_correct(&factor, *setting_nuc, setting_nuc) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "reverse_calc_NUC_without_env_correct failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    return RADIMO_SUCCESS;
}

}  // namespace

namespace radimo::calib {

bool arrays_present(const multi_point_calib_array_t &arrays) {
    return arrays.kt_array != nullptr && arrays.bt_array != nullptr && arrays.nuc_table != nullptr &&
           arrays.correct_table != nullptr;
}

bool arrays_present(const multi_point_calib_array_v3_t &arrays) {
    for (int r = 0; r < 3; ++r) {
        if (arrays.kt_array[r] == nullptr || arrays.bt_array[r] == nullptr) return false;
    }
    return arrays.nuc_table != nullptr && arrays.correct_table != nullptr;
}

bool arrays_present(const two_point_calib_result_t &result) {
    return result.kt_array != nullptr && result.bt_array != nullptr;
}

bool arrays_present(const two_point_calib_result_v3_t &result) {
    for (int r = 0; r < 3; ++r) {
        if (result.kt_array[r] == nullptr || result.bt_array[r] == nullptr) return false;
    }
    return true;
}

bool point_inputs_valid(const void *multi_point_param, const multi_point_calib_array_t *arrays,
                        const two_point_calib_result_t *result, const multi_point_temp_t *temp,
                        const multi_point_nuc_t *nuc, ResultMessage message, const char *caller) {
    if (multi_point_param == nullptr || arrays == nullptr || result == nullptr || temp == nullptr ||
        nuc == nullptr) {
        RADIMO_ERROR_FOR(caller, "input param is invalid\n");
        return false;
    }
    if (!arrays_present(*arrays)) {
        RADIMO_ERROR_FOR(caller, "multi_point_calib_array is invalid\n");
        return false;
    }
    if (!arrays_present(*result)) {
        if (message == ResultMessage::kCalibArray) {
            RADIMO_ERROR_FOR(caller, "multi_point_calib_array is invalid\n");
        } else {
            RADIMO_ERROR_FOR(caller, "two_point_calib_result is invalid\n");
        }
        return false;
    }
    return true;
}

int compute_point(const PointSteps &steps, const PointArrays &arrays, const second_calib_param_t &param,
                  multi_point_temp_t *temp, multi_point_nuc_t *nuc, const char *caller) {
    int rc = compute_output_nuc(steps.output, arrays, param, temp->output_temp, &nuc->output_nuc, caller);
    if (rc != RADIMO_SUCCESS) return rc;
    if (steps.reverse_scene != nullptr) {
        rc = correct_setting_temp(*steps.reverse_scene, arrays.correct_table, arrays.correct_table_arg,
                                  &temp->setting_temp, caller);
        if (rc != RADIMO_SUCCESS) return rc;
    }
    const LookupForm lookup =
        steps.output == OutputForm::kStandard ? LookupForm::kStandard : LookupForm::kTableLength;
    uint16_t setting_nuc = 0;
    rc = lookup_setting_nuc(lookup, arrays.nuc_table, param.nuc_table_len, temp->setting_temp, &setting_nuc,
                            caller);
    if (rc != RADIMO_SUCCESS) return rc;
    if (steps.environment_scene != nullptr) {
        rc = remove_environment(*steps.environment_scene, arrays.correct_table, arrays.nuc_table,
                                &setting_nuc, caller);
        if (rc != RADIMO_SUCCESS) return rc;
    }
    nuc->setting_nuc = setting_nuc;
    return RADIMO_SUCCESS;
}

int lookup_setting_nuc(LookupForm form, const uint16_t *nuc_table, uint32_t nuc_table_len, float setting_temp,
                       uint16_t *setting_nuc, const char *caller) {
    const int found =
        form == LookupForm::kStandard
            ? reverse_calc_NUC_with_nuc_t(nuc_table, setting_nuc, setting_temp)
            : reverse_calc_NUC_with_nuc_t_table_len(nuc_table, nuc_table_len, setting_nuc, setting_temp);
    if (found != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "reverse calc setting_temp nuc failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    return RADIMO_SUCCESS;
}

}  // namespace radimo::calib
