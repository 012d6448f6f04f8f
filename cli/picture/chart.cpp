#include "picture/chart.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "picture/canvas.h"
#include "picture/scale.h"

namespace radimo::cli {
namespace {

using namespace detail;

// Distinct hues that read on the dark background, one per region.
constexpr Colour kHues[] = {{1.00, 0.45, 0.25}, {0.30, 0.75, 1.00}, {0.55, 0.90, 0.35}, {0.95, 0.80, 0.25},
                            {0.85, 0.45, 0.95}, {0.35, 0.95, 0.85}, {1.00, 0.55, 0.70}, {0.75, 0.75, 0.75}};

std::pair<double, double> y_range(const Chart &chart) {
    double lo = INFINITY, hi = -INFINITY;
    for (const ChartSeries &s : chart.series)
        for (double v : s.y)
            if (std::isfinite(v)) lo = std::min(lo, v), hi = std::max(hi, v);
    if (!std::isfinite(lo)) throw std::runtime_error("the chart has no value to draw");
    const double pad = std::max((hi - lo) * 0.06, 0.05);
    return {lo - pad, hi + pad};
}

// Ticks along x: no more tick intervals than intervals between the samples (at least 2, at most
// 10), so a short sequence is not labelled between its frames; whole numbers for frame numbers.
Ticks x_ticks(const Chart &chart, double x0, double x1) {
    const int intervals = static_cast<int>(std::clamp<std::size_t>(chart.x.size(), 3, 11) - 1);
    Ticks ticks = round_ticks(x0, x1, intervals);
    if (chart.whole_x && ticks.step < 1) {
        ticks.step = 1;
        ticks.values.clear();
        for (double v = std::ceil(x0); v <= std::floor(x1); ++v) ticks.values.push_back(v);
    }
    return ticks;
}

}  // namespace

std::vector<unsigned char> render_chart(const Chart &chart) {
    if (chart.x.empty() || chart.series.empty()) throw std::runtime_error("the chart has no series");
    const std::pair<double, double> y_span = y_range(chart);
    const double y0 = y_span.first, y1 = y_span.second;
    const double x0 = chart.x.front(), x1 = chart.x.back() > x0 ? chart.x.back() : x0 + 1;
    SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, chart.width, chart.height));
    CairoPtr owner(cairo_create(surface.get()));
    cairo_t *cr = owner.get();
    set_colour(cr, background);
    cairo_paint(cr);

    // Plot area: room for the y ticks on the left, the x ticks below, the legend on the right.
    set_font(cr, 12);
    double legend_w = 0;
    for (const ChartSeries &s : chart.series) legend_w = std::max(legend_w, text_width(cr, s.label));
    const Box plot{78, 44, chart.width - 78 - (legend_w + 60), chart.height - 44 - 62.0};
    const auto px = [&](double x) { return plot.x + (x - x0) / (x1 - x0) * plot.w; };
    const auto py = [&](double y) { return plot.y + (1 - (y - y0) / (y1 - y0)) * plot.h; };

    set_font(cr, 15, true);
    draw_text(cr, chart.title, plot.x, 20, text_colour);

    // Grid and ticks.
    cairo_set_line_width(cr, 1);
    const Ticks yt = round_ticks(y0, y1, 8), xt = x_ticks(chart, x0, x1);
    set_font(cr, 11.5);
    for (double v : yt.values) {
        const double y = std::round(py(v)) + 0.5;
        set_colour(cr, {1, 1, 1, 0.12});
        cairo_move_to(cr, plot.x, y);
        cairo_line_to(cr, plot.x + plot.w, y);
        cairo_stroke(cr);
        const std::string t = format_temperature(v, step_decimals(yt.step));
        draw_text(cr, t, plot.x - 8 - text_width(cr, t), y, {0.82, 0.82, 0.84});
    }
    for (double v : xt.values) {
        const double x = std::round(px(v)) + 0.5;
        set_colour(cr, {1, 1, 1, 0.12});
        cairo_move_to(cr, x, plot.y);
        cairo_line_to(cr, x, plot.y + plot.h);
        cairo_stroke(cr);
        const std::string t = format_temperature(v, step_decimals(xt.step));
        draw_text(cr, t, x - text_width(cr, t) / 2, plot.y + plot.h + 14, {0.82, 0.82, 0.84});
    }
    set_colour(cr, {1, 1, 1, 0.5});
    cairo_rectangle(cr, plot.x + 0.5, plot.y + 0.5, plot.w, plot.h);
    cairo_stroke(cr);

    // Axis labels: x below, y rotated along the left edge.
    set_font(cr, 13, true);
    draw_text(cr, chart.x_label, plot.x + plot.w / 2 - text_width(cr, chart.x_label) / 2,
              plot.y + plot.h + 40, text_colour);
    cairo_save(cr);
    cairo_translate(cr, 20, plot.y + plot.h / 2 + text_width(cr, chart.y_label) / 2);
    cairo_rotate(cr, -M_PI / 2);
    draw_text(cr, chart.y_label, 0, 0, text_colour);
    cairo_restore(cr);

    // The series, clipped to the plot; gaps where a value is missing.
    cairo_save(cr);
    cairo_rectangle(cr, plot.x, plot.y, plot.w, plot.h);
    cairo_clip(cr);
    for (const ChartSeries &s : chart.series) {
        set_colour(cr, kHues[static_cast<std::size_t>(s.colour) % std::size(kHues)]);
        cairo_set_line_width(cr, s.style == 0 ? 2.2 : 1.6);
        const double dashes[2][2] = {{7, 4}, {2, 3}};
        cairo_set_dash(cr, s.style == 0 ? nullptr : dashes[s.style - 1], s.style == 0 ? 0 : 2, 0);
        bool pen = false;
        for (std::size_t i = 0; i < s.y.size() && i < chart.x.size(); ++i) {
            if (!std::isfinite(s.y[i])) {
                pen = false;
                continue;
            }
            if (pen)
                cairo_line_to(cr, px(chart.x[i]), py(s.y[i]));
            else
                cairo_move_to(cr, px(chart.x[i]), py(s.y[i]));
            pen = true;
        }
        if (s.y.size() == 1) cairo_arc(cr, px(chart.x[0]), py(s.y[0]), 3, 0, 2 * M_PI);
        cairo_stroke(cr);
    }
    cairo_restore(cr);
    cairo_set_dash(cr, nullptr, 0, 0);

    // Legend: a line sample in the series' style and its label.
    set_font(cr, 12);
    double ly = plot.y + 8;
    for (const ChartSeries &s : chart.series) {
        const double lx = plot.x + plot.w + 16;
        set_colour(cr, kHues[static_cast<std::size_t>(s.colour) % std::size(kHues)]);
        cairo_set_line_width(cr, s.style == 0 ? 2.2 : 1.6);
        const double dashes[2][2] = {{7, 4}, {2, 3}};
        cairo_set_dash(cr, s.style == 0 ? nullptr : dashes[s.style - 1], s.style == 0 ? 0 : 2, 0);
        cairo_move_to(cr, lx, ly);
        cairo_line_to(cr, lx + 26, ly);
        cairo_stroke(cr);
        cairo_set_dash(cr, nullptr, 0, 0);
        draw_text(cr, s.label, lx + 32, ly, text_colour);
        ly += 20;
    }
    if (cairo_status(cr) != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error(std::string("drawing the chart failed: ") +
                                 cairo_status_to_string(cairo_status(cr)));
    return png_bytes(surface.get());
}

}  // namespace radimo::cli
