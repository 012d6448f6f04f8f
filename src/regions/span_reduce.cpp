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
    // One increment per sample, with no branch: the noise of a thermal frame
    // makes runs of one value short and unpredictable, and a mispredicted
    // branch costs more than the increments a run would save. Four at a time,
    // so the loads run ahead of the read-modify-writes.
    uint32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const uint16_t a = v[i], b = v[i + 1], c = v[i + 2], d = v[i + 3];
        ++counts[a];
        ++counts[b];
        ++counts[c];
        ++counts[d];
    }
    for (; i < n; ++i) ++counts[v[i]];
}

}  // namespace radimo::regions
