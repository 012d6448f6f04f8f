// The per-sample rule shared by line and rectangle measurement.
//
// Starting from max 0 and min 65535, a sample at or above the maximum moves
// the maximum and its position, and a sample at or below the minimum moves the
// minimum and its position: on ties the last position in scan order wins, for
// both. Every sample also enters an unsigned 32-bit sum for the rounded average.
#pragma once

#include <cstdint>

#include "libradimo.h"

namespace radimo::frame {

class SampleStats {
public:
    explicit SampleStats(temp_result_t &out) : out_(out) {
        out_.max_temp = 0;
        out_.min_temp = 0xFFFF;
    }

    void add(uint16_t value, point_t where) {
        if (value >= out_.max_temp) {
            out_.max_temp = value;
            out_.max_temp_point = where;
        }
        if (value <= out_.min_temp) {
            out_.min_temp = value;
            out_.min_temp_point = where;
        }
        sum_ += value;
    }

    // avg = (sum + n / 2) / n; n is never 0 (callers reject empty scans).
    void finish(uint32_t n) { out_.avg_temp = static_cast<uint16_t>((sum_ + n / 2) / n); }

private:
    temp_result_t &out_;
    uint32_t sum_ = 0;
};

}  // namespace radimo::frame
