// KT/BT index of a focal-plane reading: the index the forward correction
// uses (exported, so that tools and bindings ask rather than repeat the
// formula), the rounded-product index of the second calibration (internal),
// and the index step it shares with the lens-change variant.
#include <cstdint>

#include "core/message.h"
#include "ktbt/ktbt_index.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleSencondCal;

}  // namespace

extern "C" {

// Reported under the correction's module: this is the index of
// ktbt_correct_process and its long-array member.
int radimo_ktbt_index(const ktbt_correct_param_t *ktbt_param, uint32_t ktbt_len, int32_t *index) {
    constexpr const char *kCorrectionModule = radimo::kModuleTempCorrect;
    if (ktbt_param == nullptr || index == nullptr) {
        RADIMO_ERROR_IN(kCorrectionModule, "data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const radimo::ktbt::IndexLimits *limits = radimo::ktbt::limits_of_length(ktbt_len);
    if (limits == nullptr) {
        RADIMO_ERROR_IN(kCorrectionModule, "ktbt_len is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    *index = radimo::ktbt::correction_index(*ktbt_param, *limits);
    return RADIMO_SUCCESS;
}

}  // extern "C"

namespace radimo::ktbt {

void store_index(const char *caller, int32_t t_fpa, const second_calib_param_t &p, int *ktbt_index) {
    const int32_t index = limit_to_count(index_of(t_fpa, p.Address_CA), p.ktbt_index_len);
    *ktbt_index = index;
    RADIMO_DEBUG_FOR(caller, "ktbt_index = %d\n", index);
    RADIMO_DEBUG_FOR(caller, "B_Temp = %d\n", p.B_Temp);
    RADIMO_DEBUG_FOR(caller, "Address_CA = %d\n", p.Address_CA);
    RADIMO_DEBUG_FOR(caller, "K_Temp = %d\n", p.K_Temp);
    RADIMO_DEBUG_FOR(caller, "T_FPA = %d\n", t_fpa);
}

int calculate_ktbt_index_according_vtemp(int vtemp, const second_calib_param_t *second_calib_param,
                                         int *ktbt_index) {
    const second_calib_param_t &p = *second_calib_param;
    // T_FPA is not clamped here; only the index is limited.
    store_index(__func__, t_fpa_rounded(static_cast<uint16_t>(vtemp), p.K_Temp, p.B_Temp), p, ktbt_index);
    return RADIMO_SUCCESS;
}

}  // namespace radimo::ktbt
