// The per-call rules written out literally, sample by sample, through the
// neighbourhood extractors: the references the library's row-wise and
// whole-frame paths are compared with (also used by the benchmarks).
#pragma once

#include <cstdint>

#include "libradimo.h"

namespace radimo::test::literal {

// Per-sample rule over a valid rectangle (3x3 means) with the unsigned 32-bit
// sum; *sum64 receives the sum without wrapping.
void rect(const uint16_t *frame, uint32_t resolution, point_t origin, rect_size_t size, temp_result_t *out,
          uint64_t *sum64 = nullptr);

// A line function's scan: horizontal (kind 0), vertical (1) or slanted (2),
// through the extractors and the per-sample rule, with the failure lines and
// codes of the line functions.
int line(int kind, const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
         temp_result_t *out);

}  // namespace radimo::test::literal
