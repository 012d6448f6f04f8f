// Corrected emissivity from the emissivity compatibility tables: the
// nearest-neighbour reader of table v1, the interpolating reader of table v2,
// the reader that also extrapolates beyond the v2 emissivity axis, and the
// dispatcher that the correction-table record selects.
//
// The readers write their output only on success and report a failed index
// with the code alone; the dispatcher prints the line for the caller.
#include <cmath>
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"
#include "radiometry/compat_index.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

using radimo::radiometry::kIndexLower;
using radimo::radiometry::kIndexNearest;

constexpr int kV1Temps = 86;
constexpr int kV1Ems = 20;
constexpr double kV1EmsLow = 0.8;    // first column of table v1
constexpr double kV1EmsHigh = 0.99;  // last column of table v1

constexpr int kV2Temps = 81;
constexpr int kV2Ems = 100;
constexpr int kV2LastRow = kV2Temps - 1;
constexpr int kV2LastCol = kV2Ems - 1;
constexpr double kV2EmsLow = 0.8;     // first column of table v2
constexpr double kV2EmsHigh = 0.998;  // last column of table v2

// A cell of table v2 rounded to float, as every read of that table uses it.
float v2_cell(int row, int col) {
    return static_cast<float>(ems_correct_table_v2[row * kV2Ems + col]);
}

bool outside_v2_axis(double e) {
    return e > kV2EmsHigh || e < kV2EmsLow;
}

// Column `col` of table v2 at temperature t: linear between rows ti and
// ti + 1, or row ti alone when it is the last row. Fails (temperature index
// code) when the two rows carry the same temperature.
int v2_column_at(int ti, int col, double t, double *out) {
    const float q00 = v2_cell(ti, col);
    if (ti >= kV2LastRow) {
        *out = q00;
        return RADIMO_SUCCESS;
    }
    const double t0 = target_temp_list_of_ems_table_v2[ti];
    const double t1 = target_temp_list_of_ems_table_v2[ti + 1];
    const double dt = std::fabs(t1 - t0);
    if (dt == 0.0) return RADIMO_ERR_TEMP_INDEX;
    const float q10 = v2_cell(ti + 1, col);
    *out = q00 * (t1 - t) / dt + q10 * (t - t0) / dt;
    return RADIMO_SUCCESS;
}

// Table v2 at (t, e) for e inside its emissivity axis, from the lower
// neighbours (ti, ei): bilinear inside the table, linear along the last row
// or the last column, the corner cell itself at the last row and column.
// Neighbour rows and columns are read only when they are interpolated.
int read_v2_inside_axis(float *quant_ems, float target_temp, float org_ems) {
    uint16_t ti = 0;
    uint16_t ei = 0;
    if (get_compatible_target_temp_read_index_of_ems_table(kIndexLower, target_temp_list_of_ems_table_v2,
                                                           kV2Temps, &ti, target_temp) != RADIMO_SUCCESS) {
        return RADIMO_ERR_TEMP_INDEX;
    }
    if (get_compatible_ems_read_index_of_ems_table(kIndexLower, org_ems_list_of_ems_table_v2, kV2Ems, &ei,
                                                   org_ems) != RADIMO_SUCCESS) {
        return RADIMO_ERR_DIST_INDEX;
    }
    const double t = target_temp;
    const double e = org_ems;
    const bool along_temp = ti < kV2LastRow;
    const bool along_ems = ei < kV2LastCol;
    const float q00 = v2_cell(ti, ei);
    double result = q00;
    if (along_temp && along_ems) {
        const double t0 = target_temp_list_of_ems_table_v2[ti];
        const double t1 = target_temp_list_of_ems_table_v2[ti + 1];
        const double e0 = org_ems_list_of_ems_table_v2[ei];
        const double e1 = org_ems_list_of_ems_table_v2[ei + 1];
        const double dt = std::fabs(t1 - t0);
        const double de = std::fabs(e1 - e0);
        if (dt == 0.0) return RADIMO_ERR_TEMP_INDEX;
        if (de == 0.0) return RADIMO_ERR_DIST_INDEX;
        const float q01 = v2_cell(ti, ei + 1);
        const float q10 = v2_cell(ti + 1, ei);
        const float q11 = v2_cell(ti + 1, ei + 1);
        result = (q00 * (t1 - t) * (e1 - e) + q01 * (t1 - t) * (e - e0) + q10 * (t - t0) * (e1 - e) +
                  q11 * (t - t0) * (e - e0)) /
                 (dt * de);
    } else if (along_temp) {
        const int rc = v2_column_at(ti, ei, t, &result);
        if (rc != RADIMO_SUCCESS) return rc;
    } else if (along_ems) {
        const double e0 = org_ems_list_of_ems_table_v2[ei];
        const double e1 = org_ems_list_of_ems_table_v2[ei + 1];
        const double de = std::fabs(e1 - e0);
        if (de == 0.0) return RADIMO_ERR_DIST_INDEX;
        const float q01 = v2_cell(ti, ei + 1);
        result = q00 * (e1 - e) / de + q01 * (e - e0) / de;
    }
    *quant_ems = static_cast<float>(result);
    return RADIMO_SUCCESS;
}

}  // namespace

