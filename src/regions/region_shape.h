// A region checked against a frame, walked row by row as spans of columns.
//
// Every region function opens a RegionWalker first: it checks the region
// (printing the refusal under the caller's name), finds the rows that can hold
// region pixels, and then gives, for any row, the region's pixels of that row
// as ascending, disjoint spans of columns clipped to the frame.
#pragma once

#include <cstdint>

#include "core/heap_block.h"
#include "libradimo.h"

namespace radimo::regions {

// Columns begin .. end - 1 of one row.
struct Span {
    int32_t begin;
    int32_t end;
};

class RegionWalker {
public:
    // Checks the region against a width x height frame (both 1 .. 32767,
    // checked by the caller). Returns RADIMO_SUCCESS, RADIMO_ERR_PARAM after
    // printing the refusal under `caller`, or RADIMO_ERR_ALLOC.
    int open(const char *caller, uint32_t width, uint32_t height, const radimo_region_t &region);

    // Rows row_begin() .. row_end() - 1 may hold region pixels; no other does.
    int32_t row_begin() const { return row_begin_; }
    int32_t row_end() const { return row_end_; }

    // Calls fn(Span) for every span of region pixels of row y, in ascending order.
    template <typename Fn>
    void for_each_span(int32_t y, Fn &&fn) const {
        if (y < row_begin_ || y >= row_end_) return;
        switch (region_.shape) {
            case RADIMO_REGION_RECT:
            case RADIMO_REGION_ELLIPSE: {
                const Span s = single_span(y);
                if (s.begin < s.end) fn(s);
                return;
            }
            case RADIMO_REGION_POLYGON: {
                const uint32_t n = crossings(y);
                for (uint32_t i = 0; i + 1 < n; i += 2) {
                    const Span s = clip(crossing_column(crossings_[i]), crossing_column(crossings_[i + 1]));
                    if (s.begin < s.end) fn(s);
                }
                return;
            }
            default: {  // mask: the runs of non-zero bytes
                const uint8_t *m = region_.mask + static_cast<size_t>(y) * width_;
                int32_t x = 0;
                const int32_t w = static_cast<int32_t>(width_);
                while (x < w) {
                    while (x < w && m[x] == 0) ++x;
                    const int32_t begin = x;
                    while (x < w && m[x] != 0) ++x;
                    if (begin < x) fn(Span{begin, x});
                }
                return;
            }
        }
    }

    // True when any row holds a region pixel.
    bool any_pixel() const;

private:
    Span single_span(int32_t y) const;    // rectangle and ellipse rows
    uint32_t crossings(int32_t y) const;  // sorted polygon crossings of row y into crossings_
    Span clip(int64_t begin, int64_t end) const;
    static int64_t crossing_column(double x);  // first column at or right of a crossing
    bool ellipse_holds(int64_t column, int32_t row) const;

    radimo_region_t region_{};
    uint32_t width_ = 0;
    uint32_t height_ = 0;
    int32_t row_begin_ = 0;
    int32_t row_end_ = 0;
    HeapBlock<double> crossings_;
};

}  // namespace radimo::regions
