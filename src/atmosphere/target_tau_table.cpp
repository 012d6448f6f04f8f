// The target-temperature tau table: 56 target-temperature rows x 64
// distance columns of Q14 transmittance, element target * 64 + dist. On
// reading, a buffer whose bytes 4..7 are all 0xFF carries a 256-byte header
// and its values begin 256 bytes in; the writer knows no header.
#include <cstdint>

#include "atmosphere/tau_interp.h"
#include "core/fixed_point.h"
#include "core/message.h"
#include "core/units.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

constexpr uint16_t kTargetRows = 56;
constexpr uint16_t kHeaderWords = 128;  // 256 bytes

bool has_header(const uint16_t *table) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(table);
    return bytes[4] == 0xFF && bytes[5] == 0xFF && bytes[6] == 0xFF && bytes[7] == 0xFF;
}

}  // namespace

using namespace radimo::atmosphere;

extern "C" {

int write_tau_with_target_temp_and_dist(uint16_t *table, int tau_value, float temp, float dist) {
    if (table == nullptr) {
        RADIMO_ERROR("correct table is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    uint16_t ti = 0;
    uint16_t d = 0;
    const float kelvin = radimo::units::kelvin_float(temp);
    if (get_target_temp_write_index(&ti, kelvin) != RADIMO_SUCCESS) return RADIMO_ERR_TEMP_INDEX;
    if (ti == kTargetRows) {  // cannot occur; kept as a guard
        RADIMO_ERROR("target temperature index not found\n");
        return RADIMO_ERR_TEMP_INDEX;
    }
    if (get_dist_write_index(&d, dist) != RADIMO_SUCCESS) return RADIMO_ERR_DIST_INDEX;
    if (d == kDistColumns) {  // cannot occur; kept as a guard
        RADIMO_ERROR("distance index not found\n");
        return RADIMO_ERR_DIST_INDEX;
    }
    table[ti * kDistColumns + d] = radimo::fx::low16(tau_value);
    return RADIMO_SUCCESS;
}

// Rows 1..54 are bilinear and rounded to nearest; rows 0 and 55 read their
// own element in distance (the second term deliberately repeats the first
// element) and truncate. The last column of rows 0 and 55 is read from the
// start of the buffer without the header offset, kept for table
// compatibility.
int read_tau_with_target_temp_and_dist(const uint16_t *table, uint16_t *tau, float temp, float dist) {
    if (table == nullptr || tau == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const uint16_t *values = has_header(table) ? table + kHeaderWords : table;
    const float kelvin = radimo::units::kelvin_float(temp);
    uint16_t ti = 0;
    uint16_t d = 0;
    if (get_target_temp_read_index(&ti, kelvin) != RADIMO_SUCCESS) return RADIMO_ERR_TEMP_INDEX;
    if (get_dist_read_index(&d, dist) != RADIMO_SUCCESS) return RADIMO_ERR_DIST_INDEX;
    if (ti >= 1 && ti <= kTargetRows - 2) {
        const uint16_t c = interval_column(d);
        const int base = ti * kDistColumns + c;
        const double value =
            bilinear(values[base], values[base + 1], values[base + kDistColumns],
                     values[base + kDistColumns + 1], target_temp_table[ti], target_temp_table[ti + 1],
                     kelvin, dist_table[c], dist_table[c + 1], dist) +
            0.5;
        *tau = radimo::fx::trunc_u16(value);
    } else if (d <= kDistColumns - 2) {
        const uint16_t q = values[ti * kDistColumns + d];
        *tau = radimo::fx::trunc_u16(distance_lerp(q, q, dist_table[d], dist_table[d + 1], dist));
    } else {
        *tau = table[ti * kDistColumns + kDistColumns - 1];
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
