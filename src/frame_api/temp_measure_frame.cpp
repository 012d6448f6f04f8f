// Whole-frame KT/BT correction and NUC-table lookup.
//
// Per pixel this is temp_measure_with_NUC_value: the focal-plane index, the
// gain and the offset depend only on the record, so they are taken once per
// call; each pixel then needs one Q14 product, a clamp and a table read.
#include <cstring>

#include <immintrin.h>

#include "core/fixed_point.h"
#include "core/heap_block.h"
#include "core/message.h"
#include "core/simd_target.h"
#include "frame_api/band.h"
#include "ktbt/ktbt_index.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;
constexpr uint32_t kChunk = 256;

// The correction of one frame: kt[index], bt[index] and the table's index shift.
struct Correction {
    int32_t kt;
    int32_t bt;
    const uint16_t *table;
    uint32_t shift;  // 1 for an 8192-entry table (NUC / 2), 0 for 16384 entries
};

// bt + ((kt * nuc + 8192) >> 14) in wrapping 32-bit arithmetic, clamped to 0 .. 16383.
inline uint32_t table_slot(const Correction &c, uint16_t raw) {
    const int32_t product = radimo::fx::mul_wrap32(c.kt, raw);
    const int32_t gained =
        radimo::fx::wrap32(int64_t{product} + radimo::fx::kQ14Half) >> radimo::fx::kQ14Shift;
    return uint32_t{radimo::fx::clamp_nuc(c.bt + gained)} >> c.shift;
}

RADIMO_NO_AUTOVEC void measure_scalar(const Correction &c, const uint16_t *raw, size_t n, uint16_t *temp) {
    RADIMO_SCALAR_LOOP
    for (size_t i = 0; i < n; ++i) temp[i] = c.table[table_slot(c, raw[i])];
}

// Sixteen slots at once (the same wrapping arithmetic on unsigned lanes, the
// shift on signed ones), then the table reads.
typedef uint16_t U16x16 __attribute__((vector_size(32)));
typedef uint32_t U32x16 __attribute__((vector_size(64)));
typedef int32_t I32x16 __attribute__((vector_size(64)));

inline __attribute__((always_inline)) void slots16(const Correction &c, const uint16_t *raw, uint16_t *slot) {
    U16x16 r;
    std::memcpy(&r, raw, sizeof r);
    const U32x16 product = __builtin_convertvector(r, U32x16) * static_cast<uint32_t>(c.kt) +
                           static_cast<uint32_t>(radimo::fx::kQ14Half);
    I32x16 v = (reinterpret_cast<const I32x16 &>(product) >> radimo::fx::kQ14Shift) + c.bt;
    v = v < 0 ? 0 : v;
    v = v > radimo::fx::kNucMax ? radimo::fx::kNucMax : v;
    const U16x16 s = __builtin_convertvector(v >> static_cast<int32_t>(c.shift), U16x16);
    std::memcpy(slot, &s, sizeof s);
}

inline __attribute__((always_inline)) void measure_vector(const Correction &c, const uint16_t *raw, size_t n,
                                                          uint16_t *temp) {
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

void measure_sse2(const Correction &c, const uint16_t *raw, size_t n, uint16_t *temp) {
    measure_vector(c, raw, n, temp);
}

// AVX2: the same arithmetic on 8 lanes and the table read with gathers. A
// 32-bit gather at entry g reads entries g and g + 1, so the last entry is
// read as the upper half at g = len - 2: never past the table's end.
RADIMO_TARGET_AVX2 inline __m256i temps8_avx2(const Correction &c, const uint16_t *raw, __m256i kt,
                                              __m256i bt, __m256i shift, __m256i last_pair) {
    const __m256i r = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(raw)));
    __m256i v = _mm256_add_epi32(_mm256_mullo_epi32(r, kt), _mm256_set1_epi32(radimo::fx::kQ14Half));
    v = _mm256_add_epi32(_mm256_srai_epi32(v, radimo::fx::kQ14Shift), bt);
    v = _mm256_min_epi32(_mm256_max_epi32(v, _mm256_setzero_si256()), _mm256_set1_epi32(radimo::fx::kNucMax));
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
    __m256i v = _mm256_add_epi32(_mm256_mullo_epi32(r, kt), _mm256_set1_epi32(radimo::fx::kQ14Half));
    v = _mm256_add_epi32(_mm256_srai_epi32(v, radimo::fx::kQ14Shift), bt);
    v = _mm256_min_epi32(_mm256_max_epi32(v, _mm256_setzero_si256()), _mm256_set1_epi32(radimo::fx::kNucMax));
    return _mm256_i32gather_epi32(wide, _mm256_srlv_epi32(v, shift), 4);
}

RADIMO_TARGET_AVX2 void measure_avx2(const Correction &c, const uint16_t *raw, size_t n, uint16_t *temp) {
    const __m256i kt = _mm256_set1_epi32(c.kt);
    const __m256i bt = _mm256_set1_epi32(c.bt);
    const __m256i shift = _mm256_set1_epi32(static_cast<int32_t>(c.shift));
    const uint32_t len = c.shift == 1 ? 8192 : 16384;
    size_t i = 0;
    radimo::HeapBlock<int32_t> wide;
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

using MeasureFn = void (*)(const Correction &, const uint16_t *, size_t, uint16_t *);

}  // namespace

extern "C" {

int radimo_frame_temp_measure(const ktbt_correct_param_t *ktbt_param, uint32_t ktbt_len,
                              const uint16_t *nuc_table, uint32_t nuc_table_len, const uint16_t *raw,
                              uint32_t resolution, uint32_t first_row, uint32_t row_count, uint16_t *temp) {
    if (ktbt_param == nullptr || nuc_table == nullptr || raw == nullptr || temp == nullptr ||
        ktbt_param->kt_array == nullptr || ktbt_param->bt_array == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (ktbt_len != 1201 && ktbt_len != 3601) {
        RADIMO_ERROR("ktbt_len is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (!radimo::frame_api::nuc_table_len_valid(nuc_table_len)) {
        RADIMO_ERROR("nuc_table_len is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::frame_api::Band band;
    if (!radimo::frame_api::band_valid(__func__, kLogModule, resolution, first_row, row_count, &band))
        return RADIMO_ERR_PARAM;

    const ktbt_correct_param_t &p = *ktbt_param;
    const int32_t index = radimo::ktbt::correction_index(
        p, ktbt_len == 1201 ? radimo::ktbt::kLimits1201 : radimo::ktbt::kLimits3601);
    const Correction c{p.kt_array[index], p.bt_array[index], nuc_table, nuc_table_len == 8192 ? 1u : 0u};
    static const MeasureFn measure =
        radimo::simd::pick<MeasureFn>(measure_scalar, measure_sse2, measure_avx2);
    measure(c, raw + band.first_pixel(), band.pixels(), temp + band.first_pixel());
    return RADIMO_SUCCESS;
}

}  // extern "C"
