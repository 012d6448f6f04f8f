// The frame and row band every whole-frame function works on, and its checks.
#pragma once

#include <cstddef>
#include <cstdint>

namespace radimo::frame_api {

// Rows first_row .. first_row + row_count - 1 of a width x height frame.
struct Band {
    uint32_t width;
    uint32_t height;
    uint32_t first_row;
    uint32_t row_count;

    size_t first_pixel() const { return size_t{first_row} * width; }
    size_t pixels() const { return size_t{row_count} * width; }
};

// Checks a resolution (both halves 1 .. 32767, so the signed and unsigned
// readings of the measurement rules agree) and a row band inside it; reports
// a failure under the caller's name and module.
bool band_valid(const char *caller, const char *module, uint32_t resolution, uint32_t first_row,
                uint32_t row_count, Band *band);

// The NUC-table lengths the whole-frame functions accept: exactly 8192
// (indexed by NUC value / 2) or 16384 (by the NUC value).
constexpr bool nuc_table_len_valid(uint32_t len) {
    return len == 8192 || len == 16384;
}

}  // namespace radimo::frame_api
