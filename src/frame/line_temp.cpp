// Line measurement: horizontal, vertical and slanted lines and their dispatcher.
//
// Every sample along a line is the trimmed mean of a 5-sample neighbourhood
// (across a horizontal or vertical line's direction of travel, along the point
// list of a slanted one).
#include <cstdint>

#include "core/heap_block.h"
#include "core/message.h"
#include "frame/frame_geometry.h"
#include "frame/sample_stats.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleLibradimo;
constexpr uint32_t kLineNeighbourhood = 5;

using radimo::frame::SampleStats;

}  // namespace

extern "C" {

int get_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                  temp_result_t *out) {
    if (frame == nullptr || out == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const radimo::frame::Geometry g = radimo::frame::decode(resolution);
    if (!radimo::frame::contains(g, start) || !radimo::frame::contains(g, end)) {
        RADIMO_ERROR("line parameter is not valid\n");
        return RADIMO_ERR_PARAM;
    }
    if (start.x == end.x && start.y == end.y) {
        RADIMO_ERROR("this is point temperture\n");
        return RADIMO_ERR_PARAM;
    }
    if (start.y == end.y) {
        RADIMO_DEBUG("this is horizontal line temperture\n");
        if (get_horz_line_temp(frame, resolution, start, end, out) < 0) {
            RADIMO_ERROR("get horizontal line temperture failed\n");
            return RADIMO_ERR_HORZ_LINE;
        }
    } else if (start.x == end.x) {
        RADIMO_DEBUG("this is vertical line temperture\n");
        if (get_vert_line_temp(frame, resolution, start, end, out) < 0) {
            RADIMO_ERROR("get vertical line temperture failed\n");
            return RADIMO_ERR_VERT_LINE;
        }
    } else {
        RADIMO_DEBUG("this is slope line temperture\n");
        if (get_slope_line_temp(frame, resolution, start, end, out) < 0) {
            RADIMO_ERROR("get slope line temperture failed\n");
            return RADIMO_ERR_SLOPE_LINE;
        }
    }
    return RADIMO_SUCCESS;
}

int get_horz_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                       temp_result_t *out) {
    if (out == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (start.y != end.y || start.x == end.x) {
        RADIMO_ERROR("line parameter is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const point_t begin = start.x < end.x ? start : end;
    const uint32_t n = static_cast<uint32_t>(std::llabs(static_cast<int64_t>(end.x) - start.x)) + 1;
    SampleStats stats(*out);
    uint16_t samples[kLineNeighbourhood];
    for (uint32_t i = 0; i < n; ++i) {
        const point_t p{static_cast<int32_t>(begin.x + static_cast<int64_t>(i)), begin.y};
        if (get_pixel_horz_neighb_array(frame, resolution, p, kLineNeighbourhood, samples) !=
            RADIMO_SUCCESS) {
            RADIMO_ERROR("get pixel horz neighb array error\n");
            return RADIMO_ERR_HORZ_NEIGHB;
        }
        uint16_t value = 0;
        if (get_array_average_value(samples, kLineNeighbourhood, &value) != RADIMO_SUCCESS) {
            RADIMO_ERROR("get array average value error\n");
            return RADIMO_ERR_AVERAGE;
        }
        stats.add(value, p);
    }
    stats.finish(n);
    return RADIMO_SUCCESS;
}

// The mirror of the horizontal line. Its failure messages are deliberately the
// horizontal neighbourhood's and the square's texts.
int get_vert_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                       temp_result_t *out) {
    if (out == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (start.x != end.x || start.y == end.y) {
        RADIMO_ERROR("line parameter is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const point_t begin = start.y < end.y ? start : end;
    const uint32_t n = static_cast<uint32_t>(std::llabs(static_cast<int64_t>(end.y) - start.y)) + 1;
    SampleStats stats(*out);
    uint16_t samples[kLineNeighbourhood];
    for (uint32_t i = 0; i < n; ++i) {
        const point_t p{begin.x, static_cast<int32_t>(begin.y + static_cast<int64_t>(i))};
        if (get_pixel_vert_neighb_array(frame, resolution, p, kLineNeighbourhood, samples) !=
            RADIMO_SUCCESS) {
            RADIMO_ERROR("get pixel horz neighb array error\n");
            return RADIMO_ERR_VERT_NEIGHB;
        }
        uint16_t value = 0;
        if (get_array_average_value(samples, kLineNeighbourhood, &value) != RADIMO_SUCCESS) {
            RADIMO_ERROR("get pixel square array error\n");
            return RADIMO_ERR_AVERAGE;
        }
        stats.add(value, p);
    }
    stats.finish(n);
    return RADIMO_SUCCESS;
}

// The one allocation of frame measurement: the slanted line's point set,
// released on every path by its owner.
int get_slope_line_temp(const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
                        temp_result_t *out) {
    if (out == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (start.y == end.y || start.x == end.x) {
        RADIMO_ERROR("line parameter is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const point_t begin = start.x < end.x ? start : end;
    const float slope = get_slope(start, end);
    const uint16_t n = static_cast<uint16_t>(get_point_num(start, end));

    const radimo::HeapBlock<point_t> points(n);
    if (!points) {
        RADIMO_ERROR("alloc point set memory failed\n");
        return RADIMO_ERR_ALLOC;
    }
    if (get_point_set(static_cast<uint32_t>(begin.x), static_cast<uint32_t>(begin.y), n, points.get(),
                      slope) != RADIMO_SUCCESS) {
        RADIMO_ERROR("get point set failed\n");
        return RADIMO_ERR_POINT_SET;
    }

    SampleStats stats(*out);
    uint16_t samples[kLineNeighbourhood];
    for (int i = 0; i < n; ++i) {
        if (get_pixel_slope_neighb_array(frame, points.get(), resolution, i, kLineNeighbourhood, n,
                                         samples) != RADIMO_SUCCESS) {
            RADIMO_ERROR("get pixel slope neighb array error\n");
            return RADIMO_ERR_SLOPE_NEIGHB;
        }
        uint16_t value = 0;
        if (get_array_average_value(samples, kLineNeighbourhood, &value) != RADIMO_SUCCESS) {
            RADIMO_ERROR("get array average value error\n");
            return RADIMO_ERR_AVERAGE;
        }
        stats.add(value, points[i]);
    }
    stats.finish(n);
    return RADIMO_SUCCESS;
}

}  // extern "C"
