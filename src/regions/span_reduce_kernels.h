// The kernels of the run reductions (span_reduce.cpp): one per target, each
// in a file of its own (span_reduce_<target>.cpp), all with the scalar
// kernel's results: the extremes with their last positions, the sum and the
// sum of squares, in exact integer arithmetic.
#pragma once

#include "regions/span_reduce.h"

namespace radimo::regions::kernels {

extern const ReduceFn kReduceScalar;
extern const ReduceFn kReduceSse2;  // x86-64 only
extern const ReduceFn kReduceAvx2;  // x86-64 only
extern const ReduceFn kReduceNeon;  // ARM only

}  // namespace radimo::regions::kernels
