// Internal unit constants shared by the temperature code.
#pragma once

#include <cstdint>

namespace radimo::units {

// Celsius <-> kelvin offset (double precision, as every conversion uses it).
inline constexpr double kKelvinOffset = 273.15;

// NUC table entries are temperatures in 1/16 K.
inline constexpr double kTableUnitsPerKelvin = 16.0;

// degC -> K: 273.15 added in double precision, the sum kept as float.
constexpr float kelvin_float(float celsius) {
    return static_cast<float>(static_cast<double>(celsius) + kKelvinOffset);
}

// K -> degC: 273.15 subtracted in double precision, the difference kept as float.
constexpr float celsius_float(float kelvin) {
    return static_cast<float>(static_cast<double>(kelvin) - kKelvinOffset);
}

// A temperature in 1/16 K (NUC table entry or 16-bit frame value) in degC:
// value * 0.0625 in single precision (exact for 16-bit values), then
// celsius_float().
constexpr float celsius_of_sixteenths(uint16_t value) {
    return celsius_float(static_cast<float>(value) * 0.0625f);
}

}  // namespace radimo::units
