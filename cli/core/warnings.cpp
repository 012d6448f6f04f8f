#include "core/warnings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace radimo::cli {
namespace {

// Temperatures of an everyday scene, in degC: a unit that nothing declared
// is doubted when another one reads the frame inside this band and it does not.
constexpr double kEverydayColdest = -50.0;
constexpr double kEverydayHottest = 150.0;
// The share of pixels set aside at each end before judging a frame's range,
// so a few dead or hot pixels do not raise a doubt.
constexpr double kOutlierShare = 0.001;
constexpr uint16_t kNucMax = 16383;

struct Shape {
    int width, height;
};
// Frame shapes of common thermal cores and cameras.
constexpr Shape kCommonShapes[] = {{80, 60},   {160, 120},  {206, 156},  {256, 192},  {320, 240},
                                   {320, 256}, {382, 288},  {384, 288},  {464, 348},  {640, 480},
                                   {640, 512}, {1024, 768}, {1280, 960}, {1280, 1024}};

std::string format(const char *f, double a, double b) {
    char text[96];
    std::snprintf(text, sizeof text, f, a, b);
    return text;
}

std::string span_text(double lo, double hi) {
    return format("%.1f .. %.1f \u00b0C", lo, hi);
}

// The values at the low and high outlier share of a frame, and its extremes.
struct Range {
    double lo = 0, hi = 0;    // percentiles
    double min = 0, max = 0;  // extremes
    bool integral = true;     // every value whole (floats)
    std::size_t count = 0;    // values looked at (finite ones)
};

typedef uint16_t U16x16 __attribute__((vector_size(32)));

// The smallest and the largest sample, 16 at a time.
std::pair<uint16_t, uint16_t> extremes(const std::vector<uint16_t> &samples) {
    U16x16 lo = U16x16{} + 0xFFFF, hi = U16x16{};
    std::size_t i = 0;
    for (; i + 16 <= samples.size(); i += 16) {
        U16x16 x;
        std::memcpy(&x, samples.data() + i, sizeof x);
        lo = x < lo ? x : lo;
        hi = x > hi ? x : hi;
    }
    uint16_t min = 0xFFFF, max = 0;
    for (unsigned k = 0; k < 16; ++k) min = std::min(min, lo[k]), max = std::max(max, hi[k]);
    for (; i < samples.size(); ++i) min = std::min(min, samples[i]), max = std::max(max, samples[i]);
    return {min, max};
}

Range range_of_samples(const std::vector<uint16_t> &samples) {
    Range r;
    r.count = samples.size();
    if (samples.empty()) return r;
    // Counted between the extremes only: a frame's values span a few hundred of the 65536.
    const auto [min, max] = extremes(samples);
    std::vector<uint32_t> histogram(std::size_t{max} - min + 1, 0);
    for (uint16_t v : samples) ++histogram[v - min];
    r.min = min;
    r.max = max;
    const std::size_t trim = static_cast<std::size_t>(static_cast<double>(r.count) * kOutlierShare);
    std::size_t seen = 0;
    bool have_lo = false;
    for (std::size_t k = 0; k < histogram.size(); ++k) {
        if (histogram[k] == 0) continue;
        const double v = static_cast<double>(min + k);
        const std::size_t before = seen;
        seen += histogram[k];
        if (!have_lo && seen > trim) r.lo = v, have_lo = true;
        if (before < r.count - trim && seen >= r.count - trim) r.hi = v;
    }
    return r;
}

Range range_of_floats(const std::vector<float> &values) {
    std::vector<float> finite;
    finite.reserve(values.size());
    Range r;
    for (float v : values) {
        if (!std::isfinite(v)) continue;
        finite.push_back(v);
        r.integral = r.integral && v == std::floor(v);
    }
    r.count = finite.size();
    if (finite.empty()) return r;
    const std::size_t trim = static_cast<std::size_t>(static_cast<double>(r.count) * kOutlierShare);
    const auto [lo, hi] = std::minmax_element(finite.begin(), finite.end());
    r.min = *lo;
    r.max = *hi;
    std::nth_element(finite.begin(), finite.begin() + static_cast<std::ptrdiff_t>(trim), finite.end());
    r.lo = finite[trim];
    std::nth_element(finite.begin(), finite.end() - 1 - static_cast<std::ptrdiff_t>(trim), finite.end());
    r.hi = finite[r.count - 1 - trim];
    return r;
}

bool everyday(double lo_c, double hi_c) {
    return lo_c >= kEverydayColdest && hi_c <= kEverydayHottest;
}

void check_plausible(const Frame &f, const std::string &name, const std::string &where) {
    const bool floats = is_float_unit(f.unit);
    const Range r = floats ? range_of_floats(f.floats) : range_of_samples(f.samples);
    if (r.count == 0) return;
    const std::string read_as = "read as " + describe_unit(f.unit, f.unit_source);
    // Data of an 8-bit display (automatic gain control) put in a wider file.
    const bool eight_bit = r.min >= 0 && r.max <= 255 && r.integral && (!floats || r.max - r.min >= 200);
    if (eight_bit) {
        warnings().add(name + ":8bit",
                       name + where +
                           ": every value lies within 0..255: 8-bit display data (automatic gain "
                           "control), not " +
                           (is_temperature(f.unit)  ? "temperatures"
                            : is_difference(f.unit) ? "temperature differences"
                                                    : "raw sensor values") +
                           "? Such data holds no temperature");
        return;
    }
    if (!is_temperature(f.unit)) return;
    const double lo = celsius_of(f.unit, r.lo), hi = celsius_of(f.unit, r.hi);
    const bool absurd = lo < kColdestPlausible || hi > kHottestPlausible;
    const bool doubtful = f.unit_source == UnitSource::kAssumed && !everyday(lo, hi);
    if (!absurd && !doubtful) return;
    // The units of the same sample type that read the frame as an everyday scene.
    std::string others;
    for (Unit u : kUnits) {
        if (u == f.unit || !is_temperature(u) || is_float_unit(u) != floats) continue;
        const double ulo = celsius_of(u, r.lo), uhi = celsius_of(u, r.hi);
        if (everyday(ulo, uhi))
            others += std::string(others.empty() ? "" : "; ") + "as " + unit_name(u) + " they read " +
                      span_text(ulo, uhi);
    }
    if (!absurd && others.empty()) return;  // an unusual scene, but no unit reads it better
    std::string message = name + where + ": " + read_as + " the values span " + span_text(lo, hi);
    message += absurd ? ", implausible for a scene" : "";
    if (!others.empty())
        message += "; " + others + " (give the unit with --unit)";
    else
        message += "; give the right unit with --unit (" + unit_names("|") + ")";
    warnings().add(name + ":plausible", message);
}

// Mean absolute difference of neighbouring pixels (right and below), of the samples as read and
// with the two bytes of each swapped, in one pass over the frame. The differences are whole
// numbers summed exactly: 16 at a time in vector lanes (a lane takes at most 8192 between flushes,
// each at most 65535: below 2^32), the rest one at a time.
struct Roughness {
    double as_read = 0, swapped = 0;
};

typedef uint32_t U32x16 __attribute__((vector_size(64)));

struct RoughnessSums {
    U32x16 read{}, swapped{};
    uint64_t read_rest = 0, swapped_rest = 0;

