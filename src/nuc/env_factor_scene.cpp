// Environment factor (KE, BE) of a float scene description: emissivity as a
// fraction, tau read from the environment tau table at the scene's humidity,
// ambient temperature and distance, NUC values from an 8192-entry NUC table.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "core/units.h"
#include "libradimo.h"
#include "nuc/env_factor.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

namespace fx = radimo::fx;
namespace nuc = radimo::nuc;

constexpr double kLowestCelsius = -radimo::units::kKelvinOffset;  // absolute zero
constexpr double kHottestAmbient = 100.0;

constexpr bool ambient_invalid(float t) {
    return static_cast<double>(t) < kLowestCelsius || static_cast<double>(t) > kHottestAmbient;
}

}  // namespace

extern "C" {

int calc_env_factor_with_dist_and_env_temp(const env_correct_param_t *env_correct_param,
                                           const uint16_t *tau_table, const uint16_t *nuc_table,
                                           env_factor_t *env_factor) {
    // The output record is checked with the inputs: it is only written on success.
    if (env_correct_param == nullptr || tau_table == nullptr || nuc_table == nullptr ||
        env_factor == nullptr) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const env_correct_param_t scene = *env_correct_param;
    if (scene.ems <= 0.0f || scene.ems > 1.0f) {
        RADIMO_ERROR("new EMS is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (scene.hum < 0.0f || scene.hum > 1.0f) {
        RADIMO_ERROR("hum is out of range\n");
        return RADIMO_ERR_PARAM;
    }
    if (scene.dist < 0.0f) {
        RADIMO_ERROR("dist is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (ambient_invalid(scene.ta)) {
        RADIMO_ERROR("ta is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (ambient_invalid(scene.tu)) {
        RADIMO_ERROR("tu is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const uint16_t quant_ems = fx::low16(fx::trunc_i32(static_cast<double>(scene.ems) * 16384.0));
    RADIMO_DEBUG("quant_ems=%d\n", static_cast<int>(quant_ems));
    RADIMO_DEBUG("hum=%f,ta=%f,dist=%f\n", static_cast<double>(scene.hum), static_cast<double>(scene.ta),
                 static_cast<double>(scene.dist));
    // An emissivity below 2^-14 quantises to 0 and has no inverse.
    if (quant_ems == 0) {
        RADIMO_ERROR("new EMS is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    uint16_t tau = 0;
    if (read_tau(tau_table, &tau, scene.hum, scene.ta, scene.dist) != RADIMO_SUCCESS) {
        RADIMO_ERROR("read_tau failed\n");
        return RADIMO_ERR_TAU_TABLE;
    }
    // A table cell of 0 (no transmission) has no inverse either.
    if (tau == 0) {
        RADIMO_ERROR("new TAU is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const int64_t ems_tau = static_cast<int64_t>(quant_ems) * tau;
    const int32_t ems_term = (fx::kQ14One - quant_ems) * fx::kQ14One / quant_ems;
    const int64_t tau_term = (static_cast<int64_t>(fx::kQ14One - tau) << 28) / ems_tau;
    int64_t nuc_ta = 0;
    int64_t nuc_tu = 0;
    if (nuc::table_nuc_of(nuc_table, scene.ta, fx::kNucMax, &nuc_ta) != RADIMO_SUCCESS) {
        RADIMO_ERROR("reverse_calc_NUC_with_nuc_t failed\n");
        return RADIMO_ERR_REVERSE_NUC;
    }
    if (nuc::table_nuc_of(nuc_table, scene.tu, fx::kNucMax, &nuc_tu) != RADIMO_SUCCESS) {
        RADIMO_ERROR("read_tau failed\n");  // the tau text, deliberately kept for this lookup
        return RADIMO_ERR_REVERSE_NUC;
    }
    env_factor->KE = nuc::new_ke(ems_tau);
    env_factor->BE = nuc::be64(ems_term, nuc_tu, tau_term, nuc_ta);
    return RADIMO_SUCCESS;
}

}  // extern "C"
