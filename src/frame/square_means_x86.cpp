// Rows of trimmed means on x86-64: SSE2 (the baseline) and AVX2.
#include <cstring>

#include <immintrin.h>

#include "core/simd_target.h"
#include "frame/square_means_kernels.h"

namespace radimo::frame::kernels {

namespace {

// Eight means at once, in GCC vectors (SSE2 registers, or AVX2 ones in the
// functions compiled for it). Vectors stay in locals, never passed by value
// (no ABI change between the targets).
typedef uint16_t U16x8 __attribute__((vector_size(16)));
typedef int32_t I32x8 __attribute__((vector_size(32)));
typedef float F32x8 __attribute__((vector_size(32)));

#define RADIMO_SAMPLE(v, p)         \
    U16x8 v;                        \
    std::memcpy(&v, (p), sizeof v); \
    lo = v < lo ? v : lo;           \
    hi = v > hi ? v : hi;           \
    sum += __builtin_convertvector(v, I32x8)

inline __attribute__((always_inline)) void means8(const uint16_t *a, const uint16_t *b, const uint16_t *c,
                                                  uint16_t *out) {
    U16x8 lo;
    std::memcpy(&lo, a, sizeof lo);
    U16x8 hi = lo;
    I32x8 sum = __builtin_convertvector(lo, I32x8);
    RADIMO_SAMPLE(a1, a + 1);
    RADIMO_SAMPLE(a2, a + 2);
    RADIMO_SAMPLE(b0, b);
    RADIMO_SAMPLE(b1, b + 1);
    RADIMO_SAMPLE(b2, b + 2);
    RADIMO_SAMPLE(c0, c);
    RADIMO_SAMPLE(c1, c + 1);
    RADIMO_SAMPLE(c2, c + 2);
    const I32x8 kept = sum - __builtin_convertvector(lo, I32x8) - __builtin_convertvector(hi, I32x8) + 3;
    const F32x8 q = __builtin_convertvector(kept, F32x8) * (1.0f / 7.0f);
    const U16x8 r = __builtin_convertvector(__builtin_convertvector(q, I32x8), U16x8);
    std::memcpy(out, &r, sizeof r);
}

#undef RADIMO_SAMPLE

inline __attribute__((always_inline)) void interior_vector(const uint16_t *a, const uint16_t *b,
                                                           const uint16_t *c, uint32_t n, uint16_t *out) {
    if (n < 8) {
        for (uint32_t i = 0; i < n; ++i) out[i] = interior_mean(a + i, b + i, c + i);
        return;
    }
    uint32_t i = 0;
    for (; i + 8 <= n; i += 8) means8(a + i, b + i, c + i, out + i);
    if (i < n) means8(a + n - 8, b + n - 8, c + n - 8, out + n - 8);  // overlapping tail
}

void interior_sse2(const uint16_t *a, const uint16_t *b, const uint16_t *c, uint32_t n, uint16_t *out) {
    interior_vector(a, b, c, n, out);
}

// AVX2: sixteen means per step with the same arithmetic; the samples are
// widened straight from memory (vpmovzxwd) and the extremes taken on 16 lanes.
RADIMO_TARGET_AVX2 inline __m256i widened_sum(const uint16_t *a, const uint16_t *b, const uint16_t *c) {
#define w(p) _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)))
    __m256i sum = _mm256_add_epi32(w(a), w(a + 1));
    sum = _mm256_add_epi32(sum, w(a + 2));
    sum = _mm256_add_epi32(sum, _mm256_add_epi32(w(b), w(b + 1)));
    sum = _mm256_add_epi32(sum, _mm256_add_epi32(w(b + 2), w(c)));
    return _mm256_add_epi32(sum, _mm256_add_epi32(w(c + 1), w(c + 2)));
#undef w
}

RADIMO_TARGET_AVX2 inline void means16_avx2(const uint16_t *a, const uint16_t *b, const uint16_t *c,
                                            uint16_t *out) {
    const uint16_t *const rest[8] = {a + 1, a + 2, b, b + 1, b + 2, c, c + 1, c + 2};
    __m256i lo = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(a));
    __m256i hi = lo;
    for (const uint16_t *p : rest) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
        lo = _mm256_min_epu16(lo, v);
        hi = _mm256_max_epu16(hi, v);
    }
    const __m256 seventh = _mm256_set1_ps(1.0f / 7.0f);
    __m256i q[2];
    for (int h = 0; h < 2; ++h) {
        const __m128i lo_h = h == 0 ? _mm256_castsi256_si128(lo) : _mm256_extracti128_si256(lo, 1);
        const __m128i hi_h = h == 0 ? _mm256_castsi256_si128(hi) : _mm256_extracti128_si256(hi, 1);
        __m256i kept = widened_sum(a + 8 * h, b + 8 * h, c + 8 * h);
        kept = _mm256_sub_epi32(kept,
                                _mm256_add_epi32(_mm256_cvtepu16_epi32(lo_h), _mm256_cvtepu16_epi32(hi_h)));
        kept = _mm256_add_epi32(kept, _mm256_set1_epi32(3));
        q[h] = _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(kept), seventh));
    }
    // packus works within 128-bit lanes: restore the order with one permute.
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(q[0], q[1]), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), packed);
}