    // |a[i] - b[i]| for i < n, as read and byte-swapped.
    void add(const uint16_t *a, const uint16_t *b, std::size_t n) {
        std::size_t i = 0;
        for (; i + 16 <= n; i += 16) {
            U16x16 x, y;
            std::memcpy(&x, a + i, sizeof x);
            std::memcpy(&y, b + i, sizeof y);
            read += __builtin_convertvector((x > y ? x : y) - (x < y ? x : y), U32x16);
            x = (x >> 8) | (x << 8);
            y = (y >> 8) | (y << 8);
            swapped += __builtin_convertvector((x > y ? x : y) - (x < y ? x : y), U32x16);
        }
        for (; i < n; ++i) {
            const uint32_t x = a[i], y = b[i];
            const uint32_t sx = ((x >> 8) | (x << 8)) & 0xFFFFu, sy = ((y >> 8) | (y << 8)) & 0xFFFFu;
            read_rest += x > y ? x - y : y - x;
            swapped_rest += sx > sy ? sx - sy : sy - sx;
        }
    }
    // Empties the lanes into the 64-bit sums (before a lane could overflow).
    void flush() {
        for (unsigned k = 0; k < 16; ++k) read_rest += read[k], swapped_rest += swapped[k];
        read = U32x16{};
        swapped = U32x16{};
    }
};

Roughness roughness(const std::vector<uint16_t> &v, int width, int height) {
    const std::size_t w = static_cast<std::size_t>(width), h = static_cast<std::size_t>(height);
    RoughnessSums sums;
    for (std::size_t y = 0; y < h; ++y) {
        const uint16_t *row = v.data() + y * w;
        if (w > 1) sums.add(row + 1, row, w - 1);
        if (y + 1 < h) sums.add(row + w, row, w);
        sums.flush();
    }
    const std::size_t pairs = h * (w > 0 ? w - 1 : 0) + (h > 0 ? h - 1 : 0) * w;
    if (pairs == 0) return {};
    return {static_cast<double>(sums.read_rest) / static_cast<double>(pairs),
            static_cast<double>(sums.swapped_rest) / static_cast<double>(pairs)};
}

// Warns and returns true when the samples look byte-swapped.
bool check_byte_order(const Frame &f, const std::string &name, const std::string &where, ByteOrder order) {
    if (f.samples.empty()) return false;
    const auto [as_read, swapped] = roughness(f.samples, f.width, f.height);
    // Right order: neighbours differ by the scene and its noise. Swapped, the
    // noisy low byte lands in the high byte and every step is some 256 times larger.
    if (as_read >= 64 && swapped * 8 < as_read) {
        const ByteOrder other = order == ByteOrder::kLittle ? ByteOrder::kBig : ByteOrder::kLittle;
        char ratio[32];
        std::snprintf(ratio, sizeof ratio, "%.0f", as_read / std::max(swapped, 1.0));
        warnings().add(name + ":swapped", name + where + ": the samples look byte-swapped (read " +
                                              byte_order_name(order) +
                                              "-endian, neighbouring pixels differ " + ratio +
                                              " times more than read the other way round); read them "
                                              "with --byte-order " +
                                              byte_order_name(other));
        return true;
    }
    return false;
}

double row_roughness(const std::vector<uint16_t> &v, std::size_t width) {
    if (v.size() < 2 * width) return std::numeric_limits<double>::infinity();
    double sum = 0;
    for (std::size_t i = 0; i + width < v.size(); ++i) sum += std::abs(static_cast<int>(v[i + width]) - v[i]);
    return sum / static_cast<double>(v.size() - width);
}

}  // namespace

