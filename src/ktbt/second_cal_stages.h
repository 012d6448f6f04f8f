// Stages of the double-point KT/BT recalibration (second calibration).
//
// From two blackbodies (a high and a low one), each seen at a known
// focal-plane reading, the recalibration fits two lines NUC = sitf * T +
// b_offset in the response domain before KT/BT: the target line (what the
// sensor should have answered for the true temperatures) and the actual line
// (what it answered for the reported ones). Two linear maps follow, Kc/Bc
// from the actual onto the target response and Kd/Bd onto the NUC-table
// response, and every KT/BT entry is rewritten with them:
//   1. target line before KT/BT (after the scene correction chosen by the mode),
//   2. actual line before KT/BT (no scene correction on this side),
//   3. the coefficients Kc, Bc, Kd, Bd,
//   4. the rewrite of the arrays.
// All floating arithmetic is single precision in the order written.
//
// Every function here logs under "src/sencond_cal" and with its own name,
// except the shared steps that take the caller's name (`caller`), so that a
// line names the exported or stage function that runs the step.
#pragma once

#include <cstdint>

#include "libradimo.h"

namespace radimo::ktbt {

// Scene correction applied to the target temperatures in stage 1.
enum class TargetCorrection {
    kEnvFactor,  // remove the environment factor from the target NUC values
    kEnhanced,   // target temperatures replaced in place by their apparent temperatures
    kNone,       // the target temperatures are used as they are
};

// Correction of the base drivers' mode: 0-3 environment factor, 4-7
// enhanced distance, 8 and above none.
constexpr TargetCorrection correction_of_mode(uint32_t correct_mode) {
    return correct_mode <= 3   ? TargetCorrection::kEnvFactor
           : correct_mode <= 7 ? TargetCorrection::kEnhanced
                               : TargetCorrection::kNone;
}

// How a stage finds the KT/BT indices of the two calibration readings.
enum class IndexForm {
    kRounded,    // the rounded Q14 product (calculate_ktbt_index_according_vtemp)
    kTruncated,  // the truncated product of the lens-change path
};

// Number of entries the caller's input arrays are taken to hold: the
// ktbt_array_len entries the rewrite covers, or, for a record that asks for
// the coefficients only (ktbt_array_len 0), the ktbt_index_len entries the
// calibration indices are limited to.
constexpr int32_t readable_entries(const second_calib_param_t &p) {
    return p.ktbt_array_len != 0 ? p.ktbt_array_len : p.ktbt_index_len;
}

// The two-point line fit: sitf = float(Nh - Nl) / (Th - Tl), b_offset =
// float(Nl) - Tl * sitf, object NUC values stored; no guard for Th == Tl.
// Logs "sitf = %f b_offset = %f".
void calculate_sitf_and_offset(uint16_t nuc_high, uint16_t nuc_low, float temp_high, float temp_low,
                               second_cal_temp_param_t *line);

// A NUC value with KT/BT removed at a calibration index:
// ((nuc - bt[i]) * 16384) / kt[i] in signed 32-bit arithmetic, low 16 bits
// kept. Refuses (RADIMO_ERR_PARAM, with its own line) NULL arrays, an index
// outside 0 .. readable_entries - 1 and a zero gain at the index.
int reverse_calc_nuc_with_ktbt(const second_calib_param_t &p, uint16_t nuc, int index,
                               const uint16_t *kt_array, const int16_t *bt_array, uint16_t *out);

// Stage 1 of the base drivers, the correction chosen by correct_mode; target
// NUC values from the 8192-entry lookup. In modes 4-7 the target
// temperatures of the record are overwritten with the apparent ones.
int calculate_target_sitf_and_offset_before_ktbt(second_calib_param_t *p, const env_correct_param_t *high_env,
                                                 const env_correct_param_t *low_env, uint32_t correct_mode,
                                                 const uint16_t *kt_array, const int16_t *bt_array,
                                                 const uint16_t *nuc_table, const uint16_t *correct_table,
                                                 uint32_t correct_table_arg,
                                                 second_cal_temp_param_t *before_nuct,
                                                 second_cal_temp_param_t *before_ktbt);

// Stage 1 of version 0 (environment factor) and version 1 (enhanced
// distance); target NUC values from the table-length lookup.
int calculate_target_sitf_and_offset_before_ktbt_with_version(
    second_calib_param_t *p, const env_correct_param_t *high_env, const env_correct_param_t *low_env,
    uint32_t version, const uint16_t *kt_array, const int16_t *bt_array, const uint16_t *nuc_table,
    const uint16_t *correct_table, uint32_t correct_table_arg, second_cal_temp_param_t *before_nuct,
    second_cal_temp_param_t *before_ktbt);

// Stage 1 of the three-range version: always the enhanced-distance
// correction, table-length lookup, on the arrays of the selected range.
int calculate_target_sitf_and_offset_before_ktbt_with_version3(
    second_calib_param_t *p, const env_correct_param_t *high_env, const env_correct_param_t *low_env,
    const uint16_t *kt_array, const int16_t *bt_array, const uint16_t *nuc_table,
    const uint16_t *correct_table, uint32_t correct_table_arg, second_cal_temp_param_t *before_nuct,
    second_cal_temp_param_t *before_ktbt);

// Stage 1 after a lens change: no scene correction, table-length lookup, the
// truncated index product. The record is not written.
int calculate_target_sitf_and_offset_before_ktbt_in_change_lens(
    second_calib_param_t *p, const uint16_t *kt_array, const int16_t *bt_array, const uint16_t *nuc_table,
    second_cal_temp_param_t *before_nuct, second_cal_temp_param_t *before_ktbt);

// Stage 2: the reported temperatures through the table-length lookup, KT/BT
// removed, fitted against the (possibly overwritten) target temperatures.
int calculate_actual_sitf_and_offset_before_ktbt(const second_calib_param_t *p, const uint16_t *kt_array,
                                                 const int16_t *bt_array, const uint16_t *nuc_table,
                                                 second_cal_temp_param_t *actual);
// Stage 2 with the truncated index product of the lens-change path.
int calculate_actual_sitf_and_offset_before_ktbt_in_change_lens(const second_calib_param_t *p,
                                                                const uint16_t *kt_array,
                                                                const int16_t *bt_array,
                                                                const uint16_t *nuc_table,
                                                                second_cal_temp_param_t *actual);

// Stage 3 without its lines: the coefficients and the intermediate line of
// the current arrays at the two calibration points. The indices of `target`
// must lie inside the arrays.
struct Coefficients {
    float kc;      // actual -> target response gain
    float bc;      // actual -> target response offset
    float sitf_c;  // slope of the current arrays' line at the two points
    float b_c;     // its offset
    float kd;      // -> NUC-table response gain
    float bd;      // -> NUC-table response offset
};
Coefficients double_point_coefficients(const second_cal_temp_param_t &target, float before_nuct_sitf,
                                       float before_nuct_b_offset, const second_cal_temp_param_t &actual,
                                       const second_calib_param_t &p, const uint16_t *kt_array,
                                       const int16_t *bt_array);

// The six coefficient lines (Kc, Bc, sitf_c, b_c, Kd, Bd), under the
// caller's name.
void log_coefficients(const char *caller, const Coefficients &c);

// Stage 4 on `ranges` pairs of arrays (one, or the three temperature
// ranges): entries 0 .. ktbt_array_len - 1 rewritten, entry by entry and
// within an entry range by range, stored with 16-bit wrapping and no
// clamping. Nothing for a length of 0.
void rewrite_ktbt_entries(const Coefficients &c, uint16_t ktbt_array_len, int ranges,
                          const uint16_t *const *kt_arrays, const int16_t *const *bt_arrays,
                          uint16_t *const *new_kt_arrays, int16_t *const *new_bt_arrays);

// Stages 3 and 4 with their debug lines; always returns 0.
int update_kt_and_bt_array_double_point(const second_cal_temp_param_t *before_ktbt, float before_nuct_sitf,
                                        float before_nuct_b_offset, const second_cal_temp_param_t *actual,
                                        const second_calib_param_t *p, const uint16_t *kt_array,
                                        const int16_t *bt_array, uint16_t *new_kt_array,
                                        int16_t *new_bt_array);

// ---------------------------------------------------------------------------
// Steps shared by the exported drivers, reported under the caller's name.
// ---------------------------------------------------------------------------

// The calibration pointers (kt, bt, NUC table, correct table) and the two
// result arrays; "multi_point_calib_array is NULL" when one is missing.
bool double_point_arrays_present(const char *caller, const multi_point_calib_array_t &arrays,
                                 const two_point_calib_result_t &result);

// The two target temperatures, logged before stage 1.
void log_target_temperatures(const char *caller, const second_calib_param_t &p);

// Stage 2, then stages 3-4 into the result arrays, after a successful stage 1.
int finish_double_point(const char *caller, second_calib_param_t *p,
                        const second_cal_temp_param_t &before_nuct,
                        const second_cal_temp_param_t &before_ktbt, const uint16_t *kt_array,
                        const int16_t *bt_array, const uint16_t *nuc_table, uint16_t *new_kt_array,
                        int16_t *new_bt_array);

}  // namespace radimo::ktbt
