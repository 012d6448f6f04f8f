// The regions of a frame the commands measure: points, lines and
// rectangles, parsed from their options and checked against the frame.
// Their statistics are in statistics.h.
#pragma once

#include <string>
#include <vector>

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

}  // namespace radimo::cli
