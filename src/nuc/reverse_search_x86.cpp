// The reverse lookup's scan on x86-64: 32 entries per step with SSE2, 128
// with AVX2, each step one test of the OR of the saturating differences.
#include <immintrin.h>

#include "core/simd_target.h"
#include "nuc/reverse_search_kernels.h"

namespace radimo::nuc::kernels {

namespace {

template <bool kAbove>
uint32_t first_leaving_sse2(const uint16_t *table, uint32_t from, uint32_t len, uint16_t bound) {
    const __m128i b = _mm_set1_epi16(static_cast<int16_t>(bound));
    const __m128i zero = _mm_setzero_si128();
    uint32_t j = from;
    for (; j + 32 <= len; j += 32) {
        __m128i any = zero;
        for (uint32_t k = 0; k < 32; k += 8) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(table + j + k));
            any = _mm_or_si128(any, kAbove ? _mm_subs_epu16(v, b) : _mm_subs_epu16(b, v));
        }
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(any, zero)) != 0xFFFF) break;
    }
    return first_leaving_from<kAbove>(table, j, len, bound);
}

template <bool kAbove>
RADIMO_TARGET_AVX2 uint32_t first_leaving_avx2(const uint16_t *table, uint32_t from, uint32_t len,
                                               uint16_t bound) {
    const __m256i b = _mm256_set1_epi16(static_cast<int16_t>(bound));
    uint32_t j = from;
#define RADIMO_LEAVING(k)                                                                                  \
    (kAbove ? _mm256_subs_epu16(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(table + j + (k))), b) \
            : _mm256_subs_epu16(b, _mm256_loadu_si256(reinterpret_cast<const __m256i *>(table + j + (k)))))
    for (; j + 128 <= len; j += 128) {
        const __m256i any =
            _mm256_or_si256(_mm256_or_si256(_mm256_or_si256(RADIMO_LEAVING(0), RADIMO_LEAVING(16)),
                                            _mm256_or_si256(RADIMO_LEAVING(32), RADIMO_LEAVING(48))),
                            _mm256_or_si256(_mm256_or_si256(RADIMO_LEAVING(64), RADIMO_LEAVING(80)),
                                            _mm256_or_si256(RADIMO_LEAVING(96), RADIMO_LEAVING(112))));
        if (!_mm256_testz_si256(any, any)) break;
    }
#undef RADIMO_LEAVING
    return first_leaving_from<kAbove>(table, j, len, bound);
}

}  // namespace

const Leaving kSse2{first_leaving_sse2<false>, first_leaving_sse2<true>};
const Leaving kAvx2{first_leaving_avx2<false>, first_leaving_avx2<true>};

}  // namespace radimo::nuc::kernels
