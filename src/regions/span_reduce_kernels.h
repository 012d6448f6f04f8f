// The kernels of the run reductions (span_reduce.cpp): one per target, each
// in a file of its own (span_reduce_<target>.cpp), all with the scalar
// kernel's results: the extremes with their last positions, the sum and the
// sum of squares, in exact integer arithmetic.
#pragma once

#include <cstdint>

#include "regions/span_reduce.h"

namespace radimo::regions::kernels {

// The samples v[i .. n - 1] a vector kernel leaves over, taken into s one at a time; an extreme
// met again there moves to its later position.
inline void reduce_tail(RunStats &s, const uint16_t *v, uint32_t i, uint32_t n) {
    for (; i < n; ++i) {
        const uint32_t x = v[i];
        if (x >= s.max) s.max = static_cast<uint16_t>(x), s.max_at = i;
        if (x <= s.min) s.min = static_cast<uint16_t>(x), s.min_at = i;
        s.sum += x;
        s.sum_squares += uint64_t{x} * x;
    }
}

extern const ReduceFn kReduceScalar;
extern const ReduceFn kReduceSse2;  // x86-64 only
extern const ReduceFn kReduceAvx2;  // x86-64 only
extern const ReduceFn kReduceNeon;  // ARM only

}  // namespace radimo::regions::kernels
