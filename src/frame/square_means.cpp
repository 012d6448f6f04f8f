// Rows of 3x3 trimmed means and the rectangle statistics over them: border
// pixels by the edge rule, the rest through the kernels of the active target.
#include "frame/square_means.h"

#include "core/simd_target.h"
#include "frame/square_means_kernels.h"
#include "frame/trimmed_mean.h"

namespace radimo::frame {

namespace {

using kernels::ChunkStats;
constexpr int kChunk = 1024;  // means reduced at a time, on the stack

const kernels::SquareMeans &active_kernels() {
    static const kernels::SquareMeans *const k =
        simd::pick(&kernels::kScalar, RADIMO_X86(kernels::kSse2), RADIMO_X86(kernels::kAvx2),
                   RADIMO_NEON(kernels::kNeon));
    return *k;
}

}  // namespace

uint16_t edge_square_mean(const uint16_t *frame, const Geometry &g, int32_t x, int32_t y) {
    const uint16_t centre = frame[static_cast<uint32_t>(y) * g.width + static_cast<uint32_t>(x)];
    uint16_t s[kernels::kSquareSamples];
    int k = 0;
    for (int32_t r = y - 1; r <= y + 1; ++r) {
        const bool row_inside = r >= 0 && r < g.height_s16;
        for (int32_t c = x - 1; c <= x + 1; ++c)
            s[k++] = row_inside && c >= 0 && c < g.width_s16
                         ? frame[static_cast<uint32_t>(r) * g.width + static_cast<uint32_t>(c)]
                         : centre;
    }
    return trimmed_mean(s, kernels::kSquareSamples);
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
        active_kernels().interior(row - g.width, row, row + g.width, n, out);
        out += n;
    }
    for (int32_t x = in_end; x < x_end; ++x) *out++ = edge_square_mean(frame, g, x, y);
}

RectStats rect_stats(const uint16_t *frame, const Geometry &g, int32_t x0, int32_t y0, int32_t w, int32_t h) {
    RectStats s;
    const kernels::ReduceFn reduce = active_kernels().reduce;
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

// A position within two of the row's ends takes the centre value in the
// slots outside the row.
static uint16_t row_edge_mean5(const uint16_t *row, int32_t x, int32_t w) {
    uint16_t s[5];
    for (int32_t k = -2; k <= 2; ++k) s[k + 2] = x + k >= 0 && x + k < w ? row[x + k] : row[x];
    return trimmed_mean(s, 5);
}

RectStats row_line_stats(const uint16_t *frame, const Geometry &g, int32_t y, int32_t x_begin, int32_t n) {
    const kernels::Row5Fn row5 = active_kernels().row5;
    const kernels::ReduceFn reduce = active_kernels().reduce;
    const uint16_t *row = frame + static_cast<uint32_t>(y) * g.width;
    const int32_t w = g.width_s16;
    RectStats s;
    uint16_t means[kChunk];
    for (int32_t x = x_begin; x < x_begin + n; x += kChunk) {
        const int32_t m = x_begin + n - x < kChunk ? x_begin + n - x : kChunk;
        int32_t in_begin = x > 2 ? x : 2;
        int32_t in_end = x + m < w - 2 ? x + m : w - 2;
        if (in_begin >= in_end) in_begin = in_end = x + m;
        for (int32_t c = x; c < in_begin; ++c) means[c - x] = row_edge_mean5(row, c, w);
        if (in_begin < in_end)
            row5(row + in_begin - 2, static_cast<uint32_t>(in_end - in_begin), means + (in_begin - x));
        for (int32_t c = in_end; c < x + m; ++c) means[c - x] = row_edge_mean5(row, c, w);
        const ChunkStats c = reduce(means, static_cast<uint32_t>(m));
        if (c.max >= s.max) s.max = c.max, s.max_point = point_t{x + static_cast<int32_t>(c.max_at), y};
        if (c.min <= s.min) s.min = c.min, s.min_point = point_t{x + static_cast<int32_t>(c.min_at), y};
        s.sum += c.sum;
    }
    s.count = static_cast<uint64_t>(n);
    return s;
}

}  // namespace radimo::frame
