// Working view of a caller's raw correction table.
//
// The enhanced-distance functions receive the correction table as it is
// stored: a sequence of 16-bit words. Raw word N counts from 1. When words 3
// and 4 (bytes 4..7) are both 0xFFFF the table opens with a 256-byte header
// carrying the configuration, and the tau data follow it; otherwise the whole
// table is tau data and the configuration takes fixed defaults. Every entry
// point builds its view through raw_table_view(), on its own stack.
#pragma once

#include <cstdint>

#include "libradimo.h"

namespace radimo::radiometry {

inline constexpr uint16_t kRawHeaderMarker = 0xFFFF;
inline constexpr int kRawHeaderWords = 128;  // 256 bytes

// True when raw words 3 and 4 carry the header marker.
bool raw_table_has_header(const uint16_t *raw);

// The correction-table record that the compatibility readers, the humidity
// gate and the Kelvin dispatchers receive. With a header: raw words 1, 2,
// 5..12 fill the fields in order (hum enable/version then overridden by the
// format, see the .cpp) and the tau data begin at word 129. Without one:
// every field 0 except hum enable 1, hum version 1; tau data = table start.
correct_table_t raw_table_view(const uint16_t *raw);

}  // namespace radimo::radiometry
