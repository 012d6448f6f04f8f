// Brute-force region statistics: every pixel of the frame tested against the
// region's definition, one by one, the statistics taken the obvious way.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/frame_fixture.h"
#include "libradimo.h"

namespace radimo::test::region {

// Whether pixel (c, r) belongs to the region, straight from its definition.
bool holds(const radimo_region_t &region, int c, int r);

// The samples of the region in row-major order, with their positions.
struct Sample {
    uint16_t value;
    point_t at;
};
std::vector<Sample> samples(const TestFrame &f, const radimo_region_t &region, uint32_t sampling,
                            int first_row, int row_count);

// Statistics by the per-sample rule, 64-bit sums, the spread in long double.
radimo_region_stats_t stats(const std::vector<Sample> &s);

// numpy.percentile (linear) of sorted values, written out.
double percentile(const std::vector<double> &sorted, double percent);

}  // namespace radimo::test::region
