#include "core/frame.h"

#include <nlohmann/json.hpp>

namespace radimo::cli {
namespace {

constexpr const char *kMetadataKey = "radimo_frame";

// The rule to degC, written for readers of the file that do not know this tool.
const char *celsius_rule(Unit unit) {
    switch (unit) {
        case Unit::kKelvin16:
            return "value / 16 - 273.15";
        case Unit::kCentikelvin:
            return "value / 100 - 273.15";
        case Unit::kDecikelvin:
            return "value / 10 - 273.15";
        case Unit::kMillikelvin:
            return "value / 1000 - 273.15";
        case Unit::kCelsius:
            return "value";
        case Unit::kKelvin:
            return "value - 273.15";
        case Unit::kNuc:
            break;
    }
    return nullptr;
}

}  // namespace

std::string frame_metadata(const Frame &frame) {
    nlohmann::ordered_json j;
    j[kMetadataKey] = 1;
    j["unit"] = unit_name(frame.unit);
    if (const char *rule = celsius_rule(frame.unit)) j["celsius"] = rule;
    if (frame.vtemp) j["vtemp"] = *frame.vtemp;
    return j.dump();
}

void read_frame_metadata(std::string_view text, Frame &frame) {
    const nlohmann::json j = nlohmann::json::parse(text, nullptr, false);
    if (!j.is_object() || !j.contains(kMetadataKey)) return;
    if (const auto unit = j.find("unit"); unit != j.end() && unit->is_string()) {
        if (const auto u = unit_from_name(unit->get<std::string>())) {
            frame.unit = *u;
            frame.unit_source = UnitSource::kFile;
        }
    }
    if (const auto v = j.find("vtemp");
        v != j.end() && v->is_number_unsigned() && v->get<uint64_t>() <= 65535)
        frame.vtemp = static_cast<uint16_t>(v->get<uint64_t>());
}

}  // namespace radimo::cli
