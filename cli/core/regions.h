// Points, lines and rectangles measured on a temperature frame (1/16 K)
// through the library, with their optional alarm state.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/frame.h"
#include "libradimo.h"

namespace radimo::cli {

struct Region {
    enum class Kind { kPoint, kLine, kRect };
    Kind kind = Kind::kPoint;
    // Point: a = (x, y). Line: a = start, b = end. Rectangle: a = top-left corner, b = (w, h).
    point_t a{};
    point_t b{};
    std::string label;  // "P1", "L1", "R1"...
};

// Parse "X,Y", "X0,Y0,X1,Y1" and "X,Y,W,H" of --point, --line, --rect.
Region parse_point(const std::string &text, int number);
Region parse_line(const std::string &text, int number);
Region parse_rect(const std::string &text, int number);
// Every region of the options, numbered per kind (P1, P2, L1, R1...).
std::vector<Region> parse_regions(const std::vector<std::string> &points,
                                  const std::vector<std::string> &lines,
                                  const std::vector<std::string> &rects);
// A usage error naming the region when it does not lie inside a width x height frame.
void check_inside(const Region &region, int width, int height);
const char *kind_name(Region::Kind kind);

// Alarm thresholds in degC (HIGH,LOW of --alarm), as frame values.
threshold_t parse_alarm(const std::string &text);
// "ok", "above", "below" or "invalid thresholds" for the library's alarm states 0..3.
const char *alarm_name(int state);

struct RegionResult {
    Region region;
    temp_result_t result{};  // a point fills max = min = avg with its value, at the point
    std::optional<int> alarm;
};

// Measures one region of a kelvin16 frame (library failures are thrown).
RegionResult measure_region(const Frame &kelvin16, const Region &region, std::optional<threshold_t> alarm);

}  // namespace radimo::cli
