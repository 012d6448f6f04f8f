// Forward grey-body correction: apparent temperature -> target temperature.
//
// Every member checks result, ems and tau through one failure path (three
// lines, RADIMO_ERR_PARAM, result untouched) and clamps a negative radicand
// to 0, so a scene colder than its surroundings yields -273.15 degC (0 K)
// rather than a failure.
#include <cstdint>

#include "libradimo.h"
#include "radiometry/grey_body.h"

using radimo::fx::kQ14Scale;
using namespace radimo::radiometry;

namespace {

// Kelvin root of the reflected members, given the fourth power m of the
// apparent temperature.
double reflected_root(uint16_t tau, float ems, float ta, float tu, double m) {
    const double e = ems;
    const double t = transmittance(tau);
    const double r = pow4(kelvin(tu));
    const double a = pow4(kelvin(ta));
    const double n = m - (1.0 - e) * tau * r * kQ14Scale - (1.0 - t) * a;
    return fourth_root(non_negative(n) / tau_ems_single(tau, ems));
}

}  // namespace

extern "C" {

int temp_correct(uint16_t tau, float *result, float ems, float ta, float temp) {
    if (!grey_body_args_checked(__func__, result, ems, tau)) return RADIMO_ERR_PARAM;
    const double e = ems;
    const double m = pow4_of_celsius(temp);
    const double a = pow4(kelvin(ta));
    const double n = m - (1.0 - e * tau * kQ14Scale) * a;
    const double x = non_negative(n) / tau_ems_single(tau, ems);
    *result = celsius_result(fourth_root(x));
    return RADIMO_SUCCESS;
}

int temp_correct_with_reflected_temp(uint16_t tau, float *result, float ems, float ta, float tu, float temp) {
    if (!grey_body_args_checked(__func__, result, ems, tau)) return RADIMO_ERR_PARAM;
    *result = celsius_result(reflected_root(tau, ems, ta, tu, pow4_of_celsius(temp)));
    return RADIMO_SUCCESS;
}

// A NULL result takes the failure path instead of being written through;
// callers were never allowed to pass one.
int temp_correct_kelvin(uint16_t tau, float *result, float ems, float ta, float temp) {
    if (!grey_body_args_checked(__func__, result, ems, tau)) return RADIMO_ERR_PARAM;
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
    if (!grey_body_args_checked(__func__, result, ems, tau)) return RADIMO_ERR_PARAM;
    *result = static_cast<float>(reflected_root(tau, ems, ta, tu, pow4(temp)));
    return RADIMO_SUCCESS;
}

}  // extern "C"
