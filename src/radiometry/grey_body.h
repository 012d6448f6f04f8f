// Pieces shared by the eight grey-body correction members.
//
// Each member solves apparent^4 = t*e*T^4 + t*(1-e)*Tu^4 + (1-t)*Ta^4 in one
// direction, with its own operation order; what they share is the argument
// check, the failure lines, the fourth power and the fourth root. Callers
// rely on the exact widths kept here: every helper works in double except
// tau_ems_single(), which is deliberately single precision.
#pragma once

#include <cmath>
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "core/units.h"

namespace radimo::radiometry {

// Emissivity floor. The float ems is widened and compared with the double
// 0.0001, so float(0.0001), which lies just below it, is refused.
inline constexpr double kEmsFloor = 0.0001;

// True when the arguments may be used: result present, ems not below the
// floor (a NaN ems passes, the comparison being false) and tau non-zero.
inline bool grey_body_args_ok(const float *result, float ems, uint16_t tau) {
    return result != nullptr && !(kEmsFloor > static_cast<double>(ems)) && tau != 0;
}

// Celsius -> kelvin in double precision.
inline double kelvin(double celsius) {
    return celsius + units::kKelvinOffset;
}

// x^4 through the library power function, double precision.
inline double pow4(double x) {
    return std::pow(x, 4.0);
}

// Fourth root as the square root of the square root, double precision.
inline double fourth_root(double x) {
    return std::sqrt(std::sqrt(x));
}

// Real transmittance t = tau * 2^-14 in double precision.
inline double transmittance(uint16_t tau) {
    return tau * fx::kQ14Scale;
}

// D = tau * ems * 2^-14 formed in single precision (the divisor of the
// forward members and, in the plain kelvin member, the (1 - t*e) factor).
inline float tau_ems_single(uint16_t tau, float ems) {
    return static_cast<float>(tau) * ems * 6.103515625e-05f;
}

// A negative radicand becomes 0; a NaN one stays NaN.
inline double non_negative(double n) {
    return n < 0.0 ? 0.0 : n;
}

// Celsius result: the root rounded to float, then 273.15 subtracted and the
// difference rounded to float again.
inline float celsius_result(double root) {
    return units::celsius_float(static_cast<float>(root));
}

// Fourth power of the degC members' temperature argument: its kelvin value,
// alone of all the terms, is rounded to float before the power.
inline double pow4_of_celsius(float celsius) {
    return pow4(units::kelvin_float(celsius));
}

// Checks the arguments for the member named `caller`. On failure prints the
// three failure lines under its name; they do not tell which check failed.
inline bool grey_body_args_checked(const char *caller, const float *result, float ems, uint16_t tau) {
    if (grey_body_args_ok(result, ems, tau)) return true;
    constexpr const char *kLogModule = kModuleTempCorrect;
    RADIMO_ERROR_FOR(caller, "ems=%f\n\n", static_cast<double>(ems));
    RADIMO_ERROR_FOR(caller, "tau=%d\n\n", static_cast<int>(tau));
    RADIMO_ERROR_FOR(caller, "data is invalid\n");
    return false;
}

}  // namespace radimo::radiometry
