// New KT/BT arrays: each point's entries moved to its target position,
// interpolated in between.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/heap_block.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
namespace fx = radimo::fx;

// The position map is complete and stays inside its len entries exactly
// when there is a segment, the indexes ascend and the last one is at most
// len: the ranges below the first index, between neighbours and from the
// last index on then tile 0..len-1.
bool indexes_tile_map(const uint16_t *idx, uint32_t segments, uint32_t len) {
    if (segments == 0) return false;
    for (uint32_t s = 0; s < segments; ++s) {
        if (idx[s] > idx[s + 1]) return false;
    }
    return idx[segments] <= len;
}

// Position map of one array: entry j is where old entry j moves to.
void build_position_map(float *map, const uint16_t *idx, const uint16_t *P, uint32_t segments, uint32_t len) {
    // Equal neighbouring indexes are empty segments; as the end segments
    // they divide by a float zero (inf or NaN), never an integer one.
    const auto fill = [&](uint32_t s, uint32_t from, uint32_t to) {
        const float span = static_cast<float>(static_cast<int32_t>(idx[s + 1]) - idx[s]);
        const float rise = static_cast<float>(static_cast<int32_t>(P[s + 1]) - P[s]);
        for (uint32_t j = from; j < to; ++j) {
            const float offset = static_cast<float>(static_cast<int32_t>(j) - idx[s]);
            map[j] = offset * rise / span + static_cast<float>(P[s]);
        }
    };
    if (idx[0] != 0) fill(0, 0, idx[0]);  // below the first point
    for (uint32_t s = 0; s < segments; ++s) {
        if (idx[s] < idx[s + 1]) fill(s, idx[s], idx[s + 1]);
    }
    if (idx[segments] < len) fill(segments - 1, idx[segments], len);  // from the last point on
}

}  // namespace

extern "C" {

int new_kt_bt_table_interpolate(uint8_t point_num, uint16_t table_len, const uint16_t *kt_array,
                                const int16_t *bt_array, const uint16_t *kt_index, const uint16_t *bt_index,
                                const uint16_t *P, uint16_t *new_kt_array, int16_t *new_bt_array) {
    if (kt_array == nullptr || bt_array == nullptr || kt_index == nullptr || bt_index == nullptr ||
        P == nullptr || new_kt_array == nullptr || new_bt_array == nullptr) {
        RADIMO_ERROR("input param is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const uint32_t len = table_len;
    if (len == 0) return RADIMO_SUCCESS;
    const uint32_t segments = point_num;
    if (segments == 0) {
        RADIMO_ERROR("the number of calib point is out of range\n");
        return RADIMO_ERR_TABLE_CALC;
    }
    if (!indexes_tile_map(kt_index, segments, len) || !indexes_tile_map(bt_index, segments, len)) {
        RADIMO_ERROR("calculate_new_value_index_in_orgtable failed\n");
        return RADIMO_ERR_TABLE_CALC;
    }

    uint16_t kt_max = kt_array[0];
    uint16_t kt_min = kt_array[0];
    int16_t bt_max = bt_array[0];
    int16_t bt_min = bt_array[0];
    for (uint32_t j = 0; j < len; ++j) {
        kt_max = kt_array[j] > kt_max ? kt_array[j] : kt_max;
        kt_min = kt_array[j] < kt_min ? kt_array[j] : kt_min;
        bt_max = bt_array[j] > bt_max ? bt_array[j] : bt_max;
        bt_min = bt_array[j] < bt_min ? bt_array[j] : bt_min;
    }

    // Old-array copies and position maps, len floats each, in one block (no
    // index ramps: the interpolation is evaluated at x = j directly).
    radimo::HeapBlock<float> work(4 * static_cast<std::size_t>(len));
    if (!work) {
        RADIMO_ERROR("input param is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    float *kt_copy = work.get();
    float *bt_copy = kt_copy + len;
    float *kt_map = bt_copy + len;
    float *bt_map = kt_map + len;
    for (uint32_t j = 0; j < len; ++j) {
        kt_copy[j] = static_cast<float>(kt_array[j]);
        bt_copy[j] = static_cast<float>(bt_array[j]);
    }
    build_position_map(kt_map, kt_index, P, segments, len);
    build_position_map(bt_map, bt_index, P, segments, len);

    const linear_interp_param_t kt_param{kt_map, kt_copy, len};
    const linear_interp_param_t bt_param{bt_map, bt_copy, len};
    for (uint32_t j = 0; j < len; ++j) {
        float value = 0.0f;
        if (LinearInterp(&kt_param, &value, static_cast<float>(j)) != RADIMO_SUCCESS) {
            return RADIMO_ERR_TABLE_CALC;
        }
        new_kt_array[j] = fx::low16(fx::trunc_i32(value));
        if (LinearInterp(&bt_param, &value, static_cast<float>(j)) != RADIMO_SUCCESS) {
            return RADIMO_ERR_TABLE_CALC;
        }
        new_bt_array[j] = fx::low16s(fx::trunc_i32(value));
        // Unsigned compares for kt: a negative value wraps and ends at the
        // maximum, deliberately. Signed compares for bt.
        if (new_kt_array[j] > kt_max) new_kt_array[j] = kt_max;
        if (new_kt_array[j] < kt_min) new_kt_array[j] = kt_min;
        if (new_bt_array[j] > bt_max) new_bt_array[j] = bt_max;
        if (new_bt_array[j] < bt_min) new_bt_array[j] = bt_min;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
