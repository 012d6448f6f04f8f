// render_picture: checks the request, lays the picture out, draws it and encodes the PNG.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

#include "picture/canvas.h"
#include "picture/picture.h"
#include "picture/scale.h"

namespace radimo::cli {
namespace {

using namespace detail;

constexpr int max_upscale = 16, max_side = 16384;  // well inside Cairo's 32767-pixel surfaces

[[noreturn]] void fail(const std::string &message) {
    throw std::runtime_error(message);
}

std::string frame_size(const PictureSpec &s) {
    return std::to_string(s.width) + "x" + std::to_string(s.height);
}

// The shortest text that reads back as the same number ("30", "20.5", "nan").
std::string number(float v) {
    char buf[32];
    return std::string(buf, std::to_chars(buf, buf + sizeof buf, v).ptr);
}

bool in_frame(const PictureSpec &s, int x, int y) {
    return x >= 0 && y >= 0 && x < s.width && y < s.height;
}

void check_marks(const PictureSpec &s) {
    auto outside = [&](const std::string &what) {
        fail(what + " lies outside the " + frame_size(s) + " frame");
    };
    for (const PointMark &p : s.points)
        if (!in_frame(s, p.x, p.y)) outside("point " + std::to_string(p.x) + "," + std::to_string(p.y));
    for (const Crosshair &c : s.crosshairs)
        if (!in_frame(s, c.x, c.y)) outside("crosshair " + std::to_string(c.x) + "," + std::to_string(c.y));
    for (const LineMark &l : s.lines)
        if (!in_frame(s, l.x0, l.y0) || !in_frame(s, l.x1, l.y1))
            outside("line " + std::to_string(l.x0) + "," + std::to_string(l.y0) + "," + std::to_string(l.x1) +
                    "," + std::to_string(l.y1));
    for (const RectMark &r : s.rects) {
        const std::string name = "rectangle " + std::to_string(r.x) + "," + std::to_string(r.y) + "," +
                                 std::to_string(r.w) + "," + std::to_string(r.h);
        if (r.w < 1 || r.h < 1) fail(name + " is empty");
        if (r.x < 0 || r.y < 0 || int64_t{r.x} + r.w > s.width || int64_t{r.y} + r.h > s.height)
            outside(name);
    }
    // An outline may reach beyond the frame (only its part over the frame is drawn), never to infinity.
    for (const OutlineMark &o : s.outlines)
        for (const auto &path : o.paths)
            for (const auto &[x, y] : path)
                if (!std::isfinite(x) || !std::isfinite(y))
                    fail("the outline of " + o.label + " is not finite");
}

void check_band(const std::pair<float, float> &band, const char *what, bool strict) {
    const auto [lo, hi] = band;
    if (!std::isfinite(lo) || !std::isfinite(hi) || !std::isfinite(static_cast<double>(hi) - lo) ||
        (strict ? !(lo < hi) : !(lo <= hi)))
        fail(std::string(what) + " " + number(lo) + "," + number(hi) + " needs finite LO " +
             (strict ? "<" : "<=") + " HI");
}

void check_request(const PictureSpec &s) {
    if (s.width <= 0 || s.height <= 0)
        fail("cannot draw a " + frame_size(s) + " frame: width and height must be positive");
    if (!s.celsius) fail("no temperature data to draw");
    if (s.upscale < 0 || s.upscale > max_upscale)
        fail("upscale factor " + std::to_string(s.upscale) + " is outside 1.." + std::to_string(max_upscale) +
             " (0 picks it from the frame size)");
    if (s.range) check_band(*s.range, "temperature range", true);
    if (s.isotherm) check_band(*s.isotherm, "isotherm", false);
    check_marks(s);
}

// The picture's geometry; `caption` is every line of the caption strip.
Layout lay_out(const PictureSpec &s, float lo, float hi, const std::string &caption) {
    Layout l;
    l.factor = s.upscale ? s.upscale : std::clamp(800 / std::max(s.width, s.height), 1, max_upscale);
    if (int64_t{s.width} * l.factor > max_side || int64_t{s.height} * l.factor > max_side)
        fail("a " + frame_size(s) + " frame is too large to draw (at most " + std::to_string(max_side) +
             " pixels a side)");
    const double w = static_cast<double>(s.width * l.factor), h = static_cast<double>(s.height * l.factor);
    l.ui = std::clamp(std::max(w, h) / 720.0, 1.0, 4.0);
    const bool marks = !s.points.empty() || !s.lines.empty() || !s.rects.empty() || !s.outlines.empty() ||
                       !s.crosshairs.empty();
    l.margin = marks ? std::ceil(16 * l.ui) : 0;  // a crosshair's arm and halo at an edge pixel
    l.image = {l.margin, l.margin, w, h};
    l.marked = {0, 0, w + 2 * l.margin, h + 2 * l.margin};

    // Text is measured on a scratch surface before the real one exists.
    SurfacePtr scratch(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1));
    CairoPtr cr(cairo_create(scratch.get()));
    const double panel_w = s.colour_bar ? colour_bar_width(cr.get(), lo, hi, l.ui, s.unit) +
                                              (s.histogram ? histogram_strip_width(l.ui) : 0)
                                        : 0;
    const double body_h = std::max(l.marked.h, s.colour_bar ? std::round(200 * l.ui) : 0.0);
    const double caption_h =
        caption.empty() ? 0 : std::round((8 + 18 * caption_lines(caption).size()) * l.ui);
    l.panel = {l.marked.w, 0, panel_w, body_h};
    l.width = static_cast<int>(l.marked.w + panel_w);
    l.caption = {0, body_h, static_cast<double>(l.width), caption_h};
    l.height = static_cast<int>(body_h + caption_h);
    return l;
}

}  // namespace

