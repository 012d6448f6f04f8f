// Positions of the calibration points' gains and offsets in the old KT/BT arrays.
#include <cstdint>
#include <cstdlib>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// First j where array[j] equals value, or where value lies strictly between
// array[j] and array[j + 1] (then the nearer of the two; a tie keeps j). The
// walk never reads past the end: a value beyond the last pair is not found
// and *index is left as it was.
template <typename T>
void locate(int32_t value, const T *array, uint16_t len, uint16_t *index) {
    for (uint32_t j = 0; j < len; ++j) {
        const int32_t here = value - array[j];
        if (here == 0) {
            *index = static_cast<uint16_t>(j);
            return;
        }
        if (j + 1 >= len) return;
        const int32_t next = value - array[j + 1];
        if (radimo::fx::mul_wrap32(here, next) < 0) {
            *index = static_cast<uint16_t>(std::abs(here) > std::abs(next) ? j + 1 : j);
            return;
        }
    }
}

}  // namespace

extern "C" {

int calculate_new_value_index_in_orgtable(uint8_t point_num, uint16_t table_len, const uint16_t *K,
                                          const int16_t *B, const uint16_t *kt_array, const int16_t *bt_array,
                                          uint16_t *kt_index, uint16_t *bt_index) {
    if (K == nullptr || B == nullptr || kt_array == nullptr || bt_array == nullptr || kt_index == nullptr ||
        bt_index == nullptr) {
        RADIMO_ERROR("input param is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    for (uint32_t i = 0; i <= point_num; ++i) locate(K[i], kt_array, table_len, &kt_index[i]);
    for (uint32_t i = 0; i <= point_num; ++i) locate(B[i], bt_array, table_len, &bt_index[i]);
    return RADIMO_SUCCESS;
}

}  // extern "C"
