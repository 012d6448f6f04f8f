// KT/BT index of a focal-plane reading after a lens change (truncated Q14 product).
#include <cstdint>

#include "core/message.h"
#include "ktbt/ktbt_index.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleSencondCal;
}  // namespace

extern "C" {

// Deliberately truncates the Q14 product where calculate_ktbt_index_according_vtemp
// rounds it, so the two indices of one reading can differ by one; both are kept.
int calculate_ktbt_index_according_vtemp_in_change_lens(int vtemp,
                                                        const second_calib_param_t *second_calib_param,
                                                        int *ktbt_index) {
    if (second_calib_param == nullptr || ktbt_index == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const second_calib_param_t &p = *second_calib_param;
    radimo::ktbt::store_index(__func__,
                              radimo::ktbt::t_fpa_truncated(static_cast<uint16_t>(vtemp), p.K_Temp, p.B_Temp),
                              p, ktbt_index);
    return RADIMO_SUCCESS;
}

}  // extern "C"
