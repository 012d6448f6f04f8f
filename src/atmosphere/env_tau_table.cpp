// The environment tau table ("correct table"): 4 humidity classes x 14
// ambient-temperature rows x 64 distance columns of Q14 transmittance,
// element (hum * 14 + temp) * 64 + dist.
#include <cstdint>

#include "atmosphere/tau_interp.h"
#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

constexpr uint16_t kTempRows = 14;

uint16_t element_index(uint16_t hum, uint16_t temp, uint16_t dist) {
    return static_cast<uint16_t>((hum * kTempRows + temp) * radimo::atmosphere::kDistColumns + dist);
}

}  // namespace

using namespace radimo::atmosphere;

extern "C" {

int write_tau(uint16_t *table, int tau_value, float hum, float ta, float dist) {
    if (table == nullptr) {
        RADIMO_ERROR("correct table is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    uint16_t h = 0;
    uint16_t t = 0;
    uint16_t d = 0;
    if (get_hum_index(&h, hum) != RADIMO_SUCCESS) return RADIMO_ERR_HUM_INDEX;
    if (get_temp_write_index(&t, ta) != RADIMO_SUCCESS) return RADIMO_ERR_TEMP_INDEX;
    if (get_dist_write_index(&d, dist) != RADIMO_SUCCESS) return RADIMO_ERR_DIST_INDEX;
    if (t == 64) {  // cannot occur; kept as a guard
        RADIMO_ERROR("distance index not found\n");
        return RADIMO_ERR_PARAM;
    }
    table[element_index(h, t, d)] = radimo::fx::low16(tau_value);
    return RADIMO_SUCCESS;
}

// Rows 0, 12 and 13 interpolate in distance only (an ambient temperature
// between -5 and 0 degC reads the -5 degC row alone, deliberately); rows
// 1..11 blend towards the next row. The result is truncated.
int read_tau(const uint16_t *table, uint16_t *tau, float hum, float ta, float dist) {
    if (table == nullptr || tau == nullptr) {
        RADIMO_ERROR("correct table is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    uint16_t h = 0;
    uint16_t t = 0;
    uint16_t d = 0;
    if (get_hum_index(&h, hum) != RADIMO_SUCCESS) return RADIMO_ERR_HUM_INDEX;
    if (get_temp_read_index(&t, ta) != RADIMO_SUCCESS) return RADIMO_ERR_TEMP_INDEX;
    if (get_dist_read_index(&d, dist) != RADIMO_SUCCESS) return RADIMO_ERR_DIST_INDEX;
    if (d == kDistColumns) {  // cannot occur; kept as a guard
        RADIMO_ERROR("distance index not found\n");
        return RADIMO_ERR_PARAM;
    }
    d = interval_column(d);
    const double d0 = dist_table[d];
    const double d1 = dist_table[d + 1];
    const uint16_t base = element_index(h, t, d);
    double value = 0.0;
    if (static_cast<uint16_t>(t - 1) > 10) {
        value = distance_lerp(table[base], table[base + 1], d0, d1, dist);
    } else {
        value = bilinear(table[base], table[base + 1], table[base + kDistColumns],
                         table[base + kDistColumns + 1], temp_table[t], temp_table[t + 1], ta, d0, d1, dist);
    }
    *tau = radimo::fx::trunc_u16(value);
    return RADIMO_SUCCESS;
}

}  // extern "C"
