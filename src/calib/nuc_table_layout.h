// Table lengths shared by the NUC-table rebuild and the one-point correction.
#pragma once

#include <cstdint>

#include "nuc/table_length.h"

namespace radimo::calib {

// Standard NUC table: indexed by NUC value >> 1.
using nuc::kStandardTableLen;
// Rebuild tables: the rebuild reads, reverses and writes this many entries
// (the length of a table indexed by the NUC value itself).
inline constexpr uint32_t kRebuildTableLen = nuc::kLongTableLen;
// Mirror of a NUC value in hot mode (16-bit arithmetic: 16384 - v).
inline constexpr uint16_t mirror_nuc(uint16_t v) {
    return static_cast<uint16_t>(kRebuildTableLen - v);
}

}  // namespace radimo::calib
