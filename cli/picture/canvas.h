// Internal pieces of the picture renderer: the layout, the Cairo helpers and the drawing steps.
#pragma once

#include <cairo.h>

#include <memory>
#include <optional>
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
    Box image;       // the upscaled frame, `margin` from the top left
    Box marked;      // the image and its margin: marks and labels stay inside it, whole
    Box panel;       // the colour bar panel right of it (w = 0 without a bar)
    Box caption;     // the caption strip along the bottom (h = 0 without a caption)
    int width = 0, height = 0;
    double ui = 1;      // text and stroke scale: 1 up to 720 pixels on the long side, more above
    double margin = 0;  // around the image when there are marks, so one at an edge is drawn whole
    bool clipped_hot = false, clipped_cold = false;  // pixels beyond the ends of the scale

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
inline constexpr Colour mark_colour{1, 1, 1};

void set_colour(cairo_t *cr, Colour c);

// The surface as PNG bytes; throws std::runtime_error when Cairo cannot encode it.
std::vector<unsigned char> png_bytes(cairo_surface_t *surface);

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
// Places anywhere inside `area` on a grid of label-sized steps, nearest (ax, ay) first: where a
// label goes when every place around its mark is taken.
std::vector<Box> anywhere(double w, double h, const Box &area, double ax, double ay);
// The first candidate inside `area` that is clear of `taken`, if any.
std::optional<Box> choose_label_box(std::span<const Box> candidates, const Box &area,
                                    std::span<const Box> taken);

// A label and its place, chosen before anything is drawn.
struct PlacedLabel {
    std::string shown;
    Box box;
    Colour accent;
    double anchor_x, anchor_y;  // the mark it belongs to: a leader line joins them when far apart
};
struct LabelPlan {
    std::vector<PlacedLabel> placed;
    std::vector<std::string> unplaced;  // no free place inside the marked area: told in the caption
};
// Places every label of the request (the extremes first, then points, rectangles and lines) inside
// layout.marked, clear of one another and of the crosshairs and points.
LabelPlan plan_labels(cairo_t *cr, const PictureSpec &request, const Layout &layout);
// Draws the placed labels (and the leader lines of those away from their marks).
void draw_labels(cairo_t *cr, const LabelPlan &plan, const Layout &layout);

// The panel width the colour bar needs for these tick and end labels.
double colour_bar_width(cairo_t *cr, float lo, float hi, double ui, const std::string &unit);
// Where the bar itself lies in the panel.
struct BarGeometry {
    double left, top, width, height;
};
BarGeometry bar_geometry(const Layout &layout);
// The width the histogram strip adds to the panel, and the strip at the panel's right side: the
// share of the frame's pixels in each temperature band of the bar, level with the bar.
double histogram_strip_width(double ui);
void draw_histogram_strip(cairo_t *cr, const PictureSpec &request, float lo, float hi, const Layout &layout);

// Paints the frame into the surface and counts the pixels beyond the scale's ends.
struct Clipped {
    std::size_t above = 0, below = 0;
};
Clipped paint_false_colour(cairo_surface_t *surface, const PictureSpec &request, const Palette &palette,
                           float lo, float hi, const Layout &layout);
void draw_colour_bar(cairo_t *cr, const PictureSpec &request, const Palette &palette, float lo, float hi,
                     const Layout &layout);
void draw_overlays(cairo_t *cr, const PictureSpec &request, const Layout &layout, const LabelPlan &labels);
// The caption's lines (separated by '\n'), the last in a quieter grey.
void draw_caption(cairo_t *cr, std::string_view caption, const Layout &layout);

}  // namespace radimo::cli::detail
