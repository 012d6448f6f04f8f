// The reverse lookup's scan, one entry at a time: the kernels of every processor.
#include "core/simd_target.h"
#include "nuc/reverse_search_kernels.h"

namespace radimo::nuc::kernels {

namespace {

template <bool kAbove>
RADIMO_NO_AUTOVEC uint32_t first_leaving(const uint16_t *table, uint32_t from, uint32_t len, uint16_t bound) {
    RADIMO_SCALAR_LOOP
    for (uint32_t j = from; j < len; ++j)
        if (leaves<kAbove>(table[j], bound)) return j;
    return len;
}

}  // namespace

const Leaving kScalar{first_leaving<false>, first_leaving<true>};

}  // namespace radimo::nuc::kernels
