// Internal pieces of the picture renderer: the layout, the Cairo helpers and the drawing steps.
#pragma once

#include <cairo.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "picture/picture.h"

namespace radimo::cli::detail {

struct CairoDeleter {
    void operator()(cairo_t *cr) const { cairo_destroy(cr); }
    void operator()(cairo_surface_t *s) const { cairo_surface_destroy(s); }
};
using CairoPtr = std::unique_ptr<cairo_t, CairoDeleter>;
using SurfacePtr = std::unique_ptr<cairo_surface_t, CairoDeleter>;

struct Box {
    double x = 0, y = 0, w = 0, h = 0;
    bool overlaps(const Box &o) const { return x < o.x + o.w && o.x < x + w && y < o.y + o.h && o.y < y + h; }
    bool inside(const Box &o) const {
        return x >= o.x && y >= o.y && x + w <= o.x + o.w && y + h <= o.y + o.h;
    }
};

// Where everything goes, in picture pixels.
struct Layout {
    int factor = 1;  // picture pixels per frame pixel
    Box image;       // the upscaled frame, at the top left
    Box panel;       // the colour bar panel right of the image (w = 0 without a bar)
    Box caption;     // the caption strip along the bottom (h = 0 without a caption)
    int width = 0, height = 0;
    double ui = 1;  // text and stroke scale: 1 up to 720 pixels on the long side, more above

    // The centre of frame pixel (x, y) in picture coordinates.
    double px(double x) const { return image.x + (x + 0.5) * factor; }
    double py(double y) const { return image.y + (y + 0.5) * factor; }
};

struct Colour {
    double r, g, b, a = 1.0;
};
inline constexpr Colour background{0.11, 0.11, 0.125};
inline constexpr Colour text_colour{0.95, 0.95, 0.95};
inline constexpr Colour halo{0.0, 0.0, 0.0, 0.72};
inline constexpr Colour hot_colour{1.0, 0.30, 0.18};
inline constexpr Colour cold_colour{0.25, 0.75, 1.0};

void set_colour(cairo_t *cr, Colour c);

// Text in DejaVu Sans with fixed, hinting-free metrics so the picture is the same everywhere.
void set_font(cairo_t *cr, double size, bool bold = false);
double text_width(cairo_t *cr, std::string_view text);
// Draws text with its left end at x and its visual centre line at y.
void draw_text(cairo_t *cr, std::string_view text, double x, double y, Colour colour);
// The lines of a caption (separated by '\n').
std::vector<std::string> caption_lines(std::string_view caption);
// `text` shortened with an ellipsis until it is at most max_width wide.
std::string fit_text(cairo_t *cr, std::string_view text, double max_width);

// Places for a w x h label around a mark at (ax, ay), `clearance` away from its centre, in order
// of preference: right-above, the other diagonals, beside, above, below; then the same farther out.
std::vector<Box> around_point(double w, double h, double ax, double ay, double clearance);
// Places for a label of a rectangle `r`: above or below it, along its left or right edge, or just
// inside its top or bottom edge; then around its top-left corner.
std::vector<Box> around_rect(double w, double h, const Box &r);
// The first candidate inside `area` that is clear of `taken`; else the one inside that covers
// `taken` least; else the first candidate pulled inside `area`.
Box choose_label_box(std::span<const Box> candidates, const Box &area, std::span<const Box> taken);

// Label boxes that avoid each other and stay inside the image.
class LabelPlacer {
public:
    explicit LabelPlacer(const Layout &layout) : layout_(layout) {}
    // Places a label box for `text` near a point mark of radius `clearance` at (ax, ay), or near a
    // rectangle; draws it with an accent colour on its left edge and remembers its place.
    void place(cairo_t *cr, std::string_view text, double ax, double ay, double clearance, Colour accent);
    void place(cairo_t *cr, std::string_view text, const Box &rect, Colour accent);
    // Keeps later labels off this box (a marker's own footprint).
    void avoid(const Box &box) { taken_.push_back(box); }

private:
    struct Size {
        std::string shown;
        double w, h;
    };
    Size measure(cairo_t *cr, std::string_view text) const;
    void draw(cairo_t *cr, const Size &label, std::span<const Box> candidates, Colour accent);

    const Layout &layout_;
    std::vector<Box> taken_;
};

// The panel width the colour bar needs for these tick and end labels.
double colour_bar_width(cairo_t *cr, float lo, float hi, double ui);

void paint_false_colour(cairo_surface_t *surface, const PictureSpec &request, const Palette &palette,
                        float lo, float hi, const Layout &layout);
void draw_colour_bar(cairo_t *cr, const PictureSpec &request, const Palette &palette, float lo, float hi,
                     const Layout &layout);
void draw_overlays(cairo_t *cr, const PictureSpec &request, const Layout &layout);
void draw_caption(cairo_t *cr, const PictureSpec &request, const Layout &layout);

}  // namespace radimo::cli::detail
