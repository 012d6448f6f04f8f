// radimo measure: points, lines and rectangles of temperature frames.
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands/command.h"
#include "core/camera_options.h"
#include "core/conversion.h"
#include "core/errors.h"
#include "core/frame_options.h"
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
    FrameOptions frames;
    CameraOptions camera;
};

// How the measured temperatures came from the file's samples.
std::string derivation(const Frame &frame, const FrameConverter &converter, bool scene_correct) {
    std::string text = describe_unit(frame.unit, frame.unit_source);
    if (frame.unit == Unit::kNuc)
        text += ", through the camera at vtemp " + std::to_string(converter.vtemp_of(frame)) + " to kelvin16";
    if (converter.quantises(frame.unit)) text += ", rounded to kelvin16 for the scene correction";
    if (scene_correct) text += ", scene-corrected to celsius";
    return text;
}

void run_measure(const MeasureOptions &o) {
    const std::vector<Region> regions = parse_regions(o.points, o.lines, o.rects);
    const std::optional<AlarmThresholds> alarm =
        o.alarm.empty() ? std::nullopt : std::optional<AlarmThresholds>(parse_alarm(o.alarm));
    const std::optional<CameraProfile> camera = o.camera.load();
    const FrameConverter converter(o.camera.settings(camera ? &*camera : nullptr));
    auto reader = open_frame_file(o.input, o.frames.input(camera.has_value()));

    nlohmann::ordered_json report = {{"file", o.input}};
    report["frames"] = nlohmann::ordered_json::array();
    Frame frame;
    for (std::size_t index = 0; reader->next(frame); ++index) {
        const MeasuredFrame measured = measured_frame(converter.temperatures(frame, o.input, index));
        std::vector<Region> frame_regions = regions;
        if (frame_regions.empty())
            frame_regions.push_back({Region::Kind::kRect, {0, 0}, {measured.width, measured.height}, "all"});
        for (const Region &r : frame_regions) check_inside(r, measured.width, measured.height);
        const std::string from = derivation(frame, converter, o.camera.scene_correct);
        std::string grid;
        if (is_float_unit(measured.unit)) {
            char step[64];
            std::snprintf(step, sizeof step, "measured in steps of %g K", 1 / measured.scale.per_kelvin);
            grid = step;
        }
        nlohmann::ordered_json j = {{"frame", index},
                                    {"width", measured.width},
                                    {"height", measured.height},
                                    {"input_unit", unit_name(frame.unit)},
                                    {"input_unit_source", unit_source_key(frame.unit_source)},
                                    {"unit", unit_name(measured.unit)},
                                    {"derivation", from}};
        if (frame.unit == Unit::kNuc) j["vtemp"] = converter.vtemp_of(frame);
        if (!grid.empty()) j["grid_step_k"] = 1 / measured.scale.per_kelvin;
        if (measured.non_finite > 0) j["pixels_without_number"] = measured.non_finite;
        if (!o.json) {
            std::printf("%s frame %zu (%dx%d): %s%s\n", o.input.c_str(), index, measured.width,
                        measured.height, from.c_str(), grid.empty() ? "" : ("; " + grid).c_str());
        }
        j["measurements"] = nlohmann::ordered_json::array();
        for (const Region &r : frame_regions) {
            const RegionResult m = measure_region(measured, r, alarm);
            if (o.json) {
                j["measurements"].push_back(region_json(measured, m));
            } else {
                char where[64];
                if (r.kind == Region::Kind::kPoint)
                    std::snprintf(where, sizeof where, "(%d,%d)", r.a.x, r.a.y);
                else if (r.kind == Region::Kind::kLine)
                    std::snprintf(where, sizeof where, "(%d,%d)-(%d,%d)", r.a.x, r.a.y, r.b.x, r.b.y);
                else
                    std::snprintf(where, sizeof where, "(%d,%d) %dx%d", r.a.x, r.a.y, r.b.x, r.b.y);
                std::printf("%-4s %-5s %-22s %s\n", r.label.c_str(), kind_name(r.kind), where,
                            region_text(measured, m, 34).c_str());
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
    cmd->add_flag("--json", o->json, "Print JSON instead of a table");
    o->frames.add_to(*cmd);
    o->camera.add_to(*cmd, false, true);
    cmd->footer(
        example({"radimo measure demo/celsius.tiff --point 458,340 --line 380,355,630,355 "
                 "--rect 250,232,60,13 --alarm 60,10 --json",
                 "radimo measure room.raw --size 160x120 --unit centikelvin"}));
    commands.push_back({cmd, [o] { run_measure(*o); }});
}

}  // namespace radimo::cli
