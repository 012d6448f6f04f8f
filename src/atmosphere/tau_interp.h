// Interpolation steps shared by the two tau table readers. Both work in
// double precision with the operation order the readers rely on; the caller
// truncates (or rounds) the result.
#pragma once

#include <cmath>
#include <cstdint>

namespace radimo::atmosphere {

// Columns of dist_table, the distance axis of both 64-column layouts.
inline constexpr uint16_t kDistColumns = 64;

// The left column of the interpolation interval of a read index. A read
// index of 63 (a distance within 0.0001 below 50 m) has no right neighbour:
// it interpolates on the last interval instead, which stays inside the grid
// and the table and gives the last column's value up to truncation.
inline uint16_t interval_column(uint16_t read_index) {
    return read_index >= kDistColumns - 1 ? static_cast<uint16_t>(kDistColumns - 2) : read_index;
}

// Linear in distance: q0 (d1 - v)/S + q1 (v - d0)/S with S = |d1 - d0|.
inline double distance_lerp(uint16_t q0, uint16_t q1, double d0, double d1, double v) {
    const double s = std::fabs(d1 - d0);
    return q0 * (d1 - v) / s + q1 * (v - d0) / s;
}

// Bilinear over a row pair (t0, t1) and a column pair (d0, d1); q10 and q11
// belong to row t1.
inline double bilinear(uint16_t q00, uint16_t q01, uint16_t q10, uint16_t q11, double t0, double t1, double t,
                       double d0, double d1, double d) {
    const double w = std::fabs(d1 - d0) * std::fabs(t1 - t0);
    return q00 * (t1 - t) * (d1 - d) / w + q01 * (t1 - t) * (d - d0) / w + q10 * (t - t0) * (d1 - d) / w +
           q11 * (t - t0) * (d - d0) / w;
}

}  // namespace radimo::atmosphere
