// Measurement overlays: rectangles, lines, points and the hottest/coldest crosshairs, each with
// a dark halo under its stroke, and their planned labels; the caption strip.
#include <cmath>
#include <numbers>
#include <utility>

#include "picture/canvas.h"

namespace radimo::cli::detail {
namespace {

// Strokes the current path twice: a wide dark halo, then the colour on top.
void halo_stroke(cairo_t *cr, Colour colour, double width, double ui) {
    cairo_set_line_width(cr, width + 2.4 * ui);
    set_colour(cr, halo);
    cairo_stroke_preserve(cr);
    cairo_set_line_width(cr, width);
    set_colour(cr, colour);
    cairo_stroke(cr);
}

void draw_crosshair(cairo_t *cr, double x, double y, Colour colour, double ui) {
    const double ring = 6.5 * ui, inner = 3 * ui, outer = 13 * ui;
    cairo_new_path(cr);
    cairo_arc(cr, x, y, ring, 0, 2 * std::numbers::pi);
    for (auto [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
        cairo_move_to(cr, x + dx * inner, y + dy * inner);
        cairo_line_to(cr, x + dx * outer, y + dy * outer);
    }
    halo_stroke(cr, colour, 1.8 * ui, ui);
}

}  // namespace

void draw_overlays(cairo_t *cr, const PictureSpec &request, const Layout &layout, const LabelPlan &labels) {
    const double ui = layout.ui, f = layout.factor, line_width = 1.6 * ui;
    cairo_save(cr);
    cairo_rectangle(cr, layout.marked.x, layout.marked.y, layout.marked.w, layout.marked.h);
    cairo_clip(cr);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);

    for (const RectMark &r : request.rects) {
        const double inset = line_width / 2;
        cairo_rectangle(cr, layout.image.x + r.x * f + inset, layout.image.y + r.y * f + inset,
                        r.w * f - 2 * inset, r.h * f - 2 * inset);
        halo_stroke(cr, mark_colour, line_width, ui);
    }
    for (const OutlineMark &o : request.outlines) {
        cairo_new_path(cr);
        for (const auto &path : o.paths) {
            for (std::size_t i = 0; i < path.size(); ++i) {
                const double x = layout.px(path[i].first), y = layout.py(path[i].second);
                if (i == 0)
                    cairo_move_to(cr, x, y);
                else
                    cairo_line_to(cr, x, y);
            }
            if (o.closed) cairo_close_path(cr);
        }
        halo_stroke(cr, mark_colour, line_width, ui);
    }
    for (const LineMark &l : request.lines) {
        const double x0 = layout.px(l.x0), y0 = layout.py(l.y0), x1 = layout.px(l.x1), y1 = layout.py(l.y1);
        const double length = std::hypot(x1 - x0, y1 - y0), cap = 4 * ui;
        // Short end bars across the line show where the measured span starts and stops.
        const double nx = length > 0 ? -(y1 - y0) / length : 0, ny = length > 0 ? (x1 - x0) / length : 1;
        cairo_move_to(cr, x0, y0);
        cairo_line_to(cr, x1, y1);
        for (auto [ex, ey] : {std::pair{x0, y0}, {x1, y1}}) {
            cairo_move_to(cr, ex - nx * cap, ey - ny * cap);
            cairo_line_to(cr, ex + nx * cap, ey + ny * cap);
        }
        halo_stroke(cr, mark_colour, line_width, ui);
    }
    for (const PointMark &p : request.points) {
        const double x = layout.px(p.x), y = layout.py(p.y);
        cairo_new_path(cr);
        cairo_arc(cr, x, y, 4.5 * ui, 0, 2 * std::numbers::pi);
        halo_stroke(cr, mark_colour, line_width, ui);
        cairo_arc(cr, x, y, 1.2 * ui, 0, 2 * std::numbers::pi);
        set_colour(cr, mark_colour);
        cairo_fill(cr);
    }
    for (const Crosshair &c : request.crosshairs)
        draw_crosshair(cr, layout.px(c.x), layout.py(c.y), c.hot ? hot_colour : cold_colour, ui);

    // Labels last, on top of every mark.
    draw_labels(cr, labels, layout);
    cairo_restore(cr);
}

void draw_caption(cairo_t *cr, std::string_view caption, const Layout &layout) {
    if (layout.caption.h <= 0) return;
    cairo_rectangle(cr, layout.caption.x, layout.caption.y, layout.caption.w, layout.caption.h);
    set_colour(cr, {0.07, 0.07, 0.08});
    cairo_fill(cr);
    set_font(cr, 12 * layout.ui);
    const double margin = 10 * layout.ui;
    const std::vector<std::string> lines = caption_lines(caption);
    for (std::size_t i = 0; i < lines.size(); ++i)
        draw_text(cr, fit_text(cr, lines[i], layout.caption.w - 2 * margin), layout.caption.x + margin,
                  layout.caption.y + (13 + 18 * static_cast<double>(i)) * layout.ui,
                  i + 1 < lines.size() || lines.size() == 1 ? text_colour : Colour{0.72, 0.72, 0.75});
}

}  // namespace radimo::cli::detail
