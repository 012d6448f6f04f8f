#include "core/arguments.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "core/errors.h"

namespace radimo::cli {
namespace {

std::vector<std::string> split(const std::string &text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (true) {
        const std::size_t end = text.find(separator, start);
        parts.push_back(text.substr(start, end - start));
        if (end == std::string::npos) return parts;
        start = end + 1;
    }
}

[[noreturn]] void bad(const std::string &option, const std::string &text, const std::string &expected) {
    fail_usage(option + " " + text + ": expected " + expected);
}

std::string expected_numbers(std::size_t count, const char *kind) {
    return std::to_string(count) + " comma-separated " + kind;
}

// Exactly `count` comma-separated values of T, each finite and wholly a number.
template <typename T>
std::vector<T> parse_list(const std::string &option, const std::string &text, std::size_t count,
                          const char *kind) {
    const std::vector<std::string> parts = split(text, ',');
    if (parts.size() != count) bad(option, text, expected_numbers(count, kind));
    std::vector<T> values;
    for (const std::string &p : parts) {
        T v{};
        const auto [end, ec] = std::from_chars(p.data(), p.data() + p.size(), v);
        if (ec != std::errc() || end != p.data() + p.size() || p.empty() ||
            !std::isfinite(static_cast<double>(v)))
            bad(option, text, expected_numbers(count, kind));
        values.push_back(v);
    }
    return values;
}

}  // namespace

std::vector<double> parse_numbers(const std::string &option, const std::string &text, std::size_t count) {
    return parse_list<double>(option, text, count, "numbers");
}

std::vector<long> parse_integers(const std::string &option, const std::string &text, std::size_t count) {
    return parse_list<long>(option, text, count, "integers");
}

double checked_number(const std::string &option, double value, double lo, double hi, const char *unit) {
    if (!std::isfinite(value) || value < lo || value > hi) {
        char text[160];
        std::snprintf(text, sizeof text, "%s %g: must be a number in %g..%g%s", option.c_str(), value, lo, hi,
                      unit);
        fail_usage(text);
    }
    return value;
}

std::vector<double> parse_temperatures(const std::string &option, const std::string &text,
                                       std::size_t count) {
    std::vector<double> values = parse_numbers(option, text, count);
    for (double v : values) checked_number(option, v, kColdestCelsius, kHottestCelsius, " degC");
    return values;
}

std::pair<float, float> parse_interval(const std::string &option, const std::string &text) {
    const std::vector<double> v = parse_temperatures(option, text, 2);
    if (!(v[0] < v[1])) fail_usage(option + " " + text + ": LO must be below HI");
    return {static_cast<float>(v[0]), static_cast<float>(v[1])};
}

std::optional<FrameSize> parse_optional_size(const std::string &option, const std::string &text) {
    if (text.empty()) return std::nullopt;
    return parse_size(option, text);
}

FrameSize parse_size(const std::string &option, const std::string &text) {
    const std::vector<std::string> parts = split(text, 'x');
    FrameSize size;
    if (parts.size() == 2) {
        const auto w = std::from_chars(parts[0].data(), parts[0].data() + parts[0].size(), size.width);
        const auto h = std::from_chars(parts[1].data(), parts[1].data() + parts[1].size(), size.height);
        if (w.ec == std::errc() && h.ec == std::errc() && w.ptr == parts[0].data() + parts[0].size() &&
            h.ptr == parts[1].data() + parts[1].size() && size.width > 0 && size.height > 0 &&
            size.width <= 65535 && size.height <= 65535)
            return size;
    }
    bad(option, text, "WIDTHxHEIGHT, each 1..65535");
}

}  // namespace radimo::cli
