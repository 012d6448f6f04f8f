// Text and label boxes.
#include <algorithm>
#include <cmath>
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

std::vector<Box> anywhere(double w, double h, const Box &area, double ax, double ay) {
    std::vector<Box> boxes;
    const double step_x = std::max(1.0, w / 2), step_y = std::max(1.0, h / 2);
    for (double y = area.y; y + h <= area.y + area.h; y += step_y)
        for (double x = area.x; x + w <= area.x + area.w; x += step_x) boxes.push_back({x, y, w, h});
    const auto distance = [&](const Box &b) {
        const double dx = b.x + b.w / 2 - ax, dy = b.y + b.h / 2 - ay;
        return dx * dx + dy * dy;
    };
    std::stable_sort(boxes.begin(), boxes.end(),
                     [&](const Box &a, const Box &b) { return distance(a) < distance(b); });
    return boxes;
}

std::optional<Box> choose_label_box(std::span<const Box> candidates, const Box &area,
                                    std::span<const Box> taken) {
    for (const Box &c : candidates) {
        if (!c.inside(area)) continue;
        if (std::none_of(taken.begin(), taken.end(), [&](const Box &t) { return c.overlaps(t); })) return c;
    }
    return std::nullopt;
}

namespace {

constexpr double label_font = 11.5;

// Plans labels one after another, each clear of the places taken before it.
class LabelPlanner {
public:
    LabelPlanner(cairo_t *cr, const Layout &layout) : cr_(cr), layout_(layout) {}
    void avoid(const Box &box) { taken_.push_back(box); }
    // A label near a point mark of radius `clearance` at (ax, ay), or near a rectangle.
    void near_point(std::string_view text, double ax, double ay, double clearance, Colour accent) {
        if (text.empty()) return;
        const auto [shown, w, h] = measure(text);
        plan(shown, around_point(w, h, ax, ay, clearance + 3 * layout_.ui), w, h, ax, ay, accent);
    }
    void near_rect(std::string_view text, const Box &rect, Colour accent) {
        if (text.empty()) return;
        const auto [shown, w, h] = measure(text);
        plan(shown, around_rect(w, h, rect), w, h, rect.x, rect.y, accent);
    }
    LabelPlan result() { return std::move(plan_); }

private:
    struct Size {
        std::string shown;
        double w, h;
    };
    Size measure(std::string_view text) const {
        const double ui = layout_.ui, pad = 4 * ui, bar = 3 * ui;
        set_font(cr_, label_font * ui);
        cairo_font_extents_t font;
        cairo_font_extents(cr_, &font);
        std::string shown = fit_text(cr_, text, layout_.marked.w - 2 * pad - bar - 4 * ui);
        return {shown, bar + 2 * pad + text_width(cr_, shown), font.ascent + font.descent + 2 * ui};
    }
    void plan(const std::string &shown, const std::vector<Box> &near, double w, double h, double ax,
              double ay, Colour accent) {
        std::optional<Box> box = choose_label_box(near, layout_.marked, taken_);
        if (!box) box = choose_label_box(anywhere(w, h, layout_.marked, ax, ay), layout_.marked, taken_);
        if (!box) {
            plan_.unplaced.push_back(shown);
            return;
        }
        taken_.push_back(*box);
        plan_.placed.push_back({shown, *box, accent, ax, ay});
    }

    cairo_t *cr_;
    const Layout &layout_;
    std::vector<Box> taken_;
    LabelPlan plan_;
};

}  // namespace

LabelPlan plan_labels(cairo_t *cr, const PictureSpec &request, const Layout &layout) {
    const double ui = layout.ui, f = layout.factor;
    LabelPlanner labels(cr, layout);
    auto footprint = [](double x, double y, double r) { return Box{x - r, y - r, 2 * r, 2 * r}; };
    for (const Crosshair &c : request.crosshairs)
        labels.avoid(footprint(layout.px(c.x), layout.py(c.y), 13 * ui));
    for (const PointMark &p : request.points) labels.avoid(footprint(layout.px(p.x), layout.py(p.y), 6 * ui));
    for (const Crosshair &c : request.crosshairs)
        labels.near_point(c.label, layout.px(c.x), layout.py(c.y), 13 * ui, c.hot ? hot_colour : cold_colour);
    for (const PointMark &p : request.points)
        labels.near_point(p.label, layout.px(p.x), layout.py(p.y), 5 * ui, mark_colour);
    for (const RectMark &r : request.rects)
        labels.near_rect(r.label, Box{layout.image.x + r.x * f, layout.image.y + r.y * f, r.w * f, r.h * f},
                         mark_colour);
    for (const OutlineMark &o : request.outlines) {
        // Beside the outline's bounding box, as a rectangle's label.
        double x0 = INFINITY, y0 = INFINITY, x1 = -INFINITY, y1 = -INFINITY;
        for (const auto &path : o.paths)
            for (const auto &[x, y] : path)
                x0 = std::min(x0, x), y0 = std::min(y0, y), x1 = std::max(x1, x), y1 = std::max(y1, y);
        if (!(x0 <= x1)) continue;
        const double left = std::max(layout.px(x0), layout.image.x),
                     top = std::max(layout.py(y0), layout.image.y);
        labels.near_rect(o.label,
                         Box{left, top, std::min(layout.px(x1), layout.image.x + layout.image.w) - left,
                             std::min(layout.py(y1), layout.image.y + layout.image.h) - top},
                         mark_colour);
    }
    for (const LineMark &l : request.lines)
        labels.near_point(l.label, (layout.px(l.x0) + layout.px(l.x1)) / 2,
                          (layout.py(l.y0) + layout.py(l.y1)) / 2, 4 * ui, mark_colour);
    return labels.result();
}

void draw_labels(cairo_t *cr, const LabelPlan &plan, const Layout &layout) {
    const double ui = layout.ui, pad = 4 * ui, bar = 3 * ui, radius = 3 * ui;
    // A label placed away from its mark points back to it; the lines go first, under every label.
    for (const PlacedLabel &label : plan.placed) {
        const Box &box = label.box;
        const double nx = std::clamp(label.anchor_x, box.x, box.x + box.w),
                     ny = std::clamp(label.anchor_y, box.y, box.y + box.h);
        if (std::hypot(nx - label.anchor_x, ny - label.anchor_y) <= 40 * ui) continue;
        cairo_move_to(cr, label.anchor_x, label.anchor_y);
        cairo_line_to(cr, nx, ny);
        cairo_set_line_width(cr, 2.6 * ui);
        set_colour(cr, halo);
        cairo_stroke_preserve(cr);
        cairo_set_line_width(cr, 1 * ui);
        set_colour(cr, label.accent);
        cairo_stroke(cr);
    }
    set_font(cr, label_font * ui);
    for (const PlacedLabel &label : plan.placed) {
        const Box &box = label.box;
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
        set_colour(cr, label.accent);
        cairo_fill(cr);
        cairo_restore(cr);
        draw_text(cr, label.shown, box.x + bar + pad, box.y + box.h / 2, text_colour);
    }
}

}  // namespace radimo::cli::detail
