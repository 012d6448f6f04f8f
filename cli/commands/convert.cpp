// radimo convert: raw NUC frames to temperature frames, streamed.
#include <cstdio>
#include <filesystem>
#include <memory>

#include "commands/command.h"
#include "core/atomic_output.h"
#include "core/camera_options.h"
#include "core/conversion.h"
#include "core/errors.h"
#include "core/progress.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

struct ConvertOptions {
    std::vector<std::string> inputs;
    std::string output;
    std::string to = "celsius";
    std::string size;
    bool quiet = false;
    CameraOptions camera;
};

struct Input {
    fs::path path;
    std::unique_ptr<FrameReader> reader;
};

// Streams every frame of the inputs into one output file.
void convert_into(const fs::path &target, std::vector<Input> &inputs, const FrameConverter &converter,
                  Unit unit, bool quiet) {
    const FileFormat format = format_of_path(target);
    if (!format_holds(format, unit))
        fail_usage(target.string() + ": " + format_name(format) +
                   " holds 16-bit samples; use --to kelvin16 or --to centikelvin, or write .tiff or .csv");
    std::size_t total = 0;
    for (const Input &in : inputs) total += in.reader->frame_count();
    if (total > 1 && !format_holds_many(format))
        fail_usage(target.string() + ": " + format_name(format) + " holds one frame and the input has " +
                   std::to_string(total) + "; write .tiff, .pgm or .csv");
    for (const Input &in : inputs)
        if (fs::exists(target) && fs::equivalent(in.path, target))
            fail_usage(target.string() + ": the output would overwrite an input");

    AtomicFile file(target);
    auto writer = create_frame_writer(format, file.temp_path(), target.string());
    Progress progress("convert " + target.filename().string(), total, quiet);
    Frame frame;
    for (Input &in : inputs) {
        while (in.reader->next(frame)) {
            Frame out = converter.convert(frame, unit, in.path.string());
            out.vtemp = frame.vtemp;
            writer->write(out);
            progress.advance();
        }
    }
    writer->close();
    file.commit();
    if (!quiet)
        std::printf("%s: %zu frame%s in %s\n", target.string().c_str(), total, total == 1 ? "" : "s",
                    unit_name(unit));
}

void run_convert(const ConvertOptions &o) {
    const auto unit = unit_from_name(o.to);
    if (!unit || *unit == Unit::kNuc)
        fail_usage("--to " + o.to + ": expected celsius, kelvin16 or centikelvin");
    const std::optional<FrameSize> size = parse_optional_size("--size", o.size);
    const std::optional<CameraProfile> camera = o.camera.load();
    const FrameConverter converter(o.camera.settings(camera ? &*camera : nullptr));

    // Every input is opened (and so checked) before anything is written.
    std::vector<Input> inputs;
    for (const std::string &name : o.inputs) inputs.push_back({name, open_frame_file(name, size)});
    if (!o.output.empty()) {
        convert_into(o.output, inputs, converter, *unit, o.quiet);
        return;
    }
    for (Input &in : inputs) {
        fs::path target = in.path;
        target.replace_extension(std::string(".") + unit_name(*unit) + ".tiff");
        std::vector<Input> one;
        one.push_back(std::move(in));
        convert_into(target, one, converter, *unit, o.quiet);
    }
}

}  // namespace

void add_convert_command(CLI::App &program, Commands &commands) {
    auto o = std::make_shared<ConvertOptions>();
    CLI::App *cmd = program.add_subcommand("convert", "Convert raw NUC frames to temperature frames");
    cmd->add_option("RAW", o->inputs,
                    "Input frames: 16-bit TIFF (multi-page), PNG or PGM, or raw u16 LE with --size")
        ->required();
    cmd->add_option("-o,--output", o->output,
                    "Output file (.tiff, .png, .pgm, .csv); default: INPUT.<unit>.tiff beside each input");
    cmd->add_option("--to", o->to,
                    "Output unit: celsius (float32), kelvin16 (1/16 K) or centikelvin (1/100 K)")
        ->capture_default_str();
    cmd->add_option("--size", o->size, "Frame size WxH of raw inputs");
    cmd->add_flag("-q,--quiet", o->quiet, "No progress bar or summary");
    o->camera.add_to(*cmd, true, true);
    cmd->footer(
        example({"radimo convert demo/raw.tiff --camera demo/camera -o frames.tiff --scene-correct",
                 "radimo convert capture.raw --size 640x512 --camera cam --to kelvin16 -o capture.pgm"}));
    commands.push_back({cmd, [o] { run_convert(*o); }});
}

}  // namespace radimo::cli
