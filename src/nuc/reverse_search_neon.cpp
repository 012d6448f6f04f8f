// The reverse lookup's scan on ARM with NEON: 64 entries per step, one test
// of the OR of the saturating differences.
#include <arm_neon.h>

#include "core/simd_target.h"
#include "nuc/reverse_search_kernels.h"

namespace radimo::nuc::kernels {

namespace {

template <bool kAbove>
RADIMO_TARGET_NEON uint32_t first_leaving_neon(const uint16_t *table, uint32_t from, uint32_t len,
                                               uint16_t bound) {
    const uint16x8_t b = vdupq_n_u16(bound);
    uint32_t j = from;
    for (; j + 64 <= len; j += 64) {
        uint16x8_t any = vdupq_n_u16(0);
        for (uint32_t k = 0; k < 64; k += 8) {
            const uint16x8_t v = vld1q_u16(table + j + k);
            any = vorrq_u16(any, kAbove ? vqsubq_u16(v, b) : vqsubq_u16(b, v));
        }
        const uint64x2_t words = vreinterpretq_u64_u16(any);
        if ((vgetq_lane_u64(words, 0) | vgetq_lane_u64(words, 1)) != 0) break;
    }
    return first_leaving_from<kAbove>(table, j, len, bound);
}

}  // namespace

const Leaving kNeon{first_leaving_neon<false>, first_leaving_neon<true>};

}  // namespace radimo::nuc::kernels
