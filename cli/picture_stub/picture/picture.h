// Temporary stand-in for the picture module (cli/picture), same interface.
#pragma once
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "picture/palette.h"

namespace radimo::cli {
struct PointMark {
    int x, y;
    std::string label;
};
struct LineMark {
    int x0, y0, x1, y1;
    std::string label;
};
struct RectMark {
    int x, y, w, h;
    std::string label;
};
struct Crosshair {
    int x, y;
    std::string label;
    bool hot;
};
struct PictureSpec {
    int width = 0, height = 0;
    const float *celsius = nullptr;
    const Palette *palette = nullptr;
    std::optional<std::pair<float, float>> range;
    std::optional<std::pair<float, float>> isotherm;
    bool colour_bar = true;
    std::vector<PointMark> points;
    std::vector<LineMark> lines;
    std::vector<RectMark> rects;
    std::vector<Crosshair> crosshairs;
    std::string caption;
};
struct Picture {
    std::vector<unsigned char> png;
    int width = 0, height = 0;
    float lo = 0, hi = 0;
};
Picture render_picture(const PictureSpec &spec);
}  // namespace radimo::cli
