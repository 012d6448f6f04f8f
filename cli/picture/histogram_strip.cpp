// The histogram beside the colour bar: for each band of temperatures of the bar, a horizontal bar
// level with those temperatures, its length the logarithm of the band's pixel count (so a small
// hot spot shows beside a large background), so the picture shows how much of the scene each
// colour covers.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "picture/canvas.h"

namespace radimo::cli::detail {
namespace {

constexpr double strip_width = 72, strip_margin = 10, label_font = 10;

}  // namespace

double histogram_strip_width(double ui) {
    return std::ceil((strip_width + strip_margin) * ui);
}

void draw_histogram_strip(cairo_t *cr, const PictureSpec &request, float lo, float hi, const Layout &layout) {
    const double ui = layout.ui;
    const BarGeometry bar = bar_geometry(layout);
    if (bar.height < 8) return;
    // About one band per 4 picture rows of the bar: fine enough to show the shape, coarse enough to
    // keep each band's count meaningful.
    const std::size_t bands = static_cast<std::size_t>(std::clamp(bar.height / (4 * ui), 8.0, 128.0));
    std::vector<std::size_t> counts(bands, 0);
    std::size_t shown = 0, total = 0;
    const double span = static_cast<double>(hi) - lo;
    const std::size_t n = static_cast<std::size_t>(request.width) * static_cast<std::size_t>(request.height);
    for (std::size_t i = 0; i < n; ++i) {
        const double c = request.celsius[i];
        if (!std::isfinite(c)) continue;
        ++total;
        if (c < lo || c > hi) continue;  // beyond the scale: drawn in the end colours, not counted here
        const auto band = static_cast<std::size_t>((c - lo) / span * static_cast<double>(bands));
        ++counts[std::min(band, bands - 1)];
        ++shown;
    }
    const std::size_t peak = *std::max_element(counts.begin(), counts.end());
    const double left = layout.panel.x + layout.panel.w - histogram_strip_width(ui);
    const double width = strip_width * ui, row = bar.height / static_cast<double>(bands);

    // A faint frame for the strip, then one bar per band, hot at the top like the colour bar.
    cairo_rectangle(cr, left - 0.5, bar.top - 0.5, width + 1, bar.height + 1);
    cairo_set_line_width(cr, 1);
    set_colour(cr, {1, 1, 1, 0.18});
    cairo_stroke(cr);
    if (peak > 0) {
        set_colour(cr, {0.85, 0.87, 0.9, 0.85});
        for (std::size_t b = 0; b < bands; ++b) {
            if (counts[b] == 0) continue;
            const double length = std::max(1.0, width * std::log1p(static_cast<double>(counts[b])) /
                                                    std::log1p(static_cast<double>(peak)));
            const double y = bar.top + bar.height - static_cast<double>(b + 1) * row;
            cairo_rectangle(cr, left, y + 0.5, length, std::max(1.0, row - 1));
        }
        cairo_fill(cr);
    }
    // The heading: what the strip counts, on a log scale, and the share of the pixels it holds (the
    // rest lie beyond the scale).
    char share[48];
    std::snprintf(share, sizeof share, "%.0f%% shown",
                  total ? 100.0 * static_cast<double>(shown) / static_cast<double>(total) : 0.0);
    set_font(cr, label_font * ui);
    const double room = width + strip_margin * ui;
    draw_text(cr, fit_text(cr, "pixels (log)", room), left, layout.panel.y + 14 * ui, {0.82, 0.82, 0.84});
    draw_text(cr, fit_text(cr, share, room), left, layout.panel.y + 27 * ui, {0.72, 0.72, 0.75});
}

}  // namespace radimo::cli::detail
