#include "core/shape_regions.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

#include "core/arguments.h"
#include "core/errors.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace {

constexpr const char *kSceneFields[5] = {"dist", "ems", "hum", "ta", "tu"};

std::vector<double> numbers(const std::string &option, const std::string &text) {
    std::vector<double> v;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t comma = text.find(',', start);
        const std::string item =
            text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        char *end = nullptr;
        const double x = std::strtod(item.c_str(), &end);
        if (item.empty() || end != item.c_str() + item.size() || !std::isfinite(x))
            fail_usage(option + " " + text + ": \"" + item + "\" is not a number");
        v.push_back(x);
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    return v;
}

ShapeRegion polygon_of(const std::string &what, std::vector<double> xy, std::string label) {
    if (xy.size() % 2 != 0 || xy.size() < 6 || xy.size() > 2 * RADIMO_REGION_MAX_VERTICES)
        fail_usage(what + ": a polygon takes 3 to 65536 X,Y vertices");
    ShapeRegion r;
    r.label = std::move(label);
    r.region.shape = RADIMO_REGION_POLYGON;
    r.vertices = std::move(xy);
    return r;
}

ShapeRegion ellipse_of(const std::string &what, double cx, double cy, double rx, double ry,
                       std::string label) {
    if (!(rx > 0) || !(ry > 0)) fail_usage(what + ": the radii must be above 0");
    ShapeRegion r;
    r.label = std::move(label);
    r.region.shape = RADIMO_REGION_ELLIPSE;
    r.region.cx = cx, r.region.cy = cy, r.region.rx = rx, r.region.ry = ry;
    return r;
}

// An 8- or 16-bit binary PGM (the masks the Python binding writes); other files through the frame readers.
bool read_pgm_mask(const std::string &path, ShapeRegion &r) {
    std::ifstream in(path, std::ios::binary);
    if (!in) fail_usage(path + ": cannot open the mask file");
    std::string magic;
    in >> magic;
    if (magic != "P5") return false;
    long values[3];
    for (long &v : values) {
        in >> std::ws;
        while (in.peek() == '#') in.ignore(1 << 20, '\n') >> std::ws;
        if (!(in >> v) || v <= 0 || v > 65535) fail_usage(path + ": a bad PGM header");
    }
    in.get();
    const std::size_t bytes = values[2] > 255 ? 2 : 1, n = static_cast<std::size_t>(values[0] * values[1]);
    std::vector<uint8_t> data(n * bytes);
    if (!in.read(reinterpret_cast<char *>(data.data()), static_cast<std::streamsize>(data.size())))
        fail_usage(path + ": the mask file is truncated");
    r.mask.resize(n);
    for (std::size_t i = 0; i < n; ++i)
        r.mask[i] = bytes == 1 ? data[i] != 0 : (data[2 * i] | data[2 * i + 1]) != 0;
    r.mask_width = static_cast<int>(values[0]);
    r.mask_height = static_cast<int>(values[1]);
    return true;
}

}  // namespace

bool ShapeRegion::has_scene() const {
    for (float f : scene)
        if (!std::isnan(f)) return true;
    return false;
}

const radimo_region_t &ShapeRegion::record() {
    region.vertices = vertices.empty() ? nullptr : vertices.data();
    region.vertex_count = static_cast<uint32_t>(vertices.size() / 2);
    region.mask = mask.empty() ? nullptr : mask.data();
    return region;
}

const char *ShapeRegion::shape_name() const {
    switch (region.shape) {
        case RADIMO_REGION_RECT:
            return "rect";
        case RADIMO_REGION_ELLIPSE:
            return "ellipse";
        case RADIMO_REGION_POLYGON:
            return "polygon";
        default:
            return "mask";
    }
}

std::string ShapeRegion::describe() const {
    char text[96];
    switch (region.shape) {
        case RADIMO_REGION_RECT:
            std::snprintf(text, sizeof text, "(%d,%d) %dx%d", region.origin.x, region.origin.y, region.size.w,
                          region.size.h);
            break;
        case RADIMO_REGION_ELLIPSE:
            std::snprintf(text, sizeof text, "(%g,%g) r %gx%g", region.cx, region.cy, region.rx, region.ry);
            break;
        case RADIMO_REGION_POLYGON:
            std::snprintf(text, sizeof text, "%zu vertices", vertices.size() / 2);
            break;
        default:
            std::snprintf(text, sizeof text, "%dx%d", mask_width, mask_height);
    }
    return text;
}

