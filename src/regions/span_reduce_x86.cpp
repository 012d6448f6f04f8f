// Run reduction on x86-64: 8 samples per step in GCC vectors (SSE2
// registers), or 16 in the function compiled for AVX2.
#include <cstring>

#include "core/simd_target.h"
#include "regions/span_reduce_kernels.h"

namespace radimo::regions::kernels {

namespace {

// Vector types of 8 (SSE2) and 16 (AVX2) lanes.
typedef uint16_t U16x8 __attribute__((vector_size(16)));
typedef uint32_t U32x8 __attribute__((vector_size(32)));
typedef uint16_t U16x16 __attribute__((vector_size(32)));
typedef uint32_t U32x16 __attribute__((vector_size(64)));

template <unsigned kLanes>
struct Lanes;
template <>
struct Lanes<8u> {
    using U16 = U16x8;
    using U32 = U32x8;
};
template <>
struct Lanes<16u> {
    using U16 = U16x16;
    using U32 = U32x16;
};

// Last index of a value known to occur in v[0 .. n - 1], searched from the end.
template <unsigned kLanes>
inline __attribute__((always_inline)) uint32_t last_equal(const uint16_t *v, uint32_t n, uint16_t x) {
    using U16 = typename Lanes<kLanes>::U16;
    uint32_t i = n;
    for (; i >= kLanes; i -= kLanes) {
        U16 block;
        std::memcpy(&block, v + i - kLanes, sizeof block);
        const U16 hit = block == x;
        uint64_t words[kLanes / 4];
        std::memcpy(words, &hit, sizeof words);
        uint64_t any = 0;
        for (uint64_t w : words) any |= w;
        if (any != 0) break;
    }
    do --i;
    while (v[i] != x);
    return i;
}

// kLanes samples per step: extremes and sums in 16- and 32-bit lanes. A
// square (below 2^32) enters as its high and low 16-bit halves, each summed
// in 32-bit lanes (at most kReduceChunk / kLanes terms of 2^16 per lane), so
// no lane can overflow; the halves are joined in 64 bits at the end.
template <unsigned kLanes>
inline __attribute__((always_inline)) RunStats reduce_vector(const uint16_t *v, uint32_t n) {
    using U16 = typename Lanes<kLanes>::U16;
    using U32 = typename Lanes<kLanes>::U32;
    U16 hi = U16{} + 0;
    U16 lo = U16{} + 0xFFFF;
    U32 sum = U32{};
    U32 sq_high = U32{};
    U32 sq_low = U32{};
    uint32_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        U16 x;
        std::memcpy(&x, v + i, sizeof x);
        hi = x > hi ? x : hi;
        lo = x < lo ? x : lo;
        const U32 w = __builtin_convertvector(x, U32);
        sum += w;
        const U32 sq = w * w;
        sq_high += sq >> 16;
        sq_low += sq & 0xFFFF;
    }
    RunStats s{0, 0xFFFF, 0, 0, 0, 0};
    uint64_t high = 0;
    for (unsigned k = 0; k < kLanes; ++k) {
        s.max = hi[k] > s.max ? hi[k] : s.max;
        s.min = lo[k] < s.min ? lo[k] : s.min;
        s.sum += sum[k];
        high += sq_high[k];
        s.sum_squares += sq_low[k];
    }
    s.sum_squares += high << 16;
    reduce_tail(s, v, i, n);
    s.max_at = last_equal<kLanes>(v, n, s.max);
    s.min_at = last_equal<kLanes>(v, n, s.min);
    return s;
}

RunStats reduce_sse2(const uint16_t *v, uint32_t n) {
    return reduce_vector<8u>(v, n);
}

RADIMO_TARGET_AVX2 RunStats reduce_avx2(const uint16_t *v, uint32_t n) {
    return reduce_vector<16u>(v, n);
}

}  // namespace

const ReduceFn kReduceSse2 = reduce_sse2;
const ReduceFn kReduceAvx2 = reduce_avx2;

}  // namespace radimo::regions::kernels
