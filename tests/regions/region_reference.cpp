#include "region_reference.h"

#include <cmath>

namespace radimo::test::region {

bool holds(const radimo_region_t &g, int c, int r) {
    switch (g.shape) {
        case RADIMO_REGION_RECT:
            return c >= g.origin.x && c < int64_t{g.origin.x} + g.size.w && r >= g.origin.y &&
                   r < int64_t{g.origin.y} + g.size.h;
        case RADIMO_REGION_ELLIPSE: {
            const double a = (c - g.cx) / g.rx, b = (r - g.cy) / g.ry;
            return a * a + b * b <= 1.0;
        }
        case RADIMO_REGION_POLYGON: {
            bool inside = false;
            const uint32_t n = g.vertex_count;
            for (uint32_t k = 0; k < n; ++k) {
                const double x0 = g.vertices[2 * k], y0 = g.vertices[2 * k + 1];
                const double x1 = g.vertices[2 * ((k + 1) % n)], y1 = g.vertices[2 * ((k + 1) % n) + 1];
                if ((y0 > r) != (y1 > r) && c < x0 + (r - y0) * (x1 - x0) / (y1 - y0)) inside = !inside;
            }
            return inside;
        }
        default:
            return false;  // masks are read by the caller, who knows the width
    }
}

std::vector<Sample> samples(const TestFrame &f, const radimo_region_t &region, uint32_t sampling,
                            int first_row, int row_count) {
    std::vector<Sample> out;
    for (int r = first_row; r < first_row + row_count; ++r) {
        for (int c = 0; c < f.width; ++c) {
            const bool in = region.shape == RADIMO_REGION_MASK ? region.mask[size_t(r) * f.width + c] != 0
                                                               : holds(region, c, r);
            if (!in) continue;
            uint16_t v = f.at(c, r);
            if (sampling == RADIMO_SAMPLE_MEAN3) get_point_temp(f.data(), f.resolution(), {c, r}, &v);
            out.push_back({v, {c, r}});
        }
    }
    return out;
}

radimo_region_stats_t stats(const std::vector<Sample> &s) {
    radimo_region_stats_t r{0, 0xFFFF, {-1, -1}, {-1, -1}, 0, 0, 0, 0, 0};
    for (const Sample &x : s) {
        if (x.value >= r.max) r.max = x.value, r.max_point = x.at;
        if (x.value <= r.min) r.min = x.value, r.min_point = x.at;
        r.sum += x.value;
        r.sum_squares += uint64_t{x.value} * x.value;
        ++r.count;
    }
    if (r.count != 0) {
        r.mean = double(r.sum) / double(r.count);
        long double spread = 0;
        for (const Sample &x : s)
            spread += (x.value - (long double)r.sum / r.count) * (x.value - (long double)r.sum / r.count);
        r.stddev = double(std::sqrt(spread / r.count));
    }
    return r;
}

double percentile(const std::vector<double> &v, double percent) {
    const double rank = double(v.size() - 1) * (percent / 100.0);
    const size_t lo = size_t(std::floor(rank));
    const size_t hi = std::min(lo + 1, v.size() - 1);
    const double t = rank - double(lo), d = v[hi] - v[lo];
    return t >= 0.5 ? v[hi] - d * (1 - t) : v[lo] + d * t;
}

}  // namespace radimo::test::region
