// Steps shared by the user-defined calibration point members.
//
// Each member turns one calibration point into two NUC values. The output
// side looks output_temp up in the NUC table, removes the KT/BT correction of
// the old arrays at the current vtemp and applies that of the new arrays. The
// setting side looks setting_temp up after an optional scene correction:
// the enhanced-distance reverse correction (which overwrites setting_temp
// with the apparent temperature) before the lookup, or the removal of the
// environment factor after it.
//
// The steps that fail report under their member's name (the `caller`
// argument, the member's __func__), so one member's trace reads the same
// whichever steps it shares with the others.
#pragma once

#include <cstdint>

#include "libradimo.h"

namespace radimo::calib {

// How a member computes output_nuc.
enum class OutputForm {
    kStandard,  // 8192-entry lookup; reverse_ktbt_correct, then ktbt_correct_process
    kLong,      // table-length lookup; the _with_version3 pair (3601-entry arrays)
    kRanges,    // as kLong, with the range member's own lookup message and its stdout print
};

// How a member looks a setting temperature up in the NUC table.
enum class LookupForm {
    kStandard,     // reverse_calc_NUC_with_nuc_t (8192 entries)
    kTableLength,  // reverse_calc_NUC_with_nuc_t_table_len with the record's nuc_table_len
};

// The old and the new KT/BT arrays of one point, with its NUC table and
// correct table.
struct PointArrays {
    const uint16_t *nuc_table;
    const uint16_t *old_kt;
    const int16_t *old_bt;
    const uint16_t *new_kt;
    const int16_t *new_bt;
    const uint16_t *correct_table;
    uint32_t correct_table_arg;
};

// The steps a member runs. The setting side looks up with the output side's
// table length: the 8192-entry lookup for OutputForm::kStandard, the
// table-length lookup otherwise.
struct PointSteps {
    OutputForm output;
    // Scene of the enhanced-distance reverse correction of setting_temp
    // before the lookup (the correct table is the raw correction table), or
    // nullptr for none.
    const env_correct_param_t *reverse_scene;
    // Scene whose environment factor is taken out of setting_nuc after the
    // lookup (the correct table is the environment tau table), or nullptr.
    const env_correct_param_t *environment_scene;
};

// The message a member gives for missing result arrays.
enum class ResultMessage {
    kCalibArray,  // "multi_point_calib_array is invalid", as for the calibration arrays
    kResult,      // "two_point_calib_result is invalid"
};

// The argument checks of the one-pair members, in order: any pointer
// argument NULL, then a calibration array, then a result array. Reports the
// first failure under the caller's name.
bool point_inputs_valid(const void *multi_point_param, const multi_point_calib_array_t *arrays,
                        const two_point_calib_result_t *result, const multi_point_temp_t *temp,
                        const multi_point_nuc_t *nuc, ResultMessage message, const char *caller);

// Whether every array a member requires is present (the correct table is
// required even by the members and modes that do not read it).
bool arrays_present(const multi_point_calib_array_t &arrays);
bool arrays_present(const multi_point_calib_array_v3_t &arrays);
bool arrays_present(const two_point_calib_result_t &result);
bool arrays_present(const two_point_calib_result_v3_t &result);

// One point: output_nuc of output_temp, written in place step by step (a
// failure may leave a partial value), then setting_nuc, written only when
// every step succeeds. The reverse KT/BT step's result code is deliberately
// ignored: when it fails, the looked-up value goes on to the forward
// correction unchanged. Reports under the caller's name; returns 0 or the
// failed step's code. *temp's setting_temp is overwritten by the reverse
// correction, when it runs.
int compute_point(const PointSteps &steps, const PointArrays &arrays, const second_calib_param_t &param,
                  multi_point_temp_t *temp, multi_point_nuc_t *nuc, const char *caller);

// NUC value of setting_temp. Returns 0 or RADIMO_ERR_REVERSE_NUC.
int lookup_setting_nuc(LookupForm form, const uint16_t *nuc_table, uint32_t nuc_table_len, float setting_temp,
                       uint16_t *setting_nuc, const char *caller);

}  // namespace radimo::calib