void Warnings::add(const std::string &key, const std::string &message) {
    std::lock_guard lock(mutex_);
    for (Entry &e : entries_)
        if (e.key == key) {
            ++e.count;
            return;
        }
    entries_.push_back({key, message, 1});
}

bool Warnings::empty() const {
    std::lock_guard lock(mutex_);
    return entries_.empty();
}

void Warnings::clear() {
    std::lock_guard lock(mutex_);
    entries_.clear();
}

std::vector<std::string> Warnings::lines() const {
    std::lock_guard lock(mutex_);
    std::vector<std::string> out;
    for (const Entry &e : entries_) out.push_back(e.line());
    return out;
}

void Warnings::print(std::FILE *out) {
    std::vector<Entry> printed;
    {
        std::lock_guard lock(mutex_);
        printed.swap(entries_);
    }
    for (const Entry &e : printed) std::fprintf(out, "radimo: warning: %s\n", e.line().c_str());
}

Warnings &warnings() {
    static Warnings list;
    return list;
}

const char *byte_order_name(ByteOrder order) {
    return order == ByteOrder::kLittle ? "little" : "big";
}

void check_frame(const Frame &frame, const std::string &name, std::size_t index, ByteOrder order) {
    const std::string where = index > 0 ? " frame " + std::to_string(index) : "";
    // Values read in the wrong byte order are implausible anyway: the order is the doubt to tell.
    if (!check_byte_order(frame, name, where, order)) check_plausible(frame, name, where);
}

std::size_t check_nuc_range(const Frame &raw, const std::string &name, std::size_t index) {
    const std::size_t beyond = static_cast<std::size_t>(
        std::count_if(raw.samples.begin(), raw.samples.end(), [](uint16_t v) { return v > kNucMax; }));
    if (beyond == 0) return 0;
    const std::string where = index > 0 ? " frame " + std::to_string(index) : "";
    std::string message =
        name + where + ": " + std::to_string(beyond) + " of " + std::to_string(raw.pixels()) +
        " raw values exceed the 14-bit NUC range (0..16383) and saturate to one temperature";
    if (2 * beyond > raw.pixels())
        message += "; is the frame a temperature frame already? give its unit with --unit";
    warnings().add(name + ":nuc", message);
    return beyond;
}

void check_raw_shape(const std::string &name, uintmax_t bytes, FrameSize size,
                     const std::vector<uint16_t> &head) {
    const double given = row_roughness(head, static_cast<std::size_t>(size.width));
    if (!std::isfinite(given) || given == 0) return;
    const Shape *best = nullptr;
    double best_roughness = given;
    for (const Shape &s : kCommonShapes) {
        const uintmax_t frame_bytes =
            2ull * static_cast<uintmax_t>(s.width) * static_cast<uintmax_t>(s.height);
        if (s.width == size.width || bytes % frame_bytes != 0) continue;
        const double r = row_roughness(head, static_cast<std::size_t>(s.width));
        if (r < best_roughness) best = &s, best_roughness = r;
    }
    if (best == nullptr || best_roughness * 3 > given) return;
    const uintmax_t frames =
        bytes / (2ull * static_cast<uintmax_t>(best->width) * static_cast<uintmax_t>(best->height));
    warnings().add(name + ":shape", name + ": its rows line up far better as " + std::to_string(best->width) +
                                        "x" + std::to_string(best->height) + " (" + std::to_string(frames) +
                                        " frame" + (frames == 1 ? "" : "s") + ") than as --size " +
                                        std::to_string(size.width) + "x" + std::to_string(size.height) +
                                        "; check --size");
}

std::string raw_shapes_fitting(uintmax_t bytes, std::size_t sample_bytes) {
    std::string text;
    for (const Shape &s : kCommonShapes) {
        const uintmax_t frame_bytes =
            sample_bytes * static_cast<uintmax_t>(s.width) * static_cast<uintmax_t>(s.height);
        if (bytes == 0 || bytes % frame_bytes != 0) continue;
        const uintmax_t frames = bytes / frame_bytes;
        text += (text.empty() ? "" : ", ") + std::to_string(s.width) + "x" + std::to_string(s.height) + " (" +
                std::to_string(frames) + " frame" + (frames == 1 ? "" : "s") + ")";
    }
    return text;
}

}  // namespace radimo::cli
