// Double-point KT/BT recalibration after a lens change.
//
// A new lens keeps the detector, the factory KT/BT arrays and the NUC table,
// but changes how much of the scene's radiance reaches the detector and adds
// its own emission: to first order a new gain and offset on the response
// before KT/BT. Two blackbodies seen through the new lens give that map,
// and every KT/BT entry is rewritten with it by the four stages of the
// double-point recalibration, with the lens-change conventions: table-length
// NUC lookups, the truncated index product, no scene correction. The new
// arrays are indexed like the old ones, so they are the "new" arrays that
// multi_point_calc_user_defined_nuc_in_change_lens expects next.
#include <cmath>
#include <cstdint>

#include "core/message.h"
#include "ktbt/second_cal_stages.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleSencondCal;

bool finite(const radimo::ktbt::Coefficients &c) {
    return std::isfinite(c.kc) && std::isfinite(c.bc) && std::isfinite(c.kd) && std::isfinite(c.bd);
}

}  // namespace

extern "C" {

int new_ktbt_recal_double_point_calculate_in_change_lens(
    const second_cal_param_t *param, const multi_point_calib_array_t *multi_point_calib_array,
    two_point_calib_result_t *result) {
    using namespace radimo::ktbt;
    if (param == nullptr || multi_point_calib_array == nullptr || result == nullptr) {
        RADIMO_ERROR("handle is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const multi_point_calib_array_t &arrays = *multi_point_calib_array;
    // Only what the recalibration reads is required: no scene correction
    // runs, so the correct table may be absent.
    if (arrays.kt_array == nullptr || arrays.bt_array == nullptr || arrays.nuc_table == nullptr) {
        RADIMO_ERROR("multi_point_calib_array is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (result->kt_array == nullptr || result->bt_array == nullptr) {
        RADIMO_ERROR("two_point_calib_result is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // A working copy: nothing is written back into the caller's record.
    second_calib_param_t p = param->second_calib_param;
    if (!std::isfinite(p.actual_high_celsius) || !std::isfinite(p.actual_low_celsius) ||
        !std::isfinite(p.target_high_celsius) || !std::isfinite(p.target_low_celsius)) {
        RADIMO_ERROR("temperature is not finite\n");
        return RADIMO_ERR_PARAM;
    }
    // Both lines are fitted over the target temperatures.
    if (p.target_high_celsius == p.target_low_celsius) {
        RADIMO_ERROR("target_high_celsius equals target_low_celsius\n");
        return RADIMO_ERR_PARAM;
    }
    log_target_temperatures(__func__, p);

    second_cal_temp_param_t before_nuct{};
    second_cal_temp_param_t before_ktbt{};
    second_cal_temp_param_t actual{};
    // The stages' own codes are returned: a failed lookup or KT/BT removal
    // gives RADIMO_ERR_REVERSE_NUC, a failed index RADIMO_ERR_KTBT_INDEX.
    int rc = calculate_target_sitf_and_offset_before_ktbt_in_change_lens(
        &p, arrays.kt_array, arrays.bt_array, arrays.nuc_table, &before_nuct, &before_ktbt);
    if (rc != RADIMO_SUCCESS) {
        RADIMO_ERROR("calculate_target_sitf_and_offset_before_ktbt_in_change_lens failed\n");
        return rc;
    }
    rc = calculate_actual_sitf_and_offset_before_ktbt_in_change_lens(&p, arrays.kt_array, arrays.bt_array,
                                                                     arrays.nuc_table, &actual);
    if (rc != RADIMO_SUCCESS) {
        RADIMO_ERROR("calculate_actual_sitf_and_offset_before_ktbt_in_change_lens failed\n");
        return rc;
    }

    RADIMO_DEBUG("sitf = %f\n", static_cast<double>(before_ktbt.sitf));
    RADIMO_DEBUG("b_offset = %f\n", static_cast<double>(before_ktbt.b_offset));
    const Coefficients c = double_point_coefficients(before_ktbt, before_nuct.sitf, before_nuct.b_offset,
                                                     actual, p, arrays.kt_array, arrays.bt_array);
    log_coefficients(__func__, c);
    // Two blackbodies that give one response (a flat actual line, or a flat
    // line through the current arrays) determine no map; the arrays stay as
    // they are rather than receive the truncations of an infinity.
    if (!finite(c)) {
        RADIMO_ERROR("Kc, Bc, Kd or Bd is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    rewrite_ktbt_entries(c, p.ktbt_array_len, 1, &arrays.kt_array, &arrays.bt_array, &result->kt_array,
                         &result->bt_array);
    return RADIMO_SUCCESS;
}

}  // extern "C"
