// The 3x3 trimmed-mean image of a frame, and rectangle statistics with a
// 64-bit sum.
#include "core/message.h"
#include "frame/frame_geometry.h"
#include "frame/square_means.h"
#include "frame_api/band.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleLibradimo;

void finish(radimo_frame_stats_t *s) {
    s->avg = s->count == 0 ? uint16_t{0} : static_cast<uint16_t>((s->sum + s->count / 2) / s->count);
}

}  // namespace

extern "C" {

int radimo_frame_point_means(const uint16_t *frame, uint32_t resolution, uint32_t first_row,
                             uint32_t row_count, uint16_t *means) {
    if (frame == nullptr || means == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::frame_api::Band band;
    if (!radimo::frame_api::band_valid(__func__, kLogModule, resolution, first_row, row_count, &band))
        return RADIMO_ERR_PARAM;
    const radimo::frame::Geometry g = radimo::frame::decode(resolution);
    const int32_t w = static_cast<int32_t>(band.width);
    for (uint32_t y = band.first_row; y < band.first_row + band.row_count; ++y)
        radimo::frame::square_means_row(frame, g, static_cast<int32_t>(y), 0, w,
                                        means + size_t{y} * band.width);
    return RADIMO_SUCCESS;
}

int radimo_frame_stats(const uint16_t *frame, uint32_t resolution, point_t origin, rect_size_t size,
                       radimo_frame_stats_t *stats) {
    if (frame == nullptr || stats == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::frame_api::Band band;
    if (!radimo::frame_api::band_valid(__func__, kLogModule, resolution, 0, 0, &band))
        return RADIMO_ERR_PARAM;
    if (origin.x < 0 || origin.y < 0 || size.w <= 0 || size.h <= 0 ||
        int64_t{origin.x} + size.w > int64_t{band.width} ||
        int64_t{origin.y} + size.h > int64_t{band.height}) {
        RADIMO_ERROR("the rect is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const radimo::frame::RectStats s = radimo::frame::rect_stats(frame, radimo::frame::decode(resolution),
                                                                 origin.x, origin.y, size.w, size.h);
    *stats = radimo_frame_stats_t{s.max, s.min, 0, s.max_point, s.min_point, s.sum, s.count};
    finish(stats);
    return RADIMO_SUCCESS;
}

int radimo_frame_stats_merge(radimo_frame_stats_t *first, const radimo_frame_stats_t *later) {
    if (first == nullptr || later == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::frame_api::merge_extremes(first, *later);
    first->sum += later->sum;
    first->count += later->count;
    finish(first);
    return RADIMO_SUCCESS;
}

}  // extern "C"
