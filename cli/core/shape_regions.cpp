#include "core/shape_regions.h"

#include <algorithm>
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
            r.mask[i] = is_float_unit(f.unit) ? f.floats[i] != 0 : f.samples[i] != 0;
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

void check_own_scenes(const std::vector<ShapeRegion> &regions, bool scene_corrected) {
    for (const ShapeRegion &r : regions)
        if (scene_corrected && r.has_scene())
            fail_usage(r.label +
                       ": a region with a scene of its own corrects apparent temperatures; leave out "
                       "--scene-correct");
}

double ShapeResult::max_celsius() const {
    return object ? static_cast<double>(object->max) : scale.celsius(stats.pixels.hottest.value);
}
double ShapeResult::mean_celsius() const {
    return object ? object->mean : scale.celsius(stats.pixels.mean);
}
double ShapeResult::min_celsius() const {
    return object ? static_cast<double>(object->min) : scale.celsius(stats.pixels.coldest.value);
}
double ShapeResult::stddev_kelvin() const {
    return object ? object->stddev : stats.pixels.stddev / scale.per_kelvin;
}
double ShapeResult::median_celsius() const {
    return object ? object_percentiles[1] : scale.celsius(percentiles[1]);
}

namespace {

// The region's object temperatures under its own scene: the library's correction takes 1/16 K.
radimo_region_object_stats_t object_statistics(const MeasuredFrame &f, const ShapeRegion &r,
                                               const radimo_region_t &g, const CameraProfile *camera,
                                               int percent_count, double *percentiles) {
    if (camera == nullptr || camera->correct_table.empty())
        fail_usage(r.label + ": a region with a scene of its own needs --camera with a correction table");
    env_correct_param_t scene = camera->scene;
    float *fields[5] = {&scene.dist, &scene.ems, &scene.hum, &scene.ta, &scene.tu};
    for (std::size_t i = 0; i < 5; ++i)
        if (!std::isnan(r.scene[i])) *fields[i] = r.scene[i];
    std::vector<uint16_t> converted;
    const uint16_t *kelvin16 = f.values.data();
    if (f.unit != Unit::kKelvin16 || f.scale.offset != 0) {
        converted.resize(f.values.size());
        for (std::size_t i = 0; i < f.values.size(); ++i)
            converted[i] =
                static_cast<uint16_t>(std::clamp(std::round(f.scale.kelvin(f.values[i]) * 16), 0.0, 65535.0));
        kelvin16 = converted.data();
    }
    static const double percents[3] = {5, 50, 95};
    radimo_region_object_stats_t o{};
    check_library(radimo_region_object_stats(&scene, camera->correct_table.data(), kelvin16, f.resolution(),
                                             &g, RADIMO_SAMPLE_PIXEL, percents,
                                             static_cast<uint32_t>(percent_count), percentiles, &o),
                  "radimo_region_object_stats");
    return o;
}

}  // namespace

ShapeResult measure_shape(const MeasuredFrame &f, ShapeRegion &r, const CameraProfile *camera, int bins,
                          bool details) {
    ShapeResult out;
    out.label = r.label;
    out.scale = f.scale;
    if (r.region.shape == RADIMO_REGION_MASK && (r.mask_width != f.width || r.mask_height != f.height))
        fail_usage(r.label + ": the mask is " + std::to_string(r.mask_width) + "x" +
                   std::to_string(r.mask_height) + ", the frame " + std::to_string(f.width) + "x" +
                   std::to_string(f.height));
    const radimo_region_t &g = r.record();
    try {
        out.stats.pixels = pixel_statistics(f, g);
    } catch (const Error &e) {
        fail_usage(r.label + " (" + r.shape_name() + " " + r.describe() + "): " + e.what());
    }
    if (details) out.stats.trimmed = trimmed_statistics(f, g);
    std::vector<uint32_t> counts(details || bins > 0 ? 65536 : 0, 0);
    if (!counts.empty())
        check_library(radimo_region_counts(f.values.data(), f.resolution(), &g, RADIMO_SAMPLE_PIXEL, 0,
                                           static_cast<uint32_t>(f.height), counts.data()),
                      "radimo_region_counts");
    const double percents[3] = {5, 50, 95};
    for (std::size_t i = 0; i < (details ? 3u : 0u); ++i)
        check_library(radimo_counts_percentile(counts.data(), percents[i], &out.percentiles[i]),
                      "radimo_counts_percentile");
    if (bins > 0) {
        const double lo = out.stats.pixels.coldest.value;
        const double hi = out.stats.pixels.hottest.value > lo ? out.stats.pixels.hottest.value : lo + 1;
        out.histogram_edges.resize(static_cast<std::size_t>(bins) + 1);
        for (int i = 0; i <= bins; ++i)
            out.histogram_edges[static_cast<std::size_t>(i)] = lo + (hi - lo) * i / bins;
        out.histogram.resize(static_cast<std::size_t>(bins));
        check_library(radimo_counts_histogram(counts.data(), out.histogram_edges.data(),
                                              static_cast<uint32_t>(bins), out.histogram.data()),
                      "radimo_counts_histogram");
    }
    if (r.has_scene())
        out.object = object_statistics(f, r, g, camera, details ? 3 : 0, out.object_percentiles.data());
    return out;
}

