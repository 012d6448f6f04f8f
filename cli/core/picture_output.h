// The measured false-colour picture of a frame, written atomically as PNG.
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

// "65.2 °C".
std::string celsius_label(uint16_t kelvin16);

// Renders the picture (with rgb, its pixels instead of the PNG; a bad request is a usage error).
Picture draw_picture(const PictureRequest &request, bool rgb = false);
// Renders and writes the picture; returns it (size, scale) for reports.
Picture write_picture(const std::filesystem::path &out, const PictureRequest &request);

}  // namespace radimo::cli
