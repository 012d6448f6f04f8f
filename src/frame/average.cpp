// Trimmed average of a caller's samples and the point measurement.
#include <cstdint>

#include "core/message.h"
#include "frame/frame_geometry.h"
#include "frame/trimmed_mean.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleLibradimo;
}  // namespace

extern "C" {

int get_array_average_value(const uint16_t *data, int num, uint16_t *out) {
    if (data == nullptr || out == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (num <= 2) {
        RADIMO_ERROR("num is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    *out = radimo::frame::trimmed_mean(data, static_cast<uint32_t>(num));
    return RADIMO_SUCCESS;
}

int get_point_temp(const uint16_t *frame, uint32_t resolution, point_t point, uint16_t *out) {
    if (frame == nullptr || out == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (!radimo::frame::contains(radimo::frame::decode(resolution), point)) {
        RADIMO_ERROR("the point is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    uint16_t square[100] = {};
    if (get_pixel_square_array(frame, resolution, point, 3, square) != RADIMO_SUCCESS) {
        RADIMO_ERROR("get pixel square array error\n");
        return RADIMO_ERR_SQUARE_ARRAY;
    }
    if (get_array_average_value(square, 9, out) != RADIMO_SUCCESS) {
        RADIMO_ERROR("get array average value error\n");
        return RADIMO_ERR_AVERAGE;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
