// Stages of the double-point KT/BT recalibration: the target and actual
// lines, the coefficients and the rewrite of the arrays.
#include "ktbt/second_cal_stages.h"

#include <algorithm>
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "ktbt/ktbt_index.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleSencondCal;

namespace fx = radimo::fx;
using radimo::ktbt::TargetCorrection;

// How a stage-1 variant finds and corrects the target NUC values.
struct TargetStyle {
    TargetCorrection correction;
    bool table_len_lookup;  // table-length lookup instead of the 8192-entry one
    bool log_apparent;      // log the apparent temperatures after the correction
    radimo::ktbt::IndexForm index = radimo::ktbt::IndexForm::kRounded;
};

// The calibration indices of low_vtemp, then high_vtemp, in the given form;
// a failure is reported under the stage's name with the index function's.
int calibration_indices(const char *caller, radimo::ktbt::IndexForm form, const second_calib_param_t *p,
                        int *low_index, int *high_index) {
    using radimo::ktbt::IndexForm;
    const auto index_of = [&](uint16_t vtemp, int *index) {
        return form == IndexForm::kTruncated
                   ? calculate_ktbt_index_according_vtemp_in_change_lens(vtemp, p, index)
                   : radimo::ktbt::calculate_ktbt_index_according_vtemp(vtemp, p, index);
    };
    if (index_of(p->low_vtemp, low_index) == RADIMO_SUCCESS &&
        index_of(p->high_vtemp, high_index) == RADIMO_SUCCESS)
        return RADIMO_SUCCESS;
    if (form == IndexForm::kTruncated)
        RADIMO_ERROR_FOR(caller, "calculate_ktbt_index_according_vtemp_in_change_lens failed\n");
    else
        RADIMO_ERROR_FOR(caller, "calculate_ktbt_index_according_vtemp failed\n");
    return RADIMO_ERR_KTBT_INDEX;
}

int target_nuc(const TargetStyle &style, const second_calib_param_t &p, const uint16_t *nuc_table, float temp,
               uint16_t *nuc) {
    return style.table_len_lookup
               ? reverse_calc_NUC_with_nuc_t_table_len(nuc_table, p.nuc_table_len, nuc, temp)
               : reverse_calc_NUC_with_nuc_t(nuc_table, nuc, temp);
}

// The line a stage fits, which names its debug lines.
enum class FittedLine { kTarget, kActual };

void log_before_ktbt(const char *caller, FittedLine line, bool high, uint16_t nuc) {
    if (line == FittedLine::kTarget) {
        if (high) {
            RADIMO_DEBUG_FOR(caller, "target_object_nuc_high_before_ktbt=%d\n", nuc);
        } else {
            RADIMO_DEBUG_FOR(caller, "target_object_nuc_low_before_ktbt=%d\n", nuc);
        }
    } else if (high) {
        RADIMO_DEBUG_FOR(caller, "object_nuc_high_before_ktbt=%d\n", nuc);
    } else {
        RADIMO_DEBUG_FOR(caller, "object_nuc_low_before_ktbt=%d\n", nuc);
    }
}

