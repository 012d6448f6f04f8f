// The frame in false colour, upscaled with nearest-neighbour pixels, written straight into the
// image surface.
#include <cmath>
#include <cstdint>

#include "picture/canvas.h"

namespace radimo::cli::detail {
namespace {

// Pixels without a valid temperature show a quiet grey checkerboard, like "no data" anywhere.
constexpr Rgb no_data_dark{78, 78, 82}, no_data_light{112, 112, 118};

uint32_t pack(Rgb c) {
    return 0xFF000000u | (uint32_t{c.r} << 16) | (uint32_t{c.g} << 8) | c.b;
}

}  // namespace

void paint_false_colour(cairo_surface_t *surface, const PictureSpec &request, const Palette &palette,
                        float lo, float hi, const Layout &layout) {
    cairo_surface_flush(surface);
    unsigned char *data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    const int f = layout.factor, x0 = static_cast<int>(layout.image.x), y0 = static_cast<int>(layout.image.y);
    const int cell = std::max(4, static_cast<int>(std::lround(6 * layout.ui)));
    const double span = static_cast<double>(hi) - lo;
    const uint32_t highlight = pack(palette.highlight());

    for (int y = 0; y < request.height; ++y) {
        const float *row = request.celsius + static_cast<size_t>(y) * request.width;
        for (int x = 0; x < request.width; ++x) {
            const float v = row[x];
            const bool valid = std::isfinite(v);
            uint32_t colour = 0;
            if (valid && request.isotherm && v >= request.isotherm->first && v <= request.isotherm->second)
                colour = highlight;
            else if (valid)
                colour = pack(palette.at((static_cast<double>(v) - lo) / span));
            for (int dy = 0; dy < f; ++dy) {
                const int oy = y0 + y * f + dy;
                auto *out = reinterpret_cast<uint32_t *>(data + static_cast<size_t>(oy) * stride);
                for (int dx = 0; dx < f; ++dx) {
                    const int ox = x0 + x * f + dx;
                    out[ox] =
                        valid ? colour : pack(((ox / cell + oy / cell) & 1) ? no_data_light : no_data_dark);
                }
            }
        }
    }
    cairo_surface_mark_dirty(surface);
}

}  // namespace radimo::cli::detail
