// NUC value of a frame position: trimmed mean of its 5 x 5 neighbourhood.
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
constexpr uint32_t kSquareSize = 5;
constexpr int kSquareSamples = 25;
}  // namespace

extern "C" {

int get_NUC_value(const uint16_t *frame, uint32_t resolution, point_t point, uint16_t *nuc) {
    if (frame == nullptr) {
        RADIMO_ERROR("src is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (nuc == nullptr) {
        RADIMO_ERROR("nuc is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // The results of the two calls are deliberately not checked: callers get 0
    // back whatever the point. A point outside the frame makes the extractor
    // fail without writing, so the zero-filled square averages to 0.
    uint16_t square[kSquareSamples] = {};
    get_pixel_square_array(frame, resolution, point, kSquareSize, square);
    get_array_average_value(square, kSquareSamples, nuc);
    return RADIMO_SUCCESS;
}

}  // extern "C"
