// radimo diff: the temperature difference of two frames, or of every frame of a sequence and one of
// its frames, as a float TIFF, a picture on a diverging scale centred on 0 and its statistics.
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands/command.h"
#include "core/arguments.h"
#include "core/atomic_output.h"
#include "core/camera_options.h"
#include "core/conversion.h"
#include "core/errors.h"
#include "core/frame_options.h"
#include "formats/frame_file.h"
#include "picture/picture.h"

namespace radimo::cli {
namespace {

struct DiffOptions {
    std::string a, b;
    std::optional<std::size_t> reference;
    std::string output, picture, range;
    FrameOptions frames;
    std::optional<std::size_t> frame;
    bool json = false;
    CameraOptions camera;
};

// Statistics of a difference frame (K): the largest and smallest difference with the last position of
// each in row-major order, mean and population standard deviation.
struct DeltaStats {
    float max = -std::numeric_limits<float>::infinity();
    float min = std::numeric_limits<float>::infinity();
    int max_x = 0, max_y = 0, min_x = 0, min_y = 0;
    double mean = 0, stddev = 0;
    std::size_t count = 0;
};

DeltaStats delta_stats(const Frame &d) {
    DeltaStats s;
    double sum = 0;
    for (int y = 0; y < d.height; ++y)
        for (int x = 0; x < d.width; ++x) {
            const float v = d.floats[static_cast<std::size_t>(y) * d.width + x];
            if (!std::isfinite(v)) continue;
            if (v >= s.max) s.max = v, s.max_x = x, s.max_y = y;
            if (v <= s.min) s.min = v, s.min_x = x, s.min_y = y;
            sum += v;
            ++s.count;
        }
    if (s.count == 0) fail_usage("the difference has no finite value");
    s.mean = sum / static_cast<double>(s.count);
    double spread = 0;
    for (float v : d.floats)
        if (std::isfinite(v)) spread += (v - s.mean) * (v - s.mean);
    s.stddev = std::sqrt(spread / static_cast<double>(s.count));
    return s;
}

std::string kelvin_label(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%+.2f K", v);
    return text;
}

// All frames of a file in degC.
std::vector<Frame> read_celsius(const std::string &path, const DiffOptions &o,
                                const FrameConverter &converter, bool camera) {
    auto reader = open_frame_file(path, o.frames.input(camera));
    std::vector<Frame> frames;
    Frame frame;
    for (std::size_t i = 0; reader->next(frame); ++i)
        frames.push_back(to_unit(converter.temperatures(frame, path, i), Unit::kCelsius));
    if (frames.empty()) fail_usage(path + ": no frame");
    return frames;
}

Frame subtract(const Frame &a, const Frame &b, const std::string &what) {
    if (a.width != b.width || a.height != b.height)
        fail_usage(what + ": the frames differ in size (" + std::to_string(a.width) + "x" +
                   std::to_string(a.height) + " and " + std::to_string(b.width) + "x" +
                   std::to_string(b.height) + ")");
    Frame d;
    d.width = a.width;
    d.height = a.height;
    d.unit = Unit::kCelsius;  // a difference of degC: K
    d.floats.resize(a.floats.size());
    for (std::size_t i = 0; i < d.floats.size(); ++i) d.floats[i] = a.floats[i] - b.floats[i];
    return d;
}

void run_diff(const DiffOptions &o) {
    if (o.b.empty() == !o.reference)
        fail_usage("give a second frame file B, or --reference N to subtract frame N of A from each frame");
    if (!o.output.empty() && format_of_path(o.output) != FileFormat::kTiff)
        fail_usage(o.output + ": the difference is written as a float TIFF (.tiff)");
    if (!o.picture.empty() && format_of_path(o.picture) != FileFormat::kPng)
        fail_usage(o.picture + ": the picture is written as .png");
    const std::optional<CameraProfile> camera = o.camera.load();
    const FrameConverter converter(o.camera.settings(camera ? &*camera : nullptr));
    const std::vector<Frame> a = read_celsius(o.a, o, converter, camera.has_value());
    std::vector<Frame> b;
    if (o.reference) {
        if (*o.reference >= a.size())
            fail_usage("--reference " + std::to_string(*o.reference) + ": " + o.a + " has " +
                       std::to_string(a.size()) + " frame(s)");
        b.push_back(a[*o.reference]);
    } else {
        b = read_celsius(o.b, o, converter, camera.has_value());
        if (b.size() != 1 && b.size() != a.size())
            fail_usage(o.b + ": give one frame, or as many frames as " + o.a + " (" +
                       std::to_string(a.size()) + ")");
    }
    std::vector<Frame> deltas;
    for (std::size_t i = 0; i < a.size(); ++i)
        deltas.push_back(subtract(a[i], b[b.size() == 1 ? 0 : i], o.a + " frame " + std::to_string(i)));

    nlohmann::ordered_json report = {{"a", o.a}, {"b", o.reference ? o.a : o.b}, {"unit", "K"}};
    if (o.reference) report["reference"] = *o.reference;
    report["frames"] = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < deltas.size(); ++i) {
        const DeltaStats s = delta_stats(deltas[i]);
        if (o.json) {
            report["frames"].push_back({{"frame", i},
                                        {"max", {{"kelvin", s.max}, {"x", s.max_x}, {"y", s.max_y}}},
                                        {"min", {{"kelvin", s.min}, {"x", s.min_x}, {"y", s.min_y}}},
                                        {"mean", s.mean},
                                        {"stddev", s.stddev},
                                        {"pixels", s.count}});
        } else {
            std::printf(
                "frame %zu: \u0394T max %+.2f K at (%d,%d)  min %+.2f K at (%d,%d)  mean %+.3f K  sd %.3f K"
                "  %zu px\n",
                i, static_cast<double>(s.max), s.max_x, s.max_y, static_cast<double>(s.min), s.min_x, s.min_y,
                s.mean, s.stddev, s.count);
        }
    }
    if (!o.output.empty()) {
        AtomicFile file(o.output);
        auto writer = create_frame_writer(FileFormat::kTiff, file.temp_path(), o.output);
        for (const Frame &d : deltas) writer->write(d);
        writer->close();
        file.commit();
    }
    if (!o.picture.empty()) {
        const std::size_t shown = o.frame.value_or(deltas.size() - 1);
        if (shown >= deltas.size())
            fail_usage("--frame " + std::to_string(shown) + ": there are " + std::to_string(deltas.size()) +
                       " difference frame(s)");
        const Frame &d = deltas[shown];
        const DeltaStats s = delta_stats(d);
        PictureSpec request;
        request.width = d.width;
        request.height = d.height;
        request.celsius = d.floats.data();
        request.palette = &difference_palette();
        request.unit = "K";
        if (o.range.empty()) {
            // Symmetric about 0, so white is "no change"; at least +-0.1 K.
            const float reach = std::max({std::fabs(s.max), std::fabs(s.min), 0.1f});
            request.range = std::make_pair(-reach, reach);
        } else {
            const std::vector<double> v = parse_temperatures("--range", o.range, 1);
            if (!(v[0] > 0))
                fail_usage("--range " + o.range + ": give the reach R (> 0) of the scale -R..+R in K");
            request.range = std::make_pair(static_cast<float>(-v[0]), static_cast<float>(v[0]));
        }
        request.crosshairs.push_back({s.max_x, s.max_y, kelvin_label(s.max), true});
        request.crosshairs.push_back({s.min_x, s.min_y, kelvin_label(s.min), false});
        request.caption = "\u0394T = " + o.a +
                          (o.reference ? " - frame " + std::to_string(*o.reference) : " - " + o.b) +
                          ", frame " + std::to_string(shown);
        Picture picture;
        try {
            picture = render_picture(request);
        } catch (const std::runtime_error &e) {
            fail_usage(std::string("cannot render the picture: ") + e.what());
        }
        write_file_atomically(o.picture, picture.png.data(), picture.png.size());
        if (!o.json)
            std::printf("%s: %dx%d, %+.2f .. %+.2f K\n", o.picture.c_str(), picture.width, picture.height,
                        static_cast<double>(picture.lo), static_cast<double>(picture.hi));
    }
    if (o.json) std::printf("%s\n", report.dump(2).c_str());
}

}  // namespace

