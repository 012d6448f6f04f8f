// NUC value of one temperature through the quadratic NUC factor.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "core/units.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
constexpr double kQ20Scale = 9.5367431640625e-07;  // 2^-20, exact
}  // namespace

extern "C" {

int calculate_nuc_with_nuc_factor(const nuc_factor_t *nuc_factor, uint16_t *nuc, float temp) {
    if (nuc_factor == nullptr || nuc == nullptr) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const float t = radimo::units::kelvin_float(temp);
    // The polynomial in single precision, the scaling and offset in double;
    // truncated, with no rounding term and no cap.
    const float q = static_cast<float>(nuc_factor->c2) * t * t + t * static_cast<float>(nuc_factor->c1);
    const double v = static_cast<double>(q) * kQ20Scale + static_cast<double>(nuc_factor->c0);
    *nuc = radimo::fx::low16(radimo::fx::trunc_i32(v));
    return RADIMO_SUCCESS;
}

}  // extern "C"