ShapeRegion parse_polygon(const std::string &text, int number) {
    return polygon_of("--polygon " + text, numbers("--polygon", text), "G" + std::to_string(number));
}

ShapeRegion parse_ellipse(const std::string &text, int number) {
    const std::vector<double> v = numbers("--ellipse", text);
    if (v.size() != 4) fail_usage("--ellipse " + text + ": give CX,CY,RX,RY");
    return ellipse_of("--ellipse " + text, v[0], v[1], v[2], v[3], "E" + std::to_string(number));
}

ShapeRegion read_mask_region(const std::string &path, int number) {
    ShapeRegion r;
    r.label = "M" + std::to_string(number);
    r.region.shape = RADIMO_REGION_MASK;
    if (!read_pgm_mask(path, r)) {
        auto reader = open_frame_file(path, std::nullopt);
        Frame f;
        if (!reader->next(f)) fail_usage(path + ": the mask file holds no frame");
        r.mask_width = f.width;
        r.mask_height = f.height;
        r.mask.resize(f.pixels());
        for (std::size_t i = 0; i < f.pixels(); ++i)
            r.mask[i] = f.unit == Unit::kCelsius ? f.celsius[i] != 0 : f.samples[i] != 0;
    }
    return r;
}

std::vector<ShapeRegion> read_regions_file(const std::string &path) {
    std::ifstream in(path);
    if (!in) fail_usage(path + ": cannot open the regions file");
    nlohmann::json doc;
    try {
        doc = nlohmann::json::parse(in);
    } catch (const nlohmann::json::exception &e) {
        fail_usage(path + ": not a JSON file (" + e.what() + ")");
    }
    if (!doc.is_object() || !doc.contains("regions") || !doc["regions"].is_array())
        fail_usage(path + ": a regions file holds an object with a \"regions\" list");
    const std::string base = path.find('/') == std::string::npos ? "" : path.substr(0, path.rfind('/') + 1);
    std::vector<ShapeRegion> out;
    int number = 0;
    for (const nlohmann::json &item : doc["regions"]) {
        ++number;
        const std::string name = item.is_object() && item.contains("name") && item["name"].is_string()
                                     ? item["name"].get<std::string>()
                                     : "F" + std::to_string(number);
        const std::string what = path + ": region " + name;
        try {
            const std::string shape = item.at("shape").get<std::string>();
            const auto num = [&](const char *key) { return item.at(key).get<double>(); };
            ShapeRegion r;
            if (shape == "rect") {
                const auto whole = [&](const char *key) {
                    const double v = num(key);
                    if (v != std::floor(v) || std::fabs(v) > RADIMO_REGION_COORD_LIMIT)
                        fail_usage(what + ": " + key + " must be a whole number of pixels");
                    return static_cast<int32_t>(v);
                };
                r.region.shape = RADIMO_REGION_RECT;
                r.region.origin = {whole("x"), whole("y")};
                r.region.size = {whole("w"), whole("h")};
                if (r.region.size.w < 1 || r.region.size.h < 1)
                    fail_usage(what + ": width and height must be at least 1");
            } else if (shape == "ellipse") {
                r = ellipse_of(what, num("cx"), num("cy"), num("rx"), num("ry"), name);
            } else if (shape == "polygon") {
                std::vector<double> xy;
                for (const nlohmann::json &p : item.at("points")) {
                    if (!p.is_array() || p.size() != 2) fail_usage(what + ": each point is [x, y]");
                    xy.push_back(p[0].get<double>());
                    xy.push_back(p[1].get<double>());
                }
                r = polygon_of(what, std::move(xy), name);
            } else if (shape == "mask") {
                r = read_mask_region(base + item.at("file").get<std::string>(), number);
            } else {
                fail_usage(what + ": unknown shape \"" + shape + "\" (rect, ellipse, polygon or mask)");
            }
            r.label = name;
            if (item.contains("scene")) {
                for (const auto &[key, value] : item["scene"].items()) {
                    int k = 0;
                    while (k < 5 && key != kSceneFields[k]) ++k;
                    if (k == 5)
                        fail_usage(what + ": unknown scene field \"" + key + "\" (dist, ems, hum, ta, tu)");
                    r.scene[static_cast<std::size_t>(k)] = value.get<float>();
                }
            }
            for (const ShapeRegion &o : out)
                if (o.label == r.label) fail_usage(what + ": region names must be distinct");
            out.push_back(std::move(r));
        } catch (const nlohmann::json::exception &e) {
            fail_usage(what + ": " + e.what());
        }
    }
    return out;
}

