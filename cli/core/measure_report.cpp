#include "core/measure_report.h"

#include <algorithm>
#include <cstdio>

namespace radimo::cli {
namespace {

using ordered_json = nlohmann::ordered_json;

// The width of a row's label, kind and place columns, where a second line starts.
constexpr int kRowIndent = 34;

// The leaves of a record as (dotted name, value) pairs, in order.
void flatten(const ordered_json &j, const std::string &prefix,
             std::vector<std::pair<std::string, const ordered_json *>> &out) {
    if (j.is_object()) {
        for (const auto &item : j.items())
            flatten(item.value(), prefix.empty() ? item.key() : prefix + "." + item.key(), out);
    } else if (j.is_array()) {
        for (std::size_t i = 0; i < j.size(); ++i) flatten(j[i], prefix + "." + std::to_string(i), out);
    } else {
        out.emplace_back(prefix, &j);
    }
}

std::string csv_field(const std::string &text) {
    if (text.find_first_of(",\"\n\r") == std::string::npos) return text;
    std::string quoted = "\"";
    for (char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

std::string csv_value(const ordered_json &v) {
    if (v.is_string()) return csv_field(v.get<std::string>());
    if (v.is_null()) return "";
    return csv_field(v.dump());
}

}  // namespace

std::string temperatures_from(const Frame &frame, const FrameConverter &converter) {
    std::string text = describe_unit(frame.unit, frame.unit_source);
    if (frame.unit == Unit::kNuc)
        text += ", through the camera at vtemp " + std::to_string(converter.vtemp_of(frame)) + " to kelvin16";
    if (converter.quantises(frame.unit)) text += ", rounded to kelvin16 for the scene correction";
    if (converter.scene_corrects()) text += ", scene-corrected to celsius";
    return text;
}

std::string grid_note(const MeasuredFrame &measured) {
    if (!is_float_unit(measured.unit)) return "";
    char text[64];
    std::snprintf(text, sizeof text, "measured in steps of %g K", 1 / measured.scale.per_kelvin);
    return text;
}

ordered_json measured_frame_json(std::size_t index, const FrameConverter &converter, const Frame &frame,
                                 const MeasuredFrame &measured) {
    ordered_json j = {{"frame", index},
                      {"width", measured.width},
                      {"height", measured.height},
                      {"input_unit", unit_name(frame.unit)},
                      {"input_unit_source", unit_source_key(frame.unit_source)},
                      {"unit", unit_name(measured.unit)},
                      {"derivation", temperatures_from(frame, converter)}};
    if (frame.unit == Unit::kNuc) j["vtemp"] = converter.vtemp_of(frame);
    if (is_float_unit(measured.unit)) j["grid_step_k"] = 1 / measured.scale.per_kelvin;
    if (measured.non_finite > 0) j["pixels_without_number"] = measured.non_finite;
    return j;
}

std::string measurement_row(const MeasuredFrame &frame, const RegionResult &m) {
    const Region &r = m.region;
    char where[64];
    if (r.kind == Region::Kind::kPoint)
        std::snprintf(where, sizeof where, "(%d,%d)", r.a.x, r.a.y);
    else if (r.kind == Region::Kind::kLine)
        std::snprintf(where, sizeof where, "(%d,%d)-(%d,%d)", r.a.x, r.a.y, r.b.x, r.b.y);
    else
        std::snprintf(where, sizeof where, "(%d,%d) %dx%d", r.a.x, r.a.y, r.b.x, r.b.y);
    char row[128];
    const int n =
        std::snprintf(row, sizeof row, "%-4s %-5s %-22s ", r.label.c_str(), kind_name(r.kind), where);
    return std::string(row, static_cast<std::size_t>(std::max(n, 0))) + region_text(frame, m, kRowIndent);
}

std::string shape_row(const MeasuredFrame &frame, const ShapeRegion &region, const ShapeResult &m) {
    char row[128];
    const std::string where = std::string(region.shape_name()) + " " + region.describe();
    const int n = std::snprintf(row, sizeof row, "%-4s %-28s ", m.label.c_str(), where.c_str());
    return std::string(row, static_cast<std::size_t>(std::max(n, 0))) + shape_text(frame, m, kRowIndent);
}

std::string records_csv(const std::vector<ordered_json> &records) {
    std::vector<std::vector<std::pair<std::string, const ordered_json *>>> rows(records.size());
    std::vector<std::string> columns;
    for (std::size_t i = 0; i < records.size(); ++i) {
        flatten(records[i], "", rows[i]);
        for (const auto &[name, value] : rows[i])
            if (std::find(columns.begin(), columns.end(), name) == columns.end()) columns.push_back(name);
    }
    std::string csv;
    for (std::size_t c = 0; c < columns.size(); ++c) csv += (c ? "," : "") + csv_field(columns[c]);
    csv += "\n";
    for (const auto &row : rows) {
        for (std::size_t c = 0; c < columns.size(); ++c) {
            if (c) csv += ",";
            for (const auto &[name, value] : row)
                if (name == columns[c]) {
                    csv += csv_value(*value);
                    break;
                }
        }
        csv += "\n";
    }
    return csv;
}

}  // namespace radimo::cli
