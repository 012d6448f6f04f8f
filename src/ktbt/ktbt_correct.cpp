// Forward KT/BT correction: raw NUC value to drift-corrected NUC value.
//
// Runs once per pixel per frame in a host's measurement loop: integer
// arithmetic only, no division, no allocation and no logging on success.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "ktbt/ktbt_index.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

using radimo::ktbt::IndexLimits;

// bt[index] + kt[index] * nuc in Q14 (rounded), clamped to the NUC range, in
// signed 32-bit arithmetic. A product beyond 2^31 (only a gain near 4.0 with a
// value beyond the 14-bit range reaches it) wraps negative and clamps to 0.
inline uint16_t corrected_nuc(const ktbt_correct_param_t &p, uint32_t nuc, const IndexLimits &limits) {
    const int32_t index = radimo::ktbt::correction_index(p, limits);
    const int32_t product = radimo::fx::mul_wrap32(p.kt_array[index], radimo::fx::low16(nuc));
    const int32_t gained =
        radimo::fx::wrap32(int64_t{product} + radimo::fx::kQ14Half) >> radimo::fx::kQ14Shift;
    return radimo::fx::clamp_nuc(p.bt_array[index] + gained);
}

// The argument checks of both members, reported under the caller's name,
// then the correction within the caller's array limits.
inline int correct_checked(const char *caller, const ktbt_correct_param_t *ktbt_param, uint32_t nuc,
                           uint16_t *new_nuc, const IndexLimits &limits) {
    if (ktbt_param == nullptr || new_nuc == nullptr) {
        RADIMO_ERROR_FOR(caller, "data is null\n");
        return RADIMO_ERR_PARAM;
    }
    if (ktbt_param->kt_array == nullptr || ktbt_param->bt_array == nullptr) {
        RADIMO_ERROR_FOR(caller, "kt_array or bt_array is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    *new_nuc = corrected_nuc(*ktbt_param, nuc, limits);
    return RADIMO_SUCCESS;
}

}  // namespace

extern "C" {

int ktbt_correct_process(const ktbt_correct_param_t *ktbt_param, uint32_t nuc, uint16_t *new_nuc) {
    return correct_checked(__func__, ktbt_param, nuc, new_nuc, radimo::ktbt::kLimits1201);
}

int ktbt_correct_process_with_version3(const ktbt_correct_param_t *ktbt_param, uint32_t nuc,
                                       uint16_t *new_nuc) {
    return correct_checked(__func__, ktbt_param, nuc, new_nuc, radimo::ktbt::kLimits3601);
}

}  // extern "C"
