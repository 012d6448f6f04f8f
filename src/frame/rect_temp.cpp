// Rectangle measurement: maximum, minimum and average of the 3x3 trimmed
// means of every pixel inside the rectangle.
#include <cstdint>

#include "core/message.h"
#include "frame/frame_geometry.h"
#include "frame/square_means.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleLibradimo;
}  // namespace

extern "C" {

// The means are computed row by row (samples loaded once, the statistics in
// registers); the per-sample rule's last-position ties and its unsigned
// 32-bit sum are kept: a hot rectangle of more than 65537 pixels can wrap the
// sum, and its average with it (radimo_frame_stats sums in 64 bits).
int get_rect_temp(const uint16_t *frame, uint32_t resolution, point_t origin, rect_size_t size,
                  temp_result_t *out) {
    if (frame == nullptr || out == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    out->max_temp = 0;
    out->min_temp = 0xFFFF;
    const radimo::frame::Geometry g = radimo::frame::decode(resolution);
    // A rectangle ending exactly at the frame edge is valid. An empty or
    // negative size, or an origin left of or above the frame, has no samples
    // inside the frame and is rejected with the same message.
    if (static_cast<int64_t>(origin.x) + size.w > g.width_s16 ||
        static_cast<int64_t>(origin.y) + size.h > g.height_s16 || size.w <= 0 || size.h <= 0 ||
        origin.x < 0 || origin.y < 0) {
        RADIMO_ERROR("the rect is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const radimo::frame::RectStats s =
        radimo::frame::rect_stats(frame, g, origin.x, origin.y, size.w, size.h);
    const uint32_t n = static_cast<uint32_t>(s.count);
    out->max_temp = s.max;
    out->max_temp_point = s.max_point;
    out->min_temp = s.min;
    out->min_temp_point = s.min_point;
    out->avg_temp = static_cast<uint16_t>((static_cast<uint32_t>(s.sum) + n / 2) / n);
    return RADIMO_SUCCESS;
}

}  // extern "C"
