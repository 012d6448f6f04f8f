// A region's samples counted by value; percentiles, histograms and isotherm
// areas from the counts.
#include "regions/value_counts.h"

#include <cmath>

#include "core/message.h"
#include "libradimo.h"
#include "regions/region_scan.h"

namespace radimo::regions {

namespace {

// Counts are summed a block at a time, in independent partial sums: whole
// numbers, so the order of the additions cannot change the result.
constexpr uint32_t kBlock = 64;

uint64_t block_sum(const uint32_t *counts) {
    // Most blocks of a frame's table are empty (its values span a few hundred of the 65536): an OR
    // of the block, which vectorises, passes them over.
    uint32_t any[8] = {};
    for (uint32_t i = 0; i < kBlock; i += 8)
        for (uint32_t k = 0; k < 8; ++k) any[k] |= counts[i + k];
    if ((any[0] | any[1] | any[2] | any[3] | any[4] | any[5] | any[6] | any[7]) == 0) return 0;
    uint64_t part[8] = {};
    for (uint32_t i = 0; i < kBlock; i += 8)
        for (uint32_t k = 0; k < 8; ++k) part[k] += counts[i + k];
    return ((part[0] + part[1]) + (part[2] + part[3])) + ((part[4] + part[5]) + (part[6] + part[7]));
}

}  // namespace

uint64_t total_count(const uint32_t *counts) {
    uint64_t n = 0;
    for (uint32_t v = 0; v < kValues; v += kBlock) n += block_sum(counts + v);
    return n;
}

uint16_t value_at_rank(const uint32_t *counts, uint64_t rank) {
    uint64_t seen = 0;
    uint32_t v = 0;
    // Whole blocks whose samples all rank at or below `rank` are passed over;
    // the last block is always walked, so a rank beyond the samples gives 65535.
    for (; v + kBlock < kValues; v += kBlock) {
        const uint64_t block = block_sum(counts + v);
        if (seen + block > rank) break;
        seen += block;
    }
    for (; v < kValues - 1; ++v) {
        seen += counts[v];
        if (seen > rank) break;
    }
    return static_cast<uint16_t>(v);
}

}  // namespace radimo::regions

namespace {

constexpr const char *kLogModule = radimo::kModuleLibradimo;

}  // namespace

extern "C" {

int radimo_region_counts(const uint16_t *frame, uint32_t resolution, const radimo_region_t *region,
                         uint32_t sampling, uint32_t first_row, uint32_t row_count, uint32_t *counts) {
    radimo::regions::RegionWalker walker;
    radimo::frame_api::Band band;
    const int rc = radimo::regions::open_region(__func__, frame, counts, resolution, region, sampling,
                                                first_row, row_count, &walker, &band);
    if (rc != RADIMO_SUCCESS) return rc;
    radimo::regions::scan_samples(frame, resolution, walker, sampling, first_row, row_count,
                                  [&](const uint16_t *v, uint32_t n, int32_t, int32_t) {
                                      radimo::regions::count_values(v, n, counts);
                                  });
    return RADIMO_SUCCESS;
}

int radimo_counts_percentile(const uint32_t *counts, double percent, double *value) {
    if (counts == nullptr || value == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (!radimo::regions::percent_valid(percent)) {
        RADIMO_ERROR("percent is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const uint64_t n = radimo::regions::total_count(counts);
    if (n == 0) {
        RADIMO_ERROR("counts are empty\n");
        return RADIMO_ERR_PARAM;
    }
    const auto sample_at = [counts](uint64_t rank) { return radimo::regions::value_at_rank(counts, rank); };
    *value = radimo::regions::interpolated_percentile<uint16_t>(n, percent, sample_at);
    return RADIMO_SUCCESS;
}

int radimo_counts_histogram(const uint32_t *counts, const double *edges, uint32_t bin_count, uint64_t *bins) {
    if (counts == nullptr || edges == nullptr || bins == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (bin_count < 1 || bin_count > radimo::regions::kValues) {
        RADIMO_ERROR("bin count is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    for (uint32_t i = 0; i <= bin_count; ++i) {
        if (!std::isfinite(edges[i]) || (i > 0 && !(edges[i] > edges[i - 1]))) {
            RADIMO_ERROR("bin edges are invalid\n");
            return RADIMO_ERR_PARAM;
        }
    }
    for (uint32_t i = 0; i < bin_count; ++i) bins[i] = 0;
    uint32_t bin = 0;
    for (uint32_t v = 0; v < radimo::regions::kValues; ++v) {
        const double x = v;
        if (counts[v] == 0 || x < edges[0]) continue;
        if (x > edges[bin_count]) break;
        while (bin + 1 < bin_count && x >= edges[bin + 1]) ++bin;
        bins[bin] += counts[v];
    }
    return RADIMO_SUCCESS;
}

int radimo_counts_threshold(const uint32_t *counts, threshold_t threshold, uint64_t *above, uint64_t *below) {
    if (counts == nullptr || above == nullptr || below == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (threshold.high < threshold.low) {
        RADIMO_ERROR("threshold is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    uint64_t hot = 0;
    uint64_t cold = 0;
    for (int32_t v = 0; v < static_cast<int32_t>(radimo::regions::kValues); ++v) {
        if (v > threshold.high) hot += counts[v];
        if (v < threshold.low) cold += counts[v];
    }
    *above = hot;
    *below = cold;
    return RADIMO_SUCCESS;
}

}  // extern "C"
