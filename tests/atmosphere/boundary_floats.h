// Exact float values on either side of a double boundary.
#pragma once

#include <cmath>
#include <limits>

namespace radimo::test {

// Largest float whose widened value is at or below v.
inline float at_or_below(double v) {
    float f = static_cast<float>(v);
    if (static_cast<double>(f) > v) f = std::nextafter(f, -std::numeric_limits<float>::infinity());
    return f;
}

// Smallest float whose widened value is above v.
inline float above(double v) {
    return std::nextafter(at_or_below(v), std::numeric_limits<float>::infinity());
}

}  // namespace radimo::test
