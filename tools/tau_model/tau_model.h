// Realistic tau tables for tests and tools (not part of libradimo.so).
//
// Model: the two-band water-vapour transmittance
//
//     tau(d, w) = X exp(-sqrt(d) (a1 + b1 sqrt(w))) + (1 - X) exp(-sqrt(d) (a2 + b2 sqrt(w)))
//
// with d the path length in metres and w the water-vapour content of the
// air, taken as the partial vapour pressure in hPa: w = hum * es(t), es the
// Magnus saturation vapour pressure 6.112 exp(17.67 t / (t + 243.5)) hPa at
// air temperature t (degC). The constants of kDefaultBands give tau near
// 0.99 at 1 m and near 0.7 at 1000 m in humid air (25 degC, 60 %); a
// weaker band (b1) and a stronger band (b2) make tau fall steeply at first
// and slowly later, as measured transmittance does.
//
// Target temperature: a hotter target radiates more of its energy at
// shorter wavelengths, where water vapour absorbs a little more within the
// camera's band. The model scales both absorption coefficients by the mild
// band-shift factor s(T) = 1 + 0.05 ln(T / 300 K), so target-temperature
// tables fall slightly along the temperature axis (about 8 % more
// absorption at 1623 K than at 300 K).
//
// Tables are quantised to Q14 (16384 = 1.0) by rounding to nearest.
#pragma once

#include <cstddef>
#include <cstdint>

namespace radimo::tau_model {

struct BandConstants {
    double x;   // weight of the first band
    double a1;  // first band: dry absorption, 1/sqrt(m)
    double b1;  // first band: water-vapour absorption, 1/(sqrt(m) sqrt(hPa))
    double a2;  // second band: dry absorption
    double b2;  // second band: water-vapour absorption
};

inline constexpr BandConstants kDefaultBands{0.6, 0.003, 0.001, 0.008, 0.0025};

// Magnus saturation vapour pressure over water, hPa.
double saturation_vapour_pressure(double air_temp_c);
// Water-vapour content w (partial vapour pressure, hPa) of air at a relative humidity 0..1.
double water_vapour_content(double rel_hum, double air_temp_c);
// Band-shift factor s(T) of a target temperature in kelvin.
double band_shift(double target_temp_k);
// Model transmittance 0..1; shift multiplies both absorption coefficients.
double transmittance(double dist_m, double rel_hum, double air_temp_c, double shift = 1.0,
                     const BandConstants &bands = kDefaultBands);
// Q14 value of a transmittance, rounded to nearest and limited to 0..65535.
uint16_t to_q14(double tau);

// Environment layout: 4 humidity classes x 14 ambient rows (temp_table) x 64
// distances (dist_table), element (class * 14 + row) * 64 + column.
inline constexpr std::size_t kEnvTableSize = 4 * 14 * 64;
// Humidity that stands for each class of the environment layout.
inline constexpr double kClassHumidity[4] = {0.15, 0.40, 0.60, 0.85};
void fill_env_table(uint16_t *table);

// Target-temperature layouts: rows of target temperature (K), columns of distance.
enum class TargetLayout {
    kStandard,  // 56 x 64: target_temp_table x dist_table
    kNew,       // 42 x 88: new_target_temp_table x new_dist_table
    kV3,        // 45 x 88: target_temp_table_v3 x dist_table_v3
};
struct LayoutGrids {
    const double *temps;
    std::size_t temp_count;
    const double *dists;
    std::size_t dist_count;
};
LayoutGrids layout_grids(TargetLayout layout);
std::size_t target_table_size(TargetLayout layout);

// Air in which a target-temperature table is measured.
struct ReferenceAir {
    double rel_hum = 0.5;
    double air_temp_c = 25.0;
};
void fill_target_table(TargetLayout layout, uint16_t *values, ReferenceAir air = {});

// Configuration words of a raw correction table's 256-byte header. Raw
// word N counts from 1: word 1 header_id, 2 format, 3 and 4 the 0xFFFF
// marker, 5/6 ems enable/version, 7/8 hum enable/version, 9/10 reserved,
// 11/12 reflected-temperature enable/version; the rest of the header is 0.
struct RawHeader {
    uint16_t header_id = 0;
    uint16_t format = 0;
    uint16_t ems_enable = 0;
    uint16_t ems_version = 0;
    uint16_t hum_enable = 0;
    uint16_t hum_version = 0;
    uint16_t reserved_a = 0;
    uint16_t reserved_b = 0;
    uint16_t reflected_enable = 0;
    uint16_t reflected_version = 0;
};
inline constexpr std::size_t kRawHeaderWords = 128;  // 256 bytes
void write_raw_header(const RawHeader &header, uint16_t *raw);
// Words of a raw table: the header followed by the layout's values.
std::size_t raw_table_size(TargetLayout layout);
void fill_raw_correction_table(TargetLayout layout, const RawHeader &header, uint16_t *raw,
                               ReferenceAir air = {});

}  // namespace radimo::tau_model
