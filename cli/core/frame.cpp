#include "core/frame.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace radimo::cli {
namespace {

constexpr double kKelvinOffset = 273.15;
constexpr const char *kMetadataKey = "radimo_frame";

uint16_t rounded_u16(double v) {
    if (!(v > 0.0)) return 0;
    return v >= 65535.0 ? 65535 : static_cast<uint16_t>(std::lround(v));
}

}  // namespace

const char *unit_name(Unit unit) {
    switch (unit) {
        case Unit::kNuc:
            return "nuc";
        case Unit::kKelvin16:
            return "kelvin16";
        case Unit::kCentikelvin:
            return "centikelvin";
        case Unit::kCelsius:
            return "celsius";
    }
    return "nuc";
}

std::optional<Unit> unit_from_name(std::string_view name) {
    for (Unit u : {Unit::kNuc, Unit::kKelvin16, Unit::kCentikelvin, Unit::kCelsius})
        if (name == unit_name(u)) return u;
    return std::nullopt;
}

std::string frame_metadata(const Frame &frame) {
    nlohmann::ordered_json j;
    j[kMetadataKey] = 1;
    j["unit"] = unit_name(frame.unit);
    switch (frame.unit) {
        case Unit::kKelvin16:
            j["celsius"] = "value / 16 - 273.15";
            break;
        case Unit::kCentikelvin:
            j["celsius"] = "value / 100 - 273.15";
            break;
        case Unit::kCelsius:
            j["celsius"] = "value";
            break;
        case Unit::kNuc:
            break;
    }
    if (frame.vtemp) j["vtemp"] = *frame.vtemp;
    return j.dump();
}

void read_frame_metadata(std::string_view text, Frame &frame) {
    const nlohmann::json j = nlohmann::json::parse(text, nullptr, false);
    if (!j.is_object() || !j.contains(kMetadataKey)) return;
    if (const auto unit = j.find("unit"); unit != j.end() && unit->is_string()) {
        if (const auto u = unit_from_name(unit->get<std::string>())) {
            frame.unit = *u;
            frame.unit_from_file = true;
        }
    }
    if (const auto v = j.find("vtemp");
        v != j.end() && v->is_number_unsigned() && v->get<uint64_t>() <= 65535)
        frame.vtemp = static_cast<uint16_t>(v->get<uint64_t>());
}

float celsius_of_kelvin16(uint16_t value) {
    return static_cast<float>(static_cast<float>(value * 0.0625f) - kKelvinOffset);
}

float celsius_of_centikelvin(uint16_t value) {
    return static_cast<float>(value / 100.0 - kKelvinOffset);
}

uint16_t kelvin16_of_celsius(double celsius) {
    return rounded_u16((celsius + kKelvinOffset) * 16.0);
}

uint16_t centikelvin_of_celsius(double celsius) {
    return rounded_u16((celsius + kKelvinOffset) * 100.0);
}

}  // namespace radimo::cli
