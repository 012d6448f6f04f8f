// radimo render: the measured false-colour picture of a frame.
#include <cstdio>
#include <memory>

#include "commands/command.h"
#include "core/arguments.h"
#include "core/atomic_output.h"
#include "core/camera_options.h"
#include "core/conversion.h"
#include "core/errors.h"
#include "core/frame_options.h"
#include "core/measure_report.h"
#include "core/picture_output.h"
#include "core/shape_regions.h"
#include "formats/frame_file.h"
#include "formats/video.h"
#include "picture/scale.h"

namespace radimo::cli {
namespace {

struct RenderOptions {
    std::string input;
    std::string output;
    std::string palette = "ironbow";
    std::string range;
    bool automatic = false;
    std::string isotherm;
    std::vector<std::string> points, lines, rects;
    std::vector<std::string> polygons, ellipses, masks;
    std::string regions_file;
    bool histogram = false;
    bool no_bar = false;
    bool no_crosshairs = false;
    std::string caption;
    std::size_t frame = 0;
    double fps = 25;
    FrameOptions frames;
    CameraOptions camera;
};

// What the picture marks and measures: points, lines and rectangles, and regions of any shape (with
// the camera's scene and table for those with a scene of their own).
struct Marks {
    std::vector<Region> regions;
    std::vector<ShapeRegion> shapes;
    const CameraProfile *camera = nullptr;
};

// A frame's temperatures in degC for the picture and in their own unit for the measurements, its
// regions measured.
void prepare_frame(const Frame &frame, std::size_t index, const FrameConverter &converter,
                   const std::string &name, Marks &marks, PictureRequest &request, Frame &celsius,
                   MeasuredFrame &measured) {
    const Frame temperatures = converter.temperatures(frame, name, index);
    celsius = to_unit(temperatures, Unit::kCelsius);
    measured = measured_frame(temperatures);
    request.regions.clear();
    for (const Region &r : marks.regions) {
        check_inside(r, measured.width, measured.height);
        request.regions.push_back(measure_region(measured, r, std::nullopt));
    }
    request.outlines.clear();
    for (ShapeRegion &g : marks.shapes)
        request.outlines.push_back(shape_mark(g, measure_shape(measured, g, marks.camera, 0, false)));
    request.celsius = &celsius;
    request.measured = &measured;
    request.unit = temperatures_from(frame, converter);
}

// Every frame of the input with one scale: the given range, or the union of every frame's
// automatic range. Written as a video (format "mp4" or "gif") or as PNG files named by the
// printf pattern of the output (format "").
void render_sequence(const RenderOptions &o, PictureRequest request, Marks &marks,
                     const FrameConverter &converter, const FrameInput &input, const std::string &format) {
    if (!(o.fps > 0) || o.fps > 1000) fail_usage("--fps: give 0 < FPS <= 1000");
    const std::size_t count = open_frame_file(o.input, input)->frame_count();
    Frame frame, celsius;
    MeasuredFrame measured;
    if (!request.range) {
        auto reader = open_frame_file(o.input, input);
        float lo = INFINITY, hi = -INFINITY;
        for (std::size_t i = 0; reader->next(frame); ++i) {
            celsius = to_unit(converter.temperatures(frame, o.input, i), Unit::kCelsius);
            const auto [a, b] = automatic_range(celsius.floats);
            lo = std::min(lo, a), hi = std::max(hi, b);
        }
        request.range = std::make_pair(lo, hi);
    }
    const std::string caption = o.caption.empty() ? "" : o.caption + "   ";
    std::unique_ptr<AtomicFile> file;
    std::unique_ptr<VideoWriter> video;
    auto reader = open_frame_file(o.input, input);
    int width = 0, height = 0;
    for (std::size_t i = 0; reader->next(frame); ++i) {
        prepare_frame(frame, i, converter, o.input, marks, request, celsius, measured);
        char counter[96];
        std::snprintf(counter, sizeof counter, "frame %zu/%zu  %.2f s", i + 1, count,
                      static_cast<double>(i) / o.fps);
        request.caption = caption + counter;
        const Picture picture = draw_picture(request, !format.empty());
        if (format.empty()) {
            char name[4096];
            std::snprintf(name, sizeof name, o.output.c_str(), static_cast<int>(i));
            const std::filesystem::path path(name);
            if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
            write_file_atomically(path, picture.png.data(), picture.png.size());
            continue;
        }
        if (!video) {
            width = picture.width, height = picture.height;
            file = std::make_unique<AtomicFile>(o.output);
            video = create_video_writer(file->temp_path(), format, width, height, o.fps, o.output);
        }
        if (picture.width != width || picture.height != height)
            fail_usage(o.input + " frame " + std::to_string(i) +
                       ": the frames of a video must have one size");
        video->write(picture.pixels.data());
    }
    if (video) {
        video->close();
        file->commit();
    }
    std::printf("%s: %zu frame(s), %s, %.1f .. %.1f \u00b0C\n", o.output.c_str(), count, o.palette.c_str(),
                static_cast<double>(request.range->first), static_cast<double>(request.range->second));
}

void run_render(const RenderOptions &o) {
    const Palette *palette = &palette_option(o.palette);
    Marks marks;
    marks.regions = parse_regions(o.points, o.lines, o.rects);
    marks.shapes = parse_shape_regions(o.polygons, o.ellipses, o.masks, o.regions_file);
    PictureRequest request;
    request.histogram = o.histogram;
    request.palette = palette;
    if (!o.range.empty()) request.range = parse_interval("--range", o.range);
    if (!o.isotherm.empty()) request.isotherm = parse_interval("--isotherm", o.isotherm);
    request.colour_bar = !o.no_bar;
    request.crosshairs = !o.no_crosshairs;
    request.caption = o.caption;

    const std::optional<CameraProfile> camera = o.camera.load();
    const FrameConverter converter(o.camera.settings(camera ? &*camera : nullptr));
    marks.camera = camera ? &*camera : nullptr;
    check_own_scenes(marks.shapes, converter.scene_corrects());
    const FrameInput input = o.frames.input(camera.has_value());
    const std::string extension = std::filesystem::path(o.output).extension().string();
    const bool frames = o.output.find('%') != std::string::npos;
    if (extension == ".mp4" || extension == ".gif" || frames) {
        render_sequence(o, request, marks, converter, input, frames ? "" : extension.substr(1));
        return;
    }
    if (!AtomicFile::is_stream(o.output) && format_of_path(o.output) != FileFormat::kPng)
        fail_usage(o.output +
                   ": the picture is written as .png (or to -, standard output; a sequence as .mp4, "
                   ".gif or frames/%04d.png)");
    auto reader = open_frame_file(o.input, input);
    std::vector<std::filesystem::path> inputs = o.camera.files(camera);
    inputs.emplace_back(o.input);
    refuse_input_as_output("-o", o.output, inputs);
    if (o.frame >= reader->frame_count())
        fail_usage("--frame " + std::to_string(o.frame) + ": " + o.input + " has " +
                   std::to_string(reader->frame_count()) + " frame(s)");
    Frame frame;
    for (std::size_t i = 0; i <= o.frame; ++i) reader->next(frame);

    Frame celsius;
    MeasuredFrame measured;
    prepare_frame(frame, o.frame, converter, o.input, marks, request, celsius, measured);
    const Picture picture = write_picture(o.output, request);
    std::string beyond;
    if (picture.above + picture.below > 0)
        beyond = " (" + std::to_string(picture.above) + " pixels above, " + std::to_string(picture.below) +
                 " below, in the end colours)";
    std::fprintf(report_stream(), "%s: %dx%d, %s, %.1f .. %.1f \u00b0C%s; temperatures: %s\n",
                 o.output.c_str(), picture.width, picture.height, o.palette.c_str(),
                 static_cast<double>(picture.lo), static_cast<double>(picture.hi), beyond.c_str(),
                 request.unit.c_str());
}

}  // namespace

void add_render_command(CLI::App &program, Commands &commands) {
    auto o = std::make_shared<RenderOptions>();
    CLI::App *cmd = program.add_subcommand("render", "Render a frame as a measured false-colour PNG picture");
    cmd->add_option("FRAME", o->input, "Frame file: temperatures, or raw NUC with --camera")->required();
    cmd->add_option(
           "-o,--output", o->output,
           "Output picture (.png; - for standard output); every frame with one scale: a video (.mp4, "
           ".gif) or PNG files (frames/%04d.png)")
        ->required();
    cmd->add_option("--fps", o->fps, "Frames per second of a video and its time counter")
        ->capture_default_str();
    cmd->add_option("--palette", o->palette, "Palette: " + palette_choices("|"))->capture_default_str();
    auto *range = cmd->add_option("--range", o->range,
                                  "Locked scale LO,HI in degC (pixels beyond take the end colours; the bar "
                                  "gets a pointed cap at an end they pass)");
    cmd->add_flag(
           "--auto", o->automatic,
           "Automatic scale (the default): from the 0.1 % to the 99.9 % percentile of the pixels, each "
           "end moved out to the farthest pixel within a tenth of the span beyond it, at least 2 degC "
           "wide; the few pixels beyond show as with --range")
        ->excludes(range);
    cmd->add_option("--isotherm", o->isotherm, "Highlight temperatures LO,HI in degC");
    cmd->add_option("--point", o->points, "Mark and measure a point X,Y (repeatable)");
    cmd->add_option("--line", o->lines, "Mark and measure a line X0,Y0,X1,Y1 (repeatable)");
    cmd->add_option("--rect", o->rects, "Mark and measure a rectangle X,Y,W,H (repeatable)");
    cmd->add_option("--polygon", o->polygons,
                    "Mark and measure a polygon X0,Y0,X1,Y1,X2,Y2,... (repeatable)");
    cmd->add_option("--ellipse", o->ellipses, "Mark and measure an ellipse CX,CY,RX,RY (repeatable)");
    cmd->add_option("--mask", o->masks, "Mark and measure a mask file (non-zero = inside) (repeatable)");
    cmd->add_option("--regions", o->regions_file,
                    "Mark and measure the regions of a regions file (JSON; docs/formats.md)");
    cmd->add_flag("--histogram", o->histogram, "The histogram of the frame beside the colour bar");
    cmd->add_flag("--no-bar", o->no_bar, "No colour bar");
    cmd->add_flag("--no-crosshairs", o->no_crosshairs, "No crosshairs at the hottest and coldest pixels");
    cmd->add_option("--caption", o->caption, "One-line caption");
    cmd->add_option("--frame", o->frame, "Frame of a multi-frame file (from 0)")->capture_default_str();
    o->frames.add_to(*cmd);
    o->camera.add_to(*cmd, false, true);
    cmd->footer(
        example({"radimo render demo/celsius.tiff -o mug.png --palette lava --range 15,70 "
                 "--isotherm 60,70 --rect 420,310,76,82",
                 "radimo render recording.tiff -o recording.mp4 --range 15,70 --fps 30"}));
    commands.push_back({cmd, [o] { run_render(*o); }});
}

}  // namespace radimo::cli
