// radimo measure: points, lines and rectangles of temperature frames.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands/command.h"
#include "core/camera_options.h"
#include "core/conversion.h"
#include "core/errors.h"
#include "core/frame_options.h"
#include "core/measure_report.h"
#include "core/statistics.h"
#include "core/warnings.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace {

struct MeasureOptions {
    std::string input;
    std::vector<std::string> points, lines, rects;
    std::string alarm;
    bool json = false;
    bool csv = false;
    FrameOptions frames;
    CameraOptions camera;
};

void run_measure(const MeasureOptions &o) {
    const std::vector<Region> regions = parse_regions(o.points, o.lines, o.rects);
    const std::optional<AlarmThresholds> alarm =
        o.alarm.empty() ? std::nullopt : std::optional<AlarmThresholds>(parse_alarm(o.alarm));
    const std::optional<CameraProfile> camera = o.camera.load();
    const FrameConverter converter(o.camera.settings(camera ? &*camera : nullptr));
    auto reader = open_frame_file(o.input, o.frames.input(camera.has_value()));

    nlohmann::ordered_json report = {{"file", o.input}};
    report["frames"] = nlohmann::ordered_json::array();
    std::vector<nlohmann::ordered_json> rows;  // --csv: one record per frame and region
    Frame frame;
    for (std::size_t index = 0; reader->next(frame); ++index) {
        const MeasuredFrame measured = measured_frame(converter.temperatures(frame, o.input, index));
        std::vector<Region> frame_regions = regions;
        if (frame_regions.empty())
            frame_regions.push_back({Region::Kind::kRect, {0, 0}, {measured.width, measured.height}, "all"});
        for (const Region &r : frame_regions) check_inside(r, measured.width, measured.height);
        nlohmann::ordered_json j = measured_frame_json(index, converter, frame, measured);
        if (!o.json && !o.csv) {
            const std::string grid = grid_note(measured);
            std::printf("%s frame %zu (%dx%d): %s%s\n", o.input.c_str(), index, measured.width,
                        measured.height, temperatures_from(frame, converter).c_str(),
                        grid.empty() ? "" : ("; " + grid).c_str());
        }
        j["measurements"] = nlohmann::ordered_json::array();
        for (const Region &r : frame_regions) {
            const RegionResult m = measure_region(measured, r, alarm);
            if (o.json) {
                j["measurements"].push_back(region_json(measured, m));
            } else if (o.csv) {
                nlohmann::ordered_json row = j;
                row.erase("measurements");
                row.update(region_json(measured, m));
                rows.push_back(row);
            } else {
                std::printf("%s\n", measurement_row(measured, m).c_str());
            }
        }
        if (measured.non_finite > 0)
            warnings().add(o.input + ":nan",
                           o.input + ": " + std::to_string(measured.non_finite) +
                               " pixels hold no number (NaN or infinite); they are measured "
                               "as the frame's coldest value");
        report["frames"].push_back(j);
    }
    if (o.json) {
        report["warnings"] = warnings().json();
        std::printf("%s\n", report.dump(2).c_str());
    }
    if (o.csv) std::printf("%s", records_csv(rows).c_str());
}

}  // namespace

void add_measure_command(CLI::App &program, Commands &commands) {
    auto o = std::make_shared<MeasureOptions>();
    CLI::App *cmd = program.add_subcommand(
        "measure",
        "Measure points, lines and rectangles of a temperature frame (or of a raw frame with --camera)");
    cmd->add_option("FRAME", o->input,
                    "Frame file: temperatures (see --unit) or raw NUC values with --camera")
        ->required();
    cmd->add_option("--point", o->points, "Point X,Y: its 3x3 trimmed mean and its pixel (repeatable)");
    cmd->add_option("--line", o->lines,
                    "Line X0,Y0,X1,Y1: max, min, avg of 5-sample trimmed means, and its pixels' hottest, "
                    "coldest, mean, sd (repeatable)");
    cmd->add_option(
        "--rect", o->rects,
        "Rectangle X,Y,W,H: max, min, avg of 3x3 trimmed means, and its pixels' hottest, coldest, "
        "mean, sd (repeatable); default: the whole frame");
    cmd->add_option("--alarm", o->alarm,
                    "Alarm thresholds HIGH,LOW in degC (on the trimmed means: above when max or avg is above "
                    "HIGH, below when min or avg is below LOW)");
    auto *json = cmd->add_flag("--json", o->json, "Print JSON instead of a table");
    cmd->add_flag("--csv", o->csv, "Print CSV (one row per frame and region) instead of a table")
        ->excludes(json);
    o->frames.add_to(*cmd);
    o->camera.add_to(*cmd, false, true);
    cmd->footer(
        example({"radimo measure demo/celsius.tiff --point 458,340 --line 380,355,630,355 "
                 "--rect 250,232,60,13 --alarm 60,10 --json",
                 "radimo measure room.raw --size 160x120 --unit centikelvin"}));
    commands.push_back({cmd, [o] { run_measure(*o); }});
}

}  // namespace radimo::cli
