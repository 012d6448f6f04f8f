// Environment factor (KE, BE) of an org-unit scene: ems and tau in Q7, ta and
// tu in whole kelvin; the NUC values of Ta and Tu come from the NUC factor or
// from an 8192-entry NUC table.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"
#include "nuc/env_factor.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

namespace fx = radimo::fx;
namespace nuc = radimo::nuc;

// 16383 * 16384: the factor variant's KE numerator, deliberately not the 2^28
// of the table variant, so a perfect scene gives KE 16383 there.
constexpr int32_t kFactorKeNumerator = 268419072;
constexpr int32_t kTableKeNumerator = 1 << 28;

// The table variant's NUC values are capped at 16384, one above the NUC range.
constexpr int64_t kTableNucCap = 16384;

// BE of the table variant, in signed 32-bit arithmetic (products and sums wrap).
constexpr int32_t be32(int32_t tau_term, int64_t nuc_ta, int32_t ems_term, int64_t nuc_tu) {
    const int64_t sum = static_cast<int64_t>(fx::mul_wrap32(tau_term, static_cast<int32_t>(nuc_ta))) +
                        fx::mul_wrap32(ems_term, static_cast<int32_t>(nuc_tu)) + fx::kQ14Half;
    return fx::wrap32(sum) >> fx::kQ14Shift;
}

// The scene checks of both calculators, reported under the caller's name.
// Gives ems * tau, or 0 after the failure's line. The product wraps to 0
// only for an extreme negative ems, which the ems check lets through; it is
// reported instead of divided by.
int32_t checked_ems_tau(const char *caller, const env_param_t &p, int gain) {
    switch (nuc::check_scene(p, gain, nuc::kOrgUnits)) {
        case nuc::SceneFault::kNone:
            break;
        case nuc::SceneFault::kEms:
            RADIMO_ERROR_FOR(caller, "EMS is invalid\n");
            return 0;
        case nuc::SceneFault::kTau:
            RADIMO_ERROR_FOR(caller, "TAU is invalid\n");
            return 0;
        case nuc::SceneFault::kHighGainTemp:
            RADIMO_ERROR_FOR(caller, "Ta or Tu is invalid in high gain mode\n");
            return 0;
        case nuc::SceneFault::kLowGainTemp:
            RADIMO_ERROR_FOR(caller, "Ta or Tu is invalid in low gain mode\n");
            return 0;
    }
    const int32_t ems_tau = fx::mul_wrap32(p.ems, p.tau);
    if (ems_tau == 0) RADIMO_ERROR_FOR(caller, "EMS is invalid\n");
    return ems_tau;
}

}  // namespace

extern "C" {

int calculate_KE_and_BE(const env_param_t *env_param, const nuc_factor_t *nuc_factor, int gain,
                        env_factor_t *env_factor) {
    if (env_param == nullptr || nuc_factor == nullptr || env_factor == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const env_param_t p = *env_param;
    const int32_t ems_tau = checked_ems_tau(__func__, p, gain);
    if (ems_tau == 0) return RADIMO_ERR_PARAM;
    const int64_t nuc_ta = nuc::org_nuc_of(*nuc_factor, p.ta);
    const int64_t nuc_tu = nuc::org_nuc_of(*nuc_factor, p.tu);
    const nuc::Terms32 terms = nuc::org_terms(p, ems_tau);
    env_factor->KE = static_cast<uint32_t>(fx::div32(kFactorKeNumerator, ems_tau));
    env_factor->BE = nuc::be64(terms.ems_term, nuc_tu, terms.tau_term, nuc_ta);
    return RADIMO_SUCCESS;
}

int calculate_org_KE_and_BE_with_nuc_t(const env_param_t *env_param, const uint16_t *nuc_table, int gain,
                                       env_factor_t *env_factor) {
    if (env_param == nullptr || nuc_table == nullptr || env_factor == nullptr) {
        RADIMO_ERROR(" env_param or nuc_table or env_factor is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const env_param_t p = *env_param;
    const int32_t ems_tau = checked_ems_tau(__func__, p, gain);
    if (ems_tau == 0) return RADIMO_ERR_PARAM;
    const nuc::Terms32 terms = nuc::org_terms(p, ems_tau);
    int64_t nuc_ta = 0;
    int64_t nuc_tu = 0;
    if (nuc::table_nuc_of(nuc_table, nuc::celsius_of_kelvin(p.ta), kTableNucCap, &nuc_ta) != RADIMO_SUCCESS ||
        nuc::table_nuc_of(nuc_table, nuc::celsius_of_kelvin(p.tu), kTableNucCap, &nuc_tu) != RADIMO_SUCCESS) {
        RADIMO_ERROR("reverse calculate NUC value failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    env_factor->KE = static_cast<uint32_t>(fx::div32(kTableKeNumerator, ems_tau));
    env_factor->BE = be32(terms.tau_term, nuc_ta, terms.ems_term, nuc_tu);
    return RADIMO_SUCCESS;
}

}  // extern "C"
