// New NUC table from calibration points: the two rebuilds and their dispatcher.
#include <cstdint>

#include "calib/nuc_rebuild_steps.h"
#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
using radimo::calib::MapUnits;
using radimo::calib::NucRebuild;
using radimo::calib::TableRange;

// The rebuild shared by both units; it reports under the exported caller's name.
int rebuild_nuc_table(const char *caller, uint16_t *nuc_table, multi_point_nuc_t *points, uint32_t num,
                      uint16_t *new_nuc_table, MapUnits units) {
    if (points == nullptr || new_nuc_table == nullptr || nuc_table == nullptr) {
        RADIMO_ERROR_FOR(caller, "input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    NucRebuild rebuild(nuc_table, points, radimo::fx::low16(num), units);
    // Rejected before anything is mirrored or reversed: fewer than two points
    // leave the map unfilled, and settings beyond it would fill past its end.
    if (!rebuild.points_fit() || !rebuild.allocate() || !rebuild.enter_hot_mode()) {
        RADIMO_ERROR_FOR(caller, "input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const TableRange range = rebuild.scan_range();
    RADIMO_DEBUG_FOR(caller, "max value=%d,min value=%d\n", range.max, range.min);
    rebuild.sort_points();
    for (uint32_t i = 0; i < rebuild.count(); ++i) {
        RADIMO_DEBUG_FOR(caller, "setting_nuc=%d,output_nuc=%d\n", rebuild.point(i).setting_nuc,
                         rebuild.point(i).output_nuc);
    }
    for (uint32_t i = 0; i + 1 < rebuild.count(); ++i) {
        rebuild.fit_segment(i);
        RADIMO_DEBUG_FOR(caller, "k=%f,b=%f\n", rebuild.slope(i), rebuild.intercept(i));
    }
    rebuild.build_map();
    // A failed interpolation leaves a hot-mode reversal in place.
    if (!rebuild.interpolate(new_nuc_table)) return RADIMO_ERR_TABLE_CALC;
    if (!rebuild.leave_hot_mode(new_nuc_table)) {
        RADIMO_ERROR_FOR(caller, "input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    return RADIMO_SUCCESS;
}

}  // namespace

extern "C" {

// Half NUC units: the position map is indexed by setting >> 1.
int multi_point_calc_new_nuc_table(uint16_t *nuc_table, multi_point_nuc_t *points, uint32_t num,
                                   uint16_t *new_nuc_table) {
    return rebuild_nuc_table(__func__, nuc_table, points, num, new_nuc_table, MapUnits::kHalfNuc);
}

// Full NUC units: the position map is indexed by the setting itself.
int multi_point_calc_new_nuc_table_with_version3(uint16_t *nuc_table, multi_point_nuc_t *points, uint32_t num,
                                                 uint16_t *new_nuc_table) {
    return rebuild_nuc_table(__func__, nuc_table, points, num, new_nuc_table, MapUnits::kFullNuc);
}

// Always the full-unit rebuild; the version only says which array record
// holds the old table.
int multi_point_calc_new_nuc_table_with_version(multi_point_calib_param_t *multi_point_param,
                                                uint32_t version, uint16_t *new_nuc_table) {
    if (multi_point_param == nullptr || new_nuc_table == nullptr ||
        multi_point_param->multi_point_calib_array == nullptr) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (version > 2) {
        RADIMO_ERROR("version is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    uint16_t *old_table =
        version == 2
            ? static_cast<multi_point_calib_array_v3_t *>(multi_point_param->multi_point_calib_array)
                  ->nuc_table
            : static_cast<multi_point_calib_array_t *>(multi_point_param->multi_point_calib_array)->nuc_table;
    const uint32_t count = radimo::fx::low16(multi_point_param->calib_point_num);
    if (multi_point_calc_new_nuc_table_with_version3(old_table, multi_point_param->multi_point_nuc, count,
                                                     new_nuc_table) != RADIMO_SUCCESS) {
        RADIMO_ERROR("multi_point_calc_new_nuc_table_with_version failed\n");
        return RADIMO_ERR_VERSION;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