nlohmann::ordered_json shape_json(const MeasuredFrame &f, const ShapeRegion &g, const ShapeResult &m) {
    nlohmann::ordered_json j = {{"label", m.label}, {"kind", g.shape_name()}};
    const radimo_region_t &r = g.region;
    switch (r.shape) {
        case RADIMO_REGION_RECT:
            j["x"] = r.origin.x, j["y"] = r.origin.y, j["w"] = r.size.w, j["h"] = r.size.h;
            break;
        case RADIMO_REGION_ELLIPSE:
            j["cx"] = r.cx, j["cy"] = r.cy, j["rx"] = r.rx, j["ry"] = r.ry;
            break;
        case RADIMO_REGION_POLYGON:
            j["points"] = nlohmann::ordered_json::array();
            for (std::size_t i = 0; i + 1 < g.vertices.size(); i += 2)
                j["points"].push_back({g.vertices[i], g.vertices[i + 1]});
            break;
        default:
            j["w"] = g.mask_width, j["h"] = g.mask_height;
    }
    j["unit"] = unit_name(f.unit);
    j["unit_source"] = unit_source_key(f.unit_source);
    j["trimmed"] = trimmed_json(f, m.stats.trimmed, "3x3 trimmed means");
    nlohmann::ordered_json pixels = pixels_json(f, m.stats.pixels);
    pixels["p5"] = reading_json(f, m.percentiles[0], nullptr);
    pixels["median"] = reading_json(f, m.percentiles[1], nullptr);
    pixels["p95"] = reading_json(f, m.percentiles[2], nullptr);
    j["pixels"] = pixels;
    if (!m.histogram.empty()) {
        std::vector<double> edges;
        for (double e : m.histogram_edges) edges.push_back(std::round(f.scale.celsius(e) * 1e4) / 1e4);
        j["histogram"] = {{"edges_celsius", edges}, {"pixels", m.histogram}};
    }
    if (m.object) {
        const radimo_region_object_stats_t &o = *m.object;
        const auto at = [](double c, point_t q) {
            return nlohmann::ordered_json{{"celsius", std::round(c * 1e4) / 1e4}, {"x", q.x}, {"y", q.y}};
        };
        j["object"] = {{"scene", "its own"},
                       {"hottest", at(o.max, o.max_point)},
                       {"coldest", at(o.min, o.min_point)},
                       {"mean_celsius", o.mean},
                       {"stddev_k", o.stddev},
                       {"p5_celsius", m.object_percentiles[0]},
                       {"median_celsius", m.object_percentiles[1]},
                       {"p95_celsius", m.object_percentiles[2]}};
    }
    return j;
}

nlohmann::ordered_json delta_t_json(const std::vector<ShapeResult> &results) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (std::size_t k = 1; k < results.size(); ++k)
        list.push_back({{"from", results[0].label},
                        {"to", results[k].label},
                        {"mean_k", results[k].mean_celsius() - results[0].mean_celsius()}});
    return list;
}

std::string shape_text(const MeasuredFrame &f, const ShapeResult &m, int indent) {
    const std::string pad(static_cast<std::size_t>(indent), ' ');
    std::string text = trimmed_text(f, m.stats.trimmed, "3x3 trimmed") + "\n" + pad +
                       pixels_text(f, m.stats.pixels) + "  P5 " + celsius_text(f, m.percentiles[0]) +
                       "  median " + celsius_text(f, m.percentiles[1]) + "  P95 " +
                       celsius_text(f, m.percentiles[2]);
    if (m.object) {
        const radimo_region_object_stats_t &o = *m.object;
        char line[256];
        std::snprintf(
            line, sizeof line,
            "object (its own scene): hottest %.2f \u00b0C at (%d,%d)  coldest %.2f \u00b0C at (%d,%d)"
            "  mean %.2f \u00b0C  sd %.2f K  median %.2f \u00b0C",
            static_cast<double>(o.max), o.max_point.x, o.max_point.y, static_cast<double>(o.min),
            o.min_point.x, o.min_point.y, o.mean, o.stddev, m.object_percentiles[1]);
        text += "\n" + pad + line;
    }
    for (std::size_t i = 0; i < m.histogram.size(); ++i) {
        char line[128];
        const int digits = celsius_decimals(f);
        std::snprintf(line, sizeof line, "%10.*f .. %10.*f \u00b0C  %llu px", digits,
                      f.scale.celsius(m.histogram_edges[i]), digits,
                      f.scale.celsius(m.histogram_edges[i + 1]),
                      static_cast<unsigned long long>(m.histogram[i]));
        text += "\n" + pad + line;
    }
    return text;
}

}  // namespace radimo::cli
