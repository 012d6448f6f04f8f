// Inverse of the environment correction: the NUC value before the factor was applied.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

extern "C" {

int reverse_calc_NUC_without_env_correct(const env_factor_t *env_factor, uint32_t object_nuc, uint16_t *nuc) {
    if (env_factor == nullptr) {
        RADIMO_ERROR("env_factor is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (nuc == nullptr) {
        RADIMO_ERROR("nuc is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // A zero gain has no inverse; it is reported instead of divided by.
    if (env_factor->KE == 0) {
        RADIMO_ERROR("env_factor is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    // Unsigned 32-bit throughout: the sum and the Q14 shift wrap in 32 bits.
    const uint32_t sum = static_cast<uint32_t>(env_factor->BE) + uint32_t{radimo::fx::low16(object_nuc)};
    const uint32_t q = (sum * 16384u) / env_factor->KE;
    *nuc = radimo::fx::cap_nuc(radimo::fx::low16(q));
    return RADIMO_SUCCESS;
}

}  // extern "C"
