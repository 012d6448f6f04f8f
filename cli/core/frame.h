// One frame of a file: its size, what its samples mean and the samples.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/units.h"

namespace radimo::cli {

struct Frame {
    int width = 0;
    int height = 0;
    Unit unit = Unit::kNuc;
    UnitSource unit_source = UnitSource::kAssumed;  // where `unit` came from
    std::optional<uint16_t> vtemp;                  // focal-plane reading the file gives for this frame
    std::vector<uint16_t> samples;                  // 16-bit units
    std::vector<float> floats;                      // float units (kCelsius, kKelvin)

    std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
    // Resolution word of the library: width in the low 16 bits, height in the high 16 bits.
    uint32_t resolution() const {
        return static_cast<uint32_t>(width) | (static_cast<uint32_t>(height) << 16);
    }
};

// The text stored with a frame in TIFF, PNG, PGM and CSV files (a small
// JSON object: unit, the rule to degC, the vtemp), and its reader, which
// sets unit, unit_source (kFile) and vtemp of `frame` when the text is ours
// and names a unit this tool knows.
std::string frame_metadata(const Frame &frame);
void read_frame_metadata(std::string_view text, Frame &frame);

}  // namespace radimo::cli
