// Applying an environment factor to a NUC value, and the NUC value of a
// temperature through the quadratic NUC factor (rounded and capped).
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

namespace fx = radimo::fx;

constexpr double kQ20Scale = 9.5367431640625e-07;  // 2^-20, exact
constexpr double kQ20Half = 524288.0;              // 2^19, rounds the Q20 scaling

// A difference above 32768 in 16 bits is a negative object NUC value.
constexpr uint16_t kNegativeFrom = 32768;

}  // namespace

extern "C" {

int recalc_NUC_with_env_correct(const env_factor_t *env_factor, int nuc, uint16_t *new_nuc) {
    if (env_factor == nullptr) {
        RADIMO_ERROR("env_factor is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (new_nuc == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // Unsigned 32-bit product (wraps), logical shift, then 16-bit difference.
    const uint32_t scaled = uint32_t{fx::low16(nuc)} * env_factor->KE;
    const uint16_t v = fx::low16((scaled >> fx::kQ14Shift) - static_cast<uint32_t>(env_factor->BE));
    *new_nuc = v > kNegativeFrom ? 0 : fx::cap_nuc(v);
    return RADIMO_SUCCESS;
}

int reverse_calc_NUC_with_env_correct(const nuc_factor_t *nuc_factor, uint16_t *nuc, double temp) {
    if (nuc_factor == nullptr) {
        RADIMO_ERROR("nuc_factor is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (nuc == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const double c1 = nuc_factor->c1;
    const double c2 = nuc_factor->c2;
    const double v =
        (c2 * temp * temp + temp * c1 + kQ20Half) * kQ20Scale + static_cast<double>(nuc_factor->c0);
    *nuc = fx::cap_nuc(fx::trunc_u16(v));
    return RADIMO_SUCCESS;
}

}  // extern "C"