// The end of stages 1 and 2: the NUC values of both sources with KT/BT
// removed at their calibration indices (the low source first), then the line
// through them and the target temperatures, with the indices stored. Both
// lines are fitted over the target temperatures, so that they share one
// temperature axis. Lines are reported under the stage's name (`caller`).
int fit_before_ktbt(const char *caller, FittedLine line, radimo::ktbt::IndexForm form,
                    const second_calib_param_t *p, uint16_t nuc_high, uint16_t nuc_low,
                    const uint16_t *kt_array, const int16_t *bt_array, second_cal_temp_param_t *out) {
    int low_index = 0;
    int high_index = 0;
    const int index_rc = calibration_indices(caller, form, p, &low_index, &high_index);
    if (index_rc != RADIMO_SUCCESS) return index_rc;
    uint16_t low_before_ktbt = 0;
    uint16_t high_before_ktbt = 0;
    if (radimo::ktbt::reverse_calc_nuc_with_ktbt(*p, nuc_low, low_index, kt_array, bt_array,
                                                 &low_before_ktbt) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "reverse_calc_nuc_with_ktbt failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    log_before_ktbt(caller, line, false, low_before_ktbt);
    if (radimo::ktbt::reverse_calc_nuc_with_ktbt(*p, nuc_high, high_index, kt_array, bt_array,
                                                 &high_before_ktbt) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "reverse_calc_nuc_with_ktbt failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    log_before_ktbt(caller, line, true, high_before_ktbt);
    radimo::ktbt::calculate_sitf_and_offset(high_before_ktbt, low_before_ktbt, p->target_high_celsius,
                                            p->target_low_celsius, out);
    out->high_ktbt_index = high_index;
    out->low_ktbt_index = low_index;
    return RADIMO_SUCCESS;
}

// Stage 1, shared by its three variants; lines are reported under the
// variant's name (`caller`).
int target_line(const char *caller, const TargetStyle &style, second_calib_param_t *p,
                const env_correct_param_t *high_env, const env_correct_param_t *low_env,
                const uint16_t *kt_array, const int16_t *bt_array, const uint16_t *nuc_table,
                const uint16_t *correct_table, uint32_t correct_table_arg,
                second_cal_temp_param_t *before_nuct, second_cal_temp_param_t *before_ktbt) {
    using namespace radimo::ktbt;
    if (style.correction == TargetCorrection::kEnhanced) {
        // The true temperatures are replaced in place by the apparent ones;
        // the caller sees them afterwards and the later steps read them.
        if (reverse_enhance_distance_temp_correct(high_env, correct_table, correct_table_arg,
                                                  &p->target_high_celsius,
                                                  p->target_high_celsius) != RADIMO_SUCCESS) {
            RADIMO_ERROR_FOR(caller, "reverse high temp failed\n");
            return RADIMO_ERR_REVERSE_TEMP;
        }
        if (reverse_enhance_distance_temp_correct(low_env, correct_table, correct_table_arg,
                                                  &p->target_low_celsius,
                                                  p->target_low_celsius) != RADIMO_SUCCESS) {
            RADIMO_ERROR_FOR(caller, "reverse low temp failed\n");
            return RADIMO_ERR_REVERSE_TEMP;
        }
        if (style.log_apparent) {
            RADIMO_DEBUG_FOR(caller, "reverse_enhance_distance_temp_correct temp_high = %f\n",
                             static_cast<double>(p->target_high_celsius));
            RADIMO_DEBUG_FOR(caller, "reverse_enhance_distance_temp_correct temp_low = %f\n",
                             static_cast<double>(p->target_low_celsius));
        }
    }

    uint16_t nuc_low = 0;
    uint16_t nuc_high = 0;
    if (target_nuc(style, *p, nuc_table, p->target_low_celsius, &nuc_low) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "reverse_calc_nuc_with_nuc_t failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    RADIMO_DEBUG_FOR(caller, "target_object_nuc_low_before_nuct=%d\n", nuc_low);
    if (target_nuc(style, *p, nuc_table, p->target_high_celsius, &nuc_high) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "reverse_calc_nuc_with_nuc_t failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    RADIMO_DEBUG_FOR(caller, "target_object_nuc_high_before_nuct=%d\n", nuc_high);

    if (style.correction == TargetCorrection::kEnvFactor) {
        env_factor_t high_factor{};
        env_factor_t low_factor{};
        if (calc_env_factor_with_dist_and_env_temp(high_env, correct_table, nuc_table, &high_factor) !=
            RADIMO_SUCCESS) {
            RADIMO_ERROR_FOR(caller, "calc_high_temp_env_factor_with_dist_and_env_temp failed\n");
            return RADIMO_ERR_ENV_FACTOR;
        }
        if (calc_env_factor_with_dist_and_env_temp(low_env, correct_table, nuc_table, &low_factor) !=
            RADIMO_SUCCESS) {
            RADIMO_ERROR_FOR(caller, "calc_low_temp_env_factor_with_dist_and_env_temp failed\n");
            return RADIMO_ERR_ENV_FACTOR;
        }
        if (reverse_calc_NUC_without_env_correct(&low_factor, nuc_low, &nuc_low) != RADIMO_SUCCESS ||
            reverse_calc_NUC_without_env_correct(&high_factor, nuc_high, &nuc_high) != RADIMO_SUCCESS) {
            RADIMO_ERROR_FOR(caller, "reverse_calc_NUC_without_env_correct failed\n");
            return RADIMO_ERR_REVERSE_NUC;
        }
    }
    calculate_sitf_and_offset(nuc_high, nuc_low, p->target_high_celsius, p->target_low_celsius, before_nuct);
    return fit_before_ktbt(caller, FittedLine::kTarget, style.index, p, nuc_high, nuc_low, kt_array, bt_array,
                           before_ktbt);
}

// The current arrays applied at a calibration point after the map Kc/Bc:
// (trunc(float(nuc) * Kc + Bc) * kt[i]) >> 14 plus bt[i], signed 32-bit, with
// no rounding term (unlike the rewrite).
int32_t mapped_through_arrays(uint16_t nuc, float kc, float bc, int index, const uint16_t *kt_array,
                              const int16_t *bt_array) {
    const int32_t mapped = fx::trunc_i32(static_cast<float>(nuc) * kc + bc);
    const int32_t gained = fx::mul_wrap32(mapped, kt_array[index]) >> fx::kQ14Shift;
    return fx::wrap32(int64_t{gained} + bt_array[index]);
}

}  // namespace

namespace radimo::ktbt {

void calculate_sitf_and_offset(uint16_t nuc_high, uint16_t nuc_low, float temp_high, float temp_low,
                               second_cal_temp_param_t *line) {
    const float sitf = static_cast<float>(static_cast<int32_t>(nuc_high) - static_cast<int32_t>(nuc_low)) /
                       (temp_high - temp_low);
    const float b_offset = static_cast<float>(nuc_low) - temp_low * sitf;
    line->sitf = sitf;
    line->b_offset = b_offset;
    line->object_nuc_high = nuc_high;
    line->object_nuc_low = nuc_low;
    RADIMO_DEBUG("sitf = %f b_offset = %f\n", static_cast<double>(sitf), static_cast<double>(b_offset));
}

int reverse_calc_nuc_with_ktbt(const second_calib_param_t &p, uint16_t nuc, int index,
                               const uint16_t *kt_array, const int16_t *bt_array, uint16_t *out) {
    if (kt_array == nullptr || bt_array == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // An index the arrays do not hold (no valid index at all, or an index
    // range longer than the arrays) is refused before any read.
    if (index < 0 || index >= readable_entries(p)) {
        RADIMO_ERROR("ktbt_index is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    // A zero gain has no inverse; it is reported instead of divided by.
    if (kt_array[index] == 0) {
        RADIMO_ERROR("kt_array is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    // |nuc - bt| < 98304, so the Q14 scaling stays inside 32 bits.
    const int32_t scaled = (static_cast<int32_t>(nuc) - bt_array[index]) * fx::kQ14One;
    *out = fx::low16(scaled / static_cast<int32_t>(kt_array[index]));
    return RADIMO_SUCCESS;
}

int calculate_target_sitf_and_offset_before_ktbt(second_calib_param_t *p, const env_correct_param_t *high_env,
                                                 const env_correct_param_t *low_env, uint32_t correct_mode,
                                                 const uint16_t *kt_array, const int16_t *bt_array,
                                                 const uint16_t *nuc_table, const uint16_t *correct_table,
                                                 uint32_t correct_table_arg,
                                                 second_cal_temp_param_t *before_nuct,
                                                 second_cal_temp_param_t *before_ktbt) {
    const TargetStyle style{correction_of_mode(correct_mode), false, false};
    return target_line(__func__, style, p, high_env, low_env, kt_array, bt_array, nuc_table, correct_table,
                       correct_table_arg, before_nuct, before_ktbt);
}

int calculate_target_sitf_and_offset_before_ktbt_with_version(
    second_calib_param_t *p, const env_correct_param_t *high_env, const env_correct_param_t *low_env,
    uint32_t version, const uint16_t *kt_array, const int16_t *bt_array, const uint16_t *nuc_table,
    const uint16_t *correct_table, uint32_t correct_table_arg, second_cal_temp_param_t *before_nuct,
    second_cal_temp_param_t *before_ktbt) {
    const TargetStyle style{version == 0 ? TargetCorrection::kEnvFactor : TargetCorrection::kEnhanced, true,
                            true};
    return target_line(__func__, style, p, high_env, low_env, kt_array, bt_array, nuc_table, correct_table,
                       correct_table_arg, before_nuct, before_ktbt);
}

int calculate_target_sitf_and_offset_before_ktbt_with_version3(
    second_calib_param_t *p, const env_correct_param_t *high_env, const env_correct_param_t *low_env,
    const uint16_t *kt_array, const int16_t *bt_array, const uint16_t *nuc_table,
    const uint16_t *correct_table, uint32_t correct_table_arg, second_cal_temp_param_t *before_nuct,
    second_cal_temp_param_t *before_ktbt) {
    const TargetStyle style{TargetCorrection::kEnhanced, true, true};
    return target_line(__func__, style, p, high_env, low_env, kt_array, bt_array, nuc_table, correct_table,
                       correct_table_arg, before_nuct, before_ktbt);
}

int calculate_target_sitf_and_offset_before_ktbt_in_change_lens(
    second_calib_param_t *p, const uint16_t *kt_array, const int16_t *bt_array, const uint16_t *nuc_table,
    second_cal_temp_param_t *before_nuct, second_cal_temp_param_t *before_ktbt) {
    const TargetStyle style{TargetCorrection::kNone, true, false, IndexForm::kTruncated};
    return target_line(__func__, style, p, nullptr, nullptr, kt_array, bt_array, nuc_table, nullptr, 0,
                       before_nuct, before_ktbt);
}

namespace {

// Stage 2, shared by its two index forms; lines are reported under the
// variant's name (`caller`).
int actual_line(const char *caller, IndexForm form, const second_calib_param_t *p, const uint16_t *kt_array,
                const int16_t *bt_array, const uint16_t *nuc_table, second_cal_temp_param_t *actual) {
    // No scene correction on this side, whatever the mode: the reported
    // temperatures are the camera's apparent readings.
    uint16_t nuc_high = 0;
    uint16_t nuc_low = 0;
    if (reverse_calc_NUC_with_nuc_t_table_len(nuc_table, p->nuc_table_len, &nuc_high,
                                              p->actual_high_celsius) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "reverse_calc_NUC_with_nuc_t failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    if (reverse_calc_NUC_with_nuc_t_table_len(nuc_table, p->nuc_table_len, &nuc_low, p->actual_low_celsius) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "reverse_calc_NUC_with_nuc_t failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    // The actual responses are paired with the target temperatures on
    // purpose: both lines then share one temperature axis.
    return fit_before_ktbt(caller, FittedLine::kActual, form, p, nuc_high, nuc_low, kt_array, bt_array,
                           actual);
}

}  // namespace

int calculate_actual_sitf_and_offset_before_ktbt(const second_calib_param_t *p, const uint16_t *kt_array,
                                                 const int16_t *bt_array, const uint16_t *nuc_table,
                                                 second_cal_temp_param_t *actual) {
    return actual_line(__func__, IndexForm::kRounded, p, kt_array, bt_array, nuc_table, actual);
}

int calculate_actual_sitf_and_offset_before_ktbt_in_change_lens(const second_calib_param_t *p,
                                                                const uint16_t *kt_array,
                                                                const int16_t *bt_array,
                                                                const uint16_t *nuc_table,
                                                                second_cal_temp_param_t *actual) {
    return actual_line(__func__, IndexForm::kTruncated, p, kt_array, bt_array, nuc_table, actual);
}

Coefficients double_point_coefficients(const second_cal_temp_param_t &target, float before_nuct_sitf,
                                       float before_nuct_b_offset, const second_cal_temp_param_t &actual,
                                       const second_calib_param_t &p, const uint16_t *kt_array,
                                       const int16_t *bt_array) {
    Coefficients c{};
    c.kc = target.sitf / actual.sitf;
    c.bc = target.b_offset - actual.b_offset * c.kc;
    const int32_t low =
        mapped_through_arrays(actual.object_nuc_low, c.kc, c.bc, target.low_ktbt_index, kt_array, bt_array);
    const int32_t high =
        mapped_through_arrays(actual.object_nuc_high, c.kc, c.bc, target.high_ktbt_index, kt_array, bt_array);
    c.sitf_c =
        static_cast<float>(fx::wrap32(int64_t{high} - low)) / (p.target_high_celsius - p.target_low_celsius);
    // The offset's difference is taken in 64-bit integers.
    c.b_c = static_cast<float>(fx::sub_wrap64(low, fx::trunc_i64(p.target_low_celsius * c.sitf_c)));
    c.kd = before_nuct_sitf / c.sitf_c;
    c.bd = before_nuct_b_offset - c.b_c * c.kd;
    return c;
}

void log_coefficients(const char *caller, const Coefficients &c) {
    RADIMO_DEBUG_FOR(caller, "Kc = %f\n", static_cast<double>(c.kc));
    RADIMO_DEBUG_FOR(caller, "Bc = %f\n", static_cast<double>(c.bc));
    RADIMO_DEBUG_FOR(caller, "sitf_c = %f\n", static_cast<double>(c.sitf_c));
    RADIMO_DEBUG_FOR(caller, "b_c = %f\n", static_cast<double>(c.b_c));
    RADIMO_DEBUG_FOR(caller, "Kd = %f\n", static_cast<double>(c.kd));
    RADIMO_DEBUG_FOR(caller, "Bd = %f\n", static_cast<double>(c.bd));
}

void rewrite_ktbt_entries(const Coefficients &c, uint16_t ktbt_array_len, int ranges,
                          const uint16_t *const *kt_arrays, const int16_t *const *bt_arrays,
                          uint16_t *const *new_kt_arrays, int16_t *const *new_bt_arrays) {
    // The entry counter is a signed 16-bit value and reaches entries 0 ..
    // 32767 only; where a longer range would wrap it negative, the rewrite
    // stops, so nothing outside the caller's entries is ever written.
    constexpr int32_t kCounterReach = INT16_MAX + 1;
    const int32_t count = std::min<int32_t>(ktbt_array_len, kCounterReach);
    const float bc_kd = c.bc * c.kd;
    for (int32_t i = 0; i < count; ++i) {
        for (int r = 0; r < ranges; ++r) {
            const uint16_t *kt = kt_arrays[r];
            new_kt_arrays[r][i] = fx::low16(fx::trunc_i32(static_cast<float>(kt[i]) * c.kc * c.kd));
            // kt[i] is read again after the store: with the result written over
            // the input, the offset sees the new gain, as the sequential rewrite does.
            const int32_t folded =
                fx::trunc_i32(static_cast<float>(kt[i]) * bc_kd + 8192.0f) >> fx::kQ14Shift;
            new_bt_arrays[r][i] = fx::low16s(fx::trunc_i32(
                static_cast<float>(folded) + static_cast<float>(bt_arrays[r][i]) * c.kd + c.bd));
        }
    }
}

int update_kt_and_bt_array_double_point(const second_cal_temp_param_t *before_ktbt, float before_nuct_sitf,
                                        float before_nuct_b_offset, const second_cal_temp_param_t *actual,
                                        const second_calib_param_t *p, const uint16_t *kt_array,
                                        const int16_t *bt_array, uint16_t *new_kt_array,
                                        int16_t *new_bt_array) {
    RADIMO_DEBUG("sitf = %f\n", static_cast<double>(before_ktbt->sitf));
    RADIMO_DEBUG("b_offset = %f\n", static_cast<double>(before_ktbt->b_offset));
    const Coefficients c = double_point_coefficients(*before_ktbt, before_nuct_sitf, before_nuct_b_offset,
                                                     *actual, *p, kt_array, bt_array);
    log_coefficients(__func__, c);
    rewrite_ktbt_entries(c, p->ktbt_array_len, 1, &kt_array, &bt_array, &new_kt_array, &new_bt_array);
    return RADIMO_SUCCESS;
}

bool double_point_arrays_present(const char *caller, const multi_point_calib_array_t &arrays,
                                 const two_point_calib_result_t &result) {
    if (arrays.kt_array == nullptr || arrays.bt_array == nullptr || arrays.nuc_table == nullptr ||
        arrays.correct_table == nullptr) {
        RADIMO_ERROR_FOR(caller, "multi_point_calib_array is NULL\n");
        return false;
    }
    // The same text for the output arrays, deliberately.
    if (result.kt_array == nullptr || result.bt_array == nullptr) {
        RADIMO_ERROR_FOR(caller, "multi_point_calib_array is NULL\n");
        return false;
    }
    return true;
}

void log_target_temperatures(const char *caller, const second_calib_param_t &p) {
    RADIMO_DEBUG_FOR(caller, "target_high_celsius = %f\n", static_cast<double>(p.target_high_celsius));
    RADIMO_DEBUG_FOR(caller, "target_low_celsius = %f\n", static_cast<double>(p.target_low_celsius));
}

int finish_double_point(const char *caller, second_calib_param_t *p,
                        const second_cal_temp_param_t &before_nuct,
                        const second_cal_temp_param_t &before_ktbt, const uint16_t *kt_array,
                        const int16_t *bt_array, const uint16_t *nuc_table, uint16_t *new_kt_array,
                        int16_t *new_bt_array) {
    second_cal_temp_param_t actual{};
    if (calculate_actual_sitf_and_offset_before_ktbt(p, kt_array, bt_array, nuc_table, &actual) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "calculate_actual_sitf_and_offset_before_ktbt failed\n");
        return RADIMO_ERR_SITF_OFFSET;
    }
    if (update_kt_and_bt_array_double_point(&before_ktbt, before_nuct.sitf, before_nuct.b_offset, &actual, p,
                                            kt_array, bt_array, new_kt_array,
                                            new_bt_array) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "update_kt_and_bt_array_double_point failed\n");
        return RADIMO_ERR_KTBT_UPDATE;
    }
    return RADIMO_SUCCESS;
}

}  // namespace radimo::ktbt