void add_diff_command(CLI::App &program, Commands &commands) {
    auto o = std::make_shared<DiffOptions>();
    CLI::App *cmd = program.add_subcommand(
        "diff", "Temperature difference A - B (K) of two frames, or of a sequence and one of its frames");
    cmd->add_option("A", o->a, "Frame file: temperatures, or raw NUC with --camera")->required();
    cmd->add_option("B", o->b, "Frame file subtracted: one frame, or one per frame of A");
    cmd->add_option("--reference", o->reference, "Subtract frame N of A (from 0) from every frame of A");
    cmd->add_option("-o,--output", o->output, "Difference frames as float TIFF (K)");
    cmd->add_option("--picture", o->picture, "Picture of one difference frame (.png), diverging scale");
    cmd->add_option("--range", o->range,
                    "Scale of the picture: -R..+R K (default: the largest |difference|)");
    cmd->add_option("--frame", o->frame, "Difference frame shown in the picture (default: the last)");
    cmd->add_flag("--json", o->json, "Print the statistics as JSON");
    o->frames.add_to(*cmd);
    o->camera.add_to(*cmd, false, true);
    cmd->footer(example({"radimo diff after.tiff before.tiff -o delta.tiff --picture delta.png",
                         "radimo diff recording.tiff --reference 0 --picture warming.png --range 5"}));
    commands.push_back({cmd, [o] { run_diff(*o); }});
}

}  // namespace radimo::cli
