// A region's statistics as object temperatures under the region's own scene.
//
// The correction depends only on the sample value, so the region is first
// counted by value; each value present is corrected once, and every statistic
// is a sum over the distinct values, in value order (independent of the
// frame's layout). Only the positions of the extremes need the pixels again.
#include <algorithm>
#include <cmath>

#include "core/heap_block.h"
#include "core/message.h"
#include "core/units.h"
#include "libradimo.h"
#include "radiometry/enhanced_distance.h"
#include "radiometry/raw_table_view.h"
#include "regions/region_scan.h"
#include "regions/value_counts.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleLibradimo;
using radimo::regions::kValues;

}  // namespace

extern "C" {

int radimo_region_object_stats(const env_correct_param_t *scene, const uint16_t *correct_table,
                               const uint16_t *frame, uint32_t resolution, const radimo_region_t *region,
                               uint32_t sampling, const double *percents, uint32_t percent_count,
                               double *percentiles, radimo_region_object_stats_t *stats) {
    using namespace radimo::radiometry;
    if (scene == nullptr || correct_table == nullptr ||
        (percent_count != 0 && (percents == nullptr || percentiles == nullptr))) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::regions::RegionWalker walker;
    radimo::frame_api::Band band;
    int rc = radimo::regions::open_region(__func__, frame, stats, resolution, region, sampling, 0, 0, &walker,
                                          &band);
    if (rc != RADIMO_SUCCESS) return rc;
    if (!scene_finite(__func__, *scene) ||
        !scene_valid(__func__, scene, correct_table, stats, DistanceBound::kUpTo1000m))
        return RADIMO_ERR_PARAM;
    for (uint32_t i = 0; i < percent_count; ++i) {
        if (!radimo::regions::percent_valid(percents[i])) {
            RADIMO_ERROR("percent is invalid\n");
            return RADIMO_ERR_PARAM;
        }
    }

    radimo::HeapBlock<uint32_t> counts;
    const radimo::HeapBlock<float> object(kValues);
    const radimo::HeapBlock<uint16_t> order(kValues);
    radimo::HeapBlock<uint8_t> role;
    if (!counts.allocate_zeroed(kValues) || !object || !order || !role.allocate_zeroed(kValues)) {
        RADIMO_ERROR("alloc working memory failed\n");
        return RADIMO_ERR_ALLOC;
    }
    radimo::regions::scan_samples(frame, resolution, walker, sampling, 0, band.height,
                                  [&](const uint16_t *v, uint32_t n, int32_t, int32_t) {
                                      radimo::regions::count_values(v, n, counts.get());
                                  });

    // Each value present, corrected once; the values in order of their
    // object temperature (ties by value).
    const correct_table_t view = raw_table_view(correct_table);
    uint32_t distinct = 0;
    for (uint32_t v = 0; v < kValues; ++v) {
        if (counts[v] == 0) continue;
        rc = enhanced_forward(__func__, view, *scene,
                              radimo::units::celsius_of_sixteenths(static_cast<uint16_t>(v)), &object[v]);
        if (rc != RADIMO_SUCCESS) return rc;
        order[distinct++] = static_cast<uint16_t>(v);
    }
    std::sort(order.get(), order.get() + distinct, [&](uint16_t a, uint16_t b) {
        return object[a] < object[b] || (object[a] == object[b] && a < b);
    });

    radimo_region_object_stats_t s{};
    s.min = object[order[0]];
    s.max = object[order[distinct - 1]];
    double sum = 0;
    for (uint32_t i = 0; i < distinct; ++i) {
        const uint16_t v = order[i];
        s.count += counts[v];
    }
    for (uint32_t v = 0; v < kValues; ++v)
        if (counts[v] != 0) sum += static_cast<double>(counts[v]) * object[v];
    const double n = static_cast<double>(s.count);
    s.mean = sum / n;
    double spread = 0;
    for (uint32_t v = 0; v < kValues; ++v) {
        if (counts[v] == 0) continue;
        const double d = object[v] - s.mean;
        spread += static_cast<double>(counts[v]) * d * d;
    }
    s.stddev = std::sqrt(spread / n);

    const auto sample_at = [&](uint64_t rank) {
        uint64_t seen = 0;
        uint32_t i = 0;
        for (; i + 1 < distinct; ++i) {
            seen += counts[order[i]];
            if (seen > rank) break;
        }
        return object[order[i]];
    };
    for (uint32_t i = 0; i < percent_count; ++i)
        percentiles[i] = radimo::regions::interpolated_percentile<float>(s.count, percents[i], sample_at);

    // The positions: the last sample (row-major) of a value at each extreme.
    for (uint32_t i = 0; i < distinct; ++i) {
        const uint16_t v = order[i];
        role[v] = static_cast<uint8_t>((object[v] == s.max ? 1 : 0) | (object[v] == s.min ? 2 : 0));
    }
    radimo::regions::scan_samples(frame, resolution, walker, sampling, 0, band.height,
                                  [&](const uint16_t *v, uint32_t count, int32_t x, int32_t y) {
                                      for (uint32_t i = 0; i < count; ++i) {
                                          const uint8_t r = role[v[i]];
                                          if (r & 1) s.max_point = {x + static_cast<int32_t>(i), y};
                                          if (r & 2) s.min_point = {x + static_cast<int32_t>(i), y};
                                      }
                                  });
    *stats = s;
    return RADIMO_SUCCESS;
}

}  // extern "C"
