#include "picture/palette.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace radimo::cli {
namespace {

// OKLab, from Björn Ottosson's published definition (public domain).
struct Lab {
    double l, a, b;
};

double to_linear(uint8_t c) {
    const double v = c / 255.0;
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

uint8_t to_srgb(double v) {
    v = std::clamp(v, 0.0, 1.0);
    const double s = v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055;
    return static_cast<uint8_t>(std::lround(s * 255.0));
}

Lab to_lab(Rgb c) {
    const double r = to_linear(c.r), g = to_linear(c.g), b = to_linear(c.b);
    const double l = std::cbrt(0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b);
    const double m = std::cbrt(0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b);
    const double s = std::cbrt(0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b);
    return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
            1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
            0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

Rgb to_rgb(Lab c) {
    const double l = std::pow(c.l + 0.3963377774 * c.a + 0.2158037573 * c.b, 3.0);
    const double m = std::pow(c.l - 0.1055613458 * c.a - 0.0638541728 * c.b, 3.0);
    const double s = std::pow(c.l - 0.0894841775 * c.a - 1.2914855480 * c.b, 3.0);
    return {to_srgb(4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s),
            to_srgb(-1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s),
            to_srgb(-0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s)};
}

double distance(Lab p, Lab q) {
    return std::hypot(p.l - q.l, p.a - q.a, p.b - q.b);
}

// Control points. Ours, except where a licence is noted; hot ends at t = 1.
// Classic iron: black, indigo, purple, magenta, red, orange, yellow, white.
constexpr ControlPoint ironbow[] = {
    {0.00, {0, 0, 0}},      {0.10, {26, 10, 84}},   {0.23, {88, 14, 140}},
    {0.36, {152, 22, 138}}, {0.48, {205, 46, 88}},  {0.61, {236, 98, 34}},
    {0.74, {250, 156, 14}}, {0.87, {255, 212, 60}}, {1.00, {255, 250, 210}},
};
constexpr ControlPoint rainbow[] = {
    {0.00, {32, 16, 96}},   {0.12, {24, 64, 210}},  {0.26, {0, 160, 230}},
    {0.40, {20, 200, 140}}, {0.52, {120, 220, 40}}, {0.64, {240, 220, 30}},
    {0.78, {250, 130, 20}}, {0.92, {220, 30, 30}},  {1.00, {255, 228, 222}},
};
// White-hot and black-hot step evenly in lightness; plain grey steps evenly in sRGB code values.
constexpr ControlPoint white_hot[] = {{0.0, {0, 0, 0}}, {1.0, {255, 255, 255}}};
constexpr ControlPoint black_hot[] = {{0.0, {255, 255, 255}}, {1.0, {0, 0, 0}}};
constexpr ControlPoint lava[] = {
    {0.00, {0, 0, 0}},     {0.14, {60, 6, 16}},    {0.29, {130, 14, 20}},   {0.43, {196, 40, 14}},
    {0.57, {238, 100, 8}}, {0.71, {252, 170, 30}}, {0.86, {255, 226, 110}}, {1.00, {255, 252, 230}},
};
// Cold scenes: navy through ice to white, then warm gold and orange so heat stands out.
constexpr ControlPoint arctic[] = {
    {0.00, {4, 8, 34}},      {0.15, {16, 40, 110}},   {0.30, {24, 92, 180}},   {0.45, {56, 156, 216}},
    {0.60, {150, 214, 238}}, {0.72, {240, 244, 240}}, {0.86, {252, 212, 120}}, {1.00, {246, 150, 40}},
};
// Differences: dark blue, blue, white at zero, red, dark red; symmetric in lightness.
constexpr ControlPoint difference[] = {
    {0.00, {20, 40, 110}}, {0.25, {70, 130, 220}}, {0.50, {245, 245, 245}},
    {0.75, {225, 85, 60}}, {1.00, {110, 15, 20}},
};

// Candidate isotherm colours; each palette takes the one farthest from all of its colours.
constexpr Rgb highlight_candidates[] = {{40, 255, 60}, {255, 0, 220}, {0, 240, 255}};

}  // namespace

Palette::Palette(std::string_view name, std::span<const ControlPoint> points, Blend blend) : name_(name) {
    if (points.size() < 2 || points.front().t != 0.0 || points.back().t != 1.0)
        throw std::invalid_argument("palette control points must span 0 to 1");
    for (size_t i = 1; i < points.size(); ++i)
        if (!(points[i].t > points[i - 1].t))
            throw std::invalid_argument("palette control points must rise strictly");
    size_t seg = 0;
    for (int i = 0; i < levels; ++i) {
        const double t = static_cast<double>(i) / (levels - 1);
        while (seg + 2 < points.size() && t > points[seg + 1].t) ++seg;
        const ControlPoint &p = points[seg], &q = points[seg + 1];
        const double u = std::clamp((t - p.t) / (q.t - p.t), 0.0, 1.0);
        if (blend == Blend::srgb) {
            auto mix = [u](uint8_t x, uint8_t y) {
                return static_cast<uint8_t>(std::lround(x + (y - x) * u));
            };
            table_[i] = {mix(p.colour.r, q.colour.r), mix(p.colour.g, q.colour.g),
                         mix(p.colour.b, q.colour.b)};
            continue;
        }
        const Lab a = to_lab(p.colour), b = to_lab(q.colour);
        table_[i] = to_rgb({a.l + (b.l - a.l) * u, a.a + (b.a - a.a) * u, a.b + (b.b - a.b) * u});
    }
    double best = -1.0;
    for (Rgb candidate : highlight_candidates) {
        double nearest = std::numeric_limits<double>::infinity();
        for (Rgb c : table_) nearest = std::min(nearest, distance(to_lab(candidate), to_lab(c)));
        if (nearest > best) best = nearest, highlight_ = candidate;
    }
}

double oklab_lightness(Rgb c) {
    return to_lab(c).l;
}

std::span<const std::string_view> palette_names() {
    static constexpr std::string_view names[] = {"ironbow", "rainbow", "white-hot", "black-hot",
                                                 "lava",    "arctic",  "grey"};
    return names;
}

const Palette &difference_palette() {
    static const Palette palette("difference", difference);
    return palette;
}

const Palette *find_palette(std::string_view name) {
    static const Palette all[] = {
        Palette("ironbow", ironbow),
        Palette("rainbow", rainbow),
        Palette("white-hot", white_hot),
        Palette("black-hot", black_hot),
        Palette("lava", lava),
        Palette("arctic", arctic),
        Palette("grey", white_hot, Palette::Blend::srgb),
    };
    for (const Palette &p : all)
        if (p.name() == name) return &p;
    return nullptr;
}

}  // namespace radimo::cli
