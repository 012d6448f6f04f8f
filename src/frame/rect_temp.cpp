// Rectangle measurement: maximum, minimum and average of the 3x3 trimmed
// means of every pixel inside the rectangle.
#include <cstdint>

#include "core/message.h"
#include "frame/frame_geometry.h"
#include "frame/sample_stats.h"
#include "frame/trimmed_mean.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleLibradimo;
constexpr uint32_t kSquareSize = 3;
constexpr uint32_t kSquareSamples = kSquareSize * kSquareSize;

using radimo::frame::Geometry;

// Trimmed mean of the 3x3 square around (x, y) when the square lies wholly
// inside the frame: the same samples, in the same order, that
// get_pixel_square_array delivers, without its per-slot border tests.
inline uint16_t interior_square_mean(const uint16_t *frame, uint32_t width, int32_t x, int32_t y) {
    const uint16_t *above = frame + static_cast<uint32_t>(y - 1) * width + static_cast<uint32_t>(x - 1);
    const uint16_t *row = above + width;
    const uint16_t *below = row + width;
    const uint16_t samples[kSquareSamples] = {above[0], above[1], above[2], row[0],  row[1],
                                              row[2],   below[0], below[1], below[2]};
    return radimo::frame::trimmed_mean(samples, kSquareSamples);
}

}  // namespace

extern "C" {

int get_rect_temp(const uint16_t *frame, uint32_t resolution, point_t origin, rect_size_t size,
                  temp_result_t *out) {
    if (frame == nullptr || out == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::frame::SampleStats stats(*out);
    const Geometry g = radimo::frame::decode(resolution);
    // A rectangle ending exactly at the frame edge is valid. An empty or
    // negative size, or an origin left of or above the frame, has no samples
    // inside the frame and is rejected with the same message.
    if (static_cast<int64_t>(origin.x) + size.w > g.width_s16 ||
        static_cast<int64_t>(origin.y) + size.h > g.height_s16 || size.w <= 0 || size.h <= 0 ||
        origin.x < 0 || origin.y < 0) {
        RADIMO_ERROR("the rect is invalid\n");
        return RADIMO_ERR_PARAM;
    }

    const int32_t x_end = origin.x + size.w;
    const int32_t y_end = origin.y + size.h;
    for (int32_t y = origin.y; y < y_end; ++y) {
        const bool row_interior = y >= 1 && y + 1 < g.height_s16;
        for (int32_t x = origin.x; x < x_end; ++x) {
            const point_t p{x, y};
            if (row_interior && x >= 1 && x + 1 < g.width_s16) {
                stats.add(interior_square_mean(frame, g.width, x, y), p);
                continue;
            }
            // Border pixels: outside slots take the centre value.
            uint16_t square[kSquareSamples];
            if (get_pixel_square_array(frame, resolution, p, kSquareSize, square) != RADIMO_SUCCESS) {
                RADIMO_ERROR("get pixel square array error\n");
                return RADIMO_ERR_SQUARE_ARRAY;
            }
            uint16_t value = 0;
            if (get_array_average_value(square, kSquareSamples, &value) != RADIMO_SUCCESS) {
                RADIMO_ERROR("get array average value error\n");
                return RADIMO_ERR_AVERAGE;
            }
            stats.add(value, p);
        }
    }
    stats.finish(static_cast<uint32_t>(size.w) * static_cast<uint32_t>(size.h));
    return RADIMO_SUCCESS;
}

}  // extern "C"
