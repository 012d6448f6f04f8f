#include "picture/scale.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace radimo::cli {

std::pair<float, float> automatic_range(std::span<const float> celsius) {
    std::vector<float> valid;
    valid.reserve(celsius.size());
    for (float v : celsius)
        if (std::isfinite(v)) valid.push_back(v);
    if (valid.empty()) return {-1.0f, 1.0f};

    // At least a couple of pixels are set aside at each end, so a single dead pixel in a small
    // frame cannot take the scale either.
    const size_t n = valid.size();
    const size_t trim = std::max(static_cast<size_t>(static_cast<double>(n) * outlier_share),
                                 n >= 100 ? size_t{2} : size_t{0});
    std::nth_element(valid.begin(), valid.begin() + trim, valid.end());
    double lo = valid[trim];
    std::nth_element(valid.begin(), valid.begin() + (n - 1 - trim), valid.end());
    double hi = valid[n - 1 - trim];
    const double reach = 0.1 * (hi - lo), lo_limit = lo - reach, hi_limit = hi + reach;
    for (float v : valid) {
        if (v > hi && v <= hi_limit) hi = v;
        if (v < lo && v >= lo_limit) lo = v;
    }

    if (hi - lo < minimum_span) {
        const double mid = lo / 2 + hi / 2;
        lo = mid - minimum_span / 2;
        hi = mid + minimum_span / 2;
    }
    return {static_cast<float>(lo), static_cast<float>(hi)};
}

Ticks round_ticks(double lo, double hi, int max_ticks) {
    Ticks ticks;
    const double span = hi - lo;
    if (!(span > 0) || !std::isfinite(span) || max_ticks < 1) return ticks;
    const double raw = span / max_ticks;
    const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 5.0, 10.0}) {
        ticks.step = m * magnitude;
        if (ticks.step >= raw * (1 - 1e-9)) break;
    }
    // Integer multiples of the step, so no error accumulates along the bar.
    const double first = std::ceil(lo / ticks.step - 1e-9), last = std::floor(hi / ticks.step + 1e-9);
    for (double i = first; i <= last && ticks.values.size() <= static_cast<size_t>(max_ticks); ++i)
        ticks.values.push_back(i * ticks.step);
    return ticks;
}

int step_decimals(double step) {
    if (!(step > 0) || !std::isfinite(step)) return 0;
    return std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 6);
}

std::string format_temperature(double celsius, int decimals) {
    const double scale = std::pow(10.0, decimals);
    if (std::round(celsius * scale) == 0) celsius = 0;  // no "-0.0"
    char buf[64];
    const auto result = std::to_chars(buf, buf + sizeof buf, celsius, std::chars_format::fixed, decimals);
    if (result.ec != std::errc()) return "?";
    return std::string(buf, result.ptr);
}

}  // namespace radimo::cli
