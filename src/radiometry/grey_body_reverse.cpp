// Reverse grey-body correction: target temperature -> apparent temperature.
//
// The reverse members never divide, so the radicand is used as it stands: a
// negative one (ems or tau beyond their physical range) gives NaN, which is
// stored. The plain members print only "data is invalid" on failure, the
// reflected ones the three lines; all of them check result, ems and tau.
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"
#include "radiometry/grey_body.h"

using radimo::fx::kQ14Scale;
using namespace radimo::radiometry;

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// Kelvin root of the plain members, given the fourth power m of the target
// temperature.
double plain_root(uint16_t tau, float ems, float ta, double m) {
    const double e = ems;
    const double a = pow4(kelvin(ta));
    return fourth_root((1.0 - e * tau * kQ14Scale) * a + tau * (e * m) * kQ14Scale);
}

// Kelvin root of the reflected members, given the fourth power m of the
// target temperature.
double reflected_root(uint16_t tau, float ems, float ta, float tu, double m) {
    const double e = ems;
    const double t = transmittance(tau);
    const double r = pow4(kelvin(tu));
    const double a = pow4(kelvin(ta));
    return fourth_root(m * e * tau * kQ14Scale + (1.0 - e) * tau * r * kQ14Scale + (1.0 - t) * a);
}

}  // namespace

extern "C" {

int reverse_temp_correct(uint16_t tau, float *result, float ems, float ta, float temp) {
    if (!grey_body_args_ok(result, ems, tau)) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    *result = celsius_result(plain_root(tau, ems, ta, pow4_of_celsius(temp)));
    return RADIMO_SUCCESS;
}

int reverse_temp_correct_with_reflected_temp(uint16_t tau, float *result, float ems, float ta, float tu,
                                             float temp) {
    if (!grey_body_args_checked(__func__, result, ems, tau)) return RADIMO_ERR_PARAM;
    *result = celsius_result(reflected_root(tau, ems, ta, tu, pow4_of_celsius(temp)));
    return RADIMO_SUCCESS;
}

int reverse_temp_correct_kelvin(uint16_t tau, float *result, float ems, float ta, float temp) {
    if (!grey_body_args_ok(result, ems, tau)) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    *result = static_cast<float>(plain_root(tau, ems, ta, pow4(temp)));
    return RADIMO_SUCCESS;
}

int reverse_temp_correct_with_reflected_temp_kelvin(uint16_t tau, float *result, float ems, float ta,
                                                    float tu, float temp) {
    if (!grey_body_args_checked(__func__, result, ems, tau)) return RADIMO_ERR_PARAM;
    *result = static_cast<float>(reflected_root(tau, ems, ta, tu, pow4(temp)));
    return RADIMO_SUCCESS;
}

}  // extern "C"
