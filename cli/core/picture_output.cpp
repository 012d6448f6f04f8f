#include "core/picture_output.h"

#include <cstdio>
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

Picture draw_picture(const PictureRequest &request) {
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
    if (request.crosshairs) legend += "  \u00b7  crosshairs: hottest/coldest pixel";
    drawing.caption = request.caption.empty() ? legend : request.caption + "\n" + legend;
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
