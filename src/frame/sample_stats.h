// The per-sample rule shared by the line measurements.
//
// Starting from max 0 and min 65535, a sample at or above the maximum moves
// the maximum and its position, and a sample at or below the minimum moves the
// minimum and its position: on ties the last position in scan order wins, for
// both. Every sample also enters an unsigned 32-bit sum for the rounded average.
// The running values live in registers; the record receives them when the
// scan ends, whether it completes or stops at a failure (a failed scan leaves
// the partial results, as the sample-by-sample updates would).
#pragma once

#include <cstdint>

#include "libradimo.h"

namespace radimo::frame {

class SampleStats {
public:
    explicit SampleStats(temp_result_t &out)
        : out_(out), max_point_(out.max_temp_point), min_point_(out.min_temp_point) {
        out_.max_temp = 0;
        out_.min_temp = 0xFFFF;
    }
    ~SampleStats() {
        out_.max_temp = max_;
        out_.min_temp = min_;
        out_.max_temp_point = max_point_;
        out_.min_temp_point = min_point_;
    }
    SampleStats(const SampleStats &) = delete;
    SampleStats &operator=(const SampleStats &) = delete;

    void add(uint16_t value, point_t where) {
        if (value >= max_) {
            max_ = value;
            max_point_ = where;
        }
        if (value <= min_) {
            min_ = value;
            min_point_ = where;
        }
        sum_ += value;
    }

    // The state after a whole scan computed elsewhere (sum as the rule's
    // wrapping 32-bit sum).
    void set(uint16_t max, point_t max_point, uint16_t min, point_t min_point, uint32_t sum) {
        max_ = max;
        max_point_ = max_point;
        min_ = min;
        min_point_ = min_point;
        sum_ = sum;
    }

    // avg = (sum + n / 2) / n; n is never 0 (callers reject empty scans).
    void finish(uint32_t n) { out_.avg_temp = static_cast<uint16_t>((sum_ + n / 2) / n); }

private:
    temp_result_t &out_;
    uint16_t max_ = 0;
    uint16_t min_ = 0xFFFF;
    point_t max_point_;
    point_t min_point_;
    uint32_t sum_ = 0;
};

}  // namespace radimo::frame
