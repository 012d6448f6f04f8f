// The measured false-colour picture of a frame, as PNG bytes or written atomically.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/frame.h"
#include "core/shape_regions.h"
#include "core/statistics.h"
#include "picture/picture.h"

namespace radimo::cli {

struct PictureRequest {
    const Frame *celsius = nullptr;           // what is shown (degC, float)
    const MeasuredFrame *measured = nullptr;  // what is measured: the same temperatures in their own unit
    std::vector<RegionResult> regions;
    std::vector<OutlineMark> outlines;  // regions of any shape (outline_mark())
    bool histogram = false;             // beside the colour bar
    const Palette *palette = nullptr;
    std::optional<std::pair<float, float>> range;
    std::optional<std::pair<float, float>> isotherm;
    bool colour_bar = true;
    bool crosshairs = true;  // at the hottest and the coldest pixel of the frame
    std::string caption;     // the user's own line, above the line that says what the numbers are
    std::string unit;        // where the temperatures came from ("centikelvin (1/100 K, given by --unit)")
};

// The palette given to --palette (a usage error listing the palettes for an unknown name), and
// the names of the palettes joined by `separator`.
const Palette &palette_option(const std::string &name);
std::string palette_choices(const char *separator);

// The outline of a region as the picture draws it: a polygon's edges, an ellipse, the border of a
// rectangle's or a mask's pixels.
OutlineMark outline_mark(const ShapeRegion &region, std::string label);
// A measured region's outline labelled as pictures show it: "E1 mean 45.3 °C" (with " (own scene)"
// under a scene of its own).
OutlineMark shape_mark(const ShapeRegion &region, const ShapeResult &result);
// "65.2 °C": a value of the measured frame, to a tenth of a degree.
std::string celsius_label(const MeasuredFrame &frame, double value);

// Renders the picture (PNG bytes in memory; with rgb, its pixels instead of the PNG); a request the
// renderer refuses is a usage error.
Picture draw_picture(const PictureRequest &request, bool rgb = false);
// Renders and writes the picture; returns it (size, scale) for reports.
Picture write_picture(const std::filesystem::path &out, const PictureRequest &request);

}  // namespace radimo::cli
