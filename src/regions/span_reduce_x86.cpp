// Run reduction on x86-64: 8 samples per step in SSE2 registers, or 16 in the
// function compiled for AVX2, in one pass that also keeps the last position
// of each extreme.
//
// The samples are taken as signed 16-bit numbers x' = x - 32768 (one XOR), so
// that SSE2 has the extremes (signed maximum and minimum keep the order) and
// the multiply-add of pairs gives x'^2 + x'^2 of two neighbours at once. With
// sums of x' and x'^2 the exact sums of x and x^2 follow in 64 bits:
//   x = x' + 32768,   x^2 = x'^2 + 65536 x' + 2^30.
// Each lane also remembers the step in which its extreme was last met
// (ties included), which gives the last position of the run's extreme
// without a second pass.
#include <immintrin.h>

#include <cstdint>

#include "core/simd_target.h"
#include "regions/span_reduce_kernels.h"

namespace radimo::regions::kernels {

namespace {

// What a vector loop over a run leaves, lane by lane: kLanes 16-bit lanes for
// the extremes, kLanes / 2 32-bit lanes for the sums of pairs.
template <unsigned kLanes>
struct LaneTotals {
    int16_t hi[kLanes], lo[kLanes];                    // extremes of x'
    uint16_t hi_step[kLanes], lo_step[kLanes];         // the last step each was met in
    int32_t sum[kLanes / 2];                           // sums of x'
    uint32_t sq_high[kLanes / 2], sq_low[kLanes / 2];  // sums of the high and low 16 bits of x'^2 + x'^2
    uint32_t steps;                                    // vector steps taken: samples 0 .. steps * kLanes - 1
};

// Lane bounds within a run of at most kReduceChunk samples (at most 128 steps):
// a pair's sum of squares is at most 2^31 (two times (-32768)^2; read unsigned),
// so its high half adds at most 2^15 a step and its low half 2^16; a pair's
// sum of x' lies in -65536 .. 65534. No 32-bit lane can overflow, and the step
// numbers fit 16 bits.
static_assert(kReduceChunk <= 1024, "the lane sums are sized for runs of up to 1024 samples");

// The run's statistics from the lanes, then the samples the vector loop left over.
template <unsigned kLanes>
RunStats fold(const LaneTotals<kLanes> &t, const uint16_t *v, uint32_t n) {
    RunStats s{0, 0xFFFF, 0, 0, 0, 0};
    if (t.steps > 0) {
        int64_t sum = 0;
        uint64_t high = 0, low = 0;
        for (unsigned k = 0; k < kLanes / 2; ++k) {
            sum += t.sum[k];
            high += t.sq_high[k];
            low += t.sq_low[k];
        }
        const uint64_t samples = uint64_t{t.steps} * kLanes;
        // In 64-bit unsigned arithmetic, which wraps: the true sums are never negative.
        s.sum = static_cast<uint64_t>(sum) + (samples << 15);
        s.sum_squares = (high << 16) + low + (static_cast<uint64_t>(sum) << 16) + (samples << 30);
        for (unsigned k = 0; k < kLanes; ++k) {
            const auto max = static_cast<uint16_t>(static_cast<uint16_t>(t.hi[k]) ^ 0x8000u);
            const auto min = static_cast<uint16_t>(static_cast<uint16_t>(t.lo[k]) ^ 0x8000u);
            const uint32_t max_at = uint32_t{t.hi_step[k]} * kLanes + k;
            const uint32_t min_at = uint32_t{t.lo_step[k]} * kLanes + k;
            if (k == 0 || max > s.max || (max == s.max && max_at > s.max_at)) s.max = max, s.max_at = max_at;
            if (k == 0 || min < s.min || (min == s.min && min_at > s.min_at)) s.min = min, s.min_at = min_at;
        }
    }
    reduce_tail(s, v, t.steps * kLanes, n);
    return s;
}

RunStats reduce_sse2(const uint16_t *v, uint32_t n) {
    const __m128i flip = _mm_set1_epi16(INT16_MIN), ones = _mm_set1_epi16(1), low16 = _mm_set1_epi32(0xFFFF);
    __m128i hi = _mm_set1_epi16(INT16_MIN), lo = _mm_set1_epi16(INT16_MAX);
    __m128i hi_step = _mm_setzero_si128(), lo_step = hi_step, step = hi_step;
    __m128i sum = hi_step, sq_high = hi_step, sq_low = hi_step;
    LaneTotals<8> t;
    for (t.steps = 0; (t.steps + 1) * 8 <= n; ++t.steps) {
        const __m128i x =
            _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i *>(v + t.steps * 8)), flip);
        hi = _mm_max_epi16(hi, x);
        lo = _mm_min_epi16(lo, x);
        const __m128i at_hi = _mm_cmpeq_epi16(hi, x), at_lo = _mm_cmpeq_epi16(lo, x);
        hi_step = _mm_or_si128(_mm_andnot_si128(at_hi, hi_step), _mm_and_si128(at_hi, step));
        lo_step = _mm_or_si128(_mm_andnot_si128(at_lo, lo_step), _mm_and_si128(at_lo, step));
        step = _mm_add_epi16(step, ones);
        sum = _mm_add_epi32(sum, _mm_madd_epi16(x, ones));
        const __m128i squares = _mm_madd_epi16(x, x);
        sq_high = _mm_add_epi32(sq_high, _mm_srli_epi32(squares, 16));
        sq_low = _mm_add_epi32(sq_low, _mm_and_si128(squares, low16));
    }
    _mm_storeu_si128(reinterpret_cast<__m128i *>(t.hi), hi);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(t.lo), lo);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(t.hi_step), hi_step);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(t.lo_step), lo_step);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(t.sum), sum);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(t.sq_high), sq_high);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(t.sq_low), sq_low);
    return fold(t, v, n);
}

