// Rows of trimmed means, one sample at a time: the kernels of every processor.
#include "core/simd_target.h"
#include "frame/square_means_kernels.h"

namespace radimo::frame::kernels {

namespace {

RADIMO_NO_AUTOVEC void interior(const uint16_t *a, const uint16_t *b, const uint16_t *c, uint32_t n,
                                uint16_t *out) {
    RADIMO_SCALAR_LOOP
    for (uint32_t i = 0; i < n; ++i) out[i] = interior_mean(a + i, b + i, c + i);
}

RADIMO_NO_AUTOVEC void row5(const uint16_t *p, uint32_t n, uint16_t *out) {
    RADIMO_SCALAR_LOOP
    for (uint32_t i = 0; i < n; ++i) out[i] = row_mean5(p + i);
}

RADIMO_NO_AUTOVEC ChunkStats reduce(const uint16_t *v, uint32_t n) {
    uint16_t hi = 0;
    uint16_t lo = 0xFFFF;
    uint32_t max_at = 0;
    uint32_t min_at = 0;
    uint32_t sum = 0;
    RADIMO_SCALAR_LOOP
    for (uint32_t i = 0; i < n; ++i) {
        if (v[i] >= hi) hi = v[i], max_at = i;
        if (v[i] <= lo) lo = v[i], min_at = i;
        sum += v[i];
    }
    return ChunkStats{hi, lo, max_at, min_at, sum};
}

}  // namespace

const SquareMeans kScalar{interior, row5, reduce};

}  // namespace radimo::frame::kernels
