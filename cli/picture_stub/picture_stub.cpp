// Temporary stand-in for the picture module: grey ramp, bar, marks.
#include <cairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <tuple>

#include "picture/picture.h"

namespace radimo::cli {
namespace {
constexpr std::array<std::string_view, 7> kNames{"ironbow", "rainbow", "white-hot", "black-hot",
                                                 "lava",    "arctic",  "grey"};
const std::array<Palette, 7> kPalettes{Palette(kNames[0]), Palette(kNames[1]), Palette(kNames[2]),
                                       Palette(kNames[3]), Palette(kNames[4]), Palette(kNames[5]),
                                       Palette(kNames[6])};
cairo_status_t append(void *closure, const unsigned char *data, unsigned int length) {
    auto *out = static_cast<std::vector<unsigned char> *>(closure);
    out->insert(out->end(), data, data + length);
    return CAIRO_STATUS_SUCCESS;
}
}  // namespace

Rgb Palette::at(double t) const {
    t = std::clamp(t, 0.0, 1.0);
    if (name_ == "black-hot") t = 1.0 - t;
    const auto c = static_cast<uint8_t>(std::lround(t * 255));
    if (name_ == "ironbow")
        return {static_cast<uint8_t>(std::min(255.0, 400 * t)),
                static_cast<uint8_t>(std::max(0.0, 255 * (t - 0.4) / 0.6)),
                static_cast<uint8_t>(t < 0.3 ? 400 * t : std::max(0.0, 120 - 300 * (t - 0.3)))};
    return {c, c, c};
}

std::span<const std::string_view> palette_names() {
    return kNames;
}

const Palette *find_palette(std::string_view name) {
    for (const Palette &p : kPalettes)
        if (p.name() == name) return &p;
    return nullptr;
}

Picture render_picture(const PictureSpec &spec) {
    const Palette *palette = spec.palette != nullptr ? spec.palette : &kPalettes[0];
    float lo = spec.celsius[0], hi = spec.celsius[0];
    for (int i = 0; i < spec.width * spec.height; ++i) {
        lo = std::min(lo, spec.celsius[i]);
        hi = std::max(hi, spec.celsius[i]);
    }
    if (spec.range) std::tie(lo, hi) = *spec.range;
    const int bar = spec.colour_bar ? 90 : 0;
    Picture pic;
    pic.width = spec.width + bar;
    pic.height = spec.height;
    pic.lo = lo;
    pic.hi = hi;
    cairo_surface_t *s = cairo_image_surface_create(CAIRO_FORMAT_RGB24, pic.width, pic.height);
    cairo_surface_flush(s);
    unsigned char *data = cairo_image_surface_get_data(s);
    const int stride = cairo_image_surface_get_stride(s);
    const float span = hi > lo ? hi - lo : 1.0f;
    for (int y = 0; y < spec.height; ++y) {
        auto *row = reinterpret_cast<uint32_t *>(data + y * stride);
        for (int x = 0; x < spec.width; ++x) {
            const float v = spec.celsius[y * spec.width + x];
            Rgb c = palette->at((v - lo) / span);
            if (spec.isotherm && v >= spec.isotherm->first && v <= spec.isotherm->second) c = {0, 255, 0};
            row[x] = (uint32_t{c.r} << 16) | (uint32_t{c.g} << 8) | c.b;
        }
        for (int x = spec.width; x < pic.width; ++x) {
            const Rgb c = palette->at(1.0 - static_cast<double>(y) / (spec.height - 1));
            row[x] = x - spec.width > 10 && x - spec.width < 30
                         ? (uint32_t{c.r} << 16) | (uint32_t{c.g} << 8) | c.b
                         : 0x202020;
        }
    }
    cairo_surface_mark_dirty(s);
    cairo_t *cr = cairo_create(s);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_set_line_width(cr, 1.5);
    cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, 12);
    for (const RectMark &r : spec.rects) {
        cairo_rectangle(cr, r.x, r.y, r.w, r.h);
        cairo_stroke(cr);
        cairo_move_to(cr, r.x + 2, r.y - 3);
        cairo_show_text(cr, r.label.c_str());
    }
    for (const LineMark &l : spec.lines) {
        cairo_move_to(cr, l.x0, l.y0);
        cairo_line_to(cr, l.x1, l.y1);
        cairo_stroke(cr);
        cairo_move_to(cr, l.x1 + 3, l.y1);
        cairo_show_text(cr, l.label.c_str());
    }
    for (const PointMark &p : spec.points) {
        cairo_arc(cr, p.x, p.y, 4, 0, 2 * M_PI);
        cairo_stroke(cr);
        cairo_move_to(cr, p.x + 6, p.y - 6);
        cairo_show_text(cr, p.label.c_str());
    }
    for (const Crosshair &c : spec.crosshairs) {
        cairo_set_source_rgb(cr, c.hot ? 1 : 0.3, c.hot ? 0.2 : 0.6, c.hot ? 0.2 : 1);
        cairo_move_to(cr, c.x - 10, c.y);
        cairo_line_to(cr, c.x + 10, c.y);
        cairo_move_to(cr, c.x, c.y - 10);
        cairo_line_to(cr, c.x, c.y + 10);
        cairo_stroke(cr);
        cairo_move_to(cr, c.x + 8, c.y - 8);
        cairo_show_text(cr, c.label.c_str());
    }
    if (spec.colour_bar) {
        cairo_set_source_rgb(cr, 1, 1, 1);
        char text[32];
        std::snprintf(text, sizeof text, "%.1f", hi);
        cairo_move_to(cr, spec.width + 34, 14);
        cairo_show_text(cr, text);
        std::snprintf(text, sizeof text, "%.1f", lo);
        cairo_move_to(cr, spec.width + 34, spec.height - 4);
        cairo_show_text(cr, text);
    }
    cairo_destroy(cr);
    if (cairo_surface_write_to_png_stream(s, append, &pic.png) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(s);
        throw std::runtime_error("cannot encode the picture as PNG");
    }
    cairo_surface_destroy(s);
    return pic;
}
}  // namespace radimo::cli