RADIMO_TARGET_AVX2 RunStats reduce_avx2(const uint16_t *v, uint32_t n) {
    const __m256i flip = _mm256_set1_epi16(INT16_MIN), ones = _mm256_set1_epi16(1);
    const __m256i low16 = _mm256_set1_epi32(0xFFFF);
    __m256i hi = _mm256_set1_epi16(INT16_MIN), lo = _mm256_set1_epi16(INT16_MAX);
    __m256i hi_step = _mm256_setzero_si256(), lo_step = hi_step, step = hi_step;
    __m256i sum = hi_step, sq_high = hi_step, sq_low = hi_step;
    LaneTotals<16> t;
    for (t.steps = 0; (t.steps + 1) * 16 <= n; ++t.steps) {
        const __m256i x =
            _mm256_xor_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(v + t.steps * 16)), flip);
        hi = _mm256_max_epi16(hi, x);
        lo = _mm256_min_epi16(lo, x);
        hi_step = _mm256_blendv_epi8(hi_step, step, _mm256_cmpeq_epi16(hi, x));
        lo_step = _mm256_blendv_epi8(lo_step, step, _mm256_cmpeq_epi16(lo, x));
        step = _mm256_add_epi16(step, ones);
        sum = _mm256_add_epi32(sum, _mm256_madd_epi16(x, ones));
        const __m256i squares = _mm256_madd_epi16(x, x);
        sq_high = _mm256_add_epi32(sq_high, _mm256_srli_epi32(squares, 16));
        sq_low = _mm256_add_epi32(sq_low, _mm256_and_si256(squares, low16));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(t.hi), hi);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(t.lo), lo);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(t.hi_step), hi_step);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(t.lo_step), lo_step);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(t.sum), sum);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(t.sq_high), sq_high);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(t.sq_low), sq_low);
    return fold(t, v, n);
}

}  // namespace

const ReduceFn kReduceSse2 = reduce_sse2;
const ReduceFn kReduceAvx2 = reduce_avx2;

}  // namespace radimo::regions::kernels
