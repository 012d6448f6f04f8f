#include "core/measure_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace radimo::cli {
namespace {

using ordered_json = nlohmann::ordered_json;

double rounded_celsius(uint16_t kelvin16) {
    return std::round(celsius_of_kelvin16(kelvin16) * 1000.0) / 1000.0;
}

ordered_json reading(uint16_t value, const point_t *at) {
    ordered_json j = {{"value", value}, {"celsius", rounded_celsius(value)}};
    if (at != nullptr) {
        j["x"] = at->x;
        j["y"] = at->y;
    }
    return j;
}

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

ordered_json measured_frame_json(std::size_t index, const FrameConverter &converter, const Frame &frame) {
    ordered_json j = {{"frame", index}};
    if (converter.source_unit(frame) == Unit::kNuc) j["vtemp"] = converter.vtemp_of(frame);
    return j;
}

ordered_json measurement_json(const RegionResult &m) {
    const Region &r = m.region;
    ordered_json j = {{"label", r.label}, {"kind", kind_name(r.kind)}};
    const temp_result_t &t = m.result;
    switch (r.kind) {
        case Region::Kind::kPoint:
            j["x"] = r.a.x;
            j["y"] = r.a.y;
            j["value"] = t.avg_temp;
            j["celsius"] = rounded_celsius(t.avg_temp);
            break;
        case Region::Kind::kLine:
        case Region::Kind::kRect:
            if (r.kind == Region::Kind::kLine)
                j["from"] = {r.a.x, r.a.y}, j["to"] = {r.b.x, r.b.y};
            else
                j["x"] = r.a.x, j["y"] = r.a.y, j["w"] = r.b.x, j["h"] = r.b.y;
            j["max"] = reading(t.max_temp, &t.max_temp_point);
            j["min"] = reading(t.min_temp, &t.min_temp_point);
            j["avg"] = reading(t.avg_temp, nullptr);
            break;
    }
    if (m.alarm) j["alarm"] = alarm_name(*m.alarm);
    return j;
}

std::string measurement_row(const RegionResult &m) {
    const Region &r = m.region;
    const temp_result_t &t = m.result;
    char where[64];
    if (r.kind == Region::Kind::kPoint)
        std::snprintf(where, sizeof where, "(%d,%d)", r.a.x, r.a.y);
    else if (r.kind == Region::Kind::kLine)
        std::snprintf(where, sizeof where, "(%d,%d)-(%d,%d)", r.a.x, r.a.y, r.b.x, r.b.y);
    else
        std::snprintf(where, sizeof where, "(%d,%d) %dx%d", r.a.x, r.a.y, r.b.x, r.b.y);
    char row[256];
    int n = std::snprintf(row, sizeof row, "%-4s %-5s %-22s", r.label.c_str(), kind_name(r.kind), where);
    std::string text(row, static_cast<std::size_t>(std::max(n, 0)));
    if (r.kind == Region::Kind::kPoint) {
        n = std::snprintf(row, sizeof row, " %8.2f \u00b0C",
                          static_cast<double>(celsius_of_kelvin16(t.avg_temp)));
    } else {
        n = std::snprintf(
            row, sizeof row, " max %7.2f \u00b0C at (%d,%d)  min %7.2f \u00b0C at (%d,%d)  avg %7.2f \u00b0C",
            static_cast<double>(celsius_of_kelvin16(t.max_temp)), t.max_temp_point.x, t.max_temp_point.y,
            static_cast<double>(celsius_of_kelvin16(t.min_temp)), t.min_temp_point.x, t.min_temp_point.y,
            static_cast<double>(celsius_of_kelvin16(t.avg_temp)));
    }
    text.append(row, static_cast<std::size_t>(std::max(n, 0)));
    if (m.alarm) text += std::string("  alarm ") + alarm_name(*m.alarm);
    return text;
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
