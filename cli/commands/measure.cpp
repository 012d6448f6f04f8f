// radimo measure: points, lines and rectangles of temperature frames.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands/command.h"
#include "core/camera_options.h"
#include "core/conversion.h"
#include "core/errors.h"
#include "core/regions.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace {

struct MeasureOptions {
    std::string input;
    std::vector<std::string> points, lines, rects;
    std::string alarm;
    std::string size;
    bool json = false;
    CameraOptions camera;
};

double rounded_celsius(uint16_t kelvin16) {
    return std::round(celsius_of_kelvin16(kelvin16) * 1000.0) / 1000.0;
}

nlohmann::ordered_json reading(uint16_t value, const point_t *at) {
    nlohmann::ordered_json j = {{"value", value}, {"celsius", rounded_celsius(value)}};
    if (at != nullptr) {
        j["x"] = at->x;
        j["y"] = at->y;
    }
    return j;
}

nlohmann::ordered_json to_json(const RegionResult &m) {
    const Region &r = m.region;
    nlohmann::ordered_json j = {{"label", r.label}, {"kind", kind_name(r.kind)}};
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

void print_row(const RegionResult &m) {
    const Region &r = m.region;
    const temp_result_t &t = m.result;
    char where[64];
    if (r.kind == Region::Kind::kPoint)
        std::snprintf(where, sizeof where, "(%d,%d)", r.a.x, r.a.y);
    else if (r.kind == Region::Kind::kLine)
        std::snprintf(where, sizeof where, "(%d,%d)-(%d,%d)", r.a.x, r.a.y, r.b.x, r.b.y);
    else
        std::snprintf(where, sizeof where, "(%d,%d) %dx%d", r.a.x, r.a.y, r.b.x, r.b.y);
    std::printf("%-4s %-5s %-22s", r.label.c_str(), kind_name(r.kind), where);
    if (r.kind == Region::Kind::kPoint) {
        std::printf(" %8.2f \u00b0C", static_cast<double>(celsius_of_kelvin16(t.avg_temp)));
    } else {
        std::printf(" max %7.2f \u00b0C at (%d,%d)  min %7.2f \u00b0C at (%d,%d)  avg %7.2f \u00b0C",
                    static_cast<double>(celsius_of_kelvin16(t.max_temp)), t.max_temp_point.x,
                    t.max_temp_point.y, static_cast<double>(celsius_of_kelvin16(t.min_temp)),
                    t.min_temp_point.x, t.min_temp_point.y,
                    static_cast<double>(celsius_of_kelvin16(t.avg_temp)));
    }
    if (m.alarm) std::printf("  alarm %s", alarm_name(*m.alarm));
    std::printf("\n");
}

void run_measure(const MeasureOptions &o) {
    const std::vector<Region> regions = parse_regions(o.points, o.lines, o.rects);
    const std::optional<threshold_t> alarm =
        o.alarm.empty() ? std::nullopt : std::optional<threshold_t>(parse_alarm(o.alarm));
    const std::optional<FrameSize> size = parse_optional_size("--size", o.size);
    const std::optional<CameraProfile> camera = o.camera.load();
    const FrameConverter converter(o.camera.settings(camera ? &*camera : nullptr));
    auto reader = open_frame_file(o.input, size);

    nlohmann::ordered_json report = {{"file", o.input}};
    report["frames"] = nlohmann::ordered_json::array();
    Frame frame;
    for (int index = 0; reader->next(frame); ++index) {
        const Frame k16 = converter.convert(frame, Unit::kKelvin16, o.input);
        std::vector<Region> frame_regions = regions;
        if (frame_regions.empty())
            frame_regions.push_back({Region::Kind::kRect, {0, 0}, {k16.width, k16.height}, "all"});
        for (const Region &r : frame_regions) check_inside(r, k16.width, k16.height);
        nlohmann::ordered_json j = {{"frame", index}};
        const bool raw = converter.source_unit(frame) == Unit::kNuc;
        if (raw) j["vtemp"] = converter.vtemp_of(frame);
        if (!o.json) {
            std::printf("%s frame %d (%dx%d%s)\n", o.input.c_str(), index, k16.width, k16.height,
                        raw ? (", vtemp " + std::to_string(converter.vtemp_of(frame))).c_str() : "");
        }
        for (const Region &r : frame_regions) {
            const RegionResult m = measure_region(k16, r, alarm);
            if (o.json)
                j["measurements"].push_back(to_json(m));
            else
                print_row(m);
        }
        report["frames"].push_back(j);
    }
    if (o.json) std::printf("%s\n", report.dump(2).c_str());
}

}  // namespace

void add_measure_command(CLI::App &program, Commands &commands) {
    auto o = std::make_shared<MeasureOptions>();
    CLI::App *cmd = program.add_subcommand(
        "measure",
        "Measure points, lines and rectangles of a temperature frame (or of a raw frame with --camera)");
    cmd->add_option("FRAME", o->input,
                    "Frame file: temperatures (1/16 K, 1/100 K, degC) or raw NUC with --camera")
        ->required();
    cmd->add_option("--point", o->points, "Point X,Y: 3x3 trimmed mean (repeatable)");
    cmd->add_option("--line", o->lines, "Line X0,Y0,X1,Y1: max, min, avg (repeatable)");
    cmd->add_option("--rect", o->rects,
                    "Rectangle X,Y,W,H: max, min, avg (repeatable); default: the whole frame");
    cmd->add_option("--alarm", o->alarm, "Alarm thresholds HIGH,LOW in degC");
    cmd->add_option("--size", o->size, "Frame size WxH of a raw input file");
    cmd->add_flag("--json", o->json, "Print JSON instead of a table");
    o->camera.add_to(*cmd, false, true);
    cmd->footer(
        example({"radimo measure demo/celsius.tiff --point 458,340 --line 380,355,630,355 "
                 "--rect 250,232,60,13 --alarm 60,10 --json"}));
    commands.push_back({cmd, [o] { run_measure(*o); }});
}

}  // namespace radimo::cli
