#include "core/units.h"

#include <cmath>

namespace radimo::cli {

const char *unit_name(Unit unit) {
    switch (unit) {
        case Unit::kNuc:
            return "nuc";
        case Unit::kKelvin16:
            return "kelvin16";
        case Unit::kCentikelvin:
            return "centikelvin";
        case Unit::kDecikelvin:
            return "decikelvin";
        case Unit::kMillikelvin:
            return "millikelvin";
        case Unit::kCelsius:
            return "celsius";
        case Unit::kKelvin:
            return "kelvin";
    }
    return "nuc";
}

std::optional<Unit> unit_from_name(std::string_view name) {
    for (Unit u : kUnits)
        if (name == unit_name(u)) return u;
    return std::nullopt;
}

std::string unit_names(std::string_view separator, bool temperatures_only) {
    std::string names;
    for (Unit u : kUnits)
        if (!temperatures_only || is_temperature(u))
            names += (names.empty() ? "" : std::string(separator)) + unit_name(u);
    return names;
}

const char *unit_symbol(Unit unit) {
    switch (unit) {
        case Unit::kNuc:
            return "NUC count";
        case Unit::kKelvin16:
            return "1/16 K";
        case Unit::kCentikelvin:
            return "1/100 K";
        case Unit::kDecikelvin:
            return "1/10 K";
        case Unit::kMillikelvin:
            return "1/1000 K";
        case Unit::kCelsius:
            return "\u00b0C";
        case Unit::kKelvin:
            return "K";
    }
    return "";
}

bool is_float_unit(Unit unit) {
    return unit == Unit::kCelsius || unit == Unit::kKelvin;
}

bool is_temperature(Unit unit) {
    return unit != Unit::kNuc;
}

int counts_per_kelvin(Unit unit) {
    switch (unit) {
        case Unit::kKelvin16:
            return 16;
        case Unit::kCentikelvin:
            return 100;
        case Unit::kDecikelvin:
            return 10;
        case Unit::kMillikelvin:
            return 1000;
        default:
            return 0;
    }
}

const char *unit_source_name(UnitSource source) {
    switch (source) {
        case UnitSource::kFile:
            return "declared by the file";
        case UnitSource::kOption:
            return "given by --unit";
        case UnitSource::kAssumed:
            return "assumed";
        case UnitSource::kCamera:
            return "through the camera";
    }
    return "assumed";
}

const char *unit_source_key(UnitSource source) {
    switch (source) {
        case UnitSource::kFile:
            return "file";
        case UnitSource::kOption:
            return "option";
        case UnitSource::kAssumed:
            return "assumed";
        case UnitSource::kCamera:
            return "camera";
    }
    return "assumed";
}

std::string describe_unit(Unit unit, UnitSource source) {
    return std::string(unit_name(unit)) + " (" + unit_symbol(unit) + ", " + unit_source_name(source) + ")";
}

ValueScale scale_of(Unit unit) {
    const int counts = counts_per_kelvin(unit);
    return {counts > 0 ? static_cast<double>(counts) : 1.0, 0.0};
}

double kelvin_of(Unit unit, double value) {
    switch (unit) {
        case Unit::kCelsius:
            return value + kKelvinOffset;
        case Unit::kKelvin:
            return value;
        default:
            return scale_of(unit).kelvin(value);
    }
}

double celsius_of(Unit unit, double value) {
    if (unit == Unit::kCelsius) return value;
    return kelvin_of(unit, value) - kKelvinOffset;
}

uint16_t count_of(Unit from, double value, Unit to, bool *clamped) {
    const int counts = counts_per_kelvin(to), from_counts = counts_per_kelvin(from);
    const double v = from_counts > 0 ? value * counts / from_counts : kelvin_of(from, value) * counts;
    const bool low = !(v > -0.5), high = v >= 65535.5;  // NaN counts as low
    if (clamped != nullptr) *clamped = low || high;
    if (low) return 0;
    if (high) return 65535;
    return static_cast<uint16_t>(std::lround(v));
}

uint16_t count_of_celsius(Unit unit, double celsius, bool *clamped) {
    return count_of(Unit::kCelsius, celsius, unit, clamped);
}

float celsius_of_kelvin16(uint16_t value) {
    return static_cast<float>(static_cast<double>(static_cast<float>(value) * 0.0625f) - kKelvinOffset);
}

float celsius_of_centikelvin(uint16_t value) {
    return static_cast<float>(value / 100.0 - kKelvinOffset);
}

uint16_t kelvin16_of_celsius(double celsius) {
    return count_of_celsius(Unit::kKelvin16, celsius);
}

uint16_t centikelvin_of_celsius(double celsius) {
    return count_of_celsius(Unit::kCentikelvin, celsius);
}

}  // namespace radimo::cli
