// The colour bar: the palette from the hot end (top) to the cold end, with round degC ticks, the
// unit and the two range ends, the isotherm band where there is one, and a cap beyond an end the
// frame's pixels pass.
#include <algorithm>
#include <cmath>
#include <string>

#include "picture/canvas.h"
#include "picture/scale.h"

namespace radimo::cli::detail {
namespace {

constexpr double bar_margin = 14, bar_width = 18, tick_length = 5, tick_gap = 4, right_margin = 12;
constexpr double tick_font = 11.5, end_font = 12.5, tick_spacing = 34;

int end_decimals(float lo, float hi, const Ticks &ticks) {
    return std::max(
        1, std::min(step_decimals(ticks.step), step_decimals((static_cast<double>(hi) - lo) / 1000)));
}

Ticks bar_ticks(float lo, float hi, double bar_height, double ui) {
    return round_ticks(lo, hi, std::max(2, static_cast<int>(bar_height / (tick_spacing * ui))));
}

}  // namespace

BarGeometry bar_geometry(const Layout &layout) {
    const double ui = layout.ui, top = std::round(layout.panel.y + 40 * ui);
    const double bottom = std::round(layout.panel.y + layout.panel.h - 16 * ui);
    return {std::round(layout.panel.x + bar_margin * ui), top, std::round(bar_width * ui), bottom - top};
}

double colour_bar_width(cairo_t *cr, float lo, float hi, double ui, const std::string &unit) {
    const Ticks ticks = round_ticks(lo, hi, 16);
    const int decimals = step_decimals(ticks.step), ends = end_decimals(lo, hi, ticks);
    set_font(cr, tick_font * ui);
    double widest = 0;
    for (double v : ticks.values) widest = std::max(widest, text_width(cr, format_temperature(v, decimals)));
    set_font(cr, end_font * ui, true);
    widest = std::max({widest, text_width(cr, format_temperature(lo, ends)),
                       text_width(cr, format_temperature(hi, ends)),
                       text_width(cr, unit) - (tick_length + tick_gap) * ui});
    return std::ceil((bar_margin + bar_width + tick_length + tick_gap + right_margin) * ui + widest);
}

void draw_colour_bar(cairo_t *cr, const PictureSpec &request, const Palette &palette, float lo, float hi,
                     const Layout &layout) {
    const double ui = layout.ui;
    const BarGeometry bar = bar_geometry(layout);
    if (bar.height < 8) return;
    const double span = static_cast<double>(hi) - lo;
    const Rgb highlight = palette.highlight();

    // One row of the bar per picture row, hot at the top.
    const int rows = static_cast<int>(bar.height);
    for (int i = 0; i < rows; ++i) {
        const double t = 1.0 - (i + 0.5) / rows, celsius = lo + t * span;
        Rgb c = palette.at(t);
        if (request.isotherm && celsius >= request.isotherm->first && celsius <= request.isotherm->second)
            c = highlight;
        cairo_rectangle(cr, bar.left, bar.top + i, bar.width, 1);
        set_colour(cr, {c.r / 255.0, c.g / 255.0, c.b / 255.0});
        cairo_fill(cr);
    }
    cairo_rectangle(cr, bar.left - 0.5, bar.top - 0.5, bar.width + 1, bar.height + 1);
    cairo_set_line_width(cr, 1);
    set_colour(cr, {1, 1, 1, 0.35});
    cairo_stroke(cr);

    // A pointed cap in the end colour beyond each end past which pixels lie: the scale clips them.
    const double cap = std::round(8 * ui);
    for (const bool top : {true, false}) {
        if (!(top ? layout.clipped_hot : layout.clipped_cold)) continue;
        const double base = top ? bar.top - 1 : bar.top + bar.height + 1, tip = top ? base - cap : base + cap;
        cairo_move_to(cr, bar.left - 0.5, base);
        cairo_line_to(cr, bar.left + bar.width + 0.5, base);
        cairo_line_to(cr, bar.left + bar.width / 2, tip);
        cairo_close_path(cr);
        const Rgb c = palette.at(top ? 1.0 : 0.0);
        set_colour(cr, {c.r / 255.0, c.g / 255.0, c.b / 255.0});
        cairo_fill_preserve(cr);
        set_colour(cr, {1, 1, 1, 0.35});
        cairo_stroke(cr);
    }

    const Ticks ticks = bar_ticks(lo, hi, bar.height, ui);
    const int decimals = step_decimals(ticks.step), ends = end_decimals(lo, hi, ticks);
    const double right = bar.left + bar.width, label_x = right + (tick_length + tick_gap) * ui;
    auto y_of = [&](double celsius) { return bar.top + (1.0 - (celsius - lo) / span) * bar.height; };

    // The range ends, bold, level with the ends of the bar.
    set_font(cr, end_font * ui, true);
    draw_text(cr, format_temperature(hi, ends), label_x, bar.top, text_colour);
    draw_text(cr, format_temperature(lo, ends), label_x, bar.top + bar.height, text_colour);
    set_font(cr, 13.5 * ui, true);
    draw_text(cr, request.unit, bar.left, layout.panel.y + 18 * ui, text_colour);

    // Pointers left of the bar at the temperatures under the crosshairs, in their colours; one
    // beyond the scale points at the cap.
    for (const Crosshair &c : request.crosshairs) {
        const double celsius = request.celsius[static_cast<size_t>(c.y) * request.width + c.x];
        if (!std::isfinite(celsius)) continue;
        double y = std::clamp(y_of(celsius), bar.top, bar.top + bar.height);
        if (celsius > hi && layout.clipped_hot) y = bar.top - 1 - cap / 2;
        if (celsius < lo && layout.clipped_cold) y = bar.top + bar.height + 1 + cap / 2;
        const double size = 5 * ui;
        cairo_move_to(cr, bar.left - 1.5 * ui, y);
        cairo_line_to(cr, bar.left - 1.5 * ui - 1.6 * size, y - size);
        cairo_line_to(cr, bar.left - 1.5 * ui - 1.6 * size, y + size);
        cairo_close_path(cr);
        set_colour(cr, c.hot ? hot_colour : cold_colour);
        cairo_fill(cr);
    }

    // A tick at each end, and round ticks between them, labelled unless they would touch an end label.
    cairo_set_line_width(cr, std::max(1.0, ui));
    set_colour(cr, {1, 1, 1, 0.7});
    auto tick = [&](double y) {
        cairo_move_to(cr, right, y);
        cairo_line_to(cr, right + tick_length * ui, y);
        cairo_stroke(cr);
    };
    tick(bar.top + 0.5);
    tick(bar.top + bar.height - 0.5);
    set_font(cr, tick_font * ui);
    const double keep_clear = 15 * ui;
    for (double v : ticks.values) {
        const double y = y_of(v);
        set_colour(cr, {1, 1, 1, 0.7});
        tick(std::round(y) + 0.5);
        if (y - bar.top < keep_clear || bar.top + bar.height - y < keep_clear) continue;
        draw_text(cr, format_temperature(v, decimals), label_x, y, {0.82, 0.82, 0.84});
    }
}

}  // namespace radimo::cli::detail
