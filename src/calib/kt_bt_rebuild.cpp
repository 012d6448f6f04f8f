// New KT/BT arrays from up to 20 calibration points.
#include <cstdint>

#include "calib/kt_bt_layout.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
using radimo::calib::kMaxKtPoints;
using radimo::calib::kUnsetIndex;

bool all_set(const uint16_t *index, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        if (index[i] == kUnsetIndex) return false;
    }
    return true;
}

}  // namespace

extern "C" {

int multi_point_calc_new_kt_bt(multi_point_kt_param_t *param, const uint16_t *kt_array,
                               const int16_t *bt_array, uint16_t *new_kt_array, int16_t *new_bt_array) {
    if (param == nullptr || kt_array == nullptr || bt_array == nullptr || new_kt_array == nullptr ||
        new_bt_array == nullptr) {
        RADIMO_ERROR("input param is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // At least two points (one segment), and no more than the record holds.
    if (param->point_num == 0 || param->point_num >= kMaxKtPoints) {
        RADIMO_ERROR("the number of calib point is out of range\n");
        return RADIMO_ERR_PARAM;
    }
    // The result is ignored on purpose: a rejected point set still goes on
    // with whatever K, B and P hold.
    (void)multi_point_calc_new_kt_bt_intermediate_param(param, kt_array, bt_array, new_kt_array,
                                                        new_bt_array);
    if (param->table_len == 0) return RADIMO_SUCCESS;  // nothing to rebuild

    const uint32_t count = param->point_num + 1u;
    uint16_t kt_index[kMaxKtPoints];
    uint16_t bt_index[kMaxKtPoints];
    for (uint32_t i = 0; i < kMaxKtPoints; ++i) kt_index[i] = bt_index[i] = kUnsetIndex;
    // A gain or offset found nowhere in the old arrays leaves its index
    // unset; the rebuild then fails instead of moving an unknown entry.
    if (calculate_new_value_index_in_orgtable(param->point_num, param->table_len, param->K, param->B,
                                              kt_array, bt_array, kt_index, bt_index) != RADIMO_SUCCESS ||
        !all_set(kt_index, count) || !all_set(bt_index, count)) {
        RADIMO_ERROR("calculate_new_value_index_in_orgtable failed\n");
        return RADIMO_ERR_PARAM;
    }
    sort_multi_point_kt(kt_index, count);
    sort_multi_point_kt(bt_index, count);
    // The same message as the index step, deliberately.
    if (new_kt_bt_table_interpolate(param->point_num, param->table_len, kt_array, bt_array, kt_index,
                                    bt_index, param->P, new_kt_array, new_bt_array) != RADIMO_SUCCESS) {
        RADIMO_ERROR("calculate_new_value_index_in_orgtable failed\n");
        return RADIMO_ERR_PARAM;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
