// Whole rows of 3x3 trimmed means and their statistics: the fast path of the
// rectangle measurement and of the whole-frame point-mean image.
//
// Every value equals what get_point_temp gives at that pixel: the trimmed
// mean of the 3x3 square, a position outside the frame taking the centre
// value. Interior pixels run through the vectorised kernel of the active
// target; border pixels take the edge rule one by one.
#pragma once

#include <cstdint>

#include "frame/frame_geometry.h"
#include "libradimo.h"

namespace radimo::frame {

// 3x3 trimmed mean at an in-frame pixel, by the edge rule.
uint16_t edge_square_mean(const uint16_t *frame, const Geometry &g, int32_t x, int32_t y);

// Means of row y, columns x_begin .. x_end - 1 (all inside the frame), into out[0 ..].
void square_means_row(const uint16_t *frame, const Geometry &g, int32_t y, int32_t x_begin, int32_t x_end,
                      uint16_t *out);

// Statistics of the means of a rectangle under the per-sample rule: the
// largest and smallest mean with the last position of each in row-major
// order, and the sum of all means, without wrapping.
struct RectStats {
    uint16_t max = 0;
    uint16_t min = 0xFFFF;
    point_t max_point{0, 0};
    point_t min_point{0, 0};
    uint64_t sum = 0;
    uint64_t count = 0;
};

// The rectangle must lie inside the frame, whose resolution halves are
// positive as signed 16-bit numbers (so the signed and unsigned readings agree).
RectStats rect_stats(const uint16_t *frame, const Geometry &g, int32_t x0, int32_t y0, int32_t w, int32_t h);

// Statistics of the 5-sample horizontal means (a horizontal line's samples)
// at columns x_begin .. x_begin + n - 1 of row y, all inside such a frame;
// the positions are those of the line's samples.
RectStats row_line_stats(const uint16_t *frame, const Geometry &g, int32_t y, int32_t x_begin, int32_t n);

}  // namespace radimo::frame
