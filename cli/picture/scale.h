// The temperature scale of a picture: the automatic range and the round tick values of its bar.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

namespace radimo::cli {

// The narrowest automatic range, in degC: a flat scene shows its noise, not a division by zero.
inline constexpr double minimum_span = 2.0;
// The share of valid pixels the automatic range may leave outside at each end.
inline constexpr double outlier_share = 0.001;

// The automatic range of a frame in degC. Non-finite pixels are ignored. The ends start at the
// 0.1 % and 99.9 % percentiles (setting aside at least two pixels at each end in frames of 100
// pixels or more), so a few dead or hot pixels do not flatten the picture; each end then moves
// out to the farthest pixel within a tenth of the span beyond it, so a real warm or cold object
// just past a percentile is shown in full. The result is widened about its centre to at least
// `minimum_span`; a frame with no valid pixel gets [-1, 1].
std::pair<float, float> automatic_range(std::span<const float> celsius);

// Round tick values inside [lo, hi] and the step between them: the smallest step of 1, 2 or
// 5 x 10^k that gives at most `max_ticks` intervals over the span (so at most max_ticks + 1 values).
struct Ticks {
    std::vector<double> values;
    double step = 0;
};
Ticks round_ticks(double lo, double hi, int max_ticks);

// A temperature with `decimals` digits after the point, never "-0".
std::string format_temperature(double celsius, int decimals);
// The digits after the point that a tick step needs (0 for 1, 2, 5, 10...; 1 for 0.5...).
int step_decimals(double step);

}  // namespace radimo::cli
