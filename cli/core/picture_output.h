// The measured false-colour picture of a frame, written atomically as PNG.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/frame.h"
#include "core/statistics.h"
#include "picture/picture.h"

namespace radimo::cli {

struct PictureRequest {
    const Frame *celsius = nullptr;           // what is shown (degC, float)
    const MeasuredFrame *measured = nullptr;  // what is measured: the same temperatures in their own unit
    std::vector<RegionResult> regions;
    const Palette *palette = nullptr;
    std::optional<std::pair<float, float>> range;
    std::optional<std::pair<float, float>> isotherm;
    bool colour_bar = true;
    bool crosshairs = true;  // at the hottest and the coldest pixel of the frame
    std::string caption;     // the user's own line, above the line that says what the numbers are
    std::string unit;        // where the temperatures came from ("centikelvin (1/100 K, given by --unit)")
};

// "65.2 °C": a value of the measured frame, to a tenth of a degree.
std::string celsius_label(const MeasuredFrame &frame, double value);

// Renders and writes the picture; returns it (size, scale) for reports.
Picture write_picture(const std::filesystem::path &out, const PictureRequest &request);

}  // namespace radimo::cli
