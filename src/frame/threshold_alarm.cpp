// Threshold alarms for point, line and rectangle results.
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleLibradimo;

enum AlarmState { kWithin = 0, kAbove = 1, kBelow = 2, kInvalidPair = 3 };

}  // namespace

extern "C" {

int point_over_threshold_alarm(threshold_t threshold, int value) {
    if (threshold.high < threshold.low) return kInvalidPair;
    const int32_t v = static_cast<uint16_t>(value);
    if (v > threshold.high) return kAbove;
    if (v < threshold.low) return kBelow;
    return kWithin;
}

// The average is tested against both thresholds as well, deliberately.
int line_rect_over_threshold_alarm(threshold_t threshold, const temp_result_t *result) {
    if (result == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (threshold.high < threshold.low) return kInvalidPair;
    if (result->max_temp > threshold.high) return kAbove;
    if (result->avg_temp > threshold.high) return kAbove;
    const int32_t lowest = result->min_temp < result->avg_temp ? result->min_temp : result->avg_temp;
    if (lowest < threshold.low) return kBelow;
    return kWithin;
}

}  // extern "C"
