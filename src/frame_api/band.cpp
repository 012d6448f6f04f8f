#include "frame_api/band.h"

#include "core/message.h"

namespace radimo::frame_api {

bool band_valid(const char *caller, const char *module, uint32_t resolution, uint32_t first_row,
                uint32_t row_count, Band *band) {
    const char *kLogModule = module;
    const uint32_t width = resolution & 0xFFFFu;
    const uint32_t height = resolution >> 16;
    if (width == 0 || height == 0 || width > 0x7FFFu || height > 0x7FFFu) {
        RADIMO_ERROR_FOR(caller, "resolution is invalid\n");
        return false;
    }
    if (uint64_t{first_row} + row_count > height) {
        RADIMO_ERROR_FOR(caller, "row range is invalid\n");
        return false;
    }
    *band = Band{width, height, first_row, row_count};
    return true;
}

}  // namespace radimo::frame_api
