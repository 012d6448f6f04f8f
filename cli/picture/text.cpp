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
    if (text_width(cr, text) <= max_width) return std::string(text);
    static constexpr std::string_view ellipsis = "\u2026";
    // Cut only between UTF-8 sequences (continuation bytes look like 10xxxxxx); find the longest
    // prefix that fits by bisection.
    std::vector<size_t> cuts{0};
    for (size_t i = 1; i < text.size(); ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) cuts.push_back(i);
    auto with_ellipsis = [&](size_t n) { return std::string(text.substr(0, n)) + std::string(ellipsis); };
    size_t fits = 0, too_long = cuts.size();
    while (too_long - fits > 1) {
        const size_t mid = (fits + too_long) / 2;
        (text_width(cr, with_ellipsis(cuts[mid])) <= max_width ? fits : too_long) = mid;
    }
    return with_ellipsis(cuts[fits]);
}

std::vector<std::string> caption_lines(std::string_view caption) {
    std::vector<std::string> lines;
    for (std::size_t start = 0;;) {
        const std::size_t end = caption.find('\n', start);
        lines.emplace_back(caption.substr(start, end - start));
        if (end == std::string_view::npos) return lines;
        start = end + 1;
    }
}

std::vector<Box> around_point(double w, double h, double ax, double ay, double d) {
    std::vector<Box> boxes;
    for (int ring = 0; ring < 4; ++ring) {
        const double r = d + ring * (h + 2);
        boxes.insert(boxes.end(), {
                                      {ax + r, ay - r - h, w, h},
                                      {ax + r, ay + r, w, h},
                                      {ax - r - w, ay - r - h, w, h},
                                      {ax - r - w, ay + r, w, h},
                                      {ax + r, ay - h / 2, w, h},
                                      {ax - r - w, ay - h / 2, w, h},
                                      {ax - w / 2, ay - r - h, w, h},
                                      {ax - w / 2, ay + r, w, h},
                                  });
    }
    return boxes;
}

std::vector<Box> around_rect(double w, double h, const Box &r) {
    const double gap = 3, left = r.x, right = r.x + r.w - w, above = r.y - gap - h, below = r.y + r.h + gap;
    const double inside_top = r.y + gap, inside_bottom = r.y + r.h - gap - h;
    std::vector<Box> boxes = {
        {left, above, w, h},  {right, above, w, h},     {left, below, w, h},
        {right, below, w, h}, {left, inside_top, w, h}, {left + gap, inside_bottom, w, h},
    };
    const std::vector<Box> corner = around_point(w, h, r.x, r.y, gap);
    boxes.insert(boxes.end(), corner.begin(), corner.end());
    return boxes;
}

Box choose_label_box(std::span<const Box> candidates, const Box &area, std::span<const Box> taken) {
    auto overlap = [&](const Box &c) {
        double sum = 0;
        for (const Box &t : taken)
            sum += std::max(0.0, std::min(c.x + c.w, t.x + t.w) - std::max(c.x, t.x)) *
                   std::max(0.0, std::min(c.y + c.h, t.y + t.h) - std::max(c.y, t.y));
        return sum;
    };
    std::optional<Box> least;
    double least_overlap = 0;
    for (const Box &c : candidates) {
        if (!c.inside(area)) continue;
        const double o = overlap(c);
        if (o == 0) return c;
        if (!least || o < least_overlap) least = c, least_overlap = o;
    }
    if (least) return *least;  // crowded: the place that covers the least
    // Nowhere inside (a label wider or taller than the image): the first choice, pulled in.
    Box box = candidates.empty() ? Box{area.x, area.y, 0, 0} : candidates.front();
    box.x = std::max(area.x, std::min(box.x, area.x + area.w - box.w));
    box.y = std::max(area.y, std::min(box.y, area.y + area.h - box.h));
    return box;
}

LabelPlacer::Size LabelPlacer::measure(cairo_t *cr, std::string_view text) const {
    const double ui = layout_.ui, pad = 4 * ui, bar = 3 * ui;
    set_font(cr, 11.5 * ui);
    cairo_font_extents_t font;
    cairo_font_extents(cr, &font);
    std::string shown = fit_text(cr, text, layout_.image.w - 2 * pad - bar - 4 * ui);
    const double w = bar + 2 * pad + text_width(cr, shown), h = font.ascent + font.descent + 2 * ui;
    return {std::move(shown), w, h};
}

void LabelPlacer::place(cairo_t *cr, std::string_view text, double ax, double ay, double clearance,
                        Colour accent) {
    if (text.empty()) return;
    const Size label = measure(cr, text);
    draw(cr, label, around_point(label.w, label.h, ax, ay, clearance + 3 * layout_.ui), accent);
}

void LabelPlacer::place(cairo_t *cr, std::string_view text, const Box &rect, Colour accent) {
    if (text.empty()) return;
    const Size label = measure(cr, text);
    draw(cr, label, around_rect(label.w, label.h, rect), accent);
}

void LabelPlacer::draw(cairo_t *cr, const Size &label, std::span<const Box> candidates, Colour accent) {
    const Box box = choose_label_box(candidates, layout_.image, taken_);
    taken_.push_back(box);

    const double ui = layout_.ui, pad = 4 * ui, bar = 3 * ui, radius = 3 * ui;
    set_font(cr, 11.5 * ui);
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
    draw_text(cr, label.shown, box.x + bar + pad, box.y + box.h / 2, text_colour);
}

}  // namespace radimo::cli::detail
