// Lengths of NUC tables accepted by the table-length lookups.
#pragma once

#include <cstdint>

#include "core/fixed_point.h"

namespace radimo::nuc {

inline constexpr uint32_t kStandardTableLen = 8192;  // indexed by NUC value / 2
inline constexpr uint32_t kLongTableLen = 16384;     // indexed by the NUC value itself

// Only the low 16 bits of a length argument count: (len - 8192) with bit 13
// cleared must have zero low 16 bits, which accepts 8192 and 16384 (mod 65536).
constexpr bool table_len_valid(uint32_t len) {
    return ((len - kStandardTableLen) & ~0x2000u & 0xFFFFu) == 0;
}

// The effective length of an accepted argument: 8192 or 16384.
constexpr uint32_t table_len_of(uint32_t len) {
    return fx::low16(len);
}

}  // namespace radimo::nuc
