// Rectangles, ellipses, polygons and masks measured through the library's region statistics,
// from the options --polygon, --ellipse, --mask and the regions file (--regions FILE.json,
// docs/formats.md), each optionally with a scene of its own.
#pragma once

#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "core/frame.h"
#include "libradimo.h"

namespace radimo::cli {

struct ShapeRegion {
    std::string label;  // its name, or "G1", "E1", "M1"... for the options' regions
    radimo_region_t region{};
    std::vector<double> vertices;  // polygon
    std::vector<uint8_t> mask;     // mask, with its size
    int mask_width = 0, mask_height = 0;
    // Scene fields this region overrides (dist, ems, hum, ta, tu; NaN = the camera's).
    std::array<float, 5> scene{NAN, NAN, NAN, NAN, NAN};
    bool has_scene() const;

    // The library's record, pointing into this object's storage (valid while it lives unmoved).
    const radimo_region_t &record();
    const char *shape_name() const;
    // "polygon (430,330),(480,332)...", "ellipse (200.5,180) r 40x55", "mask 640x512"...
    std::string describe() const;
};

// "X0,Y0,X1,Y1,...", "CX,CY,RX,RY", a mask file (8- or 16-bit PGM, or any frame file; non-zero =
// inside) and a regions file; usage errors name the option.
ShapeRegion parse_polygon(const std::string &text, int number);
ShapeRegion parse_ellipse(const std::string &text, int number);
ShapeRegion read_mask_region(const std::string &path, int number);
std::vector<ShapeRegion> read_regions_file(const std::string &path);
// Every region of the options and the regions file, in that order.
std::vector<ShapeRegion> parse_shape_regions(const std::vector<std::string> &polygons,
                                             const std::vector<std::string> &ellipses,
                                             const std::vector<std::string> &masks,
                                             const std::string &regions_file);

// A region's statistics in a 1/16 K frame, in degC.
struct ShapeResult {
    std::string label;
    radimo_region_stats_t pixels{};      // true extremes, sums (1/16 K)
    radimo_region_stats_t means{};       // of the 3x3 trimmed means (the rule of points and rectangles)
    double p5 = 0, median = 0, p95 = 0;  // degC
    std::vector<uint64_t> histogram;     // with histogram_edges (degC), when asked
    std::vector<double> histogram_edges;
    // Under the region's own scene: object temperatures.
    std::optional<radimo_region_object_stats_t> object;
    std::array<double, 3> object_percentiles{};  // P5, median, P95, degC
};

// Measures a region (usage error when it has no pixel in the frame). `scene` and `correct_table`
// are the camera's (needed when the region has a scene of its own). bins > 0 adds a histogram of
// that many equal bins between the region's extremes. Without `details` only the pixel statistics
// (and the object statistics) are measured: no 3x3 means, no percentiles (what a picture shows).
ShapeResult measure_shape(const Frame &kelvin16, ShapeRegion &region, const env_correct_param_t *scene,
                          const std::vector<uint16_t> *correct_table, int bins = 0, bool details = true);

}  // namespace radimo::cli
