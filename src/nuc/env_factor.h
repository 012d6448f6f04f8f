// Shared pieces of the environment factor (KE, BE) calculators: the checks of
// an integer scene, the NUC value of a temperature through the quadratic NUC
// factor or through a NUC table, and the Q14 emissivity and transmittance terms.
//
// The scene is described in one of two unit systems:
//   org units: ems and tau in Q7 (128 = 1.0), ta and tu in whole kelvin;
//   new units: ems and tau in Q14 (16384 = 1.0), ta and tu in 1/16 K.
// BE = (tau_term * NUC(Ta) + ems_term * NUC(Tu) + 8192) >> 14, with
// ems_term = (1 - ems) / ems and tau_term = (1 - tau) / (ems * tau) in Q14.
#pragma once

#include <cstdint>

#include "core/fixed_point.h"
#include "core/units.h"
#include "libradimo.h"

namespace radimo::nuc {

// Which check of an integer scene failed, in checking order.
enum class SceneFault { kNone, kEms, kTau, kHighGainTemp, kLowGainTemp };

// Ranges of one unit system.
struct SceneUnits {
    bool refuses_negative_ems;  // false in org units: only 0 and values above 1.0 are refused there
    int32_t one;                // 1.0 of ems and tau
    int32_t temp_min;           // coldest valid ta and tu
    int32_t high_gain_max;      // hottest valid ta and tu in high gain
    int32_t low_gain_max;       // hottest valid ta and tu in low gain
};
inline constexpr SceneUnits kOrgUnits{false, 128, 230, 430, 873};
inline constexpr SceneUnits kNewUnits{true, 16384, 3680, 6880, 13968};

// Gain mode: the low 8 bits; 1 is high gain, 0 low gain, any other value
// skips the temperature range check.
inline constexpr int kHighGain = 1;
inline constexpr int kLowGain = 0;

constexpr bool outside(int32_t v, int32_t lo, int32_t hi) {
    return v < lo || v > hi;
}

// The ems, tau and gain-range checks of an integer scene, in that order.
constexpr SceneFault check_scene(const env_param_t &p, int gain, const SceneUnits &u) {
    if (p.ems == 0 || p.ems > u.one || (u.refuses_negative_ems && p.ems < 0)) return SceneFault::kEms;
    if (outside(p.tau, 1, u.one)) return SceneFault::kTau;
    const int mode = gain & 0xFF;
    if (mode == kHighGain &&
        (outside(p.ta, u.temp_min, u.high_gain_max) || outside(p.tu, u.temp_min, u.high_gain_max)))
        return SceneFault::kHighGainTemp;
    if (mode == kLowGain &&
        (outside(p.ta, u.temp_min, u.low_gain_max) || outside(p.tu, u.temp_min, u.low_gain_max)))
        return SceneFault::kLowGainTemp;
    return SceneFault::kNone;
}

// NUC values of the factor are capped at the largest NUC value; a negative
// one counts as 0.
constexpr int64_t nuc_range(int64_t nuc) {
    return nuc > fx::kNucMax ? fx::kNucMax : (nuc < 0 ? 0 : nuc);
}

// NUC of a temperature in whole kelvin through the factor, rounded, signed
// 64-bit: (((c2 T + c1) T + 2^19) >> 20) + c0. With the range check skipped
// the product can leave 64 bits; it wraps as the hardware multiply does.
constexpr int64_t org_nuc_of(const nuc_factor_t &f, int32_t kelvin) {
    const int64_t inner = static_cast<int64_t>(f.c2) * kelvin + f.c1;
    const int64_t sum = fx::add_wrap64(fx::mul_wrap64(inner, kelvin), 524288);
    return nuc_range((sum >> 20) + f.c0);
}

// NUC of a temperature in 1/16 K through the factor, rounded, signed 64-bit:
// ((((c2 T T) >> 8) + ((T c1) >> 4) + 2^19) >> 20) + c0, each shift floored.
constexpr int64_t new_nuc_of(const nuc_factor_t &f, int32_t sixteenths) {
    const int64_t t = sixteenths;
    const int64_t quadratic = fx::mul_wrap64(f.c2 * t, t) >> 8;
    const int64_t linear = (t * f.c1) >> 4;
    return nuc_range(((quadratic + linear + 524288) >> 20) + f.c0);
}

// Degrees Celsius of a whole-kelvin temperature as the table lookups take it:
// the integer as float, the offset subtracted in double, the result as float.
constexpr float celsius_of_kelvin(int32_t kelvin) {
    return units::celsius_float(static_cast<float>(kelvin));
}

// NUC of a temperature (degC) by the reverse lookup in an 8192-entry table,
// capped at `cap`. Returns the lookup's result code; a failed lookup leaves 0.
inline int table_nuc_of(const uint16_t *nuc_table, float celsius, int64_t cap, int64_t *nuc) {
    uint16_t found = 0;
    const int rc = reverse_calc_NUC_with_nuc_t(nuc_table, &found, celsius);
    *nuc = found > cap ? cap : found;
    return rc;
}

// Q14 terms of an org-unit scene, signed 32-bit (ems * tau must not be 0):
// ems_term = (128 - ems) * 16384 / ems, tau_term = (128 - tau) * 2^21 / (ems * tau).
struct Terms32 {
    int32_t ems_term;
    int32_t tau_term;
};
constexpr Terms32 org_terms(const env_param_t &p, int32_t ems_tau) {
    const int32_t ems_rest = fx::wrap32(static_cast<int64_t>(kOrgUnits.one) - p.ems);
    return Terms32{fx::div32(fx::mul_wrap32(ems_rest, fx::kQ14One), p.ems),
                   fx::div32((kOrgUnits.one - p.tau) * (1 << 21), ems_tau)};
}

// Q14 terms of a valid new-unit scene: ems_term in 32 bits, tau_term
// = (16384 - tau) * 2^28 / (tau * ems) in 64 bits and kept as 32 bits.
constexpr Terms32 new_terms(const env_param_t &p) {
    const int64_t ems_tau = static_cast<int64_t>(p.tau) * p.ems;
    return Terms32{(kNewUnits.one - p.ems) * fx::kQ14One / p.ems,
                   fx::wrap32((static_cast<int64_t>(kNewUnits.one - p.tau) << 28) / ems_tau)};
}

// KE of the new units: 2^42 / (ems * tau), kept as 32 bits.
constexpr uint32_t new_ke(int64_t ems_tau) {
    return static_cast<uint32_t>((int64_t{1} << 42) / ems_tau);
}

// BE = (ems_term NUC(Tu) + tau_term NUC(Ta) + 8192) >> 14 in signed 64 bits,
// stored in the 32-bit field.
constexpr int32_t be64(int64_t ems_term, int64_t nuc_tu, int64_t tau_term, int64_t nuc_ta) {
    return fx::wrap32(fx::q14_round64(ems_term * nuc_tu + tau_term * nuc_ta));
}

}  // namespace radimo::nuc
