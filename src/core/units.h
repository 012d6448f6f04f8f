// Internal unit constants shared by the temperature code.
#pragma once

namespace radimo::units {

// Celsius <-> kelvin offset (double precision, as every conversion uses it).
inline constexpr double kKelvinOffset = 273.15;

// NUC table entries are temperatures in 1/16 K.
inline constexpr double kTableUnitsPerKelvin = 16.0;

}  // namespace radimo::units
