#include "core/picture_output.h"

#include <cmath>
#include <cstdio>
#include <numbers>
#include <stdexcept>

#include "core/atomic_output.h"
#include "core/errors.h"

namespace radimo::cli {

const Palette &palette_option(const std::string &name) {
    const Palette *palette = find_palette(name);
    if (palette == nullptr)
        fail_usage("--palette " + name + ": unknown palette (choose one of " + palette_choices(", ") + ")");
    return *palette;
}

std::string palette_choices(const char *separator) {
    std::string names;
    for (std::string_view n : palette_names()) names += (names.empty() ? "" : separator) + std::string(n);
    return names;
}

std::string celsius_label(const MeasuredFrame &frame, double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f \u00b0C", frame.scale.celsius(value));
    return text;
}

OutlineMark outline_mark(const ShapeRegion &g, std::string label) {
    OutlineMark o;
    o.label = std::move(label);
    const radimo_region_t &r = g.region;
    switch (r.shape) {
        case RADIMO_REGION_RECT: {
            const double x0 = r.origin.x - 0.5, y0 = r.origin.y - 0.5;
            const double x1 = x0 + r.size.w, y1 = y0 + r.size.h;
            o.paths.push_back({{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}});
            break;
        }
        case RADIMO_REGION_ELLIPSE: {
            std::vector<std::pair<double, double>> path;
            constexpr int steps = 96;
            for (int i = 0; i < steps; ++i) {
                const double t = 2 * std::numbers::pi * i / steps;
                path.emplace_back(r.cx + r.rx * std::cos(t), r.cy + r.ry * std::sin(t));
            }
            o.paths.push_back(std::move(path));
            break;
        }
        case RADIMO_REGION_POLYGON: {
            std::vector<std::pair<double, double>> path;
            for (std::size_t i = 0; i + 1 < g.vertices.size(); i += 2)
                path.emplace_back(g.vertices[i], g.vertices[i + 1]);
            o.paths.push_back(std::move(path));
            break;
        }
        default: {
            // The pixel edges between inside and outside, each run of them one segment.
            o.closed = false;
            const int w = g.mask_width, h = g.mask_height;
            const auto inside = [&](int x, int y) {
                return x >= 0 && y >= 0 && x < w && y < h &&
                       g.mask[static_cast<std::size_t>(y) * static_cast<std::size_t>(w) +
                              static_cast<std::size_t>(x)] != 0;
            };
            for (int y = 0; y <= h; ++y)  // edges above row y
                for (int x = 0; x < w;) {
                    if (inside(x, y) == inside(x, y - 1)) {
                        ++x;
                        continue;
                    }
                    const int start = x;
                    const bool below = inside(x, y);
                    while (x < w && inside(x, y) == below && inside(x, y - 1) != below) ++x;
                    o.paths.push_back({{start - 0.5, y - 0.5}, {x - 0.5, y - 0.5}});
                }
            for (int x = 0; x <= w; ++x)  // edges left of column x
                for (int y = 0; y < h;) {
                    if (inside(x, y) == inside(x - 1, y)) {
                        ++y;
                        continue;
                    }
                    const int start = y;
                    const bool right = inside(x, y);
                    while (y < h && inside(x, y) == right && inside(x - 1, y) != right) ++y;
                    o.paths.push_back({{x - 0.5, start - 0.5}, {x - 0.5, y - 0.5}});
                }
        }
    }
    return o;
}

OutlineMark shape_mark(const ShapeRegion &g, const ShapeResult &m) {
    char label[48];
    std::snprintf(label, sizeof label, " mean %.1f \u00b0C%s", m.mean_celsius(),
                  m.object ? " (own scene)" : "");
    return outline_mark(g, g.label + label);
}

Picture draw_picture(const PictureRequest &request, bool rgb) {
    const Frame &c = *request.celsius;
    const MeasuredFrame &m = *request.measured;
    PictureSpec drawing;
    drawing.width = c.width;
    drawing.height = c.height;
    drawing.celsius = c.floats.data();
    drawing.palette = request.palette;
    drawing.range = request.range;
    drawing.isotherm = request.isotherm;
    drawing.colour_bar = request.colour_bar;
    drawing.outlines = request.outlines;
    drawing.histogram = request.histogram;
    bool trimmed = false;
    for (const RegionResult &r : request.regions) {
        const Region &g = r.region;
        const TrimmedStatistics &t = r.stats.trimmed;
        trimmed = true;
        switch (g.kind) {
            case Region::Kind::kPoint:
                drawing.points.push_back({g.a.x, g.a.y, g.label + " " + celsius_label(m, t.avg)});
                break;
            case Region::Kind::kLine:
                drawing.lines.push_back(
                    {g.a.x, g.a.y, g.b.x, g.b.y, g.label + " max " + celsius_label(m, t.max.value)});
                break;
            case Region::Kind::kRect:
                drawing.rects.push_back(
                    {g.a.x, g.a.y, g.b.x, g.b.y, g.label + " avg " + celsius_label(m, t.avg)});
                break;
        }
    }
    if (request.crosshairs) {
        const Region whole{Region::Kind::kRect, {0, 0}, {c.width, c.height}, "frame"};
        const PixelStatistics p = region_statistics(m, whole).pixels;
        drawing.crosshairs.push_back(
            {p.hottest.at.x, p.hottest.at.y, celsius_label(m, p.hottest.value), true});
        drawing.crosshairs.push_back(
            {p.coldest.at.x, p.coldest.at.y, celsius_label(m, p.coldest.value), false});
    }
    // What the numbers are, under the user's caption.
    std::string legend = "temperatures: " + request.unit;
    if (trimmed) legend += "  \u00b7  marks: trimmed means";
    if (!request.outlines.empty()) legend += "  \u00b7  outlines: pixel means";
    if (request.crosshairs) legend += "  \u00b7  crosshairs: hottest/coldest pixel";
    drawing.caption = request.caption.empty() ? legend : request.caption + "\n" + legend;
    drawing.rgb = rgb;
    Picture picture;
    try {
        picture = render_picture(drawing);
    } catch (const std::runtime_error &e) {
        fail_usage(std::string("cannot render the picture: ") + e.what());
    }
    return picture;
}

Picture write_picture(const std::filesystem::path &out, const PictureRequest &request) {
    Picture picture = draw_picture(request);
    write_file_atomically(out, picture.png.data(), picture.png.size());
    return picture;
}

}  // namespace radimo::cli
