// Rows of trimmed means on ARM with NEON (64-bit ARM, and 32-bit ARM where
// the CPU has it): eight means per step, with the x86 kernels' arithmetic.
#include <cstddef>

#include <arm_neon.h>

#include "core/neon_lanes.h"
#include "core/simd_target.h"
#include "frame/square_means_kernels.h"

namespace radimo::frame::kernels {

namespace {

// (kept * f) truncated, with kept < 2^24 exact in single precision: the
// products are normal numbers, so 32-bit ARM's NEON (which flushes
// subnormals) rounds them as IEEE does.
RADIMO_TARGET_NEON inline uint16x8_t quotients(uint32x4_t kept_lo, uint32x4_t kept_hi, float f) {
    const float32x4_t factor = vdupq_n_f32(f);
    const uint32x4_t q_lo = vcvtq_u32_f32(vmulq_f32(vcvtq_f32_u32(kept_lo), factor));
    const uint32x4_t q_hi = vcvtq_u32_f32(vmulq_f32(vcvtq_f32_u32(kept_hi), factor));
    return vcombine_u16(vmovn_u32(q_lo), vmovn_u32(q_hi));
}

// Eight trimmed means from kSamples vectors of samples, the k-th at p[k]:
// (sum - min - max + bias) * f per lane, truncated.
template <std::size_t kSamples>
RADIMO_TARGET_NEON inline uint16x8_t trimmed8(const uint16_t *const (&p)[kSamples], uint32_t bias, float f) {
    uint16x8_t v = vld1q_u16(p[0]);
    uint16x8_t lo = v;
    uint16x8_t hi = v;
    uint32x4_t sum_lo = vmovl_u16(vget_low_u16(v));
    uint32x4_t sum_hi = vmovl_u16(vget_high_u16(v));
    for (std::size_t k = 1; k < kSamples; ++k) {
        v = vld1q_u16(p[k]);
        lo = vminq_u16(lo, v);
        hi = vmaxq_u16(hi, v);
        sum_lo = vaddw_u16(sum_lo, vget_low_u16(v));
        sum_hi = vaddw_u16(sum_hi, vget_high_u16(v));
    }
    const uint32x4_t b = vdupq_n_u32(bias);
    sum_lo =
        vaddq_u32(vsubq_u32(vsubq_u32(sum_lo, vmovl_u16(vget_low_u16(lo))), vmovl_u16(vget_low_u16(hi))), b);
    sum_hi = vaddq_u32(
        vsubq_u32(vsubq_u32(sum_hi, vmovl_u16(vget_high_u16(lo))), vmovl_u16(vget_high_u16(hi))), b);
    return quotients(sum_lo, sum_hi, f);
}

RADIMO_TARGET_NEON inline void means8(const uint16_t *a, const uint16_t *b, const uint16_t *c,
                                      uint16_t *out) {
    const uint16_t *const p[kSquareSamples] = {a, a + 1, a + 2, b, b + 1, b + 2, c, c + 1, c + 2};
    vst1q_u16(out, trimmed8(p, 3, 1.0f / 7.0f));
}

RADIMO_TARGET_NEON void interior_neon(const uint16_t *a, const uint16_t *b, const uint16_t *c, uint32_t n,
                                      uint16_t *out) {
    if (n < 8) {
        for (uint32_t i = 0; i < n; ++i) out[i] = interior_mean(a + i, b + i, c + i);
        return;
    }
    uint32_t i = 0;
    for (; i + 8 <= n; i += 8) means8(a + i, b + i, c + i, out + i);
    if (i < n) means8(a + n - 8, b + n - 8, c + n - 8, out + n - 8);  // overlapping tail
}

RADIMO_TARGET_NEON inline void row5_means8(const uint16_t *p, uint16_t *out) {
    const uint16_t *const s[5] = {p, p + 1, p + 2, p + 3, p + 4};
    vst1q_u16(out, trimmed8(s, 1, 1.0f / 3.0f));
}

RADIMO_TARGET_NEON void row5_neon(const uint16_t *p, uint32_t n, uint16_t *out) {
    if (n < 8) {
        for (uint32_t i = 0; i < n; ++i) out[i] = row_mean5(p + i);
        return;
    }
    uint32_t i = 0;
    for (; i + 8 <= n; i += 8) row5_means8(p + i, out + i);
    if (i < n) row5_means8(p + n - 8, out + n - 8);  // overlapping tail
}

// Extremes and sum eight lanes at a time (n <= 1024: the pairwise lane sums
// cannot overflow), then the last position of each extreme.
RADIMO_TARGET_NEON ChunkStats reduce_neon(const uint16_t *v, uint32_t n) {
    uint16x8_t hi8 = vdupq_n_u16(0);
    uint16x8_t lo8 = vdupq_n_u16(0xFFFF);
    uint32x4_t sum4 = vdupq_n_u32(0);
    uint32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const uint16x8_t x = vld1q_u16(v + i);
        hi8 = vmaxq_u16(hi8, x);
        lo8 = vminq_u16(lo8, x);
        sum4 = vpadalq_u16(sum4, x);
    }
    uint16_t hi = simd::neon::extreme_lane<true>(hi8);
    uint16_t lo = simd::neon::extreme_lane<false>(lo8);
    uint32_t sum =
        vgetq_lane_u32(sum4, 0) + vgetq_lane_u32(sum4, 1) + vgetq_lane_u32(sum4, 2) + vgetq_lane_u32(sum4, 3);
    for (; i < n; ++i) {
        hi = v[i] > hi ? v[i] : hi;
        lo = v[i] < lo ? v[i] : lo;
        sum += v[i];
    }
    return ChunkStats{hi, lo, simd::neon::last_equal(v, n, hi), simd::neon::last_equal(v, n, lo), sum};
}

}  // namespace

const SquareMeans kNeon{interior_neon, row5_neon, reduce_neon};

}  // namespace radimo::frame::kernels