Picture render_picture(const PictureSpec &request) {
    check_request(request);
    const Palette &palette = request.palette ? *request.palette : *find_palette("ironbow");
    const auto [lo, hi] = request.range
                              ? *request.range
                              : automatic_range(std::span(
                                    request.celsius, static_cast<size_t>(request.width) * request.height));
    if (!(static_cast<double>(hi) - lo > 0)) fail("the temperatures are too large to put on a colour scale");
    Picture picture;

    // Labels are placed before the caption is laid out: those without a free place join it.
    std::string caption = request.caption;
    Layout layout = lay_out(request, lo, hi, caption);
    LabelPlan labels;
    {
        SurfacePtr scratch(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1));
        CairoPtr measuring(cairo_create(scratch.get()));
        labels = plan_labels(measuring.get(), request, layout);
    }
    if (!labels.unplaced.empty()) {
        std::string more = "more labels:";
        for (const std::string &text : labels.unplaced) more += "  " + text;
        caption = caption.empty() ? more : more + "\n" + caption;
        layout = lay_out(request, lo, hi, caption);
    }
    SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, layout.width, layout.height));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        fail(std::string("cannot create the picture: ") +
             cairo_status_to_string(cairo_surface_status(surface.get())));
    CairoPtr cr(cairo_create(surface.get()));
    set_colour(cr.get(), background);
    cairo_paint(cr.get());
    cairo_surface_flush(surface.get());

    const Clipped clipped = paint_false_colour(surface.get(), request, palette, lo, hi, layout);
    picture.above = clipped.above;
    picture.below = clipped.below;
    layout.clipped_hot = picture.above > 0;
    layout.clipped_cold = picture.below > 0;
    if (request.colour_bar) draw_colour_bar(cr.get(), request, palette, lo, hi, layout);
    if (request.colour_bar && request.histogram) draw_histogram_strip(cr.get(), request, lo, hi, layout);
    draw_overlays(cr.get(), request, layout, labels);
    draw_caption(cr.get(), caption, layout);
    if (cairo_status(cr.get()) != CAIRO_STATUS_SUCCESS)
        fail(std::string("drawing the picture failed: ") + cairo_status_to_string(cairo_status(cr.get())));

    cairo_surface_flush(surface.get());
    if (request.rgb) {
        // Cairo's RGB24 is one native-endian 32-bit word per pixel, 0x00RRGGBB.
        const unsigned char *data = cairo_image_surface_get_data(surface.get());
        const int stride = cairo_image_surface_get_stride(surface.get());
        picture.pixels.resize(static_cast<size_t>(layout.width) * layout.height * 3);
        unsigned char *out = picture.pixels.data();
        for (int y = 0; y < layout.height; ++y) {
            const auto *row = reinterpret_cast<const uint32_t *>(data + static_cast<size_t>(y) * stride);
            for (int x = 0; x < layout.width; ++x) {
                *out++ = static_cast<unsigned char>(row[x] >> 16);
                *out++ = static_cast<unsigned char>(row[x] >> 8);
                *out++ = static_cast<unsigned char>(row[x]);
            }
        }
    } else {
        picture.png = png_bytes(surface.get());
    }
    picture.width = layout.width;
    picture.height = layout.height;
    picture.lo = lo;
    picture.hi = hi;
    picture.image_x = static_cast<int>(layout.image.x);
    picture.image_y = static_cast<int>(layout.image.y);
    return picture;
}

namespace detail {

namespace {
cairo_status_t append_png(void *closure, const unsigned char *data, unsigned int length) {
    try {  // no exception may cross Cairo's C frames
        auto *png = static_cast<std::vector<unsigned char> *>(closure);
        png->insert(png->end(), data, data + length);
        return CAIRO_STATUS_SUCCESS;
    } catch (...) {
        return CAIRO_STATUS_NO_MEMORY;
    }
}

}  // namespace

std::vector<unsigned char> png_bytes(cairo_surface_t *surface) {
    std::vector<unsigned char> png;
    cairo_surface_flush(surface);
    const cairo_status_t status = cairo_surface_write_to_png_stream(surface, append_png, &png);
    if (status != CAIRO_STATUS_SUCCESS)
        fail(std::string("encoding the picture as PNG failed: ") + cairo_status_to_string(status));
    return png;
}

}  // namespace detail

}  // namespace radimo::cli
