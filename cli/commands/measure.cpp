// radimo measure: points, lines and rectangles of temperature frames.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands/command.h"
#include "core/camera_options.h"
#include "core/conversion.h"
#include "core/errors.h"
#include "core/measure_report.h"
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
    bool csv = false;
    CameraOptions camera;
};

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
    std::vector<nlohmann::ordered_json> rows;  // --csv: one record per frame and region
    Frame frame;
    for (int index = 0; reader->next(frame); ++index) {
        const Frame k16 = converter.convert(frame, Unit::kKelvin16, o.input);
        std::vector<Region> frame_regions = regions;
        if (frame_regions.empty())
            frame_regions.push_back({Region::Kind::kRect, {0, 0}, {k16.width, k16.height}, "all"});
        for (const Region &r : frame_regions) check_inside(r, k16.width, k16.height);
        nlohmann::ordered_json j = measured_frame_json(static_cast<std::size_t>(index), converter, frame);
        const bool raw = converter.source_unit(frame) == Unit::kNuc;
        if (!o.json && !o.csv) {
            std::printf("%s frame %d (%dx%d%s)\n", o.input.c_str(), index, k16.width, k16.height,
                        raw ? (", vtemp " + std::to_string(converter.vtemp_of(frame))).c_str() : "");
        }
        for (const Region &r : frame_regions) {
            const RegionResult m = measure_region(k16, r, alarm);
            if (o.json) {
                j["measurements"].push_back(measurement_json(m));
            } else if (o.csv) {
                nlohmann::ordered_json row = j;
                row.update(measurement_json(m));
                rows.push_back(row);
            } else {
                std::printf("%s\n", measurement_row(m).c_str());
            }
        }
        report["frames"].push_back(j);
    }
    if (o.json) std::printf("%s\n", report.dump(2).c_str());
    if (o.csv) std::printf("%s", records_csv(rows).c_str());
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
    auto *json = cmd->add_flag("--json", o->json, "Print JSON instead of a table");
    cmd->add_flag("--csv", o->csv, "Print CSV (one row per frame and region) instead of a table")
        ->excludes(json);
    o->camera.add_to(*cmd, false, true);
    cmd->footer(
        example({"radimo measure demo/celsius.tiff --point 458,340 --line 380,355,630,355 "
                 "--rect 250,232,60,13 --alarm 60,10 --json"}));
    commands.push_back({cmd, [o] { run_measure(*o); }});
}

}  // namespace radimo::cli
