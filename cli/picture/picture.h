// A false-colour picture of a temperature frame, with its colour bar and measurement overlays,
// rendered with Cairo into PNG bytes in memory.
//
// Layout: the frame, upscaled by an integer factor with nearest-neighbour pixels, on the left
// (with a margin around it when there are marks, so a mark at an edge pixel is drawn whole);
// the colour bar with its degC ticks on the right, with a pointed cap at an end beyond which
// pixels lie (the scale clips them); an optional caption strip of one or more lines along the
// bottom. Unless `upscale` is set, the factor is 800 / max(width, height) (integer division), at
// least 1 and at most 16: 80x60 and 160x120 frames become 800x600, 384x288 becomes 768x576,
// 640x512 stays 1:1. Marks are given in frame pixels (x column, y row) and drawn antialiased with
// a dark halo so they read on any colour. Their labels never overlap one another: one that finds
// no free place near its mark goes elsewhere with a leader line, else into the caption. The output
// is an 8-bit RGB PNG whose bytes depend only on the input.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "picture/palette.h"
#include "picture/scale.h"

namespace radimo::cli {

struct PointMark {
    int x, y;
    std::string label;
};
struct LineMark {
    int x0, y0, x1, y1;
    std::string label;
};
// The rectangle covers frame pixels x .. x+w-1 and y .. y+h-1.
struct RectMark {
    int x, y, w, h;
    std::string label;
};
// The outline of a region of any shape: paths through frame coordinates (pixel (c, r) has its
// centre at (c, r)), such as a polygon's vertices, points around an ellipse, or the pixel edges of a
// mask; each path closed back to its start when `closed`.
struct OutlineMark {
    std::vector<std::vector<std::pair<double, double>>> paths;
    bool closed = true;
    std::string label;
};
// A crosshair at the hottest (hot = true, warm colour) or coldest (cool colour) pixel, with its
// temperature as the label, e.g. "65.2 °C".
struct Crosshair {
    int x, y;
    std::string label;
    bool hot;
};

struct PictureSpec {
    int width = 0, height = 0;
    const float *celsius = nullptr;                   // row-major width*height, degC; NaN = no data
    const Palette *palette = nullptr;                 // nullptr = ironbow
    std::optional<std::pair<float, float>> range;     // locked scale lo,hi degC; nullopt = automatic_range()
    std::optional<std::pair<float, float>> isotherm;  // pixels within [lo,hi] highlighted
    bool colour_bar = true;
    bool histogram = false;  // the frame's histogram over the scale, beside the colour bar
    std::vector<PointMark> points;
    std::vector<LineMark> lines;
    std::vector<RectMark> rects;
    std::vector<OutlineMark> outlines;
    std::vector<Crosshair> crosshairs;
    std::string caption;           // optional caption: lines separated by '\n' (the last in a quieter grey)
    std::string unit = "\u00B0C";  // of the values and the colour bar ("K" for differences)
    int upscale = 0;               // frame pixel to picture pixels, 1..16; 0 = automatic
    bool rgb = false;              // also (instead of the PNG) give the pixels: frames of a video
};

struct Picture {
    std::vector<unsigned char> png;
    int width = 0, height = 0;          // of the PNG
    int image_x = 0, image_y = 0;       // where the frame's top-left pixel starts in it
    float lo = 0, hi = 0;               // the temperature range the colours span
    std::size_t above = 0, below = 0;   // pixels beyond its ends, shown in the end colours
    std::vector<unsigned char> pixels;  // with PictureSpec::rgb: height rows of width * 3 bytes (RGB)
};

// Throws std::runtime_error with a one-line message for a bad request (no data, empty or oversized
// frame, a mark outside the frame, an empty or reversed range) or a drawing failure.
Picture render_picture(const PictureSpec &request);

}  // namespace radimo::cli
