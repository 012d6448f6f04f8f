// Humidity recalculation of a table tau: vapour pressure (Magnus formula),
// a target-temperature exponent coefficient and the distance rescale tau by
// (e / 1425 Pa) ^ (log2(distance) * c).
//
// The three computing steps refuse a NULL output, and the driver a NULL
// scene record, with "data is NULL" and RADIMO_ERR_PARAM. The gate needs the
// scene only when the humidity switch is on.
#include <cmath>
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

extern "C" {

int calculate_vapor_pressure(uint16_t version, float *vapor_pressure, float hum, float ta) {
    if (vapor_pressure == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (hum < 0 || hum > 1.0) {
        RADIMO_ERROR("x is invalid\n");  // the distance models' text, reused deliberately
        return RADIMO_ERR_PARAM;
    }
    const double t = ta;
    auto e = static_cast<float>(611.2 * std::exp(17.67 * t / (t + 243.5)) * hum);
    if (e < 800.0) e = 800.0f;  // floor for every version
    if (version == 1) {
        if (e > 3000.0) e = 3000.0f;
    } else if (version == 2 || version == 3) {
        if (e > 4000.0) e = 4000.0f;
    }
    *vapor_pressure = e;
    return RADIMO_SUCCESS;
}

int calculate_coef(uint16_t version, float *coef, float target_temp) {
    if (coef == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const double t = target_temp;
    double c = 0.0;
    if (t >= 273.15 && t < 410.15) {
        c = (std::pow(410.15 / t, 4.0) - 1.0) * 0.01 - 0.04;
    } else if (t >= 410.15 && t < 1273.1501) {
        c = (std::pow(t / 410.15, 4.0) - 1.0) * -0.003 - 0.04;
    }
    auto out = static_cast<float>(c);
    if (version == 2) {
        out = static_cast<float>(out * 0.6);
    } else if (version == 3) {
        out = static_cast<float>(out * 0.3);
    }
    *coef = out;
    return RADIMO_SUCCESS;
}

int recalc_tau(uint16_t version, uint16_t tau, uint16_t *new_tau, float dist, float coef,
               float vapor_pressure) {
    if (new_tau == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    float x = dist;
    if (x < 1.0) {
        x = 1.0f;
    } else if ((version == 2 || version == 3) && x > 10.0) {
        x = 10.0f;
    }
    // 1.4427 * ln(x) is log2 of the distance to four digits; 1425 Pa is the
    // reference vapour pressure. The ratio is formed in single precision.
    const float ratio = vapor_pressure / 1425.0f;
    const double p = std::pow(static_cast<double>(ratio), 1.4427 * std::log(static_cast<double>(x)) * coef);
    *new_tau = radimo::fx::trunc_u16(static_cast<float>(tau) * static_cast<float>(p));
    return RADIMO_SUCCESS;
}

int recalc_tau_with_hum_version(const env_correct_param_t *env_correct_param, uint16_t version, uint16_t tau,
                                uint16_t *new_tau, float target_temp) {
    if (env_correct_param == nullptr || new_tau == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    float vapor_pressure = 0.0f;
    float coef = 0.0f;
    if (calculate_vapor_pressure(version, &vapor_pressure, env_correct_param->hum, env_correct_param->ta) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR("calculate_vapor_pressure failed\n");
        return RADIMO_ERR_VAPOR_PRESSURE;
    }
    if (calculate_coef(version, &coef, target_temp) != RADIMO_SUCCESS) {
        RADIMO_ERROR("calculate_vapor_pressure failed\n");  // text kept as it stands
        return RADIMO_ERR_RECALC_TAU;
    }
    if (recalc_tau(version, tau, new_tau, env_correct_param->dist, coef, vapor_pressure) != RADIMO_SUCCESS) {
        RADIMO_ERROR("recalc tau failed\n");
        return RADIMO_ERR_HUM_CORRECT;
    }
    return RADIMO_SUCCESS;
}

int recalc_tau_under_influence_of_hum(const correct_table_t *correct_table,
                                      const env_correct_param_t *env_correct_param, uint16_t tau,
                                      uint16_t *new_tau, float target_temp) {
    if (correct_table == nullptr || new_tau == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (correct_table->hum_enable != 1) {
        *new_tau = tau;  // the scene is not consulted, valid or not
        return RADIMO_SUCCESS;
    }
    if (recalc_tau_with_hum_version(env_correct_param, correct_table->hum_version, tau, new_tau,
                                    target_temp) != RADIMO_SUCCESS) {
        RADIMO_ERROR("recalc_tau_with_hum_version failed\n");
        return RADIMO_ERR_HUM_CORRECT;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
