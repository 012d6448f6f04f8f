// Forward grey-body correction: apparent temperature -> target temperature.
//
// Every member checks result, ems and tau through one failure path (three
// lines, RADIMO_ERR_PARAM, result untouched) and clamps a negative radicand
// to 0, so a scene colder than its surroundings yields -273.15 degC (0 K)
// rather than a failure.
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"
#include "radiometry/grey_body.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

using radimo::fx::kQ14Scale;
using namespace radimo::radiometry;

extern "C" {

int temp_correct(uint16_t tau, float *result, float ems, float ta, float temp) {
    if (!grey_body_args_ok(result, ems, tau)) {
        RADIMO_GREY_BODY_FAILURE_LINES(ems, tau);
        return RADIMO_ERR_PARAM;
    }
    const double e = ems;
    // Only the apparent term is rounded to float before the power.
    const double m = pow4(static_cast<float>(kelvin(temp)));
    const double a = pow4(kelvin(ta));
    const double n = m - (1.0 - e * tau * kQ14Scale) * a;
    const double x = non_negative(n) / tau_ems_single(tau, ems);
    *result = celsius_result(fourth_root(x));
    return RADIMO_SUCCESS;
}

int temp_correct_with_reflected_temp(uint16_t tau, float *result, float ems, float ta, float tu, float temp) {
    if (!grey_body_args_ok(result, ems, tau)) {
        RADIMO_GREY_BODY_FAILURE_LINES(ems, tau);
        return RADIMO_ERR_PARAM;
    }
    const double e = ems;
    const double t = transmittance(tau);
    const double m = pow4(static_cast<float>(kelvin(temp)));
    const double r = pow4(kelvin(tu));
    const double a = pow4(kelvin(ta));
    const double n = m - (1.0 - e) * tau * r * kQ14Scale - (1.0 - t) * a;
    const double x = non_negative(n) / tau_ems_single(tau, ems);
    *result = celsius_result(fourth_root(x));
    return RADIMO_SUCCESS;
}

// A NULL result takes the failure path instead of being written through;
// callers were never allowed to pass one.
int temp_correct_kelvin(uint16_t tau, float *result, float ems, float ta, float temp) {
    if (!grey_body_args_ok(result, ems, tau)) {
        RADIMO_GREY_BODY_FAILURE_LINES(ems, tau);
        return RADIMO_ERR_PARAM;
    }
    const float d = tau_ems_single(tau, ems);
    const double m = pow4(temp);
    const double a = pow4(kelvin(ta));
    // The (1 - t*e) factor uses the single-precision product here.
    const double n = m - (1.0 - static_cast<double>(d)) * a;
    const double x = non_negative(n) / d;
    *result = static_cast<float>(fourth_root(x));
    return RADIMO_SUCCESS;
}

// As temp_correct_kelvin: a NULL result takes the failure path.
int temp_correct_with_reflected_temp_kelvin(uint16_t tau, float *result, float ems, float ta, float tu,
                                            float temp) {
    if (!grey_body_args_ok(result, ems, tau)) {
        RADIMO_GREY_BODY_FAILURE_LINES(ems, tau);
        return RADIMO_ERR_PARAM;
    }
    const double e = ems;
    const double t = transmittance(tau);
    const double m = pow4(temp);
    const double r = pow4(kelvin(tu));
    const double a = pow4(kelvin(ta));
    const double n = m - (1.0 - e) * tau * r * kQ14Scale - (1.0 - t) * a;
    const double x = non_negative(n) / tau_ems_single(tau, ems);
    *result = static_cast<float>(fourth_root(x));
    return RADIMO_SUCCESS;
}

}  // extern "C"
