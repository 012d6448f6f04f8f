// Conversion of 1/16 K values to degC on ARM with NEON. 64-bit ARM: eight
// values per step, the subtraction on double-precision lanes. 32-bit ARM's
// NEON has no double-precision lanes, so there every value takes the scalar
// rule (in the VFP unit).
#include <arm_neon.h>

#include "core/simd_target.h"
#include "core/units.h"
#include "frame_api/celsius_kernels.h"

namespace radimo::frame_api::kernels {

namespace {

#if defined(__aarch64__)
// Four values: value * 0.0625 on single-precision lanes, then 273.15
// subtracted on double-precision ones and the result narrowed.
inline float32x4_t celsius4(uint16x4_t v) {
    const float32x4_t kelvin = vmulq_n_f32(vcvtq_f32_u32(vmovl_u16(v)), 0.0625f);
    const float64x2_t offset = vdupq_n_f64(units::kKelvinOffset);
    const float64x2_t lo = vsubq_f64(vcvt_f64_f32(vget_low_f32(kelvin)), offset);
    const float64x2_t hi = vsubq_f64(vcvt_high_f64_f32(kelvin), offset);
    return vcvt_high_f32_f64(vcvt_f32_f64(lo), hi);
}
#endif

void convert_neon(const uint16_t *v, size_t n, float *out) {
    size_t i = 0;
#if defined(__aarch64__)
    for (; i + 8 <= n; i += 8) {
        const uint16x8_t x = vld1q_u16(v + i);
        vst1q_f32(out + i, celsius4(vget_low_u16(x)));
        vst1q_f32(out + i + 4, celsius4(vget_high_u16(x)));
    }
#endif
    for (; i < n; ++i) out[i] = units::celsius_of_sixteenths(v[i]);
}

}  // namespace

const ConvertFn kConvertNeon = convert_neon;

}  // namespace radimo::frame_api::kernels
