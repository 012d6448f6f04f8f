// Q14 transmittance from a caller's target-temperature x distance tau table
// in one of the three grid layouts that the correction-table record selects.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// Grids of one tau-table layout. Rows are target temperatures, columns are
// distances; the row stride is the number of distances.
struct TauLayout {
    const double *temps;
    const double *temp_steps;
    uint16_t temp_count;
    const double *dists;
    const double *dist_steps;
    uint16_t dist_count;
};

// The format field is compared as a number only: below 64, 64 to 256, above 256.
TauLayout tau_layout(uint16_t tau_format) {
    if (tau_format < 64) {
        return {target_temp_table, target_temp_table_diff, 56, dist_table, dist_table_diff, 64};
    }
    if (tau_format <= 256) {
        return {new_target_temp_table, new_target_temp_table_diff, 42,
                new_dist_table,        new_dist_table_diff,        88};
    }
    return {target_temp_table_v3, target_temp_table_diff_v3, 45, dist_table_v3, dist_table_diff_v3, 88};
}

}  // namespace

extern "C" {

int read_compatible_tau_with_target_temp_and_dist(const correct_table_t *param, uint16_t *tau,
                                                  float target_temp, float dist) {
    if (param == nullptr || tau == nullptr || param->tau_data == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const TauLayout g = tau_layout(param->tau_format);
    const int stride = g.dist_count;
    const int last_t = g.temp_count - 1;
    const int last_d = g.dist_count - 1;

    uint16_t ti = 0;
    uint16_t di = 0;
    if (get_compatible_target_temp_read_index(g.temps, g.temp_count, &ti, target_temp) != RADIMO_SUCCESS) {
        return RADIMO_ERR_TEMP_INDEX;
    }
    if (get_compatible_dist_read_index(g.dists, g.dist_count, &di, dist) != RADIMO_SUCCESS) {
        return RADIMO_ERR_DIST_INDEX;
    }

    // Row ti + 1, column di + 1 and the step tables (one entry fewer than
    // their grids) are read only in the cases that interpolate along them.
    const uint16_t *table = param->tau_data;
    const int base = ti * stride + di;
    const double t = target_temp;
    const double d = dist;
    const double q00 = table[base];
    double result = q00;
    if (ti < last_t && di < last_d) {
        const double t0 = g.temps[ti];
        const double t1 = g.temps[ti + 1];
        const double d0 = g.dists[di];
        const double d1 = g.dists[di + 1];
        const double dt = g.temp_steps[ti];
        const double dd = g.dist_steps[di];
        if (dt == 0.0) return RADIMO_ERR_TEMP_INDEX;
        if (dd == 0.0) return RADIMO_ERR_DIST_INDEX;
        const double q01 = table[base + 1];
        const double q10 = table[base + stride];
        const double q11 = table[base + stride + 1];
        result = (q00 * (t1 - t) * (d1 - d) + q01 * (t1 - t) * (d - d0) + q10 * (t - t0) * (d1 - d) +
                  q11 * (t - t0) * (d - d0)) /
                     (dt * dd) +
                 0.5;
    } else if (ti < last_t) {
        const double t0 = g.temps[ti];
        const double t1 = g.temps[ti + 1];
        const double dt = g.temp_steps[ti];
        if (dt == 0.0) return RADIMO_ERR_TEMP_INDEX;
        const double q10 = table[base + stride];
        result = (q00 * (t1 - t) + q10 * (t - t0)) / dt;
    } else if (di < last_d) {
        const double d0 = g.dists[di];
        const double d1 = g.dists[di + 1];
        const double dd = g.dist_steps[di];
        if (dd == 0.0) return RADIMO_ERR_DIST_INDEX;
        const double q01 = table[base + 1];
        result = (q01 * (d - d0) + q00 * (d1 - d)) / dd;
    }
    // Truncated toward zero; an extrapolated value keeps its low 16 bits.
    *tau = radimo::fx::low16(radimo::fx::trunc_i32(result));
    return RADIMO_SUCCESS;
}

}  // extern "C"