RADIMO_TARGET_AVX2 void interior_avx2(const uint16_t *a, const uint16_t *b, const uint16_t *c, uint32_t n,
                                      uint16_t *out) {
    if (n < 16) {
        interior_vector(a, b, c, n, out);
        return;
    }
    uint32_t i = 0;
    for (; i + 16 <= n; i += 16) means16_avx2(a + i, b + i, c + i, out + i);
    if (i < n) means16_avx2(a + n - 16, b + n - 16, c + n - 16, out + n - 16);  // overlapping tail
}

// Five-sample means: (sum - min - max + 1) / 3 with the float nearest 1/3.
inline __attribute__((always_inline)) void row5_means8(const uint16_t *p, uint16_t *out) {
    U16x8 lo;
    std::memcpy(&lo, p, sizeof lo);
    U16x8 hi = lo;
    I32x8 sum = __builtin_convertvector(lo, I32x8);
    for (int k = 1; k < 5; ++k) {
        U16x8 v;
        std::memcpy(&v, p + k, sizeof v);
        lo = v < lo ? v : lo;
        hi = v > hi ? v : hi;
        sum += __builtin_convertvector(v, I32x8);
    }
    const I32x8 kept = sum - __builtin_convertvector(lo, I32x8) - __builtin_convertvector(hi, I32x8) + 1;
    const F32x8 q = __builtin_convertvector(kept, F32x8) * (1.0f / 3.0f);
    const U16x8 r = __builtin_convertvector(__builtin_convertvector(q, I32x8), U16x8);
    std::memcpy(out, &r, sizeof r);
}

inline __attribute__((always_inline)) void row5_vector(const uint16_t *p, uint32_t n, uint16_t *out) {
    if (n < 8) {
        for (uint32_t i = 0; i < n; ++i) out[i] = row_mean5(p + i);
        return;
    }
    uint32_t i = 0;
    for (; i + 8 <= n; i += 8) row5_means8(p + i, out + i);
    if (i < n) row5_means8(p + n - 8, out + n - 8);  // overlapping tail
}

void row5_sse2(const uint16_t *p, uint32_t n, uint16_t *out) {
    row5_vector(p, n, out);
}

RADIMO_TARGET_AVX2 void row5_avx2(const uint16_t *p, uint32_t n, uint16_t *out) {
    row5_vector(p, n, out);
}

// Last index of a value known to occur in v[0 .. n - 1], eight entries at a time from the end.
inline __attribute__((always_inline)) uint32_t last_equal(const uint16_t *v, uint32_t n, uint16_t x) {
    uint32_t i = n;
    for (; i >= 8; i -= 8) {
        U16x8 block;
        std::memcpy(&block, v + i - 8, sizeof block);
        const U16x8 hit = block == x;
        uint64_t words[2];
        std::memcpy(words, &hit, sizeof words);
        if ((words[0] | words[1]) != 0) break;
    }
    do --i;
    while (v[i] != x);
    return i;
}

// Extremes and sum eight lanes at a time (n <= 1024: the lane sums cannot
// overflow), then the last position of each extreme.
inline __attribute__((always_inline)) ChunkStats reduce_vector(const uint16_t *v, uint32_t n) {
    U16x8 hi8 = U16x8{} + 0;
    U16x8 lo8 = U16x8{} + 0xFFFF;
    I32x8 sum8 = I32x8{};
    uint32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        U16x8 x;
        std::memcpy(&x, v + i, sizeof x);
        hi8 = x > hi8 ? x : hi8;
        lo8 = x < lo8 ? x : lo8;
        sum8 += __builtin_convertvector(x, I32x8);
    }
    uint16_t hi = 0;
    uint16_t lo = 0xFFFF;
    uint32_t sum = 0;
    for (int k = 0; k < 8; ++k) {
        hi = hi8[k] > hi ? hi8[k] : hi;
        lo = lo8[k] < lo ? lo8[k] : lo;
        sum += static_cast<uint32_t>(sum8[k]);
    }
    for (; i < n; ++i) {
        hi = v[i] > hi ? v[i] : hi;
        lo = v[i] < lo ? v[i] : lo;
        sum += v[i];
    }
    return ChunkStats{hi, lo, last_equal(v, n, hi), last_equal(v, n, lo), sum};
}

ChunkStats reduce_sse2(const uint16_t *v, uint32_t n) {
    return reduce_vector(v, n);
}

RADIMO_TARGET_AVX2 ChunkStats reduce_avx2(const uint16_t *v, uint32_t n) {
    return reduce_vector(v, n);
}

}  // namespace

const SquareMeans kSse2{interior_sse2, row5_sse2, reduce_sse2};
const SquareMeans kAvx2{interior_avx2, row5_avx2, reduce_avx2};

}  // namespace radimo::frame::kernels
