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

std::string celsius_label(uint16_t kelvin16) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f \u00b0C", static_cast<double>(celsius_of_kelvin16(kelvin16)));
    return text;
}

Picture draw_picture(const PictureRequest &request) {
    const Frame &c = *request.celsius;
    PictureSpec drawing;
    drawing.width = c.width;
    drawing.height = c.height;
    drawing.celsius = c.celsius.data();
    drawing.palette = request.palette;
    drawing.range = request.range;
    drawing.isotherm = request.isotherm;
    drawing.colour_bar = request.colour_bar;
    drawing.caption = request.caption;
    for (const RegionResult &r : request.regions) {
        const Region &g = r.region;
        switch (g.kind) {
            case Region::Kind::kPoint:
                drawing.points.push_back({g.a.x, g.a.y, g.label + " " + celsius_label(r.result.avg_temp)});
                break;
            case Region::Kind::kLine:
                drawing.lines.push_back(
                    {g.a.x, g.a.y, g.b.x, g.b.y, g.label + " max " + celsius_label(r.result.max_temp)});
                break;
            case Region::Kind::kRect:
                drawing.rects.push_back(
                    {g.a.x, g.a.y, g.b.x, g.b.y, g.label + " avg " + celsius_label(r.result.avg_temp)});
                break;
        }
    }
    if (request.crosshairs) {
        const Region whole{Region::Kind::kRect, {0, 0}, {c.width, c.height}, "frame"};
        const temp_result_t t = measure_region(*request.kelvin16, whole, std::nullopt).result;
        drawing.crosshairs.push_back(
            {t.max_temp_point.x, t.max_temp_point.y, celsius_label(t.max_temp), true});
        drawing.crosshairs.push_back(
            {t.min_temp_point.x, t.min_temp_point.y, celsius_label(t.min_temp), false});
    }
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
