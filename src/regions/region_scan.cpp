#include "regions/region_scan.h"

#include "core/message.h"

namespace radimo::regions {

namespace {
constexpr const char *kLogModule = kModuleLibradimo;
}

int open_region(const char *caller, const uint16_t *frame, const void *out, uint32_t resolution,
                const radimo_region_t *region, uint32_t sampling, uint32_t first_row, uint32_t row_count,
                RegionWalker *walker, frame_api::Band *band) {
    if (frame == nullptr || out == nullptr || region == nullptr) {
        RADIMO_ERROR_FOR(caller, "data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (!frame_api::band_valid(caller, kLogModule, resolution, first_row, row_count, band))
        return RADIMO_ERR_PARAM;
    if (sampling != RADIMO_SAMPLE_PIXEL && sampling != RADIMO_SAMPLE_MEAN3) {
        RADIMO_ERROR_FOR(caller, "sampling is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    return walker->open(caller, band->width, band->height, *region);
}

}  // namespace radimo::regions
