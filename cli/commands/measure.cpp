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
#include "core/shape_regions.h"
#include "core/time_series.h"
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
    std::string size;
    bool json = false;
    bool csv = false;
    CameraOptions camera;
};

nlohmann::ordered_json shape_json(const ShapeRegion &g, const ShapeResult &m) {
    const radimo_region_stats_t &p = m.pixels;
    const auto at = [](double c, point_t q) {
        return nlohmann::ordered_json{{"celsius", std::round(c * 1000) / 1000}, {"x", q.x}, {"y", q.y}};
    };
    nlohmann::ordered_json j = {{"label", m.label}, {"kind", g.shape_name()}, {"pixels", p.count}};
    j["max"] = at(p.max / 16.0 - 273.15, p.max_point);
    j["min"] = at(p.min / 16.0 - 273.15, p.min_point);
    j["mean_c"] = p.mean / 16.0 - 273.15;
    j["sd_k"] = p.stddev / 16.0;
    j["p5_c"] = m.p5, j["median_c"] = m.median, j["p95_c"] = m.p95;
    j["mean3"] = {{"max", at(m.means.max / 16.0 - 273.15, m.means.max_point)},
                  {"min", at(m.means.min / 16.0 - 273.15, m.means.min_point)},
                  {"mean_c", m.means.mean / 16.0 - 273.15}};
    if (m.object) {
        const radimo_region_object_stats_t &o = *m.object;
        j["object"] = {{"max", at(o.max, o.max_point)},
                       {"min", at(o.min, o.min_point)},
                       {"mean_c", o.mean},
                       {"sd_k", o.stddev},
                       {"p5_c", m.object_percentiles[0]},
                       {"median_c", m.object_percentiles[1]},
                       {"p95_c", m.object_percentiles[2]}};
    }
    if (!m.histogram.empty()) j["histogram"] = {{"edges_c", m.histogram_edges}, {"pixels", m.histogram}};
    return j;
}

void print_shape(const ShapeRegion &g, const ShapeResult &m) {
    const radimo_region_stats_t &p = m.pixels;
    std::printf(
        "%-4s %-7s %-20s max %7.2f \u00b0C at (%d,%d)  min %7.2f \u00b0C at (%d,%d)  mean %7.2f \u00b0C"
        "  sd %.2f K  median %.2f \u00b0C  %llu px\n",
        m.label.c_str(), g.shape_name(), g.describe().c_str(), p.max / 16.0 - 273.15, p.max_point.x,
        p.max_point.y, p.min / 16.0 - 273.15, p.min_point.x, p.min_point.y, p.mean / 16.0 - 273.15,
        p.stddev / 16.0, m.median, static_cast<unsigned long long>(p.count));
    if (m.object) {
        const radimo_region_object_stats_t &o = *m.object;
        std::printf(
            "     object  (its own scene)        max %7.2f \u00b0C at (%d,%d)  min %7.2f \u00b0C at (%d,%d)"
            "  mean %7.2f \u00b0C  sd %.2f K  median %.2f \u00b0C\n",
            static_cast<double>(o.max), o.max_point.x, o.max_point.y, static_cast<double>(o.min),
            o.min_point.x, o.min_point.y, o.mean, o.stddev, m.object_percentiles[1]);
    }
    for (std::size_t i = 0; i < m.histogram.size(); ++i)
        std::printf("     %7.2f .. %7.2f \u00b0C  %llu px\n", m.histogram_edges[i], m.histogram_edges[i + 1],
                    static_cast<unsigned long long>(m.histogram[i]));
}

