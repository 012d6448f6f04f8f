// Where a value falls in a grid of the compatibility tables: target
// temperatures and distances of the tau tables, target temperatures and
// emissivities of the emissivity tables.
//
// The float argument is widened to double and compared with the grid in
// double precision. A value up to 0.0001 below a grid point already counts
// as lying at that point, which absorbs the single-precision grids that the
// distance generators write.
#include <cmath>
#include <cstdint>

#include "atmosphere/grid_index.h"
#include "core/message.h"
#include "libradimo.h"
#include "radiometry/compat_index.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

using radimo::atmosphere::kGridTolerance;
using radimo::radiometry::kIndexLower;
using radimo::radiometry::kIndexNearest;

// Nearest-point rule: a value this close to the middle of its interval is a
// tie, and ties go to the upper point.
constexpr double kTieTolerance = 1e-5;

// Lower neighbour of v in the tau grids once v is known not to lie below
// grid[0]: the first i in 1..count-1 with v <= grid[i] - tolerance gives
// i - 1; at or above the last point (or when no point qualifies) the last
// index.
uint16_t lower_neighbour_in_tau_grid(const double *grid, uint16_t count, double v) {
    const uint16_t last = static_cast<uint16_t>(count - 1);
    if (v >= grid[last]) return last;
    for (uint16_t i = 1; i < count; ++i) {
        if (v <= grid[i] - kGridTolerance) return static_cast<uint16_t>(i - 1);
    }
    return last;
}

// First index i with v <= grid[i] - tolerance; count when there is none.
int first_point_above(const double *grid, int count, double v) {
    for (int i = 0; i < count; ++i) {
        if (v <= grid[i] - kGridTolerance) return i;
    }
    return count;
}

// Index chosen by a valid mode, given i = first_point_above(v). When no grid
// point lies above v (i == count), v is within the tolerance of the last point
// and both modes give the last index; grid[count] is never read.
uint16_t pick_index(int mode, const double *grid, int count, int i, double v) {
    if (i >= count) return static_cast<uint16_t>(count - 1);
    if (i == 0) return 0;
    if (mode == kIndexLower) return static_cast<uint16_t>(i - 1);
    const double half = (grid[i] - grid[i - 1]) / 2;
    const double up = grid[i] - v;
    const bool upper = up < half || std::fabs(up - half) < kTieTolerance;
    return static_cast<uint16_t>(upper ? i : i - 1);
}

// The argument checks of every lookup, reported under the caller's name. The
// tau-grid lookups' unsigned counts arrive here as 0 or positive.
bool grid_args_valid(const char *caller, const double *grid, int count, const uint16_t *index) {
    if (grid == nullptr || index == nullptr) {
        RADIMO_ERROR_FOR(caller, "data is NULL\n");
        return false;
    }
    if (count <= 0) {
        RADIMO_ERROR_FOR(caller, "data is invalid\n");
        return false;
    }
    return true;
}

}  // namespace

extern "C" {

int get_compatible_target_temp_read_index(const double *grid, uint16_t count, uint16_t *index, float value) {
    if (!grid_args_valid(__func__, grid, count, index)) return RADIMO_ERR_PARAM;
    const double v = value;
    *index = v <= grid[0] - kGridTolerance ? 0 : lower_neighbour_in_tau_grid(grid, count, v);
    return RADIMO_SUCCESS;
}

int get_compatible_dist_read_index(const double *grid, uint16_t count, uint16_t *index, float value) {
    if (!grid_args_valid(__func__, grid, count, index)) return RADIMO_ERR_PARAM;
    const double v = value;
    // Strictly below here, unlike the target-temperature grid; callers rely on
    // the exact boundary.
    *index = v < grid[0] - kGridTolerance ? 0 : lower_neighbour_in_tau_grid(grid, count, v);
    return RADIMO_SUCCESS;
}

int get_compatible_target_temp_read_index_of_ems_table(int mode, const double *grid, int count,
                                                       uint16_t *index, float value) {
    if (!grid_args_valid(__func__, grid, count, index)) return RADIMO_ERR_PARAM;
    // An unknown mode is no failure, but it chooses nothing.
    if (mode != kIndexNearest && mode != kIndexLower) return RADIMO_SUCCESS;
    const double v = value;
    // Temperatures outside the grid clamp to its first or last row.
    if (v < grid[0]) {
        *index = 0;
        return RADIMO_SUCCESS;
    }
    if (v > grid[count - 1]) {
        *index = static_cast<uint16_t>(count - 1);
        return RADIMO_SUCCESS;
    }
    *index = pick_index(mode, grid, count, first_point_above(grid, count, v), v);
    return RADIMO_SUCCESS;
}

int get_compatible_ems_read_index_of_ems_table(int mode, const double *grid, int count, uint16_t *index,
                                               float value) {
    if (!grid_args_valid(__func__, grid, count, index)) return RADIMO_ERR_PARAM;
    if (mode != kIndexNearest && mode != kIndexLower) return RADIMO_SUCCESS;
    const double v = value;
    // Emissivities outside the grid are refused without a message: the
    // readers pass those through before they ask for an index.
    if (v < grid[0] || v > grid[count - 1]) return RADIMO_ERR_PARAM;
    *index = pick_index(mode, grid, count, first_point_above(grid, count, v), v);
    return RADIMO_SUCCESS;
}

}  // extern "C"
