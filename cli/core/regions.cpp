#include "core/regions.h"

#include "core/arguments.h"
#include "core/errors.h"

namespace radimo::cli {
namespace {

point_t point_of(long x, long y) {
    return {static_cast<int32_t>(x), static_cast<int32_t>(y)};
}

std::string describe(const Region &r) {
    const auto p = [](point_t q) { return std::to_string(q.x) + "," + std::to_string(q.y); };
    switch (r.kind) {
        case Region::Kind::kPoint:
            return "--point " + p(r.a);
        case Region::Kind::kLine:
            return "--line " + p(r.a) + "," + p(r.b);
        case Region::Kind::kRect:
            return "--rect " + p(r.a) + "," + p(r.b);
    }
    return "";
}

constexpr long kCoordinateLimit = 65535;

long coordinate(const std::string &option, const std::string &text, long v) {
    if (v < 0 || v > kCoordinateLimit) fail_usage(option + " " + text + ": coordinates must be 0..65535");
    return v;
}

}  // namespace

Region parse_point(const std::string &text, int number) {
    const std::vector<long> v = parse_integers("--point", text, 2);
    return {Region::Kind::kPoint,
            point_of(coordinate("--point", text, v[0]), coordinate("--point", text, v[1])),
            {},
            "P" + std::to_string(number)};
}

Region parse_line(const std::string &text, int number) {
    const std::vector<long> v = parse_integers("--line", text, 4);
    for (long c : v) coordinate("--line", text, c);
    return {Region::Kind::kLine, point_of(v[0], v[1]), point_of(v[2], v[3]), "L" + std::to_string(number)};
}

Region parse_rect(const std::string &text, int number) {
    const std::vector<long> v = parse_integers("--rect", text, 4);
    for (long c : v) coordinate("--rect", text, c);
    if (v[2] == 0 || v[3] == 0) fail_usage("--rect " + text + ": width and height must be at least 1");
    return {Region::Kind::kRect, point_of(v[0], v[1]), point_of(v[2], v[3]), "R" + std::to_string(number)};
}

std::vector<Region> parse_regions(const std::vector<std::string> &points,
                                  const std::vector<std::string> &lines,
                                  const std::vector<std::string> &rects) {
    std::vector<Region> regions;
    for (std::size_t i = 0; i < points.size(); ++i)
        regions.push_back(parse_point(points[i], static_cast<int>(i) + 1));
    for (std::size_t i = 0; i < lines.size(); ++i)
        regions.push_back(parse_line(lines[i], static_cast<int>(i) + 1));
    for (std::size_t i = 0; i < rects.size(); ++i)
        regions.push_back(parse_rect(rects[i], static_cast<int>(i) + 1));
    return regions;
}

void check_inside(const Region &r, int width, int height) {
    const auto inside = [&](point_t p) { return p.x < width && p.y < height; };
    bool ok = inside(r.a);
    if (r.kind == Region::Kind::kLine) ok = ok && inside(r.b) && (r.a.x != r.b.x || r.a.y != r.b.y);
    if (r.kind == Region::Kind::kRect) ok = ok && r.a.x + r.b.x <= width && r.a.y + r.b.y <= height;
    if (!ok) {
        if (r.kind == Region::Kind::kLine && r.a.x == r.b.x && r.a.y == r.b.y)
            fail_usage(describe(r) + ": a line needs two different points (use --point)");
        fail_usage(describe(r) + ": outside the " + std::to_string(width) + "x" + std::to_string(height) +
                   " frame");
    }
}

const char *kind_name(Region::Kind kind) {
    switch (kind) {
        case Region::Kind::kPoint:
            return "point";
        case Region::Kind::kLine:
            return "line";
        case Region::Kind::kRect:
            return "rect";
    }
    return "point";
}

}  // namespace radimo::cli
