// Whole-frame KT/BT correction and table lookup on x86-64: SSE2 (the slots
// in vectors, the table read entry by entry) and AVX2 (table reads by gather).
#include <cstring>

#include <immintrin.h>

#include "core/heap_block.h"
#include "core/simd_target.h"
#include "frame_api/temp_measure_kernels.h"

namespace radimo::frame_api::kernels {

namespace {

constexpr uint32_t kChunk = 256;

// Sixteen slots at once (the same wrapping arithmetic on unsigned lanes, the
// shift on signed ones), then the table reads.
typedef uint16_t U16x16 __attribute__((vector_size(32)));
typedef uint32_t U32x16 __attribute__((vector_size(64)));
typedef int32_t I32x16 __attribute__((vector_size(64)));

inline __attribute__((always_inline)) void slots16(const Correction &c, const uint16_t *raw, uint16_t *slot) {
    U16x16 r;
    std::memcpy(&r, raw, sizeof r);
    const U32x16 product = __builtin_convertvector(r, U32x16) * static_cast<uint32_t>(c.kt) +
                           static_cast<uint32_t>(fx::kQ14Half);
    I32x16 v = (reinterpret_cast<const I32x16 &>(product) >> fx::kQ14Shift) + c.bt;
    v = v < 0 ? 0 : v;
    v = v > fx::kNucMax ? fx::kNucMax : v;
    const U16x16 s = __builtin_convertvector(v >> static_cast<int32_t>(c.shift), U16x16);
    std::memcpy(slot, &s, sizeof s);
}

void measure_sse2(const Correction &c, const uint16_t *raw, size_t n, uint16_t *temp) {
    uint16_t slot[kChunk];
    while (n > 0) {
        const size_t m = n < kChunk ? n : kChunk;
        size_t i = 0;
        for (; i + 16 <= m; i += 16) slots16(c, raw + i, slot + i);
        for (; i < m; ++i) slot[i] = static_cast<uint16_t>(table_slot(c, raw[i]));
        for (i = 0; i < m; ++i) temp[i] = c.table[slot[i]];
        raw += m;
        temp += m;
        n -= m;
    }
}

// AVX2: the same arithmetic on 8 lanes and the table read with gathers. A
// 32-bit gather at entry g reads entries g and g + 1, so the last entry is
// read as the upper half at g = len - 2: never past the table's end.
RADIMO_TARGET_AVX2 inline __m256i temps8_avx2(const Correction &c, const uint16_t *raw, __m256i kt,
                                              __m256i bt, __m256i shift, __m256i last_pair) {
    const __m256i r = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(raw)));
    __m256i v = _mm256_add_epi32(_mm256_mullo_epi32(r, kt), _mm256_set1_epi32(fx::kQ14Half));
    v = _mm256_add_epi32(_mm256_srai_epi32(v, fx::kQ14Shift), bt);
    v = _mm256_min_epi32(_mm256_max_epi32(v, _mm256_setzero_si256()), _mm256_set1_epi32(fx::kNucMax));
    const __m256i slot = _mm256_srlv_epi32(v, shift);
    const __m256i g = _mm256_min_epi32(slot, last_pair);
    const __m256i pair = _mm256_i32gather_epi32(reinterpret_cast<const int *>(c.table), g, 2);
    const __m256i upper = _mm256_slli_epi32(_mm256_sub_epi32(slot, g), 4);
    return _mm256_and_si256(_mm256_srlv_epi32(pair, upper), _mm256_set1_epi32(0xFFFF));
}

// The same with the table widened to 32-bit entries once per call: one
// gather per 8 pixels and nothing to unpack.
RADIMO_TARGET_AVX2 inline __m256i wide8_avx2(const int32_t *wide, const uint16_t *raw, __m256i kt, __m256i bt,
                                             __m256i shift) {
    const __m256i r = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(raw)));
    __m256i v = _mm256_add_epi32(_mm256_mullo_epi32(r, kt), _mm256_set1_epi32(fx::kQ14Half));
    v = _mm256_add_epi32(_mm256_srai_epi32(v, fx::kQ14Shift), bt);
    v = _mm256_min_epi32(_mm256_max_epi32(v, _mm256_setzero_si256()), _mm256_set1_epi32(fx::kNucMax));
    return _mm256_i32gather_epi32(wide, _mm256_srlv_epi32(v, shift), 4);
}

RADIMO_TARGET_AVX2 void measure_avx2(const Correction &c, const uint16_t *raw, size_t n, uint16_t *temp) {
    const __m256i kt = _mm256_set1_epi32(c.kt);
    const __m256i bt = _mm256_set1_epi32(c.bt);
    const __m256i shift = _mm256_set1_epi32(static_cast<int32_t>(c.shift));
    const uint32_t len = c.shift == 1 ? 8192 : 16384;
    size_t i = 0;
    HeapBlock<int32_t> wide;
    if (n >= 4 * len && wide.allocate(len)) {
        for (uint32_t j = 0; j < len; ++j) wide[j] = c.table[j];
        for (; i + 16 <= n; i += 16) {
            const __m256i lo = wide8_avx2(wide.get(), raw + i, kt, bt, shift);
            const __m256i hi = wide8_avx2(wide.get(), raw + i + 8, kt, bt, shift);
            const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(lo, hi), 0xD8);
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(temp + i), packed);
        }
    }
    const __m256i last_pair = _mm256_set1_epi32(static_cast<int32_t>(len - 2));
    for (; i + 16 <= n; i += 16) {
        const __m256i lo = temps8_avx2(c, raw + i, kt, bt, shift, last_pair);
        const __m256i hi = temps8_avx2(c, raw + i + 8, kt, bt, shift, last_pair);
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(lo, hi), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(temp + i), packed);
    }
    for (; i < n; ++i) temp[i] = c.table[table_slot(c, raw[i])];
}

}  // namespace

const MeasureFn kMeasureSse2 = measure_sse2;
const MeasureFn kMeasureAvx2 = measure_avx2;

}  // namespace radimo::frame_api::kernels
