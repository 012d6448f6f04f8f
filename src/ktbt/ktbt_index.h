// KT/BT index arithmetic shared by the index functions and the forward and
// reverse corrections.
//
// The focal-plane temperature T_FPA comes from the reading vtemp through the
// Q14 gain K_Temp and the offset B_Temp; the arrays start at Address_CA, so the
// KT/BT index is T_FPA - Address_CA - 1. Each user then clamps T_FPA and the
// index to the ranges of its arrays.
#pragma once

#include <cstdint>

#include "core/fixed_point.h"
#include "libradimo.h"

namespace radimo::ktbt {

// Ranges of the 1201-entry arrays and of the 3601-entry (version 3) arrays.
struct IndexLimits {
    int32_t t_fpa_max;  // T_FPA is clamped to 0 .. t_fpa_max
    int32_t index_max;  // the index is clamped to 0 .. index_max
};
inline constexpr IndexLimits kLimits1201{4095, 1200};
inline constexpr IndexLimits kLimits3601{16383, 3600};

// The limits of arrays of `len` entries: 1201 or 3601; nullptr for any other length.
constexpr const IndexLimits *limits_of_length(uint32_t len) {
    return len == 1201 ? &kLimits1201 : len == 3601 ? &kLimits3601 : nullptr;
}

// T_FPA with the rounded Q14 product (vtemp as unsigned 16-bit). The product
// of a 16-bit reading and a 16-bit gain always fits in 32 bits.
constexpr int32_t t_fpa_rounded(uint16_t vtemp, int16_t k_temp, int16_t b_temp) {
    return fx::q14_round(static_cast<int32_t>(vtemp) * k_temp) + b_temp;
}

// T_FPA with the truncated Q14 product, as the lens-change path computes it.
constexpr int32_t t_fpa_truncated(uint16_t vtemp, int16_t k_temp, int16_t b_temp) {
    return ((static_cast<int32_t>(vtemp) * k_temp) >> fx::kQ14Shift) + b_temp;
}

// Unclamped KT/BT index of a focal-plane temperature.
constexpr int32_t index_of(int32_t t_fpa, uint16_t address_ca) {
    return t_fpa - address_ca - 1;
}

// Index of the fixed-length arrays: T_FPA and the index both clamped.
constexpr int32_t clamped_index(int32_t t_fpa, uint16_t address_ca, const IndexLimits &limits) {
    return fx::clamp(index_of(fx::clamp(t_fpa, 0, limits.t_fpa_max), address_ca), 0, limits.index_max);
}

// Index of the forward correction (and of the whole-frame measurement) for a
// correction record, within the limits of its arrays.
constexpr int32_t correction_index(const ktbt_correct_param_t &p, const IndexLimits &limits) {
    return clamped_index(t_fpa_rounded(p.vtemp, p.K_Temp, p.B_Temp), p.Address_CA, limits);
}

// Index limited by a record's index count: below 0 gives 0, from the count
// upwards gives count - 1 (so a count of 0 gives -1; callers that read an
// array with it reject that count first).
constexpr int32_t limit_to_count(int32_t index, uint16_t index_len) {
    if (index < 0) return 0;
    if (index >= index_len) return static_cast<int32_t>(index_len) - 1;
    return index;
}

// Stores the record's index of a focal-plane temperature, limited by its
// ktbt_index_len, then logs the index and its inputs under the caller's name.
void store_index(const char *caller, int32_t t_fpa, const second_calib_param_t &p, int *ktbt_index);

// KT/BT index of vtemp (low 16 bits) from the record's K_Temp, B_Temp,
// Address_CA and ktbt_index_len, with the rounded product; logs the index and
// its inputs and returns 0. The record and the output must not be NULL.
int calculate_ktbt_index_according_vtemp(int vtemp, const second_calib_param_t *second_calib_param,
                                         int *ktbt_index);

}  // namespace radimo::ktbt
