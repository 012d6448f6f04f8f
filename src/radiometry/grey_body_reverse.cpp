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

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

using radimo::fx::kQ14Scale;
using namespace radimo::radiometry;

extern "C" {

int reverse_temp_correct(uint16_t tau, float *result, float ems, float ta, float temp) {
    if (!grey_body_args_ok(result, ems, tau)) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const double e = ems;
    const double m = pow4(static_cast<float>(kelvin(temp)));
    const double a = pow4(kelvin(ta));
    const double y = (1.0 - e * tau * kQ14Scale) * a + tau * (e * m) * kQ14Scale;
    *result = celsius_result(fourth_root(y));
    return RADIMO_SUCCESS;
}

int reverse_temp_correct_with_reflected_temp(uint16_t tau, float *result, float ems, float ta, float tu,
                                             float temp) {
    if (!grey_body_args_ok(result, ems, tau)) {
        RADIMO_GREY_BODY_FAILURE_LINES(ems, tau);
        return RADIMO_ERR_PARAM;
    }
    const double e = ems;
    const double t = transmittance(tau);
    const double m = pow4(static_cast<float>(kelvin(temp)));
    const double r = pow4(kelvin(tu));
    const double a = pow4(kelvin(ta));
    const double y = m * e * tau * kQ14Scale + (1.0 - e) * tau * r * kQ14Scale + (1.0 - t) * a;
    *result = celsius_result(fourth_root(y));
    return RADIMO_SUCCESS;
}

int reverse_temp_correct_kelvin(uint16_t tau, float *result, float ems, float ta, float temp) {
    if (!grey_body_args_ok(result, ems, tau)) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const double e = ems;
    const double m = pow4(temp);
    const double a = pow4(kelvin(ta));
    const double y = (1.0 - e * tau * kQ14Scale) * a + tau * (e * m) * kQ14Scale;
    *result = static_cast<float>(fourth_root(y));
    return RADIMO_SUCCESS;
}

int reverse_temp_correct_with_reflected_temp_kelvin(uint16_t tau, float *result, float ems, float ta,
                                                    float tu, float temp) {
    if (!grey_body_args_ok(result, ems, tau)) {
        RADIMO_GREY_BODY_FAILURE_LINES(ems, tau);
        return RADIMO_ERR_PARAM;
    }
    const double e = ems;
    const double t = transmittance(tau);
    const double m = pow4(temp);
    const double r = pow4(kelvin(tu));
    const double a = pow4(kelvin(ta));
    const double y = m * e * tau * kQ14Scale + (1.0 - e) * tau * r * kQ14Scale + (1.0 - t) * a;
    *result = static_cast<float>(fourth_root(y));
    return RADIMO_SUCCESS;
}

}  // extern "C"
