// Honest statistics of the regions of a temperature frame, in the frame's
// own unit, and their text and JSON with units.
//
// Two sets of numbers are kept apart, and every output names them:
// - the library's measurement rule ("trimmed"): every sample is the trimmed
//   mean of a small neighbourhood (3x3 around each pixel of a point or a
//   rectangle, 5 samples across each point of a line), and the region
//   reports the largest and smallest of them with their positions and their
//   average. A one-pixel hot spot does not survive it, by design.
//   Rectangles go through radimo_frame_stats, whose 64-bit sum never wraps
//   (get_rect_temp's 32-bit sum does on large warm rectangles).
// - the pixels themselves: the hottest and the coldest pixel with their
//   positions (the last in scan order on ties, as the library's rule), how
//   many pixels, their mean and standard deviation.
//
// The functions compare and average 16-bit values, so each unit is measured
// at its own precision. A float frame is first put on a grid of its own
// (float_grid(): 1/1000 K steps when its range allows, never coarser than
// needed), and its statistics map back through that grid.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "core/frame.h"
#include "core/regions.h"
#include "libradimo.h"

namespace radimo::cli {

// A temperature frame as it is measured: 16-bit values and what they stand for.
struct MeasuredFrame {
    int width = 0;
    int height = 0;
    std::vector<uint16_t> values;  // row-major
    Unit unit = Unit::kKelvin16;   // the unit of the frame (float units are measured on `scale`)
    UnitSource unit_source = UnitSource::kAssumed;
    ValueScale scale;            // value to kelvin
    std::size_t non_finite = 0;  // float pixels without a number (measured as the frame's coldest value)

    uint32_t resolution() const {
        return static_cast<uint32_t>(width) | (static_cast<uint32_t>(height) << 16);
    }
    // The temperature of a value in the frame's own unit (a count of a
    // 16-bit unit, degC or K of a float unit).
    double in_unit(double value) const;
};

// The grid a float frame spanning lo..hi kelvin is measured on: the finest
// step of 1, 2 or 5 x 10^k K from 0.001 K up that spans the range in 65535
// steps, with an offset of whole steps.
ValueScale float_grid(double lo_kelvin, double hi_kelvin);
// A temperature frame (any unit but kNuc) ready for measurement.
MeasuredFrame measured_frame(const Frame &temperatures);
// Whether the frame's grid is coarser than 1/100 K (a float frame of a very wide range).
bool coarse_grid(const MeasuredFrame &frame);

struct Reading {
    uint16_t value = 0;
    point_t at{};
};

// The library's measurement rule: trimmed means of neighbourhoods.
struct TrimmedStatistics {
    Reading max, min;
    uint16_t avg = 0;  // (sum + n / 2) / n, with a sum that never wraps
};

// The pixels themselves.
struct PixelStatistics {
    Reading hottest, coldest;
    uint64_t count = 0;
    double mean = 0;    // in values
    double stddev = 0;  // population standard deviation, in values
};

struct RegionStatistics {
    TrimmedStatistics trimmed;
    PixelStatistics pixels;
};

// Library failures are thrown (check_library); a frame with a side above
// 32767 pixels, which the library's neighbourhoods cannot address, is a
// usage error. The region must lie inside the frame (check_inside()).
RegionStatistics region_statistics(const MeasuredFrame &frame, const Region &region);

// The same two sets of numbers for a region of any shape (rectangle,
// ellipse, polygon or mask; the library's radimo_region_t), through the
// library's region statistics: the pixels themselves, and the 3x3 trimmed
// means at the region's pixels (their average (sum + n / 2) / n, as a
// rectangle's). A region without a pixel in the frame is refused by the
// library (thrown, as check_library throws).
PixelStatistics pixel_statistics(const MeasuredFrame &frame, const radimo_region_t &region);
TrimmedStatistics trimmed_statistics(const MeasuredFrame &frame, const radimo_region_t &region);

// Alarm thresholds in degC (HIGH,LOW of --alarm).
struct AlarmThresholds {
    double high = 0;
    double low = 0;
};
AlarmThresholds parse_alarm(const std::string &text);

// The library's alarm rule on the trimmed statistics (a point: its value
// above HIGH or below LOW; a line or rectangle: max or avg above HIGH, min
// or avg below LOW), with both conditions reported when both hold.
struct AlarmState {
    bool above = false;
    bool below = false;
};
AlarmState alarm_state(const MeasuredFrame &frame, const Region &region, const TrimmedStatistics &trimmed,
                       const AlarmThresholds &thresholds);
// "ok", "above", "below" or "above and below".
const char *alarm_name(AlarmState state);

struct RegionResult {
    Region region;
    RegionStatistics stats;
    std::optional<AlarmState> alarm;
};
RegionResult measure_region(const MeasuredFrame &frame, const Region &region,
                            const std::optional<AlarmThresholds> &alarm);

// Output. Temperatures are shown in degC with the digits the unit resolves
// (2, or 3 for 1/1000 K and the finest float grids); spreads in K.
int celsius_decimals(const MeasuredFrame &frame);
// "65.48 °C".
std::string celsius_text(const MeasuredFrame &frame, double value);
// A reading already in the scale's unit (degC, or K for a difference), as celsius_text writes it.
std::string reading_text(const ValueScale &scale, double converted);
// One region: its trimmed and its pixel statistics, each line naming which
// it is; `indent` starts the second line.
std::string region_text(const MeasuredFrame &frame, const RegionResult &result, int indent);
// One region as a JSON record: label, kind, geometry, unit and its source,
// "trimmed" (with its rule), "pixels", and the alarm when one was asked.
nlohmann::ordered_json region_json(const MeasuredFrame &frame, const RegionResult &result);
// The pieces of a record: one value {"value" in the frame's unit, "celsius", "x", "y" when `at` is
// given}, a region's "trimmed" statistics under `rule` and its "pixels".
nlohmann::ordered_json reading_json(const MeasuredFrame &frame, double value, const point_t *at);
nlohmann::ordered_json trimmed_json(const MeasuredFrame &frame, const TrimmedStatistics &trimmed,
                                    const char *rule);
nlohmann::ordered_json pixels_json(const MeasuredFrame &frame, const PixelStatistics &pixels);
// "pixels (12): hottest 65.48 °C at (3,4)  coldest ...  mean ...  sd 0.51 K".
std::string pixels_text(const MeasuredFrame &frame, const PixelStatistics &pixels);
// "3x3 trimmed: max 65.48 °C at (3,4)  min ... at ...  avg ...".
std::string trimmed_text(const MeasuredFrame &frame, const TrimmedStatistics &trimmed, const char *rule);

}  // namespace radimo::cli
