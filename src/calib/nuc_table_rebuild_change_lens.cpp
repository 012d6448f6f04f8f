// New NUC table after a lens change: the rebuild from calibration points with
// a least-squares quadratic position map.
//
// The piecewise-linear rebuild passes through every point, so the noise of
// each point's reading ends up in the table. After a lens change the relation
// between set and output responses is smooth (a gain, an offset and a slight
// curvature), so one quadratic through all the points is fitted instead, and
// the table follows it. Everything else is the piecewise-linear rebuild's:
// half NUC units, hot-mode mirroring, clamping to the old table's range.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "calib/nuc_rebuild_steps.h"
#include "calib/nuc_table_layout.h"
#include "core/fixed_point.h"
#include "core/heap_block.h"
#include "core/message.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;
using radimo::HeapBlock;
using radimo::calib::kRebuildTableLen;
using radimo::calib::NucRebuild;

constexpr uint32_t kMinPoints = 3;  // a quadratic needs three

// Fits the (setting, output) pairs as the rebuild sees them (mirrored in hot
// mode), fills the position map from the fit and interpolates the new table
// into `table`. Reports under the exported caller's name.
int rebuild_with_fit(const char *caller, NucRebuild &rebuild, double *x, double *y, uint16_t *table) {
    const radimo::calib::TableRange range = rebuild.scan_range();
    RADIMO_DEBUG_FOR(caller, "max value=%d,min value=%d\n", range.max, range.min);
    for (uint32_t i = 0; i < rebuild.count(); ++i) {
        const multi_point_nuc_t &point = rebuild.point(i);
        RADIMO_DEBUG_FOR(caller, "setting_nuc=%d,output_nuc=%d\n", point.setting_nuc, point.output_nuc);
        x[i] = point.setting_nuc;
        y[i] = point.output_nuc;
    }
    double c[3] = {0.0, 0.0, 0.0};
    if (ordinary_least_squares(x, y, rebuild.count(), c) != RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "ordinary_least_squares failed\n");
        return RADIMO_ERR_TABLE_CALC;
    }
    // Half NUC units: table index j holds setting 2 j, and its output
    // position is half the fitted output. The interpolation needs the map to
    // rise strictly over every entry; a fit that turns inside the table (or a
    // falling one) gives a table the camera could not use.
    rebuild.copy_old_table();
    float *map = rebuild.position_map();
    for (uint32_t j = 0; j < kRebuildTableLen; ++j) {
        const double setting = 2.0 * j;
        map[j] = static_cast<float>(0.5 * (c[0] + setting * (c[1] + setting * c[2])));
        if (!std::isfinite(map[j]) || (j > 0 && !(map[j] > map[j - 1]))) {
            RADIMO_ERROR_FOR(caller, "position map is not monotonic\n");
            return RADIMO_ERR_TABLE_CALC;
        }
    }
    if (!rebuild.interpolate(table)) {
        RADIMO_ERROR_FOR(caller, "LinearInterp failed\n");
        return RADIMO_ERR_TABLE_CALC;
    }
    return RADIMO_SUCCESS;
}

}  // namespace

extern "C" {

int multi_point_calc_new_nuc_table_in_change_lens(uint16_t *nuc_table, const multi_point_nuc_t *points,
                                                  uint32_t num, uint16_t *new_nuc_table) {
    if (points == nullptr || new_nuc_table == nullptr || nuc_table == nullptr) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const uint32_t count = radimo::fx::low16(num);
    if (count < kMinPoints) {
        RADIMO_ERROR("the number of calib point is out of range\n");
        return RADIMO_ERR_TABLE_CALC;
    }
    // The rebuild mirrors its own copy of the points in hot mode, and the new
    // table is built aside, so that the caller's points are never written and
    // the new table only on success.
    HeapBlock<multi_point_nuc_t> own(count);
    HeapBlock<double> coordinates(2 * static_cast<std::size_t>(count));
    HeapBlock<uint16_t> table;
    if (!own || !coordinates || !table.allocate_zeroed(kRebuildTableLen)) {
        RADIMO_ERROR("memory allocation failed\n");
        return RADIMO_ERR_PARAM;
    }
    std::copy_n(points, count, own.get());
    NucRebuild rebuild(nuc_table, own.get(), count, radimo::calib::MapUnits::kHalfNuc);
    if (!rebuild.allocate() || !rebuild.enter_hot_mode()) {
        RADIMO_ERROR("memory allocation failed\n");
        return RADIMO_ERR_PARAM;
    }
    // From here a hot-mode table is reversed: it is restored on every path.
    const int rc =
        rebuild_with_fit(__func__, rebuild, coordinates.get(), coordinates.get() + count, table.get());
    const bool restored = rebuild.leave_hot_mode(table.get());
    if (rc != RADIMO_SUCCESS) return rc;
    if (!restored) {
        RADIMO_ERROR("memory allocation failed\n");
        return RADIMO_ERR_PARAM;
    }
    std::copy_n(table.get(), kRebuildTableLen, new_nuc_table);
    return RADIMO_SUCCESS;
}

}  // extern "C"
