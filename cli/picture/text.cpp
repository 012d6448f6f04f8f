// Text and label boxes.
#include <algorithm>
#include <numbers>
#include <optional>
#include <string>

#include "picture/canvas.h"

namespace radimo::cli::detail {

void set_colour(cairo_t *cr, Colour c) {
    cairo_set_source_rgba(cr, c.r, c.g, c.b, c.a);
}

void set_font(cairo_t *cr, double size, bool bold) {
    cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
    cairo_font_options_t *options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(cr, options);
    cairo_font_options_destroy(options);
}

double text_width(cairo_t *cr, std::string_view text) {
    const std::string s(text);
    cairo_text_extents_t extents;
    cairo_text_extents(cr, s.c_str(), &extents);
    return extents.x_advance;
}

void draw_text(cairo_t *cr, std::string_view text, double x, double y, Colour colour) {
    const std::string s(text);
    cairo_font_extents_t font;
    cairo_font_extents(cr, &font);
    // Centre the cap height (about 0.73 of the ascent in DejaVu Sans) on y.
    cairo_move_to(cr, x, y + 0.5 * 0.73 * font.ascent);
    set_colour(cr, colour);
    cairo_show_text(cr, s.c_str());
}

std::string fit_text(cairo_t *cr, std::string_view text, double max_width) {
    std::string s(text);
    if (text_width(cr, s) <= max_width) return s;
    static constexpr std::string_view ellipsis = "\u2026";
    while (!s.empty()) {
        // Drop a whole UTF-8 sequence: continuation bytes look like 10xxxxxx.
        do s.pop_back();
        while (!s.empty() && (static_cast<unsigned char>(s.back()) & 0xC0) == 0x80);
        if (text_width(cr, s + std::string(ellipsis)) <= max_width) break;
    }
    return s + std::string(ellipsis);
}

Box choose_label_box(double w, double h, double ax, double ay, double d, const Box &area,
                     std::span<const Box> taken) {
    auto overlap = [&](const Box &c) {
        double sum = 0;
        for (const Box &t : taken)
            sum += std::max(0.0, std::min(c.x + c.w, t.x + t.w) - std::max(c.x, t.x)) *
                   std::max(0.0, std::min(c.y + c.h, t.y + t.h) - std::max(c.y, t.y));
        return sum;
    };
    // Right-above first, then the other diagonals, then straight beside, above and below; when
    // all of these are taken, the same places a little farther out.
    std::optional<Box> least;
    double least_overlap = 0;
    for (int ring = 0; ring < 4; ++ring) {
        const double r = d + ring * (h + 2);
        const Box candidates[] = {
            {ax + r, ay - r - h, w, h},     {ax + r, ay + r, w, h},     {ax - r - w, ay - r - h, w, h},
            {ax - r - w, ay + r, w, h},     {ax + r, ay - h / 2, w, h}, {ax - r - w, ay - h / 2, w, h},
            {ax - w / 2, ay - r - h, w, h}, {ax - w / 2, ay + r, w, h},
        };
        for (const Box &c : candidates) {
            if (!c.inside(area)) continue;
            const double o = overlap(c);
            if (o == 0) return c;
            if (!least || o < least_overlap) least = c, least_overlap = o;
        }
    }
    if (least) return *least;  // crowded: the place that covers the least
    // Nowhere inside (a label wider or taller than the image): pulled in from the first choice.
    Box box{ax + d, ay - d - h, w, h};
    box.x = std::max(area.x, std::min(box.x, area.x + area.w - box.w));
    box.y = std::max(area.y, std::min(box.y, area.y + area.h - box.h));
    return box;
}

void LabelPlacer::place(cairo_t *cr, std::string_view text, double ax, double ay, double clearance,
                        Colour accent) {
    if (text.empty()) return;
    const double ui = layout_.ui, pad = 4 * ui, bar = 3 * ui;
    set_font(cr, 11.5 * ui);
    cairo_font_extents_t font;
    cairo_font_extents(cr, &font);
    const std::string shown = fit_text(cr, text, layout_.image.w - 2 * pad - bar - 4 * ui);
    const double w = bar + 2 * pad + text_width(cr, shown), h = font.ascent + font.descent + 2 * ui;
    const Box box = choose_label_box(w, h, ax, ay, clearance + 3 * ui, layout_.image, taken_);
    taken_.push_back(box);

    const double radius = 3 * ui;
    cairo_new_sub_path(cr);
    cairo_arc(cr, box.x + box.w - radius, box.y + radius, radius, -std::numbers::pi / 2, 0);
    cairo_arc(cr, box.x + box.w - radius, box.y + box.h - radius, radius, 0, std::numbers::pi / 2);
    cairo_arc(cr, box.x + radius, box.y + box.h - radius, radius, std::numbers::pi / 2, std::numbers::pi);
    cairo_arc(cr, box.x + radius, box.y + radius, radius, std::numbers::pi, 1.5 * std::numbers::pi);
    cairo_close_path(cr);
    set_colour(cr, {0.06, 0.06, 0.07, 0.82});
    cairo_fill_preserve(cr);
    cairo_save(cr);
    cairo_clip(cr);  // the accent strip follows the rounded corners
    cairo_rectangle(cr, box.x, box.y, bar, box.h);
    set_colour(cr, accent);
    cairo_fill(cr);
    cairo_restore(cr);
    draw_text(cr, shown, box.x + bar + pad, box.y + box.h / 2, text_colour);
}

}  // namespace radimo::cli::detail
