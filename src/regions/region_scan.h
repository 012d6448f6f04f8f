// The checks every region function starts with, and the walk over a region's
// samples in row-major order.
#pragma once

#include <cstdint>

#include "frame/frame_geometry.h"
#include "frame/square_means.h"
#include "frame_api/band.h"
#include "libradimo.h"
#include "regions/region_shape.h"
#include "regions/span_reduce.h"

namespace radimo::regions {

// Checks, in order, the pointers (frame, out, region: "data is NULL"), the
// resolution and row band, the sampling and the region; prints the refusal
// under `caller` and returns its code, or RADIMO_SUCCESS with walker and band set.
int open_region(const char *caller, const uint16_t *frame, const void *out, uint32_t resolution,
                const radimo_region_t *region, uint32_t sampling, uint32_t first_row, uint32_t row_count,
                RegionWalker *walker, frame_api::Band *band);

// Calls fn(samples, n, x, y) for the region's samples in rows first_row ..
// first_row + row_count - 1, in row-major order and runs of 1 .. kReduceChunk
// samples: samples[i] is the sample of column x + i of row y (the pixel's
// value, or its 3x3 trimmed mean).
template <typename Fn>
void scan_samples(const uint16_t *frame, uint32_t resolution, const RegionWalker &walker, uint32_t sampling,
                  uint32_t first_row, uint32_t row_count, Fn &&fn) {
    const frame::Geometry g = frame::decode(resolution);
    uint16_t means[kReduceChunk];
    int32_t y = static_cast<int32_t>(first_row);
    const int32_t y_end = static_cast<int32_t>(first_row + row_count);
    if (y < walker.row_begin()) y = walker.row_begin();
    for (; y < y_end && y < walker.row_end(); ++y) {
        const uint16_t *row = frame + static_cast<size_t>(y) * g.width;
        walker.for_each_span(y, [&](Span s) {
            for (int32_t x = s.begin; x < s.end; x += static_cast<int32_t>(kReduceChunk)) {
                const int32_t left = s.end - x;
                const uint32_t n =
                    left < static_cast<int32_t>(kReduceChunk) ? static_cast<uint32_t>(left) : kReduceChunk;
                if (sampling == RADIMO_SAMPLE_PIXEL) {
                    fn(row + x, n, x, y);
                } else {
                    frame::square_means_row(frame, g, y, x, x + static_cast<int32_t>(n), means);
                    fn(static_cast<const uint16_t *>(means), n, x, y);
                }
            }
        });
    }
}

}  // namespace radimo::regions
