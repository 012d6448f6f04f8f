#include "tau_model.h"

#include <cmath>

#include "libradimo.h"

namespace radimo::tau_model {

namespace {
constexpr std::size_t kEnvRows = 14;
constexpr std::size_t kEnvColumns = 64;
static_assert(4 * kEnvRows * kEnvColumns == kEnvTableSize);
}  // namespace

double saturation_vapour_pressure(double air_temp_c) {
    return 6.112 * std::exp(17.67 * air_temp_c / (air_temp_c + 243.5));
}

double water_vapour_content(double rel_hum, double air_temp_c) {
    return rel_hum * saturation_vapour_pressure(air_temp_c);
}

double band_shift(double target_temp_k) {
    return 1.0 + 0.05 * std::log(target_temp_k / 300.0);
}

double transmittance(double dist_m, double rel_hum, double air_temp_c, double shift, const BandConstants &b) {
    const double root_d = std::sqrt(dist_m);
    const double root_w = std::sqrt(water_vapour_content(rel_hum, air_temp_c));
    const double k1 = shift * (b.a1 + b.b1 * root_w);
    const double k2 = shift * (b.a2 + b.b2 * root_w);
    return b.x * std::exp(-root_d * k1) + (1.0 - b.x) * std::exp(-root_d * k2);
}

uint16_t to_q14(double tau) {
    const double q = std::round(tau * 16384.0);
    if (!(q > 0.0)) return 0;
    return q > 65535.0 ? 65535 : static_cast<uint16_t>(q);
}

void fill_env_table(uint16_t *table) {
    for (std::size_t h = 0; h < 4; ++h) {
        for (std::size_t t = 0; t < kEnvRows; ++t) {
            for (std::size_t d = 0; d < kEnvColumns; ++d) {
                table[(h * kEnvRows + t) * kEnvColumns + d] =
                    to_q14(transmittance(dist_table[d], kClassHumidity[h], temp_table[t]));
            }
        }
    }
}

LayoutGrids layout_grids(TargetLayout layout) {
    switch (layout) {
        case TargetLayout::kNew:
            return {new_target_temp_table, 42, new_dist_table, 88};
        case TargetLayout::kV3:
            return {target_temp_table_v3, 45, dist_table_v3, 88};
        case TargetLayout::kStandard:
        default:
            return {target_temp_table, 56, dist_table, 64};
    }
}

std::size_t target_table_size(TargetLayout layout) {
    const LayoutGrids g = layout_grids(layout);
    return g.temp_count * g.dist_count;
}

void fill_target_table(TargetLayout layout, uint16_t *values, ReferenceAir air) {
    const LayoutGrids g = layout_grids(layout);
    for (std::size_t t = 0; t < g.temp_count; ++t) {
        const double shift = band_shift(g.temps[t]);
        for (std::size_t d = 0; d < g.dist_count; ++d) {
            values[t * g.dist_count + d] =
                to_q14(transmittance(g.dists[d], air.rel_hum, air.air_temp_c, shift));
        }
    }
}

void write_raw_header(const RawHeader &header, uint16_t *raw) {
    for (std::size_t i = 0; i < kRawHeaderWords; ++i) raw[i] = 0;
    // Index = raw word number - 1.
    raw[0] = header.header_id;
    raw[1] = header.format;
    raw[2] = 0xFFFF;
    raw[3] = 0xFFFF;
    raw[4] = header.ems_enable;
    raw[5] = header.ems_version;
    raw[6] = header.hum_enable;
    raw[7] = header.hum_version;
    raw[8] = header.reserved_a;
    raw[9] = header.reserved_b;
    raw[10] = header.reflected_enable;
    raw[11] = header.reflected_version;
}

std::size_t raw_table_size(TargetLayout layout) {
    return kRawHeaderWords + target_table_size(layout);
}

void fill_raw_correction_table(TargetLayout layout, const RawHeader &header, uint16_t *raw,
                               ReferenceAir air) {
    write_raw_header(header, raw);
    fill_target_table(layout, raw + kRawHeaderWords, air);
}

}  // namespace radimo::tau_model
