// The measured false-colour picture of a frame, as PNG bytes or written atomically.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/frame.h"
#include "core/regions.h"
#include "picture/picture.h"

namespace radimo::cli {

struct PictureRequest {
    const Frame *celsius = nullptr;   // what is shown
    const Frame *kelvin16 = nullptr;  // what is measured (the same temperatures in 1/16 K)
    std::vector<RegionResult> regions;
    const Palette *palette = nullptr;
    std::optional<std::pair<float, float>> range;
    std::optional<std::pair<float, float>> isotherm;
    bool colour_bar = true;
    bool crosshairs = true;  // at the hottest and the coldest point of the frame
    std::string caption;
};

// The palette given to --palette (a usage error listing the palettes for an unknown name), and
// the names of the palettes joined by `separator`.
const Palette &palette_option(const std::string &name);
std::string palette_choices(const char *separator);

// "65.2 °C".
std::string celsius_label(uint16_t kelvin16);

// Renders the picture (PNG bytes in memory); a request the renderer refuses is a usage error.
Picture draw_picture(const PictureRequest &request);
// Renders and writes the picture; returns it (size, scale) for reports.
Picture write_picture(const std::filesystem::path &out, const PictureRequest &request);

}  // namespace radimo::cli
