// One frame of a file: its size, what its samples mean and the samples.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace radimo::cli {

// What a sample means.
enum class Unit {
    kNuc,          // raw 14-bit sensor response (NUC value), u16
    kKelvin16,     // temperature in 1/16 K (degC = v / 16 - 273.15), u16
    kCentikelvin,  // temperature in 1/100 K (degC = v / 100 - 273.15), u16
    kCelsius,      // temperature in degC, float32
};
const char *unit_name(Unit unit);
std::optional<Unit> unit_from_name(std::string_view name);

struct Frame {
    int width = 0;
    int height = 0;
    Unit unit = Unit::kNuc;
    bool unit_from_file = false;    // the file said what its samples are
    std::optional<uint16_t> vtemp;  // focal-plane reading the file gives for this frame
    std::vector<uint16_t> samples;  // every unit but kCelsius
    std::vector<float> celsius;     // kCelsius

    std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
    // Resolution word of the library: width in the low 16 bits, height in the high 16 bits.
    uint32_t resolution() const {
        return static_cast<uint32_t>(width) | (static_cast<uint32_t>(height) << 16);
    }
};

// The text stored with a frame in TIFF, PNG, PGM and CSV files (a small
// JSON object: unit, the scale to degC, the vtemp), and its reader, which
// sets unit, unit_from_file and vtemp of `frame` when the text is ours.
std::string frame_metadata(const Frame &frame);
void read_frame_metadata(std::string_view text, Frame &frame);

// Temperature conversions of single samples (the library's own rounding of 1/16 K to degC).
float celsius_of_kelvin16(uint16_t value);
float celsius_of_centikelvin(uint16_t value);
// Rounded to the nearest count and limited to 0..65535.
uint16_t kelvin16_of_celsius(double celsius);
uint16_t centikelvin_of_celsius(double celsius);

}  // namespace radimo::cli