// The mean temperature of a region: its object temperature under its own scene when it has one.
double mean_celsius(const ShapeResult &m) {
    return m.object ? m.object->mean : m.pixels.mean / 16.0 - 273.15;
}

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
        if (o.every_frame) {
            std::vector<ShapeRegion> &frame_shapes = shapes;
            if (frame_shapes.empty()) {
                ShapeRegion all;
                all.label = "frame";
                all.region.shape = RADIMO_REGION_RECT;
                all.region.size = {k16.width, k16.height};
                frame_shapes.push_back(std::move(all));
            }
            SeriesRow row;
            row.frame = static_cast<std::size_t>(index);
            if (o.fps > 0) row.time = index / o.fps;
            for (ShapeRegion &g : frame_shapes)
                row.regions.push_back(measure_shape(k16, g, camera ? &camera->scene : nullptr,
                                                    camera ? &camera->correct_table : nullptr, o.histogram));
            series.push_back(std::move(row));
            continue;
        }
        std::vector<Region> frame_regions = regions;
        if (frame_regions.empty() && shapes.empty())
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
        std::vector<ShapeResult> measured;
        for (ShapeRegion &g : shapes) {
            measured.push_back(measure_shape(k16, g, camera ? &camera->scene : nullptr,
                                             camera ? &camera->correct_table : nullptr, o.histogram));
            if (o.json) {
                j["measurements"].push_back(shape_json(g, measured.back()));
            } else if (o.csv) {
                nlohmann::ordered_json row = j;
                row.update(shape_json(g, measured.back()));
                rows.push_back(row);
            } else {
                print_shape(g, measured.back());
            }
        }
        // The difference of each region's mean from the first region's.
        for (std::size_t k = 1; k < measured.size(); ++k) {
            const double dt = mean_celsius(measured[k]) - mean_celsius(measured[0]);
            if (o.json)
                j["delta_t"].push_back(
                    {{"from", measured[0].label}, {"to", measured[k].label}, {"mean_k", dt}});
            else if (!o.csv)
                std::printf("     \u0394T %s - %s: %+.2f K (means)\n", measured[k].label.c_str(),
                            measured[0].label.c_str(), dt);
        }
        report["frames"].push_back(j);
    }
    if (o.every_frame) {
        if (!o.output.empty()) write_series(o.output, series);
        if (!o.plot.empty()) write_series_chart(o.plot, series, o.input);
        if (o.json && o.output.empty()) {
            nlohmann::ordered_json doc = nlohmann::ordered_json::array();
            for (const SeriesRow &row : series) {
                nlohmann::ordered_json r = {{"frame", row.frame}};
                if (row.time) r["time_s"] = *row.time;
                for (const ShapeResult &m : row.regions)
                    for (const SeriesValue &x : series_values(m)) r["regions"][m.label][x.name] = x.value;
                doc.push_back(r);
            }
            std::printf("%s\n", doc.dump(2).c_str());
        } else {
            print_series_summary(series);
        }
        return;
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
    cmd->add_option("--polygon", o->polygons,
                    "Polygon X0,Y0,X1,Y1,X2,Y2,...: statistics of the pixels inside "
                    "(repeatable)");
    cmd->add_option("--ellipse", o->ellipses,
                    "Ellipse CX,CY,RX,RY: statistics of the pixels inside (repeatable)");
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
    cmd->add_option("--alarm", o->alarm, "Alarm thresholds HIGH,LOW in degC");
    cmd->add_option("--size", o->size, "Frame size WxH of a raw input file");
    auto *json = cmd->add_flag("--json", o->json, "Print JSON instead of a table");
    cmd->add_flag("--csv", o->csv, "Print CSV (one row per frame and region) instead of a table")
        ->excludes(json);
    o->camera.add_to(*cmd, false, true);
    cmd->footer(example(
        {"radimo measure demo/celsius.tiff --point 458,340 --line 380,355,630,355 "
         "--rect 250,232,60,13 --alarm 60,10 --json",
         "radimo measure demo/celsius.tiff --polygon 430,330,480,332,476,380,428,378 --ellipse 250,200,30,40",
         "radimo measure recording.tiff --regions regions.json --every-frame --fps 30 -o series.csv "
         "--plot series.png"}));
    commands.push_back({cmd, [o] { run_measure(*o); }});
}

}  // namespace radimo::cli
