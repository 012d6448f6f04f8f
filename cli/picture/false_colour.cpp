// The frame in false colour, upscaled with nearest-neighbour pixels, written straight into the
// image surface.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "picture/canvas.h"

namespace radimo::cli::detail {
namespace {

// Pixels without a valid temperature show a quiet grey checkerboard, like "no data" anywhere.
constexpr Rgb no_data_dark{78, 78, 82}, no_data_light{112, 112, 118};

uint32_t pack(Rgb c) {
    return 0xFF000000u | (uint32_t{c.r} << 16) | (uint32_t{c.g} << 8) | c.b;
}

}  // namespace

Clipped paint_false_colour(cairo_surface_t *surface, const PictureSpec &request, const Palette &palette,
                           float lo, float hi, const Layout &layout) {
    cairo_surface_flush(surface);
    unsigned char *data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const int f = layout.factor, x0 = static_cast<int>(layout.image.x), y0 = static_cast<int>(layout.image.y);
    const int cell = std::max(4, static_cast<int>(std::lround(6 * layout.ui)));
    const double span = static_cast<double>(hi) - lo;
    const uint32_t highlight = pack(palette.highlight());
    uint32_t colours[Palette::levels];  // the palette as the surface's words
    for (int i = 0; i < Palette::levels; ++i) colours[i] = pack(palette.colour(i));
    const bool isotherm = request.isotherm.has_value();
    const float iso_lo = isotherm ? request.isotherm->first : 0,
                iso_hi = isotherm ? request.isotherm->second : 0;
    // Picture pixel (ox, oy) of a frame pixel without a valid temperature.
    const auto no_data = [cell](int ox, int oy) {
        return pack(((ox / cell + oy / cell) & 1) ? no_data_light : no_data_dark);
    };

    Clipped clipped;
    for (int y = 0; y < request.height; ++y) {
        const float *row = request.celsius + static_cast<size_t>(y) * request.width;
        auto *out = reinterpret_cast<uint32_t *>(data + static_cast<size_t>(y0 + y * f) * stride) + x0;
        for (int x = 0; x < request.width; ++x) {
            const float v = row[x];
            clipped.above += v > hi ? 1 : 0;  // NaN is neither
            clipped.below += v < lo ? 1 : 0;
            uint32_t *cell_out = out + x * f;
            if (!std::isfinite(v)) {  // the checkerboard, square by square of the picture
                for (int dx = 0; dx < f; ++dx) cell_out[dx] = no_data(x0 + x * f + dx, y0 + y * f);
                continue;
            }
            const bool marked = isotherm && v >= iso_lo && v <= iso_hi;
            const uint32_t colour =
                marked ? highlight : colours[Palette::level((static_cast<double>(v) - lo) / span)];
            for (int dx = 0; dx < f; ++dx) cell_out[dx] = colour;
        }
        // The other rows of an upscaled frame row: copies of the first, but where the
        // checkerboard of pixels without a value changes with the picture row.
        for (int dy = 1; dy < f; ++dy) {
            const int oy = y0 + y * f + dy;
            auto *copy = reinterpret_cast<uint32_t *>(data + static_cast<size_t>(oy) * stride) + x0;
            std::memcpy(copy, out, static_cast<size_t>(request.width) * f * sizeof(uint32_t));
            for (int x = 0; x < request.width; ++x) {
                if (std::isfinite(row[x])) continue;
                for (int dx = 0; dx < f; ++dx) copy[x * f + dx] = no_data(x0 + x * f + dx, oy);
            }
        }
    }
    cairo_surface_mark_dirty(surface);
    return clipped;
}

}  // namespace radimo::cli::detail
