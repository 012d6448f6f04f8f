// radimo convert: frames to temperature frames of any unit, streamed: raw
// NUC frames through a camera, temperature frames from unit to unit.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "commands/command.h"
#include "core/atomic_output.h"
#include "core/camera_options.h"
#include "core/conversion.h"
#include "core/errors.h"
#include "core/frame_options.h"
#include "core/progress.h"
#include "core/warnings.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

struct ConvertOptions {
    std::vector<std::string> inputs;
    std::string output;
    std::string format;
    std::string to = "celsius";
    bool quiet = false;
    FrameOptions frames;
    CameraOptions camera;
};

struct Input {
    fs::path path;
    std::unique_ptr<FrameReader> reader;
};

// The output's format: --format, else its extension (standard output and
// devices have none to go by).
FileFormat output_format(const fs::path &target, const std::string &format) {
    for (FileFormat f : {FileFormat::kTiff, FileFormat::kPng, FileFormat::kPgm, FileFormat::kCsv}) {
        std::string name = format_name(f);  // "TIFF": the format's extension in capitals
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        if (format == name) return f;
    }
    if (!format.empty()) fail_usage("--format " + format + ": expected tiff, png, pgm or csv");
    if (AtomicFile::is_stream(target))
        fail_usage(target.string() +
                   ": give --format (tiff, png, pgm or csv) for standard output or a device");
    return format_of_path(target);
}

// Streams every frame of the inputs into one output file; `camera_files`
// are inputs too.
void convert_into(const fs::path &target, std::vector<Input> &inputs, const FrameConverter &converter,
                  Unit unit, const ConvertOptions &o, const std::vector<fs::path> &camera_files) {
    const bool quiet = o.quiet;
    const FileFormat format = output_format(target, o.format);
    if (!format_holds(format, unit))
        fail_usage(
            target.string() + ": " + format_name(format) +
            " holds 16-bit samples; use a 16-bit unit (--to kelvin16, centikelvin...), or write .tiff or "
            ".csv");
    std::size_t total = 0;
    for (const Input &in : inputs) total += in.reader->frame_count();
    if (total > 1 && !format_holds_many(format))
        fail_usage(target.string() + ": " + format_name(format) + " holds one frame and the input has " +
                   std::to_string(total) + "; write .tiff, .pgm or .csv");
    std::vector<fs::path> sources = camera_files;
    for (const Input &in : inputs) sources.push_back(in.path);
    refuse_input_as_output("-o", target, sources);

    AtomicFile file(target);
    auto writer = create_frame_writer(format, file.temp_path(), target.string());
    Progress progress("convert " + target.filename().string(), total, quiet);
    Frame frame;
    std::string from;  // the units the frames came in, each once
    for (Input &in : inputs) {
        for (std::size_t index = 0; in.reader->next(frame); ++index) {
            Frame out = converter.convert(frame, unit, in.path.string(), index);
            out.vtemp = frame.vtemp;
            writer->write(out);
            progress.advance();
            std::string source = describe_unit(frame.unit, frame.unit_source);
            if (converter.quantises(frame.unit)) source += ", rounded to kelvin16 for the scene correction";
            if (from.find(source) == std::string::npos) from += (from.empty() ? "" : "; ") + source;
        }
    }
    writer->close();
    file.commit();
    if (!quiet)
        std::fprintf(report_stream(), "%s: %zu frame%s in %s (%s), from %s\n", target.string().c_str(), total,
                     total == 1 ? "" : "s", unit_name(unit), unit_symbol(unit), from.c_str());
}

void run_convert(const ConvertOptions &o) {
    const auto unit = unit_from_name(o.to);
    if (!unit || !is_temperature(*unit))
        fail_usage("--to " + o.to + ": expected a temperature unit: " + unit_names(", ", true));
    const std::optional<CameraProfile> camera = o.camera.load();
    const FrameConverter converter(o.camera.settings(camera ? &*camera : nullptr));
    const FrameInput input = o.frames.input(camera.has_value());

    // Every input is opened (and so checked) before anything is written.
    std::vector<Input> inputs;
    for (const std::string &name : o.inputs) inputs.push_back({name, open_frame_file(name, input)});
    const std::vector<fs::path> camera_files = o.camera.files(camera);
    if (!o.output.empty()) {
        convert_into(o.output, inputs, converter, *unit, o, camera_files);
        return;
    }
    for (Input &in : inputs) {
        fs::path target = in.path;
        target.replace_extension(std::string(".") + unit_name(*unit) + "." +
                                 (o.format.empty() ? "tiff" : o.format));
        std::vector<Input> one;
        one.push_back(std::move(in));
        convert_into(target, one, converter, *unit, o, camera_files);
    }
}

}  // namespace

void add_convert_command(CLI::App &program, Commands &commands) {
    auto o = std::make_shared<ConvertOptions>();
    CLI::App *cmd = program.add_subcommand(
        "convert",
        "Convert frames to temperature frames: raw NUC frames through a camera, or temperatures "
        "from one unit to another");
    cmd->add_option("FRAMES", o->inputs,
                    "Input frames: TIFF (multi-page), PNG or PGM, or raw samples with --size")
        ->required();
    cmd->add_option("-o,--output", o->output,
                    "Output file (.tiff, .png, .pgm, .csv; - for standard output with --format); default: "
                    "INPUT.<unit>.tiff beside each input");
    cmd->add_option("--format", o->format,
                    "Output format tiff, png, pgm or csv (default: the output's extension)");
    cmd->add_option("--to", o->to,
                    "Output unit: celsius or kelvin (float32: .tiff, .csv), kelvin16 (1/16 K), centikelvin "
                    "(1/100 K), decikelvin (1/10 K) or millikelvin (1/1000 K)")
        ->capture_default_str();
    cmd->add_flag("-q,--quiet", o->quiet, "No progress bar or summary");
    o->frames.add_to(*cmd);
    o->camera.add_to(*cmd, false, true);
    cmd->footer(
        example({"radimo convert demo/raw.tiff --camera demo/camera -o frames.tiff --scene-correct",
                 "radimo convert capture.raw --size 640x512 --camera cam --to kelvin16 -o capture.pgm",
                 "radimo convert room.png --unit centikelvin --to celsius -o room.csv"}));
    commands.push_back({cmd, [o] { run_convert(*o); }});
}

}  // namespace radimo::cli
