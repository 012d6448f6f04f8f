// Rectangles, ellipses, polygons and masks measured through the library's region statistics,
// from the options --polygon, --ellipse, --mask and the regions file (--regions FILE.json,
// docs/formats.md), each optionally with a scene of its own. The parsers and measure_shape() are
// what any front end (measure, render, the viewer) draws and measures shapes with.
#pragma once

#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "core/profile.h"
#include "core/statistics.h"
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

// A region with a scene of its own is corrected from apparent temperatures: a usage error when the
// frames are already scene-corrected (--scene-correct).
void check_own_scenes(const std::vector<ShapeRegion> &regions, bool scene_corrected);

// A region's statistics in a measured frame (statistics.h): the same honest statistics as a
// rectangle's, in the frame's values, with percentiles, a histogram and, under the region's own
// scene, object temperatures.
struct ShapeResult {
    std::string label;
    RegionStatistics stats;               // the pixels; the 3x3 trimmed means when measured with details
    ValueScale scale;                     // of the frame's values (to kelvin)
    std::array<double, 3> percentiles{};  // P5, median, P95 of the pixels, frame values (with details)
    std::vector<uint64_t> histogram;      // with histogram_edges (frame values), when asked
    std::vector<double> histogram_edges;
    // Under the region's own scene: object temperatures (degC) and their P5, median, P95.
    std::optional<radimo_region_object_stats_t> object;
    std::array<double, 3> object_percentiles{};

    // What the region reports in degC: its object temperatures when it has a scene of its own,
    // else its pixels' (hottest, mean, coldest); its spread in K.
    double max_celsius() const;
    double mean_celsius() const;
    double min_celsius() const;
    double stddev_kelvin() const;
    double median_celsius() const;
};

// Measures a region. A region without a pixel in the frame, or a mask of another size, is a usage
// error naming it. `camera` gives the scene and correction table a region with a scene of its own is
// corrected through (a usage error without them); such a region needs apparent temperatures, so the
// frame must not be scene-corrected already. bins > 0 adds a histogram of that many equal bins
// between the region's extremes. Without `details` only the pixel statistics (and the object
// statistics) are measured: no 3x3 means, no percentiles (what a picture shows).
ShapeResult measure_shape(const MeasuredFrame &frame, ShapeRegion &region, const CameraProfile *camera,
                          int bins = 0, bool details = true);

// A measured region as a JSON record, as region_json() writes a rectangle's (label, kind, geometry,
// unit and its source, "trimmed", "pixels" with "p5", "median", "p95"), with "histogram" and
// "object" (its own scene, degC) where they apply.
nlohmann::ordered_json shape_json(const MeasuredFrame &frame, const ShapeRegion &region,
                                  const ShapeResult &result);
// For each region after the first, its mean less the first one's (object temperatures under a
// region's own scene): [{"from", "to", "mean_k"}...], as measure --json reports them.
nlohmann::ordered_json delta_t_json(const std::vector<ShapeResult> &results);
// The lines of a measured region after `indent` columns (the first line without the indent).
std::string shape_text(const MeasuredFrame &frame, const ShapeResult &result, int indent);

}  // namespace radimo::cli
