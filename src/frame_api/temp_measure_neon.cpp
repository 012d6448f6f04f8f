// Whole-frame KT/BT correction and table lookup on ARM with NEON.
//
// NEON has no gather: eight slots at a time are computed in a vector, and
// each lane is moved to a general register and read from the table with a
// scalar load (docs/performance.md says why this form).
#include <arm_neon.h>

#include "core/simd_target.h"
#include "frame_api/temp_measure_kernels.h"

namespace radimo::frame_api::kernels {

namespace {

// The slots of eight pixels: the scalar rule's wrapping product and rounding
// on unsigned lanes, the arithmetic shift on signed ones, the clamp, then
// the table's index shift.
RADIMO_TARGET_NEON inline uint16x8_t slots8(const uint16_t *raw, uint32x4_t kt, int32x4_t bt,
                                            int32x4_t shift) {
    const uint16x8_t r = vld1q_u16(raw);
    const uint32x4_t half = vdupq_n_u32(static_cast<uint32_t>(fx::kQ14Half));
    const int32x4_t zero = vdupq_n_s32(0);
    const int32x4_t top = vdupq_n_s32(fx::kNucMax);
    const uint32x4_t lo = vaddq_u32(vmulq_u32(vmovl_u16(vget_low_u16(r)), kt), half);
    const uint32x4_t hi = vaddq_u32(vmulq_u32(vmovl_u16(vget_high_u16(r)), kt), half);
    int32x4_t v_lo = vaddq_s32(vshrq_n_s32(vreinterpretq_s32_u32(lo), fx::kQ14Shift), bt);
    int32x4_t v_hi = vaddq_s32(vshrq_n_s32(vreinterpretq_s32_u32(hi), fx::kQ14Shift), bt);
    v_lo = vminq_s32(vmaxq_s32(v_lo, zero), top);
    v_hi = vminq_s32(vmaxq_s32(v_hi, zero), top);
    return vcombine_u16(vmovn_u32(vshlq_u32(vreinterpretq_u32_s32(v_lo), shift)),
                        vmovn_u32(vshlq_u32(vreinterpretq_u32_s32(v_hi), shift)));
}

RADIMO_TARGET_NEON void measure_neon(const Correction &c, const uint16_t *raw, size_t n, uint16_t *temp) {
    const uint32x4_t kt = vdupq_n_u32(static_cast<uint32_t>(c.kt));
    const int32x4_t bt = vdupq_n_s32(c.bt);
    const int32x4_t shift = vdupq_n_s32(-static_cast<int32_t>(c.shift));  // a negative count shifts right
    const uint16_t *table = c.table;
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const uint16x8_t s = slots8(raw + i, kt, bt, shift);
        temp[i + 0] = table[vgetq_lane_u16(s, 0)];
        temp[i + 1] = table[vgetq_lane_u16(s, 1)];
        temp[i + 2] = table[vgetq_lane_u16(s, 2)];
        temp[i + 3] = table[vgetq_lane_u16(s, 3)];
        temp[i + 4] = table[vgetq_lane_u16(s, 4)];
        temp[i + 5] = table[vgetq_lane_u16(s, 5)];
        temp[i + 6] = table[vgetq_lane_u16(s, 6)];
        temp[i + 7] = table[vgetq_lane_u16(s, 7)];
    }
    for (; i < n; ++i) temp[i] = table[table_slot(c, raw[i])];
}

}  // namespace

const MeasureFn kMeasureNeon = measure_neon;

}  // namespace radimo::frame_api::kernels
