// The scan kernels of the reverse NUC lookup (reverse_search.cpp): the
// first table entry that leaves one side of an integer bound. One set per
// target, each in a file of its own (reverse_search_<target>.cpp).
#pragma once

#include <cstdint>

namespace radimo::nuc::kernels {

// First index j in from .. len - 1 whose entry leaves a side of the target,
// or len: below `bound` (the entries were at or above it), or above `bound`
// (they were at or below it). A vector lane leaves the side where the
// unsigned saturating difference is non-zero.
using LeavingFn = uint32_t (*)(const uint16_t *table, uint32_t from, uint32_t len, uint16_t bound);

struct Leaving {
    LeavingFn below;  // first entry below the bound
    LeavingFn above;  // first entry above the bound
};

extern const Leaving kScalar;
extern const Leaving kSse2;  // x86-64 only
extern const Leaving kAvx2;  // x86-64 only
extern const Leaving kNeon;  // ARM only

template <bool kAbove>
inline bool leaves(uint16_t entry, uint16_t bound) {
    return kAbove ? entry > bound : entry < bound;
}

// The entries from j on, one by one: the vector kernels' tail.
template <bool kAbove>
inline uint32_t first_leaving_from(const uint16_t *table, uint32_t j, uint32_t len, uint16_t bound) {
    for (; j < len; ++j)
        if (leaves<kAbove>(table[j], bound)) return j;
    return len;
}

}  // namespace radimo::nuc::kernels
