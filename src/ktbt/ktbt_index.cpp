// KT/BT index of a focal-plane reading, with the rounded Q14 product
// (internal), and the index step it shares with the lens-change variant.
#include <cstdint>

#include "core/message.h"
#include "ktbt/ktbt_index.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleSencondCal;

}  // namespace

namespace radimo::ktbt {

void store_index(const char *caller, int32_t t_fpa, const second_calib_param_t &p, int *ktbt_index) {
    const int32_t index = limit_to_count(index_of(t_fpa, p.Address_CA), p.ktbt_index_len);
    *ktbt_index = index;
    RADIMO_DEBUG_FOR(caller, "ktbt_index = %d\n", index);
    RADIMO_DEBUG_FOR(caller, "B_Temp = %d\n", p.B_Temp);
    RADIMO_DEBUG_FOR(caller, "Address_CA = %d\n", p.Address_CA);
    RADIMO_DEBUG_FOR(caller, "K_Temp = %d\n", p.K_Temp);
    RADIMO_DEBUG_FOR(caller, "T_FPA = %d\n", t_fpa);
}

int calculate_ktbt_index_according_vtemp(int vtemp, const second_calib_param_t *second_calib_param,
                                         int *ktbt_index) {
    const second_calib_param_t &p = *second_calib_param;
    // T_FPA is not clamped here; only the index is limited.
    store_index(__func__, t_fpa_rounded(static_cast<uint16_t>(vtemp), p.K_Temp, p.B_Temp), p, ktbt_index);
    return RADIMO_SUCCESS;
}

}  // namespace radimo::ktbt
