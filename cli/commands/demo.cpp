// radimo demo: the whole chain on a simulated camera and scene.
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands/command.h"
#include "core/atomic_output.h"
#include "core/conversion.h"
#include "core/errors.h"
#include "core/picture_output.h"
#include "core/regions.h"
#include "core/statistics.h"
#include "demo/demo_camera.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

constexpr double kAlarmHigh = 60.0;
constexpr double kAlarmLow = 10.0;

struct DemoOptions {
    std::string out = "radimo-demo";
    bool json = false;
};

// One frame of the demo: raw, apparent and scene-corrected, and the three measured.
struct DemoFrame {
    uint16_t vtemp = 0;
    Frame raw, apparent, corrected_celsius, corrected;
    MeasuredFrame raw_values, apparent_values, corrected_values;
};

// The raw frame's NUC values measured as they are (the trimmed means of the sensor's response).
MeasuredFrame nuc_values(const Frame &raw) {
    MeasuredFrame m;
    m.width = raw.width;
    m.height = raw.height;
    m.values = raw.samples;
    m.unit = Unit::kNuc;
    return m;
}

// The text report, kept until the end (--json prints the JSON instead).
std::string g_text;
[[gnu::format(printf, 1, 2)]] void say(const char *format, ...) {
    char line[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    g_text += line;
}

double celsius(uint16_t kelvin16) {
    return celsius_of_kelvin16(kelvin16);
}

void write_frames(const fs::path &path, const std::vector<const Frame *> &frames) {
    AtomicFile file(path);
    auto writer = create_frame_writer(FileFormat::kTiff, file.temp_path(), path.string());
    for (const Frame *f : frames) writer->write(*f);
    writer->close();
    file.commit();
}

void run_demo(const DemoOptions &o) {
    // "-" means standard output to every other command; here it would become a directory named "-".
    if (o.out == "-") fail_usage("--out -: the demo writes a directory of files, not standard output");
    const CameraProfile camera = demo::demo_camera();
    const demo::Scene scene = demo::demo_scene();
    const FrameConverter plain({&camera, std::nullopt, false});
    const FrameConverter scene_corrected({&camera, std::nullopt, true});
    const AlarmThresholds alarm{kAlarmHigh, kAlarmLow};

    std::vector<DemoFrame> frames;
    for (uint16_t vtemp : {demo::kCoolVtemp, demo::kWarmVtemp}) {
        DemoFrame f;
        f.vtemp = vtemp;
        f.raw = demo::sense(camera, scene, vtemp, vtemp);
        f.apparent = plain.convert(f.raw, Unit::kKelvin16, "demo frame");
        f.corrected_celsius = scene_corrected.convert(f.apparent, Unit::kCelsius, "demo frame");
        f.corrected = plain.convert(f.corrected_celsius, Unit::kKelvin16, "demo frame");
        f.corrected_celsius.vtemp = vtemp;
        f.raw_values = nuc_values(f.raw);
        f.apparent_values = measured_frame(f.apparent);
        f.corrected_values = measured_frame(f.corrected);
        frames.push_back(std::move(f));
    }

    // Measurements: each object's rectangle on both frames, then the frame itself and a line.
    nlohmann::ordered_json report;
    const env_correct_param_t &sc = camera.scene;
    report["scene"] = {{"emissivity", std::round(sc.ems * 1000) / 1000},
                       {"distance_m", sc.dist},
                       {"humidity", std::round(sc.hum * 1000) / 1000},
                       {"ambient_c", sc.ta},
                       {"reflected_c", sc.tu}};
    say("radimo demo: a simulated %dx%d camera looks at a room through %.1f m of air\n", camera.width,
        camera.height, static_cast<double>(sc.dist));
    say("scene: emissivity %.2f, humidity %.0f %%, air %.1f \u00b0C, reflected %.1f \u00b0C\n\n",
        static_cast<double>(sc.ems), static_cast<double>(sc.hum) * 100, static_cast<double>(sc.ta),
        static_cast<double>(sc.tu));
    say("The sensor's raw response drifts with its own (focal-plane) temperature; the KT/BT correction\n"
        "holds the apparent reading, and the scene correction recovers the true temperature.\n\n");
    say("%-13s %6s", "", "true");
    for (const DemoFrame &f : frames) say("  | focal plane vtemp %-15u", f.vtemp);
    say("\n%-13s %7s", "object", "\u00b0C");
    for (std::size_t i = 0; i < frames.size(); ++i)
        say("  | %8s %8s %9s %5s", "raw NUC", "apparent", "corrected", "error");
    say("\n");
    std::vector<RegionResult> picture_regions;
    for (const demo::SceneObject &obj : scene.objects) {
        const Region rect{Region::Kind::kRect, {obj.x, obj.y}, {obj.w, obj.h}, obj.name};
        nlohmann::ordered_json row = {{"object", obj.name}, {"true_c", obj.celsius}};
        say("%-13s %6.2f", obj.name.c_str(), static_cast<double>(obj.celsius));
        for (const DemoFrame &f : frames) {
            const RegionResult r = measure_region(f.raw_values, rect, std::nullopt);
            const RegionResult a = measure_region(f.apparent_values, rect, std::nullopt);
            const RegionResult c = measure_region(f.corrected_values, rect, alarm);
            const double measured = celsius(c.stats.trimmed.avg);
            say("  | %8u %8.2f %9.2f %+5.2f", r.stats.trimmed.avg, celsius(a.stats.trimmed.avg), measured,
                measured - obj.celsius);
            row["frames"].push_back({{"vtemp", f.vtemp},
                                     {"raw_nuc", r.stats.trimmed.avg},
                                     {"apparent_c", std::round(celsius(a.stats.trimmed.avg) * 1000) / 1000},
                                     {"measured_c", std::round(measured * 1000) / 1000},
                                     {"alarm", alarm_name(*c.alarm)}});
        }
        say("\n");
        report["objects"].push_back(row);
    }

    const DemoFrame &shown = frames.back();
    const Region whole{Region::Kind::kRect, {0, 0}, {camera.width, camera.height}, "frame"};
    const Region line{Region::Kind::kLine, {380, 355}, {630, 355}, "L1"};
    const Region face{Region::Kind::kRect, {200, 130}, {160, 200}, "R1"};
    say("\n");
    for (const DemoFrame &f : frames) {
        const RegionResult all = measure_region(f.corrected_values, whole, alarm);
        const PixelStatistics &p = all.stats.pixels;
        say("vtemp %u: hottest pixel %.1f \u00b0C at (%d,%d), coldest pixel %.1f \u00b0C at (%d,%d); alarm "
            "(above %.0f, below %.0f \u00b0C): %s\n",
            f.vtemp, celsius(p.hottest.value), p.hottest.at.x, p.hottest.at.y, celsius(p.coldest.value),
            p.coldest.at.x, p.coldest.at.y, kAlarmHigh, kAlarmLow, alarm_name(*all.alarm));
        report["frames"].push_back({{"vtemp", f.vtemp},
                                    {"hottest_c", celsius(p.hottest.value)},
                                    {"hottest_at", {p.hottest.at.x, p.hottest.at.y}},
                                    {"coldest_c", celsius(p.coldest.value)},
                                    {"coldest_at", {p.coldest.at.x, p.coldest.at.y}},
                                    {"alarm", alarm_name(*all.alarm)}});
    }
    for (const Region &r : {line, face}) {
        const RegionResult m = measure_region(shown.corrected_values, r, alarm);
        const TrimmedStatistics &t = m.stats.trimmed;
        say("%s %s (%d,%d)%s(%d,%d): max %.1f, min %.1f, avg %.1f \u00b0C (trimmed means), alarm: %s\n",
            r.label.c_str(), kind_name(r.kind), r.a.x, r.a.y, r.kind == Region::Kind::kLine ? "-" : " size ",
            r.b.x, r.b.y, celsius(t.max.value), celsius(t.min.value), celsius(t.avg), alarm_name(*m.alarm));
        picture_regions.push_back(m);
    }

    // Outputs.
    const fs::path out(o.out);
    std::error_code ec;
    fs::create_directories(out, ec);
    if (ec) fail_io("cannot create " + out.string() + ": " + ec.message());
    {
        AtomicDirectory dir(out / "camera");
        write_profile(camera, dir);
        dir.commit();
    }
    write_frames(out / "raw.tiff", {&frames[0].raw, &frames[1].raw});
    write_frames(out / "celsius.tiff", {&frames[0].corrected_celsius, &frames[1].corrected_celsius});
    PictureRequest picture;
    picture.celsius = &shown.corrected_celsius;
    picture.measured = &shown.corrected_values;
    picture.regions = picture_regions;
    picture.unit = "scene-corrected \u00b0C, measured in 1/16 K";
    char caption[160];
    std::snprintf(
        caption, sizeof caption,
        "radimo demo  \u00b7  emissivity %.2f  \u00b7  %.1f m  \u00b7  %.0f %% RH  \u00b7  vtemp %u",
        static_cast<double>(sc.ems), static_cast<double>(sc.dist), static_cast<double>(sc.hum) * 100,
        shown.vtemp);
    picture.caption = caption;
    const Picture png = write_picture(out / "demo.png", picture);
    report["picture"] = {{"file", (out / "demo.png").string()}, {"width", png.width}, {"height", png.height}};

    if (o.json) {
        std::printf("%s\n", report.dump(2).c_str());
    } else {
        std::fputs(g_text.c_str(), stdout);
        std::printf(
            "\nwrote %s/: camera/ (profile), raw.tiff (2 raw frames), celsius.tiff (\u00b0C), demo.png "
            "(%dx%d)\n",
            out.string().c_str(), png.width, png.height);
    }
}

}  // namespace

void add_demo_command(CLI::App &program, Commands &commands) {
    auto options = std::make_shared<DemoOptions>();
    CLI::App *cmd = program.add_subcommand("demo",
                                           "Run the whole chain on a built-in simulated camera and scene; "
                                           "write its profile, frames and picture");
    cmd->add_option("--out", options->out, "Output directory")->capture_default_str();
    cmd->add_flag("--json", options->json, "Print the report as JSON");
    cmd->footer(example(
        {"radimo demo --out demo", "radimo render demo/celsius.tiff -o picture.png --palette rainbow"}));
    commands.push_back({cmd, [options] { run_demo(*options); }});
}

}  // namespace radimo::cli
