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
#include "core/shape_regions.h"
#include "core/statistics.h"
#include "core/time_series.h"
#include "core/warnings.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace {

struct MeasureOptions {
    std::string input;
    std::vector<std::string> points, lines, rects;
    std::vector<std::string> polygons, ellipses, masks;
    std::string regions_file;
    int histogram = 0;
    bool every_frame = false;
    double fps = 0;
    std::string output, plot;
    std::string alarm;
    bool json = false;
    bool csv = false;
    FrameOptions frames;
    CameraOptions camera;
};

void run_measure(const MeasureOptions &o) {
    const std::vector<Region> regions = parse_regions(o.points, o.lines, o.rects);
    std::vector<ShapeRegion> shapes = parse_shape_regions(o.polygons, o.ellipses, o.masks, o.regions_file);
    if (o.histogram < 0 || o.histogram > 4096) fail_usage("--histogram: give 1 to 4096 bins");
    if (o.fps < 0 || !std::isfinite(o.fps)) fail_usage("--fps: give frames per second above 0");
    if (!o.every_frame && (!o.output.empty() || !o.plot.empty() || o.fps > 0))
        fail_usage("-o, --plot and --fps go with --every-frame");
    if (o.every_frame) {
        // Rectangles join the time series as regions; the whole frame when no region is given.
        for (const Region &r : regions) {
            if (r.kind != Region::Kind::kRect)
                fail_usage(
                    "--every-frame measures areas: rectangles, polygons, "
                    "ellipses, masks and the regions file");
            ShapeRegion g;
            g.label = r.label;
            g.region.shape = RADIMO_REGION_RECT;
            g.region.origin = r.a;
            g.region.size = {r.b.x, r.b.y};
            shapes.push_back(std::move(g));
        }
    }
    std::vector<SeriesRow> series;
    const std::optional<AlarmThresholds> alarm =
        o.alarm.empty() ? std::nullopt : std::optional<AlarmThresholds>(parse_alarm(o.alarm));
    const std::optional<CameraProfile> camera = o.camera.load();
    const FrameConverter converter(o.camera.settings(camera ? &*camera : nullptr));
    check_own_scenes(shapes, converter.scene_corrects());
    auto reader = open_frame_file(o.input, o.frames.input(camera.has_value()));

    nlohmann::ordered_json report = {{"file", o.input}};
    report["frames"] = nlohmann::ordered_json::array();
    std::vector<nlohmann::ordered_json> rows;  // --csv: one record per frame and region
    Frame frame;
    for (std::size_t index = 0; reader->next(frame); ++index) {
        const MeasuredFrame measured = measured_frame(converter.temperatures(frame, o.input, index));
        const CameraProfile *profile = camera ? &*camera : nullptr;
        if (o.every_frame) {
            if (shapes.empty()) {
                ShapeRegion all;
                all.label = "frame";
                all.region.shape = RADIMO_REGION_RECT;
                all.region.size = {measured.width, measured.height};
                shapes.push_back(std::move(all));
            }
            SeriesRow row;
            row.frame = index;
            if (o.fps > 0) row.time = static_cast<double>(index) / o.fps;
            row.unit = unit_name(measured.unit);
            row.unit_source = unit_source_key(measured.unit_source);
            for (ShapeRegion &g : shapes)
                row.regions.push_back(measure_shape(measured, g, profile, o.histogram));
            series.push_back(std::move(row));
            continue;
        }
        std::vector<Region> frame_regions = regions;
        if (frame_regions.empty() && shapes.empty())
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
        std::vector<ShapeResult> results;
        for (ShapeRegion &g : shapes) {
            results.push_back(measure_shape(measured, g, profile, o.histogram));
            if (o.json) {
                j["measurements"].push_back(shape_json(measured, g, results.back()));
            } else if (o.csv) {
                nlohmann::ordered_json row = j;
                row.erase("measurements");
                row.update(shape_json(measured, g, results.back()));
                rows.push_back(row);
            } else {
                std::printf("%s\n", shape_row(measured, g, results.back()).c_str());
            }
        }
        // The difference of each region's mean from the first region's (object temperatures under a
        // region's own scene).
        if (o.json && results.size() > 1) j["delta_t"] = delta_t_json(results);
        for (std::size_t k = 1; k < results.size() && !o.json && !o.csv; ++k)
            std::printf("     \u0394T %s - %s: %+.2f K (means)\n", results[k].label.c_str(),
                        results[0].label.c_str(), results[k].mean_celsius() - results[0].mean_celsius());
        if (measured.non_finite > 0)
            warnings().add(o.input + ":nan",
                           o.input + ": " + std::to_string(measured.non_finite) +
                               " pixels hold no number (NaN or infinite); they are measured "
                               "as the frame's coldest value");
        report["frames"].push_back(j);
    }
    if (o.every_frame) {
        if (!o.output.empty()) write_series(o.output, series);
        if (!o.plot.empty()) write_series_chart(o.plot, series, o.input);
        if (o.json && o.output.empty()) {
            std::printf("%s\n", series_json(series).dump(2).c_str());
        } else {
            print_series_summary(series);
        }
        return;
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
    CLI::App *cmd = program.add_subcommand("measure",
                                           "Measure points, lines, rectangles, polygons, ellipses and masks "
                                           "of a temperature frame (or of a raw frame with --camera)");
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
    cmd->add_option("--polygon", o->polygons,
                    "Polygon X0,Y0,X1,Y1,X2,Y2,...: the statistics of the pixels inside, as a rectangle's, "
                    "with P5, median, P95 (repeatable)");
    cmd->add_option("--ellipse", o->ellipses,
                    "Ellipse CX,CY,RX,RY: the statistics of the pixels inside (repeatable)");
    cmd->add_option("--mask", o->masks, "Mask file (PGM, PNG or TIFF; non-zero = inside) (repeatable)");
    cmd->add_option("--regions", o->regions_file,
                    "Regions file (JSON: named regions, each with an optional "
                    "scene of its own; docs/formats.md)");
    cmd->add_option("--histogram", o->histogram, "Histogram of each region in BINS equal bins");
    cmd->add_flag("--every-frame", o->every_frame,
                  "Time series: every region's statistics in every frame, then each statistic's extreme");
    cmd->add_option("--fps", o->fps, "Frames per second of the recording: times in the time series");
    cmd->add_option("-o,--output", o->output, "Time series file (.csv or .json), with --every-frame");
    cmd->add_option("--plot", o->plot, "Chart of each region's max, mean and min through time (.png)");
    cmd->add_option("--alarm", o->alarm,
                    "Alarm thresholds HIGH,LOW in degC (on the trimmed means: above when max or avg is above "
                    "HIGH, below when min or avg is below LOW)");
    auto *json = cmd->add_flag("--json", o->json, "Print JSON instead of a table");
    cmd->add_flag("--csv", o->csv, "Print CSV (one row per frame and region) instead of a table")
        ->excludes(json);
    o->frames.add_to(*cmd);
    o->camera.add_to(*cmd, false, true);
    cmd->footer(example(
        {"radimo measure demo/celsius.tiff --point 458,340 --line 380,355,630,355 "
         "--rect 250,232,60,13 --alarm 60,10 --json",
         "radimo measure room.raw --size 160x120 --unit centikelvin",
         "radimo measure demo/celsius.tiff --polygon 430,330,480,332,476,380,428,378 --ellipse 250,200,30,40",
         "radimo measure recording.tiff --regions regions.json --every-frame --fps 30 -o series.csv "
         "--plot series.png"}));
    commands.push_back({cmd, [o] { run_measure(*o); }});
}

}  // namespace radimo::cli
