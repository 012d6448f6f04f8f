// What the samples of a frame mean: the units the tool reads and writes,
// where a frame's unit came from, and the temperatures of single values.
//
// 16-bit temperature units count fractions of a kelvin from absolute zero
// (1/16 K is the library's own unit: the NUC tables and its frames); float
// units hold degC or K. Raw NUC values are the sensor's response and become
// temperatures only through a camera's tables.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace radimo::cli {

enum class Unit {
    kNuc,          // raw 14-bit sensor response (NUC value), u16
    kKelvin16,     // 1/16 K, u16: degC = v / 16 - 273.15 (the library's unit)
    kCentikelvin,  // 1/100 K, u16
    kDecikelvin,   // 1/10 K, u16
    kMillikelvin,  // 1/1000 K, u16 (so at most 65.535 K)
    kCelsius,      // degC, float32
    kKelvin,       // K, float32
};
inline constexpr Unit kUnits[] = {Unit::kNuc,         Unit::kKelvin16, Unit::kCentikelvin, Unit::kDecikelvin,
                                  Unit::kMillikelvin, Unit::kCelsius,  Unit::kKelvin};

// "centikelvin", the name given to --unit and --to and stored in files.
const char *unit_name(Unit unit);
std::optional<Unit> unit_from_name(std::string_view name);
// Every name (or every temperature unit's), separated by `separator` ("nuc, kelvin16, ...").
std::string unit_names(std::string_view separator = ", ", bool temperatures_only = false);
// What one count stands for: "NUC count", "1/16 K", "1/100 K", "1/10 K", "1/1000 K", "\u00b0C", "K".
const char *unit_symbol(Unit unit);

bool is_float_unit(Unit unit);   // kCelsius, kKelvin: float32 samples
bool is_temperature(Unit unit);  // every unit but kNuc
// Counts per kelvin of a 16-bit temperature unit: 16, 100, 10, 1000 (0 for the others).
int counts_per_kelvin(Unit unit);

// Where a frame's unit came from.
enum class UnitSource {
    kFile,     // the file declares it (the tool's own TIFF, PNG, PGM and CSV files)
    kOption,   // the user gave it (--unit)
    kAssumed,  // nothing said: 1/16 K (raw NUC with a camera) for 16-bit samples, degC for floats
    kCamera,   // computed from raw NUC values through the camera (and its scene correction)
};
// "declared by the file", "given by --unit", "assumed", "through the camera".
const char *unit_source_name(UnitSource source);
// JSON key values: "file", "option", "assumed", "camera".
const char *unit_source_key(UnitSource source);
// "centikelvin (1/100 K, given by --unit)".
std::string describe_unit(Unit unit, UnitSource source);

inline constexpr double kKelvinOffset = 273.15;

// What a 16-bit measured value stands for: kelvin = (offset + value) / per_kelvin.
// The 16-bit units are their own scale (offset 0, their counts per kelvin);
// float frames are measured on a grid of their own (statistics.h), whose
// offset is a whole number of counts. Counts per kelvin rather than a step,
// so 1/100 K divides by exactly 100.
struct ValueScale {
    double per_kelvin = 16;  // counts per kelvin
    double offset = 0;       // counts from absolute zero to value 0
    double kelvin(double value) const { return (offset + value) / per_kelvin; }
    double celsius(double value) const { return kelvin(value) - kKelvinOffset; }
    // The (unrounded, unlimited) value that stands for a temperature.
    double value_of_celsius(double celsius) const { return (celsius + kKelvinOffset) * per_kelvin - offset; }
};
// The scale of a 16-bit temperature unit.
ValueScale scale_of(Unit unit);

// Single values. celsius_of() and kelvin_of() take a sample in any
// temperature unit (a count of a 16-bit unit or a float value).
double kelvin_of(Unit unit, double value);
double celsius_of(Unit unit, double value);
// The count of the 16-bit temperature unit `to` nearest a temperature given
// in `from`: rounded half away from zero, limited to 0..65535 (`clamped`,
// when given, tells whether it was). Between 16-bit units the ratio of their
// counts is applied exactly (1/1000 K 29315 is 1/100 K 2931.5, so 2932).
uint16_t count_of(Unit from, double value, Unit to, bool *clamped = nullptr);
uint16_t count_of_celsius(Unit unit, double celsius, bool *clamped = nullptr);

// The library's rule for 1/16 K in degC: the value times 0.0625 in single
// precision, minus 273.15 in double precision, rounded to float.
float celsius_of_kelvin16(uint16_t value);
float celsius_of_centikelvin(uint16_t value);
uint16_t kelvin16_of_celsius(double celsius);
uint16_t centikelvin_of_celsius(double celsius);

}  // namespace radimo::cli
