// Line measurement: horizontal, vertical and slanted lines and their dispatcher.
//
// Every sample along a line is the trimmed mean of a 5-sample neighbourhood
// (across a horizontal or vertical line's direction of travel, along the point
// list of a slanted one). Lines whose samples all lie inside the frame are
// measured inline, each neighbourhood read straight from the frame; any other
// line walks the neighbourhood extractors, which report the first sample
// outside the frame.
#include <cstdint>
#include <cstdlib>

#include "core/heap_block.h"
#include "core/message.h"
#include "frame/frame_geometry.h"
#include "frame/sample_stats.h"
#include "frame/square_means.h"
#include "frame/trimmed_mean.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleLibradimo;
constexpr uint32_t kLineNeighbourhood = 5;
constexpr int32_t kHalf = static_cast<int32_t>(kLineNeighbourhood / 2);

using radimo::frame::Geometry;
using radimo::frame::SampleStats;
using radimo::fx::low16s;

// Trimmed mean of the five samples at positions pos - 2 .. pos + 2 of a run
// of len samples spaced `step` apart, centred on *centre; positions outside
// the run take the centre value.
inline uint16_t run_mean(const uint16_t *centre, int64_t step, int32_t pos, int32_t len) {
    uint16_t s[kLineNeighbourhood];
    for (int32_t k = -kHalf; k <= kHalf; ++k)
        s[k + kHalf] = pos + k >= 0 && pos + k < len ? centre[k * step] : *centre;
    return radimo::frame::trimmed_mean(s, kLineNeighbourhood);
}

// Whether every position first .. first + n - 1 of a run lies in 0 .. len - 1.
constexpr bool run_inside(int64_t first, uint64_t n, int32_t len) {
    return first >= 0 && first + static_cast<int64_t>(n) <= len;
}

// Position of a point as the slope extractor reads it (low 16 bits, signed).
inline bool list_point_inside(const Geometry &g, point_t p) {
    const int32_t x = low16s(p.x);
    const int32_t y = low16s(p.y);
    return x >= 0 && y >= 0 && x < g.width_s16 && y < g.height_s16;
}

inline uint16_t list_sample(const uint16_t *frame, const Geometry &g, point_t p) {
    return frame[static_cast<uint32_t>(low16s(p.y)) * g.width + static_cast<uint32_t>(low16s(p.x))];
}

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
    // Counted in 64 bits: a line across the whole int range has 2^32 samples.
    const uint64_t n = static_cast<uint64_t>(std::llabs(static_cast<int64_t>(end.x) - start.x)) + 1;
    SampleStats stats(*out);
    const Geometry g = radimo::frame::decode(resolution);
    if (frame != nullptr && run_inside(begin.y, 1, g.height_s16) && run_inside(begin.x, n, g.width_s16)) {
        const radimo::frame::RectStats s =
            radimo::frame::row_line_stats(frame, g, begin.y, begin.x, static_cast<int32_t>(n));
        stats.set(s.max, s.max_point, s.min, s.min_point, static_cast<uint32_t>(s.sum));
        stats.finish(static_cast<uint32_t>(n));
        return RADIMO_SUCCESS;
    }
    // The walk fails at its first sample outside the frame, so it never ends
    // with more samples than a frame row holds.
    uint16_t samples[kLineNeighbourhood];
    for (uint64_t i = 0; i < n; ++i) {
        const point_t p{radimo::fx::wrap32(begin.x + static_cast<int64_t>(i)), begin.y};
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
    stats.finish(static_cast<uint32_t>(n));
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
    const uint64_t n = static_cast<uint64_t>(std::llabs(static_cast<int64_t>(end.y) - start.y)) + 1;
    SampleStats stats(*out);
    const Geometry g = radimo::frame::decode(resolution);
    if (frame != nullptr && run_inside(begin.x, 1, g.width_s16) && run_inside(begin.y, n, g.height_s16)) {
        const uint16_t *column = frame + static_cast<uint32_t>(begin.x);
        for (int32_t y = begin.y; y <= begin.y + static_cast<int32_t>(n) - 1; ++y)
            stats.add(run_mean(column + static_cast<uint32_t>(y) * g.width, g.width, y, g.height_s16),
                      point_t{begin.x, y});
        stats.finish(static_cast<uint32_t>(n));
        return RADIMO_SUCCESS;
    }
    uint16_t samples[kLineNeighbourhood];
    for (uint64_t i = 0; i < n; ++i) {
        const point_t p{begin.x, radimo::fx::wrap32(begin.y + static_cast<int64_t>(i))};
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
    stats.finish(static_cast<uint32_t>(n));
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
    // A count that is a multiple of 65536 keeps 0 in its 16 bits: such a line
    // spans more than any frame, so one of its points lies outside.
    if (n == 0) {
        RADIMO_ERROR("the point is invalid\n");
        return RADIMO_ERR_PARAM;
    }

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
    const Geometry g = radimo::frame::decode(resolution);
    const point_t *const list = points.get();  // indexed by the signed list positions below
    bool all_inside = frame != nullptr;
    for (int i = 0; all_inside && i < n; ++i) all_inside = list_point_inside(g, list[i]);
    if (all_inside) {
        // List positions within two of either end take the centre value.
        for (int i = 0; i < n; ++i) {
            const uint16_t centre = list_sample(frame, g, list[i]);
            uint16_t s[kLineNeighbourhood];
            for (int k = -kHalf; k <= kHalf; ++k)
                s[k + kHalf] =
                    i + k >= kHalf && i + k < n - kHalf ? list_sample(frame, g, list[i + k]) : centre;
            stats.add(radimo::frame::trimmed_mean(s, kLineNeighbourhood), list[i]);
        }
        stats.finish(n);
        return RADIMO_SUCCESS;
    }
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
        stats.add(value, list[i]);
    }
    stats.finish(n);
    return RADIMO_SUCCESS;
}

}  // extern "C"
