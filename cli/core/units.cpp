#include "core/units.h"

#include <cmath>
#include <cstddef>
#include <iterator>

namespace radimo::cli {

namespace {

// What each unit is called, what one count of it stands for, and its counts per kelvin (0: not an
// integer count of kelvin), in the order of the enumeration.
struct UnitFacts {
    const char *name;
    const char *symbol;
    int counts_per_kelvin;
};
constexpr UnitFacts kUnitFacts[] = {
    {"nuc", "NUC count", 0},      {"kelvin16", "1/16 K", 16},        {"centikelvin", "1/100 K", 100},
    {"decikelvin", "1/10 K", 10}, {"millikelvin", "1/1000 K", 1000}, {"celsius", "\u00b0C", 0},
    {"kelvin", "K", 0},
};
static_assert(std::size(kUnitFacts) == std::size(kUnits));

// Where a unit came from, in words and as a JSON key, in the order of the enumeration.
struct SourceFacts {
    const char *name;
    const char *key;
};
constexpr SourceFacts kSourceFacts[] = {
    {"declared by the file", "file"},
    {"given by --unit", "option"},
    {"assumed", "assumed"},
    {"through the camera", "camera"},
};

const UnitFacts &facts(Unit unit) {
    const auto i = static_cast<std::size_t>(unit);
    return kUnitFacts[i < std::size(kUnitFacts) ? i : 0];
}

const SourceFacts &facts(UnitSource source) {
    const auto i = static_cast<std::size_t>(source);
    return kSourceFacts[i < std::size(kSourceFacts) ? i : 2];
}

}  // namespace

const char *unit_name(Unit unit) {
    return facts(unit).name;
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
    return facts(unit).symbol;
}

bool is_float_unit(Unit unit) {
    return unit == Unit::kCelsius || unit == Unit::kKelvin;
}

bool is_temperature(Unit unit) {
    return unit != Unit::kNuc;
}

int counts_per_kelvin(Unit unit) {
    return facts(unit).counts_per_kelvin;
}

const char *unit_source_name(UnitSource source) {
    return facts(source).name;
}

const char *unit_source_key(UnitSource source) {
    return facts(source).key;
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
