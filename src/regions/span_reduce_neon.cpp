// Run reduction on ARM with NEON (64-bit ARM, and 32-bit ARM where the CPU
// has it): extremes, sum and sum of squares eight samples per step, then the
// last position of each extreme searched from the end.
#include <cstdint>

#include <arm_neon.h>

#include "core/neon_lanes.h"
#include "core/simd_target.h"
#include "regions/span_reduce_kernels.h"

namespace radimo::regions::kernels {

namespace {

// The samples are summed pairwise into 32-bit lanes (n <= kReduceChunk puts
// at most 256 samples below 2^16 in a lane), the squares, each below 2^32,
// pairwise into 64-bit lanes: no lane can overflow.
RADIMO_TARGET_NEON RunStats reduce_neon(const uint16_t *v, uint32_t n) {
    uint16x8_t hi8 = vdupq_n_u16(0);
    uint16x8_t lo8 = vdupq_n_u16(0xFFFF);
    uint32x4_t sum4 = vdupq_n_u32(0);
    uint64x2_t squares2 = vdupq_n_u64(0);
    uint32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const uint16x8_t x = vld1q_u16(v + i);
        hi8 = vmaxq_u16(hi8, x);
        lo8 = vminq_u16(lo8, x);
        sum4 = vpadalq_u16(sum4, x);
        const uint16x4_t low = vget_low_u16(x);
        const uint16x4_t high = vget_high_u16(x);
        squares2 = vpadalq_u32(squares2, vmull_u16(low, low));
        squares2 = vpadalq_u32(squares2, vmull_u16(high, high));
    }
    RunStats s{simd::neon::extreme_lane<true>(hi8), simd::neon::extreme_lane<false>(lo8), 0, 0, 0, 0};
    s.sum = uint64_t{vgetq_lane_u32(sum4, 0)} + vgetq_lane_u32(sum4, 1) + vgetq_lane_u32(sum4, 2) +
            vgetq_lane_u32(sum4, 3);
    s.sum_squares = vgetq_lane_u64(squares2, 0) + vgetq_lane_u64(squares2, 1);
    reduce_tail(s, v, i, n);
    s.max_at = simd::neon::last_equal(v, n, s.max);
    s.min_at = simd::neon::last_equal(v, n, s.min);
    return s;
}

}  // namespace

const ReduceFn kReduceNeon = reduce_neon;

}  // namespace radimo::regions::kernels
