// Environment factor (KE, BE) of a new-unit scene: ems and tau in Q14, ta and
// tu in 1/16 K; the NUC values of Ta and Tu come from the NUC factor or from
// an 8192-entry NUC table.
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"
#include "nuc/env_factor.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

namespace nuc = radimo::nuc;

// The table variant's NUC values are capped at 16384, one above the NUC range.
constexpr int64_t kTableNucCap = 16384;

// ems * tau of a checked scene: 1 .. 2^28, never 0.
constexpr int64_t ems_tau_of(const env_param_t &p) {
    return static_cast<int64_t>(p.ems) * p.tau;
}

// The scene checks of both calculators; a failure is reported under the
// caller's name.
bool scene_valid(const char *caller, const env_param_t &p, int gain) {
    switch (nuc::check_scene(p, gain, nuc::kNewUnits)) {
        case nuc::SceneFault::kNone:
            return true;
        case nuc::SceneFault::kEms:
            RADIMO_ERROR_FOR(caller, "new EMS is invalid\n");
            break;
        case nuc::SceneFault::kTau:
            RADIMO_ERROR_FOR(caller, "new TAU is invalid\n");
            break;
        case nuc::SceneFault::kHighGainTemp:
            RADIMO_ERROR_FOR(caller, "new Ta or Tu is invalid in high gain mode\n");
            break;
        case nuc::SceneFault::kLowGainTemp:
            RADIMO_ERROR_FOR(caller, "new Ta or Tu is invalid in low gain mode\n");
            break;
    }
    return false;
}

}  // namespace

extern "C" {

int calculate_new_KE_and_BE(const env_param_t *env_param, const nuc_factor_t *nuc_factor, int gain,
                            env_factor_t *env_factor) {
    if (env_param == nullptr || nuc_factor == nullptr || env_factor == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const env_param_t p = *env_param;
    if (!scene_valid(__func__, p, gain)) return RADIMO_ERR_PARAM;
    const int64_t nuc_ta = nuc::new_nuc_of(*nuc_factor, p.ta);
    const int64_t nuc_tu = nuc::new_nuc_of(*nuc_factor, p.tu);
    const nuc::Terms32 terms = nuc::new_terms(p);
    env_factor->KE = nuc::new_ke(ems_tau_of(p));
    env_factor->BE = nuc::be64(terms.ems_term, nuc_tu, terms.tau_term, nuc_ta);
    return RADIMO_SUCCESS;
}

int calculate_new_KE_and_BE_with_nuc_t(const env_param_t *env_param, const uint16_t *nuc_table, int gain,
                                       env_factor_t *env_factor) {
    if (env_param == nullptr || nuc_table == nullptr || env_factor == nullptr) {
        RADIMO_ERROR(" env_param or nuc_table or env_factor is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const env_param_t p = *env_param;
    if (!scene_valid(__func__, p, gain)) return RADIMO_ERR_PARAM;
    const nuc::Terms32 terms = nuc::new_terms(p);
    // The 1/16 K fraction is dropped before the lookup, deliberately: callers
    // rely on whole-kelvin lookups here.
    int64_t nuc_ta = 0;
    int64_t nuc_tu = 0;
    if (nuc::table_nuc_of(nuc_table, nuc::celsius_of_kelvin(p.ta >> 4), kTableNucCap, &nuc_ta) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR("reverse calculate NUC value failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    // The second lookup's result code is deliberately not checked: a failed
    // lookup leaves NUC(Tu) at 0 and the factor is still written.
    (void)nuc::table_nuc_of(nuc_table, nuc::celsius_of_kelvin(p.tu >> 4), kTableNucCap, &nuc_tu);
    env_factor->KE = nuc::new_ke(ems_tau_of(p));
    env_factor->BE = nuc::be64(terms.ems_term, nuc_tu, terms.tau_term, nuc_ta);
    return RADIMO_SUCCESS;
}

}  // extern "C"
