// The two piecewise-linear distance models and the generators that refill
// dist_table and new_dist_table from them.
//
// Fractional segments are computed in double and rounded to float; integer
// segments are computed in integers. Both models agree at positions 1..64;
// they differ only in which formula computes a boundary value (1.2, 2.0,
// 4.0, 8 and 50 belong to the following segment in the second model).
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// The segments from 47 on are whole metres.
float whole_metres(int metres) {
    return static_cast<float>(metres);
}

}  // namespace

extern "C" {

float distance_calculate(uint16_t x) {
    const int p = x;
    if (p >= 1 && p <= 20) return static_cast<float>(0.05 * p + 0.2);
    if (p >= 21 && p <= 28) return static_cast<float>(0.1 * p - 0.8);
    if (p >= 29 && p <= 38) return static_cast<float>(0.2 * p - 3.6);
    if (p >= 39 && p <= 46) return static_cast<float>(0.5 * p - 15);
    if (p >= 47 && p <= 51) return whole_metres(p - 38);
    if (p >= 52 && p <= 59) return whole_metres(2 * p - 90);
    if (p >= 60 && p <= 64) return whole_metres(5 * p - 270);
    RADIMO_ERROR("x is invalid\n");
    return 0.0f;
}

void generate_distance_table(void) {
    for (uint16_t x = 1; x <= 64; ++x) dist_table[x - 1] = distance_calculate(x);
}

float new_distance_calculate(uint16_t x) {
    const int p = x;
    if (p >= 1 && p <= 19) return static_cast<float>(0.05 * p + 0.2);
    if (p >= 20 && p <= 27) return static_cast<float>(0.1 * p - 0.8);
    if (p >= 28 && p <= 37) return static_cast<float>(0.2 * p - 3.6);
    if (p >= 38 && p <= 45) return static_cast<float>(0.5 * p - 15);
    if (p >= 46 && p <= 51) return whole_metres(p - 38);
    if (p >= 52 && p <= 59) return whole_metres(2 * p - 90);
    if (p >= 60 && p <= 63) return whole_metres(5 * p - 270);
    if (p >= 64 && p <= 68) return whole_metres(10 * p - 590);
    if (p >= 69 && p <= 78) return whole_metres(20 * p - 1280);
    if (p >= 79 && p <= 82) return whole_metres(50 * p - 3650);
    if (p >= 83 && p <= 88) return whole_metres(100 * p - 7800);
    RADIMO_ERROR("x is invalid\n");
    return 0.0f;
}

void generate_new_distance_table(void) {
    for (uint16_t x = 1; x <= 88; ++x) new_dist_table[x - 1] = new_distance_calculate(x);
}

}  // extern "C"