extern "C" {

int read_compatible_ems_version1(float *quant_ems, float target_temp, float org_ems) {
    if (quant_ems == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const double e = org_ems;
    if (e > kV1EmsHigh || e < kV1EmsLow) {
        *quant_ems = org_ems;
        return RADIMO_SUCCESS;
    }
    uint16_t ti = 0;
    uint16_t ei = 0;
    if (get_compatible_target_temp_read_index_of_ems_table(kIndexNearest, target_temp_list_of_ems_table_v1,
                                                           kV1Temps, &ti, target_temp) != RADIMO_SUCCESS) {
        return RADIMO_ERR_TEMP_INDEX;
    }
    if (get_compatible_ems_read_index_of_ems_table(kIndexNearest, org_ems_list_of_ems_table_v1, kV1Ems, &ei,
                                                   org_ems) != RADIMO_SUCCESS) {
        return RADIMO_ERR_DIST_INDEX;
    }
    *quant_ems = static_cast<float>(ems_correct_table_v1[ti * kV1Ems + ei]);
    return RADIMO_SUCCESS;
}

int read_compatible_ems_version2(float *quant_ems, float target_temp, float org_ems) {
    if (quant_ems == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (outside_v2_axis(org_ems)) {
        *quant_ems = org_ems;
        return RADIMO_SUCCESS;
    }
    return read_v2_inside_axis(quant_ems, target_temp, org_ems);
}

int read_compatible_ems_version3(float *quant_ems, float target_temp, float org_ems) {
    if (quant_ems == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (!outside_v2_axis(org_ems)) return read_v2_inside_axis(quant_ems, target_temp, org_ems);

    uint16_t ti = 0;
    if (get_compatible_target_temp_read_index_of_ems_table(kIndexLower, target_temp_list_of_ems_table_v2,
                                                           kV2Temps, &ti, target_temp) != RADIMO_SUCCESS) {
        return RADIMO_ERR_TEMP_INDEX;
    }
    const double e = org_ems;
    double column = 0.0;
    if (e > kV2EmsHigh) {
        // Straight line from (0.998, last column) to (1.0, 1.0).
        const int rc = v2_column_at(ti, kV2LastCol, target_temp, &column);
        if (rc != RADIMO_SUCCESS) return rc;
        const float c = static_cast<float>(column);
        *quant_ems = static_cast<float>((e - kV2EmsHigh) * (1 - c) / (1 - kV2EmsHigh) + c);
    } else {
        // Straight line from (0, 0) to (0.8, first column).
        const int rc = v2_column_at(ti, 0, target_temp, &column);
        if (rc != RADIMO_SUCCESS) return rc;
        const float c = static_cast<float>(column);
        *quant_ems = static_cast<float>(e * c / kV2EmsLow);
    }
    return RADIMO_SUCCESS;
}

int read_compatible_ems_with_target_temp_and_org_ems(const correct_table_t *param, float *quant_ems,
                                                     float target_temp, float org_ems) {
    if (param == nullptr || quant_ems == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // Only the value 1 switches the tables on.
    if (param->ems_enable != 1) {
        *quant_ems = org_ems;
        return RADIMO_SUCCESS;
    }
    int rc = RADIMO_SUCCESS;
    switch (param->ems_version) {
        case 1:
            rc = read_compatible_ems_version1(quant_ems, target_temp, org_ems);
            break;
        case 2:
            rc = read_compatible_ems_version2(quant_ems, target_temp, org_ems);
            break;
        case 3:
            rc = read_compatible_ems_version3(quant_ems, target_temp, org_ems);
            break;
        default:
            RADIMO_ERROR("correction table mismatch between ems enable and ems version\n");
            return RADIMO_ERR_PARAM;
    }
    if (rc != RADIMO_SUCCESS) {
        RADIMO_ERROR("read_compatible_ems failed\n");
        return RADIMO_ERR_READ_EMS;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
