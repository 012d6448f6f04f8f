// False-colour palettes for rendered temperature pictures.
//
// Every palette is a short list of our own sRGB control points, blended in the
// OKLab perceptual space (so the steps look even to the eye) and sampled into a
// table of `Palette::levels` colours. Position 0 is the coldest end, 1 the hottest.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace radimo::cli {

struct Rgb {
    uint8_t r, g, b;
    friend bool operator==(const Rgb &, const Rgb &) = default;
};

// One sRGB control point of a palette: position t in [0,1] and its colour.
struct ControlPoint {
    double t;
    Rgb colour;
};

class Palette {
public:
    static constexpr int levels = 1024;
    // How colours between control points are blended: evenly in perceived
    // lightness and hue (OKLab), or in equal sRGB code steps.
    enum class Blend { oklab, srgb };

    // Points must start at t = 0, end at t = 1 and rise strictly in between.
    Palette(std::string_view name, std::span<const ControlPoint> points, Blend blend = Blend::oklab);

    std::string_view name() const { return name_; }
    // The table entry of position t, clamped to [0,1]; NaN gives the coldest entry. Rounded half
    // up, as std::lround rounds a positive number, without its call: the fraction of a positive
    // double below 2^52 is exact.
    static int level(double t) {
        if (!(t > 0.0)) return 0;
        if (t >= 1.0) return levels - 1;
        const double x = t * (levels - 1);
        const auto whole = static_cast<int>(x);
        return whole + (x - static_cast<double>(whole) >= 0.5 ? 1 : 0);
    }
    // The colour of table entry i (0 .. levels - 1), and the colour at position t.
    Rgb colour(int i) const { return table_[static_cast<std::size_t>(i)]; }
    Rgb at(double t) const { return colour(level(t)); }
    // A saturated colour far from every colour of this palette, for isotherms.
    Rgb highlight() const { return highlight_; }

private:
    std::string name_;
    std::array<Rgb, levels> table_{};
    Rgb highlight_{};
};

// The names of the built-in palettes, in the order they are offered to users.
std::span<const std::string_view> palette_names();
// The built-in palette of that name, or nullptr when there is none.
const Palette *find_palette(std::string_view name);

// The diverging palette of temperature differences: cold blue through white (no change, at
// t = 0.5) to warm red; not offered for temperatures.
const Palette &difference_palette();

// Perceptual lightness (OKLab L, 0 black .. 1 white) of an sRGB colour.
double oklab_lightness(Rgb c);

}  // namespace radimo::cli