std::vector<ShapeRegion> parse_shape_regions(const std::vector<std::string> &polygons,
                                             const std::vector<std::string> &ellipses,
                                             const std::vector<std::string> &masks,
                                             const std::string &regions_file) {
    std::vector<ShapeRegion> out;
    for (std::size_t i = 0; i < polygons.size(); ++i)
        out.push_back(parse_polygon(polygons[i], static_cast<int>(i) + 1));
    for (std::size_t i = 0; i < ellipses.size(); ++i)
        out.push_back(parse_ellipse(ellipses[i], static_cast<int>(i) + 1));
    for (std::size_t i = 0; i < masks.size(); ++i)
        out.push_back(read_mask_region(masks[i], static_cast<int>(i) + 1));
    if (!regions_file.empty())
        for (ShapeRegion &r : read_regions_file(regions_file)) out.push_back(std::move(r));
    return out;
}

ShapeResult measure_shape(const Frame &k16, ShapeRegion &r, const env_correct_param_t *scene,
                          const std::vector<uint16_t> *correct_table, int bins, bool details) {
    ShapeResult out;
    out.label = r.label;
    if (r.region.shape == RADIMO_REGION_MASK && (r.mask_width != k16.width || r.mask_height != k16.height))
        fail_usage(r.label + ": the mask is " + std::to_string(r.mask_width) + "x" +
                   std::to_string(r.mask_height) + ", the frame " + std::to_string(k16.width) + "x" +
                   std::to_string(k16.height));
    const radimo_region_t &g = r.record();
    const uint16_t *f = k16.samples.data();
    const uint32_t res = k16.resolution();
    const uint32_t h = static_cast<uint32_t>(k16.height);
    try {
        check_library(radimo_region_stats(f, res, &g, RADIMO_SAMPLE_PIXEL, 0, h, &out.pixels),
                      "radimo_region_stats");
    } catch (const Error &e) {
        fail_usage(r.label + " (" + r.shape_name() + " " + r.describe() + "): " + e.what());
    }
    const double percents[3] = {5, 50, 95};
    if (details) {
        check_library(radimo_region_stats(f, res, &g, RADIMO_SAMPLE_MEAN3, 0, h, &out.means),
                      "radimo_region_stats");
    }
    std::vector<uint32_t> counts(details || bins > 0 ? 65536 : 0, 0);
    if (!counts.empty())
        check_library(radimo_region_counts(f, res, &g, RADIMO_SAMPLE_PIXEL, 0, h, counts.data()),
                      "radimo_region_counts");
    double *p[3] = {&out.p5, &out.median, &out.p95};
    for (int i = 0; i < (details ? 3 : 0); ++i) {
        check_library(radimo_counts_percentile(counts.data(), percents[i], p[i]), "radimo_counts_percentile");
        *p[i] = *p[i] / 16.0 - 273.15;
    }
    if (bins > 0) {
        const double lo = out.pixels.min, hi = out.pixels.max > out.pixels.min ? out.pixels.max : lo + 1;
        std::vector<double> edges(static_cast<std::size_t>(bins) + 1);
        for (int i = 0; i <= bins; ++i) edges[static_cast<std::size_t>(i)] = lo + (hi - lo) * i / bins;
        out.histogram.resize(static_cast<std::size_t>(bins));
        check_library(radimo_counts_histogram(counts.data(), edges.data(), static_cast<uint32_t>(bins),
                                              out.histogram.data()),
                      "radimo_counts_histogram");
        for (double e : edges) out.histogram_edges.push_back(e / 16.0 - 273.15);
    }
    if (r.has_scene()) {
        if (scene == nullptr || correct_table == nullptr || correct_table->empty())
            fail_usage(r.label + ": a region with a scene of its own needs --camera with a correction table");
        env_correct_param_t s = *scene;
        float *fields[5] = {&s.dist, &s.ems, &s.hum, &s.ta, &s.tu};
        for (int i = 0; i < 5; ++i)
            if (!std::isnan(r.scene[static_cast<std::size_t>(i)]))
                *fields[i] = r.scene[static_cast<std::size_t>(i)];
        radimo_region_object_stats_t o{};
        check_library(
            radimo_region_object_stats(&s, correct_table->data(), f, res, &g, RADIMO_SAMPLE_PIXEL, percents,
                                       details ? 3 : 0, out.object_percentiles.data(), &o),
            "radimo_region_object_stats");
        out.object = o;
    }
    return out;
}

}  // namespace radimo::cli
