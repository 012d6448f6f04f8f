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
#include "formats/frame_file.h"

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
    bool no_bar = false;
    bool no_crosshairs = false;
    std::string caption;
    std::size_t frame = 0;
    FrameOptions frames;
    CameraOptions camera;
};

void run_render(const RenderOptions &o) {
    const Palette *palette = &palette_option(o.palette);
    const std::vector<Region> regions = parse_regions(o.points, o.lines, o.rects);
    PictureRequest request;
    request.palette = palette;
    if (!o.range.empty()) request.range = parse_interval("--range", o.range);
    if (!o.isotherm.empty()) request.isotherm = parse_interval("--isotherm", o.isotherm);
    request.colour_bar = !o.no_bar;
    request.crosshairs = !o.no_crosshairs;
    request.caption = o.caption;
    if (!AtomicFile::is_stream(o.output) && format_of_path(o.output) != FileFormat::kPng)
        fail_usage(o.output + ": the picture is written as .png (or to -, standard output)");

    const std::optional<CameraProfile> camera = o.camera.load();
    const FrameConverter converter(o.camera.settings(camera ? &*camera : nullptr));
    auto reader = open_frame_file(o.input, o.frames.input(camera.has_value()));
    std::vector<std::filesystem::path> inputs = o.camera.files(camera);
    inputs.emplace_back(o.input);
    refuse_input_as_output("-o", o.output, inputs);
    if (o.frame >= reader->frame_count())
        fail_usage("--frame " + std::to_string(o.frame) + ": " + o.input + " has " +
                   std::to_string(reader->frame_count()) + " frame(s)");
    Frame frame;
    for (std::size_t i = 0; i <= o.frame; ++i) reader->next(frame);

    const Frame temperatures = converter.temperatures(frame, o.input, o.frame);
    const Frame celsius = to_unit(temperatures, Unit::kCelsius);
    const MeasuredFrame measured = measured_frame(temperatures);
    for (const Region &r : regions) {
        check_inside(r, measured.width, measured.height);
        request.regions.push_back(measure_region(measured, r, std::nullopt));
    }
    request.celsius = &celsius;
    request.measured = &measured;
    request.unit = temperatures_from(frame, converter);
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
    cmd->add_option("-o,--output", o->output, "Output picture (.png; - for standard output)")->required();
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
    cmd->add_flag("--no-bar", o->no_bar, "No colour bar");
    cmd->add_flag("--no-crosshairs", o->no_crosshairs, "No crosshairs at the hottest and coldest pixels");
    cmd->add_option("--caption", o->caption, "One-line caption");
    cmd->add_option("--frame", o->frame, "Frame of a multi-frame file (from 0)")->capture_default_str();
    o->frames.add_to(*cmd);
    o->camera.add_to(*cmd, false, true);
    cmd->footer(
        example({"radimo render demo/celsius.tiff -o mug.png --palette lava --range 15,70 "
                 "--isotherm 60,70 --rect 420,310,76,82"}));
    commands.push_back({cmd, [o] { run_render(*o); }});
}

}  // namespace radimo::cli
