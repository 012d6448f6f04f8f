// Reductions of a run of samples: extremes with their last positions, the
// sum and the sum of squares; and the counting of samples by value. One
// kernel per target, identical results.
#pragma once

#include <cstdint>

namespace radimo::regions {

// At most this many samples per reduce() call (the lane sums cannot overflow).
inline constexpr uint32_t kReduceChunk = 1024;

struct RunStats {
    uint16_t max;
    uint16_t min;
    uint32_t max_at;  // last index of max
    uint32_t min_at;  // last index of min
    uint64_t sum;
    uint64_t sum_squares;
};

// v[0 .. n - 1], 1 <= n <= kReduceChunk.
using ReduceFn = RunStats (*)(const uint16_t *v, uint32_t n);
ReduceFn reduce_kernel();

// counts[v[i]] += 1 for i < n.
void count_values(const uint16_t *v, uint32_t n, uint32_t *counts);

}  // namespace radimo::regions
