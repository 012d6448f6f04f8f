// Run reduction one sample at a time: the kernel of every processor.
#include "core/simd_target.h"
#include "regions/span_reduce_kernels.h"

namespace radimo::regions::kernels {

namespace {

RADIMO_NO_AUTOVEC RunStats reduce_scalar(const uint16_t *v, uint32_t n) {
    RunStats s{0, 0xFFFF, 0, 0, 0, 0};
    RADIMO_SCALAR_LOOP
    for (uint32_t i = 0; i < n; ++i) {
        const uint32_t x = v[i];
        if (x >= s.max) s.max = static_cast<uint16_t>(x), s.max_at = i;
        if (x <= s.min) s.min = static_cast<uint16_t>(x), s.min_at = i;
        s.sum += x;
        s.sum_squares += x * x;
    }
    return s;
}

}  // namespace

const ReduceFn kReduceScalar = reduce_scalar;

}  // namespace radimo::regions::kernels
