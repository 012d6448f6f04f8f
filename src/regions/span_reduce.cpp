// Run reductions through the kernel of the active target, and the counting
// of samples by value.
#include "regions/span_reduce.h"

#include "core/simd_target.h"
#include "regions/span_reduce_kernels.h"

namespace radimo::regions {

ReduceFn reduce_kernel() {
    static const ReduceFn fn =
        *simd::pick(&kernels::kReduceScalar, RADIMO_X86(kernels::kReduceSse2),
                    RADIMO_X86(kernels::kReduceAvx2), RADIMO_NEON(kernels::kReduceNeon));
    return fn;
}

void count_values(const uint16_t *v, uint32_t n, uint32_t *counts) {
    // Neighbouring samples of a thermal frame are often equal: a run of one
    // value costs one table update instead of a chain of dependent ones.
    uint32_t i = 0;
    while (i < n) {
        const uint16_t x = v[i];
        uint32_t j = i + 1;
        while (j < n && v[j] == x) ++j;
        counts[x] += j - i;
        i = j;
    }
}

}  // namespace radimo::regions
