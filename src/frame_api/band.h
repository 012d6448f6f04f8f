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

// Joins the extremes of a later band (in scan order) to those of an earlier
// one, as one scan over both would find them: the later band's ties win.
// Stats has max, min, max_point, min_point and count (of the band's samples).
template <class Stats>
void merge_extremes(Stats *first, const Stats &later) {
    if (later.count == 0) return;
    if (first->count == 0 || later.max >= first->max) {
        first->max = later.max;
        first->max_point = later.max_point;
    }
    if (first->count == 0 || later.min <= first->min) {
        first->min = later.min;
        first->min_point = later.min_point;
    }
}

}  // namespace radimo::frame_api
