// The kernels behind the rows of trimmed means (square_means.cpp): one set
// per target, each in a file of its own (square_means_<target>.cpp).
//
// Every kernel gives exactly the per-sample rule's values: the vector ones
// divide by multiplying with the float nearest 1/7 (or 1/3), which lies just
// above it: a multiple 7k gives a product at or above k, and 7k + 6 stays far
// below k + 1 (the quotient's fraction is at most 6/7, the errors below
// 2^-7), so truncation gives the integer quotient exactly for every sum of
// nine (or five) 16-bit samples.
#pragma once

#include <cstdint>

#include "frame/trimmed_mean.h"

namespace radimo::frame::kernels {

constexpr int kSquareSamples = 9;

// Means of n interior pixels of a row; a, b, c point at column x - 1 of the
// rows above, at and below the first output; columns up to x + n are read.
using InteriorFn = void (*)(const uint16_t *a, const uint16_t *b, const uint16_t *c, uint32_t n,
                            uint16_t *out);

// Five-sample means along a row; p points at column x - 2 of the first
// output; columns up to x + n + 1 are read.
using Row5Fn = void (*)(const uint16_t *p, uint32_t n, uint16_t *out);

// Extremes of up to 1024 means with the last position of each, and their sum.
struct ChunkStats {
    uint16_t max;
    uint16_t min;
    uint32_t max_at;
    uint32_t min_at;
    uint64_t sum;
};
using ReduceFn = ChunkStats (*)(const uint16_t *v, uint32_t n);

struct SquareMeans {
    InteriorFn interior;
    Row5Fn row5;
    ReduceFn reduce;
};

extern const SquareMeans kScalar;
extern const SquareMeans kSse2;  // x86-64 only
extern const SquareMeans kAvx2;  // x86-64 only
extern const SquareMeans kNeon;  // ARM only

// The per-sample rule at one interior pixel, and at one position of a row.
inline uint16_t interior_mean(const uint16_t *a, const uint16_t *b, const uint16_t *c) {
    const uint16_t s[kSquareSamples] = {a[0], a[1], a[2], b[0], b[1], b[2], c[0], c[1], c[2]};
    return trimmed_mean(s, kSquareSamples);
}

inline uint16_t row_mean5(const uint16_t *p) {
    return trimmed_mean(p, 5);
}

}  // namespace radimo::frame::kernels
