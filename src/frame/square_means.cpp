// Rows of 3x3 trimmed means, per target, and the rectangle statistics over them.
#include "frame/square_means.h"

#include <cstring>

#include "core/simd_target.h"
#include "frame/trimmed_mean.h"

namespace radimo::frame {

namespace {

constexpr int kSquareSamples = 9;
constexpr int kChunk = 1024;  // means reduced at a time, on the stack

// ---------------------------------------------------------------------------
// Interior kernels. a, b, c point at column x - 1 of the rows above, at and
// below the first output; columns up to x + n are read.
// ---------------------------------------------------------------------------

inline uint16_t interior_mean(const uint16_t *a, const uint16_t *b, const uint16_t *c) {
    const uint16_t s[kSquareSamples] = {a[0], a[1], a[2], b[0], b[1], b[2], c[0], c[1], c[2]};
    return trimmed_mean(s, kSquareSamples);
}

RADIMO_NO_AUTOVEC void interior_scalar(const uint16_t *a, const uint16_t *b, const uint16_t *c, uint32_t n,
                                       uint16_t *out) {
    RADIMO_SCALAR_LOOP
    for (uint32_t i = 0; i < n; ++i) out[i] = interior_mean(a + i, b + i, c + i);
}

// Sixteen means at once. The sum of nine 16-bit samples (below 2^20) minus
// the extremes plus 3 is divided by 7 in single precision: the quotient of an
// integer below 2^20 by 7 is never within 1/7 of the next integer, far more
// than the rounding error, so truncation gives the integer quotient exactly.
typedef uint16_t U16x16 __attribute__((vector_size(32)));
typedef int32_t I32x16 __attribute__((vector_size(64)));
typedef float F32x16 __attribute__((vector_size(64)));

// Vectors stay in registers or memory, never passed by value (no ABI change
// between the targets).
#define RADIMO_LOAD16(dst, p) std::memcpy(&(dst), (p), sizeof(U16x16))

inline __attribute__((always_inline)) void means16(const uint16_t *a, const uint16_t *b, const uint16_t *c,
                                                   uint16_t *out) {
    U16x16 s[kSquareSamples];
    const uint16_t *rows[3] = {a, b, c};
    for (int k = 0; k < kSquareSamples; ++k) RADIMO_LOAD16(s[k], rows[k / 3] + k % 3);
    U16x16 lo = s[0];
    U16x16 hi = s[0];
    I32x16 sum = __builtin_convertvector(s[0], I32x16);
    for (int k = 1; k < kSquareSamples; ++k) {
        lo = s[k] < lo ? s[k] : lo;
        hi = s[k] > hi ? s[k] : hi;
        sum += __builtin_convertvector(s[k], I32x16);
    }
    const I32x16 kept = sum - __builtin_convertvector(lo, I32x16) - __builtin_convertvector(hi, I32x16) + 3;
    const F32x16 q = __builtin_convertvector(kept, F32x16) / 7.0f;
    const U16x16 r = __builtin_convertvector(__builtin_convertvector(q, I32x16), U16x16);
    std::memcpy(out, &r, sizeof r);
}

inline __attribute__((always_inline)) void interior_vector(const uint16_t *a, const uint16_t *b,
                                                           const uint16_t *c, uint32_t n, uint16_t *out) {
    if (n < 16) {
        for (uint32_t i = 0; i < n; ++i) out[i] = interior_mean(a + i, b + i, c + i);
        return;
    }
    uint32_t i = 0;
    for (; i + 16 <= n; i += 16) means16(a + i, b + i, c + i, out + i);
    if (i < n) means16(a + n - 16, b + n - 16, c + n - 16, out + n - 16);  // overlapping tail
}

void interior_sse2(const uint16_t *a, const uint16_t *b, const uint16_t *c, uint32_t n, uint16_t *out) {
    interior_vector(a, b, c, n, out);
}

RADIMO_TARGET_AVX2 void interior_avx2(const uint16_t *a, const uint16_t *b, const uint16_t *c, uint32_t n,
                                      uint16_t *out) {
    interior_vector(a, b, c, n, out);
}

using InteriorFn = void (*)(const uint16_t *, const uint16_t *, const uint16_t *, uint32_t, uint16_t *);

InteriorFn interior_kernel() {
    static const InteriorFn fn = simd::pick<InteriorFn>(interior_scalar, interior_sse2, interior_avx2);
    return fn;
}

// ---------------------------------------------------------------------------
// Chunk reduction: extremes with their last positions, and the sum.
// ---------------------------------------------------------------------------

struct ChunkStats {
    uint16_t max;
    uint16_t min;
    uint32_t max_at;
    uint32_t min_at;
    uint64_t sum;
};

inline __attribute__((always_inline)) ChunkStats reduce_generic(const uint16_t *v, uint32_t n) {
    uint16_t hi = 0;
    uint16_t lo = 0xFFFF;
    uint32_t sum = 0;  // n <= kChunk means: no overflow
    for (uint32_t i = 0; i < n; ++i) {
        hi = v[i] > hi ? v[i] : hi;
        lo = v[i] < lo ? v[i] : lo;
        sum += v[i];
    }
    uint32_t max_at = n - 1;
    while (v[max_at] != hi) --max_at;
    uint32_t min_at = n - 1;
    while (v[min_at] != lo) --min_at;
    return ChunkStats{hi, lo, max_at, min_at, sum};
}

RADIMO_NO_AUTOVEC ChunkStats reduce_scalar(const uint16_t *v, uint32_t n) {
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

ChunkStats reduce_sse2(const uint16_t *v, uint32_t n) {
    return reduce_generic(v, n);
}

RADIMO_TARGET_AVX2 ChunkStats reduce_avx2(const uint16_t *v, uint32_t n) {
    return reduce_generic(v, n);
}

using ReduceFn = ChunkStats (*)(const uint16_t *, uint32_t);

ReduceFn reduce_kernel() {
    static const ReduceFn fn = simd::pick<ReduceFn>(reduce_scalar, reduce_sse2, reduce_avx2);
    return fn;
}

}  // namespace

uint16_t edge_square_mean(const uint16_t *frame, const Geometry &g, int32_t x, int32_t y) {
    const uint16_t centre = frame[static_cast<uint32_t>(y) * g.width + static_cast<uint32_t>(x)];
    uint16_t s[kSquareSamples];
    int k = 0;
    for (int32_t r = y - 1; r <= y + 1; ++r) {
        const bool row_inside = r >= 0 && r < g.height_s16;
        for (int32_t c = x - 1; c <= x + 1; ++c)
            s[k++] = row_inside && c >= 0 && c < g.width_s16
                         ? frame[static_cast<uint32_t>(r) * g.width + static_cast<uint32_t>(c)]
                         : centre;
    }
    return trimmed_mean(s, kSquareSamples);
}

void square_means_row(const uint16_t *frame, const Geometry &g, int32_t y, int32_t x_begin, int32_t x_end,
                      uint16_t *out) {
    const int32_t w = g.width_s16;
    // Interior columns 1 .. w - 2 of interior rows 1 .. h - 2 take the kernel.
    int32_t in_begin = x_begin > 1 ? x_begin : 1;
    int32_t in_end = x_end < w - 1 ? x_end : w - 1;
    if (y < 1 || y + 1 >= g.height_s16 || in_begin >= in_end) in_begin = in_end = x_end;
    for (int32_t x = x_begin; x < in_begin; ++x) *out++ = edge_square_mean(frame, g, x, y);
    if (in_begin < in_end) {
        const uint16_t *row =
            frame + static_cast<uint32_t>(y) * g.width + static_cast<uint32_t>(in_begin - 1);
        const uint32_t n = static_cast<uint32_t>(in_end - in_begin);
        interior_kernel()(row - g.width, row, row + g.width, n, out);
        out += n;
    }
    for (int32_t x = in_end; x < x_end; ++x) *out++ = edge_square_mean(frame, g, x, y);
}

RectStats rect_stats(const uint16_t *frame, const Geometry &g, int32_t x0, int32_t y0, int32_t w, int32_t h) {
    RectStats s;
    const ReduceFn reduce = reduce_kernel();
    uint16_t means[kChunk];
    for (int32_t y = y0; y < y0 + h; ++y) {
        for (int32_t x = x0; x < x0 + w; x += kChunk) {
            const int32_t n = x0 + w - x < kChunk ? x0 + w - x : kChunk;
            square_means_row(frame, g, y, x, x + n, means);
            const ChunkStats c = reduce(means, static_cast<uint32_t>(n));
            // Later chunks come later in scan order: ties move the positions.
            if (c.max >= s.max) s.max = c.max, s.max_point = point_t{x + static_cast<int32_t>(c.max_at), y};
            if (c.min <= s.min) s.min = c.min, s.min_point = point_t{x + static_cast<int32_t>(c.min_at), y};
            s.sum += c.sum;
        }
    }
    s.count = static_cast<uint64_t>(w) * static_cast<uint64_t>(h);
    return s;
}

}  // namespace radimo::frame
