// Lane helpers shared by the NEON kernels (the <name>_neon.cpp files, the only
// ones that include this header): a horizontal extreme of eight lanes, "any
// lane set", and the last position of a value in a run.
#pragma once

#include <cstdint>

#include <arm_neon.h>

#include "core/simd_target.h"

namespace radimo::simd::neon {

// Horizontal maximum (kMax) or minimum of eight lanes.
template <bool kMax>
RADIMO_TARGET_NEON inline uint16_t extreme_lane(uint16x8_t v) {
#if defined(__aarch64__)
    return kMax ? vmaxvq_u16(v) : vminvq_u16(v);
#else
    uint16x4_t m =
        kMax ? vpmax_u16(vget_low_u16(v), vget_high_u16(v)) : vpmin_u16(vget_low_u16(v), vget_high_u16(v));
    for (int step = 0; step < 2; ++step) m = kMax ? vpmax_u16(m, m) : vpmin_u16(m, m);
    return vget_lane_u16(m, 0);
#endif
}

RADIMO_TARGET_NEON inline bool any_lane(uint16x8_t v) {
    const uint64x2_t words = vreinterpretq_u64_u16(v);
    return (vgetq_lane_u64(words, 0) | vgetq_lane_u64(words, 1)) != 0;
}

// Last index of a value known to occur in v[0 .. n - 1], eight entries at a time from the end.
RADIMO_TARGET_NEON inline uint32_t last_equal(const uint16_t *v, uint32_t n, uint16_t x) {
    const uint16x8_t target = vdupq_n_u16(x);
    uint32_t i = n;
    for (; i >= 8; i -= 8)
        if (any_lane(vceqq_u16(vld1q_u16(v + i - 8), target))) break;
    do --i;
    while (v[i] != x);
    return i;
}

}  // namespace radimo::simd::neon
