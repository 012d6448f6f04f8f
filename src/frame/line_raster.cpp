// Rasterising a slanted line: slope, point count, and the point set.
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleLibradimo;

// Halves round upwards: floor, then up when the fraction (in double) is at least 0.5.
// A NaN or a value beyond the int range (a NaN or extreme slope, a far-away t)
// gives INT32_MIN, as the x86-64 conversion does, instead of undefined behaviour.
int32_t round_half_up(float v) {
    const float f = std::floor(v);
    const double fraction = static_cast<double>(v) - static_cast<double>(f);
    return radimo::fx::trunc_i32(fraction >= 0.5 ? f + 1.0f : f);
}

constexpr bool is_shallow(float slope) {
    return slope >= -1.0f && slope <= 1.0f;
}

}  // namespace

extern "C" {

float get_slope(point_t p1, point_t p2) {
    return (static_cast<float>(p1.y) - static_cast<float>(p2.y)) /
           (static_cast<float>(p1.x) - static_cast<float>(p2.x));
}

int get_point_num(point_t p1, point_t p2) {
    const int64_t dx = std::llabs(static_cast<int64_t>(p2.x) - p1.x);
    const int64_t dy = std::llabs(static_cast<int64_t>(p2.y) - p1.y);
    return static_cast<int>(dx < dy ? dy + 1 : dx + 1);
}

// Shallow lines step x and round y; steep lines step y and round x. The
// differences t - x0 and t - y0 are 32-bit and wrap like the hardware's.
point_t select_pixel(int x0, int y0, int t, float slope) {
    using radimo::fx::wrap32;
    point_t p;
    if (is_shallow(slope)) {
        p.x = t;
        p.y = round_half_up(static_cast<float>(y0) + slope * static_cast<float>(wrap32(int64_t{t} - x0)));
    } else {
        p.y = t;
        p.x = round_half_up(static_cast<float>(wrap32(int64_t{t} - y0)) / slope + static_cast<float>(x0));
    }
    return p;
}

// The line starts at its smaller x, so a steep falling line walks y downwards.
// The walked coordinate wraps in 32 bits at the ends of the int range.
int get_point_set(uint32_t x0, uint32_t y0, int point_num, point_t *points, float slope) {
    if (points == nullptr) {
        RADIMO_ERROR("point set is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const int x = static_cast<int>(x0);
    const int y = static_cast<int>(y0);
    if (is_shallow(slope)) {
        for (int i = 0; i < point_num; ++i)
            points[i] = select_pixel(x, y, radimo::fx::wrap32(int64_t{x} + i), slope);
    } else {
        const int64_t step = slope < -1.0f ? -1 : 1;
        for (int i = 0; i < point_num; ++i)
            points[i] = select_pixel(x, y, radimo::fx::wrap32(y + step * i), slope);
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
