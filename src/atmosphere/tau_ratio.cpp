// Q14 transmittance from two response differences.
#include <cstdint>

#include "core/fixed_point.h"
#include "libradimo.h"

extern "C" {

// (a - b) / (c - d) in Q14, saturated at 16384 above and not clamped below.
// A zero divisor gives 16384 for a positive numerator and INT32_MIN for a
// negative one or 0/0 (the infinite or NaN ratio converted explicitly).
int calculate_tau(uint16_t a, uint16_t b, uint16_t c, uint16_t d) {
    const int32_t num = static_cast<int32_t>(a) - static_cast<int32_t>(b);
    const int32_t den = static_cast<int32_t>(c) - static_cast<int32_t>(d);
    const double v = static_cast<double>(num) / static_cast<double>(den) * 16384.0;
    if (v > 16384.0) return radimo::fx::kQ14One;
    return radimo::fx::trunc_i32(v);
}

}  // extern "C"
