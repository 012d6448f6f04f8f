// Index rules that map a humidity, ambient temperature, distance or target
// temperature onto the grids of the tau tables.
//
// Write indices pick the nearest grid point (a tie goes to the lower one);
// read indices pick the lower end of the interpolation interval. A NULL
// index pointer is refused with "data is NULL" and RADIMO_ERR_PARAM.
#include <cmath>
#include <cstdint>

#include "atmosphere/grid_index.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

using radimo::atmosphere::kGridTolerance;

// Nearest of the first `count` grid points: the first i with
// grid[i] - tol >= v, then the nearer of i - 1 and i; the last searched
// entry when none qualifies.
uint16_t nearest_index(const double *grid, int count, double v) {
    int i = 0;
    while (i < count && !(grid[i] - kGridTolerance >= v)) ++i;
    if (i == count) return static_cast<uint16_t>(count - 1);
    if (i == 0) return 0;
    return static_cast<uint16_t>(v - grid[i - 1] <= grid[i] - v ? i - 1 : i);
}

// Refuses a NULL index pointer under the caller's name.
bool index_missing(const char *caller, const uint16_t *index) {
    if (index != nullptr) return false;
    RADIMO_ERROR_FOR(caller, "data is NULL\n");
    return true;
}

}  // namespace

extern "C" {

int get_hum_index(uint16_t *index, float hum) {
    if (index_missing(__func__, index)) return RADIMO_ERR_PARAM;
    if (hum < 0.0 || hum > 1.0) {
        RADIMO_ERROR("humidity is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    // The middle comparison is single precision, the outer two double: the
    // float nearest 0.7 lies below the double 0.7 and stays in class 2.
    if (static_cast<double>(hum) < 0.3) {
        *index = 0;
    } else if (hum < 0.5f) {
        *index = 1;
    } else if (static_cast<double>(hum) < 0.7) {
        *index = 2;
    } else {
        *index = 3;
    }
    return RADIMO_SUCCESS;
}

// Only the first 13 rows are searched: the duplicate 55 degC row is never
// written. The range check reuses the distance writer's text on purpose.
int get_temp_write_index(uint16_t *index, float ta) {
    if (index_missing(__func__, index)) return RADIMO_ERR_PARAM;
    if (ta < -5.0f || ta > 55.0f) {
        RADIMO_ERROR("d is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    *index = nearest_index(temp_table, 13, ta);
    return RADIMO_SUCCESS;
}

int get_temp_read_index(uint16_t *index, float ta) {
    if (index_missing(__func__, index)) return RADIMO_ERR_PARAM;
    const double v = ta;
    if (std::fabs(v - temp_table[13]) < kGridTolerance) {
        *index = 13;  // exactly 55 degC reads the fourteenth row
        return RADIMO_SUCCESS;
    }
    if (ta < -5.0) {
        *index = 0;
        return RADIMO_SUCCESS;
    }
    if (ta > 55.0) {
        *index = 12;
        return RADIMO_SUCCESS;
    }
    uint16_t k = 1;
    while (k <= 12 && !(v <= temp_table[k] - kGridTolerance)) ++k;
    *index = static_cast<uint16_t>(k - 1);  // 12 when no row qualifies
    return RADIMO_SUCCESS;
}

int get_dist_write_index(uint16_t *index, float dist) {
    if (index_missing(__func__, index)) return RADIMO_ERR_PARAM;
    // Range checks on the widened float (the ambient-temperature writer's are single precision).
    if (0.2499 >= dist || dist >= 50.0001) {
        RADIMO_ERROR("d is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    *index = nearest_index(dist_table, 64, dist);
    return RADIMO_SUCCESS;
}

int get_dist_read_index(uint16_t *index, float dist) {
    if (index_missing(__func__, index)) return RADIMO_ERR_PARAM;
    if (dist < 0.25f || dist >= 50.0f) {
        RADIMO_ERROR("dist is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const double v = dist;
    uint16_t i = 0;
    while (i < 64 && !(v <= dist_table[i] - kGridTolerance)) ++i;
    // 63 when no column qualifies (a distance within 0.0001 below 50).
    *index = i == 0 ? 0 : static_cast<uint16_t>(i - 1);
    return RADIMO_SUCCESS;
}

int get_target_temp_write_index(uint16_t *index, float target_temp) {
    if (index_missing(__func__, index)) return RADIMO_ERR_PARAM;
    if (248.1499 >= target_temp || target_temp >= 1623.1501) {
        RADIMO_ERROR("target tempperature is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    *index = nearest_index(target_temp_table, 56, target_temp);
    return RADIMO_SUCCESS;
}

// The search stops at the last row (55): a target temperature above
// 1623.15 K reads that row instead of running past the grid.
int get_target_temp_read_index(uint16_t *index, float target_temp) {
    if (index_missing(__func__, index)) return RADIMO_ERR_PARAM;
    const double v = target_temp;
    if (v <= target_temp_table[0] - kGridTolerance) {
        *index = 0;
        return RADIMO_SUCCESS;
    }
    uint16_t i = 0;
    while (i < 55 && !(v <= target_temp_table[i + 1] - kGridTolerance)) ++i;
    *index = i;
    return RADIMO_SUCCESS;
}

}  // extern "C"
