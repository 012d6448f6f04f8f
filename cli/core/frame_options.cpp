#include "core/frame_options.h"

#include "core/errors.h"

namespace radimo::cli {

void FrameOptions::add_to(CLI::App &command) {
    command.add_option("--size", size, "Frame size WxH of a raw input file");
    command.add_option(
        "--unit", unit,
        "What the samples are, when the file does not declare it: nuc (raw sensor counts, needs "
        "--camera), kelvin16 (1/16 K), centikelvin (1/100 K), decikelvin (1/10 K), millikelvin "
        "(1/1000 K) for 16-bit samples; celsius or kelvin for float32 samples. Default: nuc with "
        "--camera, else kelvin16 (16-bit) or celsius (float)");
    command.add_option(
        "--byte-order", byte_order,
        "Byte order of the samples: little or big (default: raw files little, TIFF its header's, "
        "PNG and PGM big; give it for files written the other way round)");
}

FrameInput FrameOptions::input(bool camera) const {
    FrameInput in;
    in.raw_size = parse_optional_size("--size", size);
    if (!unit.empty()) {
        in.unit = unit_from_name(unit);
        if (!in.unit) fail_usage("--unit " + unit + ": expected one of " + unit_names());
    }
    if (byte_order == "little") {
        in.byte_order = ByteOrder::kLittle;
    } else if (byte_order == "big") {
        in.byte_order = ByteOrder::kBig;
    } else if (!byte_order.empty()) {
        fail_usage("--byte-order " + byte_order + ": expected little or big");
    }
    in.assumed = camera ? Unit::kNuc : Unit::kKelvin16;
    return in;
}

}  // namespace radimo::cli
