#include "core/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/arguments.h"
#include "core/errors.h"

namespace radimo::cli {
namespace {

// The library's neighbourhoods read each half of the resolution as a signed 16-bit number.
constexpr int kMaxMeasuredSide = 32767;

// Accumulates the pixel statistics in scan order.
class PixelScan {
public:
    void add(const MeasuredFrame &f, int x, int y) {
        const uint16_t v = f.values[static_cast<std::size_t>(y) * static_cast<std::size_t>(f.width) +
                                    static_cast<std::size_t>(x)];
        const point_t p{x, y};
        if (count_ == 0 || v >= hottest_.value) hottest_ = {v, p};
        if (count_ == 0 || v <= coldest_.value) coldest_ = {v, p};
        ++count_;
        sum_ += v;
        values_.push_back(v);
    }
    PixelStatistics result() const {
        PixelStatistics s{hottest_, coldest_, count_, 0, 0};
        if (count_ == 0) return s;
        s.mean = static_cast<double>(sum_) / static_cast<double>(count_);
        double squares = 0;  // a second pass about the mean keeps the spread exact enough
        for (uint16_t v : values_) squares += (v - s.mean) * (v - s.mean);
        s.stddev = std::sqrt(squares / static_cast<double>(count_));
        return s;
    }

private:
    Reading hottest_, coldest_;
    uint64_t count_ = 0;
    uint64_t sum_ = 0;
    std::vector<uint16_t> values_;
};

TrimmedStatistics trimmed_of(const temp_result_t &t) {
    return {{t.max_temp, t.max_temp_point}, {t.min_temp, t.min_temp_point}, t.avg_temp};
}

// The points of a line in the order the library measures them.
std::vector<point_t> line_points(point_t a, point_t b) {
    std::vector<point_t> points;
    if (a.y == b.y) {
        for (int x = std::min(a.x, b.x); x <= std::max(a.x, b.x); ++x) points.push_back({x, a.y});
    } else if (a.x == b.x) {
        for (int y = std::min(a.y, b.y); y <= std::max(a.y, b.y); ++y) points.push_back({a.x, y});
    } else {
        const point_t begin = a.x < b.x ? a : b;
        const int n = static_cast<uint16_t>(get_point_num(a, b));
        points.resize(static_cast<std::size_t>(n));
        check_library(get_point_set(static_cast<uint32_t>(begin.x), static_cast<uint32_t>(begin.y), n,
                                    points.data(), get_slope(a, b)),
                      "get_point_set");
    }
    return points;
}

nlohmann::ordered_json rounded(double v, int decimals) {
    const double scale = std::pow(10.0, decimals);
    const double r = std::round(v * scale) / scale;
    return r == 0 ? 0.0 : r;  // never -0
}

}  // namespace

double MeasuredFrame::in_unit(double value) const {
    switch (unit) {
        case Unit::kCelsius:
            return scale.celsius(value);
        case Unit::kKelvin:
        case Unit::kKelvinDifference:
            return scale.kelvin(value);
        default:
            return value;
    }
}

ValueScale float_grid(double lo, double hi) {
    if (!(lo <= hi)) lo = hi = 0;
    for (double magnitude = 0.001;; magnitude *= 10) {
        for (double m : {1.0, 2.0, 5.0}) {
            const double step = m * magnitude;
            // Whole counts per kelvin where the step divides a kelvin, so the common grids are exact.
            const double per_kelvin = step < 1 ? std::round(1 / step) : 1 / step;
            const double offset = std::floor(lo * per_kelvin);
            if (std::ceil(hi * per_kelvin) - offset <= 65535 || !std::isfinite(step * 1e3))
                return {per_kelvin, offset};
        }
    }
}

MeasuredFrame measured_frame(const Frame &f) {
    if (f.unit == Unit::kNuc) fail_usage("raw NUC frames are measured through a camera (--camera DIR)");
    MeasuredFrame m;
    m.width = f.width;
    m.height = f.height;
    m.unit = f.unit;
    m.unit_source = f.unit_source;
    if (!is_float_unit(f.unit)) {
        m.values = f.samples;
        m.scale = scale_of(f.unit);
        return m;
    }
    double lo = INFINITY, hi = -INFINITY;
    for (float v : f.floats) {
        if (!std::isfinite(v)) continue;
        const double k = kelvin_of(f.unit, v);
        lo = std::min(lo, k);
        hi = std::max(hi, k);
    }
    m.scale = float_grid(lo, hi);
    m.scale.difference = is_difference(f.unit);
    m.values.resize(f.floats.size());
    for (std::size_t i = 0; i < f.floats.size(); ++i) {
        const double v = f.floats[i];
        if (!std::isfinite(v)) {
            ++m.non_finite;
            continue;  // 0: the coldest value of the frame
        }
        const double count = kelvin_of(f.unit, v) * m.scale.per_kelvin - m.scale.offset;
        m.values[i] = static_cast<uint16_t>(std::clamp(std::round(count), 0.0, 65535.0));
    }
    return m;
}

bool coarse_grid(const MeasuredFrame &frame) {
    return is_float_unit(frame.unit) && frame.scale.per_kelvin < 100;
}

namespace {

void check_measurable(const MeasuredFrame &f) {
    if (f.width > kMaxMeasuredSide || f.height > kMaxMeasuredSide)
        fail_usage("a " + std::to_string(f.width) + "x" + std::to_string(f.height) +
                   " frame cannot be measured: the measurement rule takes frames of at most " +
                   std::to_string(kMaxMeasuredSide) + " pixels a side");
}

radimo_region_stats_t library_region_stats(const MeasuredFrame &f, const radimo_region_t &region,
                                           uint32_t sampling) {
    check_measurable(f);
    radimo_region_stats_t s{};
    check_library(radimo_region_stats(f.values.data(), f.resolution(), &region, sampling, 0,
                                      static_cast<uint32_t>(f.height), &s),
                  "radimo_region_stats");
    return s;
}

}  // namespace

PixelStatistics pixel_statistics(const MeasuredFrame &f, const radimo_region_t &region) {
    const radimo_region_stats_t s = library_region_stats(f, region, RADIMO_SAMPLE_PIXEL);
    return {{s.max, s.max_point}, {s.min, s.min_point}, s.count, s.mean, s.stddev};
}

TrimmedStatistics trimmed_statistics(const MeasuredFrame &f, const radimo_region_t &region) {
    const radimo_region_stats_t s = library_region_stats(f, region, RADIMO_SAMPLE_MEAN3);
    const uint64_t avg = s.count == 0 ? 0 : (s.sum + s.count / 2) / s.count;
    return {{s.max, s.max_point}, {s.min, s.min_point}, static_cast<uint16_t>(avg)};
}

RegionStatistics region_statistics(const MeasuredFrame &f, const Region &r) {
    check_measurable(f);
    const uint16_t *data = f.values.data();
    const uint32_t resolution = f.resolution();
    RegionStatistics s;
    PixelScan pixels;
    switch (r.kind) {
        case Region::Kind::kPoint: {
            uint16_t value = 0;
            check_library(get_point_temp(data, resolution, r.a, &value), "get_point_temp");
            s.trimmed = {{value, r.a}, {value, r.a}, value};
            pixels.add(f, r.a.x, r.a.y);
            break;
        }
        case Region::Kind::kLine: {
            temp_result_t t{};
            check_library(get_line_temp(data, resolution, r.a, r.b, &t), "get_line_temp");
            s.trimmed = trimmed_of(t);
            for (const point_t p : line_points(r.a, r.b)) pixels.add(f, p.x, p.y);
            break;
        }
        case Region::Kind::kRect: {
            radimo_frame_stats_t t{};
            check_library(radimo_frame_stats(data, resolution, r.a, {r.b.x, r.b.y}, &t),
                          "radimo_frame_stats");
            s.trimmed = {{t.max, t.max_point}, {t.min, t.min_point}, t.avg};
            radimo_region_t rect{};
            rect.shape = RADIMO_REGION_RECT;
            rect.origin = r.a;
            rect.size = {r.b.x, r.b.y};
            s.pixels = pixel_statistics(f, rect);
            return s;
        }
    }
    s.pixels = pixels.result();
    return s;
}

AlarmThresholds parse_alarm(const std::string &text) {
    const std::vector<double> v = parse_temperatures("--alarm", text, 2);
    if (v[0] < v[1]) fail_usage("--alarm " + text + ": HIGH must not be below LOW");
    return {v[0], v[1]};
}

AlarmState alarm_state(const MeasuredFrame &frame, const Region &region, const TrimmedStatistics &t,
                       const AlarmThresholds &thresholds) {
    // The thresholds as values of the frame; outside 16 bits they still compare right.
    const auto value_of = [&](double celsius) {
        const double v = std::round(frame.scale.value_of_celsius(celsius));
        return static_cast<int32_t>(std::clamp(v, -2147483648.0, 2147483647.0));
    };
    const threshold_t th{value_of(thresholds.high), value_of(thresholds.low)};
    if (region.kind == Region::Kind::kPoint) {
        const int state = point_over_threshold_alarm(th, t.avg);
        return {state == 1, state == 2};
    }
    temp_result_t record{t.max.value, t.min.value, t.avg, t.max.at, t.min.at};
    const int state = line_rect_over_threshold_alarm(th, &record);
    // The library reports "above" first; "below" is looked at too, by the same rule.
    const bool below = std::min<int32_t>(t.min.value, t.avg) < th.low;
    return {state == 1, state == 2 || (state == 1 && below)};
}

const char *alarm_name(AlarmState state) {
    if (state.above && state.below) return "above and below";
    if (state.above) return "above";
    if (state.below) return "below";
    return "ok";
}

RegionResult measure_region(const MeasuredFrame &frame, const Region &region,
                            const std::optional<AlarmThresholds> &alarm) {
    RegionResult r{region, region_statistics(frame, region), std::nullopt};
    if (alarm) r.alarm = alarm_state(frame, region, r.stats.trimmed, *alarm);
    return r;
}

namespace {

int decimals_of(const ValueScale &scale) {
    return scale.per_kelvin > 100 ? 3 : 2;
}

}  // namespace

int celsius_decimals(const MeasuredFrame &frame) {
    return decimals_of(frame.scale);
}

std::string reading_text(const ValueScale &scale, double c) {
    char text[48];
    const int decimals = decimals_of(scale);
    if (std::round(c * std::pow(10.0, decimals)) == 0) c = 0;  // never "-0.00"
    // A difference carries its sign: "+1.25 K".
    std::snprintf(text, sizeof text, scale.difference ? "%+.*f %s" : "%.*f %s", decimals, c, scale.symbol());
    return text;
}

std::string celsius_text(const MeasuredFrame &frame, double value) {
    return reading_text(frame.scale, frame.scale.celsius(value));
}

namespace {

std::string at_text(point_t p) {
    return "(" + std::to_string(p.x) + "," + std::to_string(p.y) + ")";
}

}  // namespace

std::string trimmed_text(const MeasuredFrame &f, const TrimmedStatistics &t, const char *rule) {
    return std::string(rule) + ": max " + celsius_text(f, t.max.value) + " at " + at_text(t.max.at) +
           "  min " + celsius_text(f, t.min.value) + " at " + at_text(t.min.at) + "  avg " +
           celsius_text(f, t.avg);
}

std::string pixels_text(const MeasuredFrame &f, const PixelStatistics &p) {
    char spread[32];
    std::snprintf(spread, sizeof spread, "%.*f K", celsius_decimals(f), p.stddev / f.scale.per_kelvin);
    return "pixels (" + std::to_string(p.count) + "): hottest " + celsius_text(f, p.hottest.value) + " at " +
           at_text(p.hottest.at) + "  coldest " + celsius_text(f, p.coldest.value) + " at " +
           at_text(p.coldest.at) + "  mean " + celsius_text(f, p.mean) + "  sd " + spread;
}

std::string region_text(const MeasuredFrame &f, const RegionResult &m, int indent) {
    const Region &r = m.region;
    const RegionStatistics &s = m.stats;
    std::string text;
    if (r.kind == Region::Kind::kPoint) {
        text = "3x3 trimmed mean " + celsius_text(f, s.trimmed.avg) + "   pixel " +
               celsius_text(f, s.pixels.hottest.value);
    } else {
        text =
            trimmed_text(f, s.trimmed, r.kind == Region::Kind::kLine ? "5-sample trimmed" : "3x3 trimmed") +
            "\n" + std::string(static_cast<std::size_t>(indent), ' ') + pixels_text(f, s.pixels);
    }
    if (m.alarm) text += std::string("  alarm ") + alarm_name(*m.alarm);
    return text;
}

nlohmann::ordered_json reading_json(const MeasuredFrame &f, double value, const point_t *at) {
    // A value in the frame's unit (counts are whole; grid values and means are not) and in degC (a
    // difference: in K, as "delta_k").
    const bool whole = !is_float_unit(f.unit) && value == std::floor(value);
    nlohmann::ordered_json j = {{"value", whole ? nlohmann::ordered_json(static_cast<uint64_t>(value))
                                                : rounded(f.in_unit(value), 6)},
                                {f.scale.difference ? "delta_k" : "celsius",
                                 rounded(f.scale.celsius(value), celsius_decimals(f) + 2)}};
    if (at != nullptr) {
        j["x"] = at->x;
        j["y"] = at->y;
    }
    return j;
}

nlohmann::ordered_json trimmed_json(const MeasuredFrame &f, const TrimmedStatistics &t, const char *rule) {
    return {{"rule", rule},
            {"max", reading_json(f, t.max.value, &t.max.at)},
            {"min", reading_json(f, t.min.value, &t.min.at)},
            {"avg", reading_json(f, t.avg, nullptr)}};
}

nlohmann::ordered_json pixels_json(const MeasuredFrame &f, const PixelStatistics &p) {
    return {{"count", p.count},
            {"hottest", reading_json(f, p.hottest.value, &p.hottest.at)},
            {"coldest", reading_json(f, p.coldest.value, &p.coldest.at)},
            {"mean", reading_json(f, p.mean, nullptr)},
            {"stddev_k", rounded(p.stddev / f.scale.per_kelvin, celsius_decimals(f) + 2)}};
}

nlohmann::ordered_json region_json(const MeasuredFrame &f, const RegionResult &m) {
    const Region &r = m.region;
    const RegionStatistics &s = m.stats;
    nlohmann::ordered_json j = {{"label", r.label}, {"kind", kind_name(r.kind)}};
    switch (r.kind) {
        case Region::Kind::kPoint:
            j["x"] = r.a.x, j["y"] = r.a.y;
            break;
        case Region::Kind::kLine:
            j["from"] = {r.a.x, r.a.y}, j["to"] = {r.b.x, r.b.y};
            break;
        case Region::Kind::kRect:
            j["x"] = r.a.x, j["y"] = r.a.y, j["w"] = r.b.x, j["h"] = r.b.y;
            break;
    }
    j["unit"] = unit_name(f.unit);
    j["unit_source"] = unit_source_key(f.unit_source);
    if (r.kind == Region::Kind::kPoint) {
        j["trimmed"] = {{"rule", "3x3 trimmed mean"}, {"value", reading_json(f, s.trimmed.avg, nullptr)}};
    } else {
        j["trimmed"] = trimmed_json(
            f, s.trimmed,
            r.kind == Region::Kind::kLine ? "5-sample trimmed means along the line" : "3x3 trimmed means");
    }
    j["pixels"] = pixels_json(f, s.pixels);
    if (m.alarm) j["alarm"] = alarm_name(*m.alarm);
    return j;
}

}  // namespace radimo::cli
