// Reverse KT/BT correction: the raw NUC value that the forward correction maps
// onto a given corrected value.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "ktbt/ktbt_index.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// ((nuc - bt) * 16384 - 8192) / kt with an unsigned 32-bit division; kt != 0.
// The minus 8192 mirrors the forward rounding term. There is no lower clamp:
// a value below the offset wraps into a large quotient whose low 16 bits are
// kept (then capped), deliberately.
inline uint16_t raw_nuc(uint32_t nuc, uint16_t kt, int16_t bt) {
    const int32_t above_offset = static_cast<int32_t>(radimo::fx::low16(nuc)) - bt;
    const uint32_t scaled = static_cast<uint32_t>(above_offset) * 16384u - 8192u;
    return radimo::fx::cap_nuc(radimo::fx::low16(scaled / kt));
}

// The pointer checks of both members, reported under the caller's name.
bool pointers_valid(const char *caller, const second_calib_param_t *ktbt_param, const uint16_t *kt_array,
                    const int16_t *bt_array, const uint16_t *new_nuc) {
    if (ktbt_param == nullptr || new_nuc == nullptr) {
        RADIMO_ERROR_FOR(caller, "ktbt_param or new_nuc is NULL\n");
        return false;
    }
    if (kt_array == nullptr || bt_array == nullptr) {
        RADIMO_ERROR_FOR(caller, "kt_array or bt_array is NULL\n");
        return false;
    }
    return true;
}

// The raw value through entry `index`; a zero gain there is refused under
// the caller's name.
int raw_nuc_at(const char *caller, const uint16_t *kt_array, const int16_t *bt_array, int32_t index,
               uint32_t nuc, uint16_t *new_nuc) {
    if (kt_array[index] == 0) {
        RADIMO_ERROR_FOR(caller, "kt_array is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    *new_nuc = raw_nuc(nuc, kt_array[index], bt_array[index]);
    return RADIMO_SUCCESS;
}

}  // namespace

extern "C" {

// The table argument is accepted for the callers' sake and never read.
int reverse_ktbt_correct(const second_calib_param_t *ktbt_param, const uint16_t *kt_array,
                         const int16_t *bt_array, const uint16_t * /*table*/, int vtemp, uint32_t nuc,
                         uint16_t *new_nuc) {
    if (!pointers_valid(__func__, ktbt_param, kt_array, bt_array, new_nuc)) return RADIMO_ERR_PARAM;
    const int32_t t_fpa =
        radimo::ktbt::t_fpa_rounded(static_cast<uint16_t>(vtemp), ktbt_param->K_Temp, ktbt_param->B_Temp);
    const int32_t index =
        radimo::ktbt::clamped_index(t_fpa, ktbt_param->Address_CA, radimo::ktbt::kLimits1201);
    return raw_nuc_at(__func__, kt_array, bt_array, index, nuc, new_nuc);
}

// As reverse_ktbt_correct, with T_FPA clamped to 0..16383 and the index
// limited by the record's ktbt_index_len.
int reverse_ktbt_correct_with_version3(const second_calib_param_t *ktbt_param, const uint16_t *kt_array,
                                       const int16_t *bt_array, const uint16_t * /*table*/, int vtemp,
                                       uint32_t nuc, uint16_t *new_nuc) {
    if (!pointers_valid(__func__, ktbt_param, kt_array, bt_array, new_nuc)) return RADIMO_ERR_PARAM;
    // With no valid index there is no entry to read.
    if (ktbt_param->ktbt_index_len == 0) {
        RADIMO_ERROR("ktbt_index_len is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const int32_t t_fpa = radimo::fx::clamp(
        radimo::ktbt::t_fpa_rounded(static_cast<uint16_t>(vtemp), ktbt_param->K_Temp, ktbt_param->B_Temp), 0,
        radimo::ktbt::kLimits3601.t_fpa_max);
    const int32_t index = radimo::ktbt::limit_to_count(radimo::ktbt::index_of(t_fpa, ktbt_param->Address_CA),
                                                       ktbt_param->ktbt_index_len);
    return raw_nuc_at(__func__, kt_array, bt_array, index, nuc, new_nuc);
}

}  // extern "C"
