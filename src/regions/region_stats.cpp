// Region bounds and the streaming statistics of a region's samples.
#include <cmath>

#include "core/message.h"
#include "frame_api/band.h"
#include "libradimo.h"
#include "regions/region_scan.h"

namespace {

using radimo::regions::RegionWalker;
using radimo::regions::Span;

constexpr const char *kLogModule = radimo::kModuleLibradimo;
constexpr point_t kNoPoint{-1, -1};

// count * sum_squares - sum^2, exactly (a 128-bit difference), as a double.
double spread_numerator(uint64_t count, uint64_t sum, uint64_t sum_squares) {
    struct Wide {
        uint64_t high;
        uint64_t low;
    };
    const auto multiply = [](uint64_t a, uint64_t b) {
        const uint64_t a0 = a & 0xFFFFFFFFu, a1 = a >> 32, b0 = b & 0xFFFFFFFFu, b1 = b >> 32;
        const uint64_t p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0, p11 = a1 * b1;
        const uint64_t middle = (p00 >> 32) + (p01 & 0xFFFFFFFFu) + (p10 & 0xFFFFFFFFu);
        return Wide{p11 + (p01 >> 32) + (p10 >> 32) + (middle >> 32), (middle << 32) | (p00 & 0xFFFFFFFFu)};
    };
    const Wide a = multiply(count, sum_squares);
    const Wide b = multiply(sum, sum);  // never above a (Cauchy-Schwarz)
    const uint64_t low = a.low - b.low;
    const uint64_t high = a.high - b.high - (a.low < b.low ? 1 : 0);
    return std::ldexp(static_cast<double>(high), 64) + static_cast<double>(low);
}

void finish(radimo_region_stats_t *s) {
    if (s->count == 0) {
        s->mean = 0;
        s->stddev = 0;
        return;
    }
    const double n = static_cast<double>(s->count);
    s->mean = static_cast<double>(s->sum) / n;
    s->stddev = std::sqrt(spread_numerator(s->count, s->sum, s->sum_squares) / n / n);
}

}  // namespace

extern "C" {

int radimo_region_bounds(uint32_t resolution, const radimo_region_t *region, point_t *origin,
                         rect_size_t *size, uint64_t *count) {
    if (region == nullptr || origin == nullptr || size == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::frame_api::Band band;
    if (!radimo::frame_api::band_valid(__func__, kLogModule, resolution, 0, 0, &band))
        return RADIMO_ERR_PARAM;
    RegionWalker walker;
    const int rc = walker.open(__func__, band.width, band.height, *region);
    if (rc != RADIMO_SUCCESS) return rc;
    int32_t x0 = INT32_MAX, x1 = -1, y0 = INT32_MAX, y1 = -1;
    uint64_t pixels = 0;
    for (int32_t y = walker.row_begin(); y < walker.row_end(); ++y) {
        walker.for_each_span(y, [&](Span s) {
            x0 = s.begin < x0 ? s.begin : x0;
            x1 = s.end > x1 ? s.end : x1;
            y0 = y < y0 ? y : y0;
            y1 = y + 1;
            pixels += static_cast<uint64_t>(s.end - s.begin);
        });
    }
    *origin = point_t{x0, y0};
    *size = rect_size_t{x1 - x0, y1 - y0};
    if (count != nullptr) *count = pixels;
    return RADIMO_SUCCESS;
}

int radimo_region_stats(const uint16_t *frame, uint32_t resolution, const radimo_region_t *region,
                        uint32_t sampling, uint32_t first_row, uint32_t row_count,
                        radimo_region_stats_t *stats) {
    RegionWalker walker;
    radimo::frame_api::Band band;
    const int rc = radimo::regions::open_region(__func__, frame, stats, resolution, region, sampling,
                                                first_row, row_count, &walker, &band);
    if (rc != RADIMO_SUCCESS) return rc;
    radimo_region_stats_t s{0, 0xFFFF, kNoPoint, kNoPoint, 0, 0, 0, 0, 0};
    const radimo::regions::ReduceFn reduce = radimo::regions::reduce_kernel();
    radimo::regions::scan_samples(
        frame, resolution, walker, sampling, first_row, row_count,
        [&](const uint16_t *v, uint32_t n, int32_t x, int32_t y) {
            const radimo::regions::RunStats r = reduce(v, n);
            // Later runs come later in scan order: ties move the positions.
            if (r.max >= s.max) s.max = r.max, s.max_point = {x + static_cast<int32_t>(r.max_at), y};
            if (r.min <= s.min) s.min = r.min, s.min_point = {x + static_cast<int32_t>(r.min_at), y};
            s.sum += r.sum;
            s.sum_squares += r.sum_squares;
            s.count += n;
        });
    finish(&s);
    *stats = s;
    return RADIMO_SUCCESS;
}

int radimo_region_stats_merge(radimo_region_stats_t *first, const radimo_region_stats_t *later) {
    if (first == nullptr || later == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::frame_api::merge_extremes(first, *later);
    first->count += later->count;
    first->sum += later->sum;
    first->sum_squares += later->sum_squares;
    finish(first);
    return RADIMO_SUCCESS;
}

}  // extern "C"
