// The exact distribution of a region's samples: a count per 16-bit value,
// and the ranks and percentiles read from it.
#pragma once

#include <cstdint>

namespace radimo::regions {

inline constexpr uint32_t kValues = 65536;

// Sum of the 65536 counts.
uint64_t total_count(const uint32_t *counts);

// Valid percent: 0 .. 100 (false for NaN).
inline bool percent_valid(double percent) {
    return percent >= 0.0 && percent <= 100.0;
}

// Linear interpolation between the samples at two neighbouring ranks, as
// numpy.percentile does it: the fractional rank of `percent` among n samples,
// then the lower sample moved towards the upper one (from the upper one for
// fractions of one half and more). sample_at(k) gives the k-th smallest
// sample (0-based) as a T; the difference is taken in T.
template <typename T, typename SampleAt>
double interpolated_percentile(uint64_t n, double percent, SampleAt &&sample_at) {
    const double rank = static_cast<double>(n - 1) * (percent / 100.0);
    uint64_t below = static_cast<uint64_t>(rank);  // floor: rank >= 0
    if (below > n - 1) below = n - 1;
    const uint64_t above = below + 1 < n ? below + 1 : below;
    const double t = rank - static_cast<double>(below);
    const T a = sample_at(below);
    const T b = sample_at(above);
    const T diff = static_cast<T>(b - a);
    if (t >= 0.5) return static_cast<double>(b) - static_cast<double>(diff) * (1.0 - t);
    return static_cast<double>(a) + static_cast<double>(diff) * t;
}

}  // namespace radimo::regions
