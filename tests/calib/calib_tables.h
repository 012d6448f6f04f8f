// Table builders shared by the calibration tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace radimo::test {

// entry j = start + step * j
inline std::vector<uint16_t> linear_table(uint32_t len, int32_t start, int32_t step) {
    std::vector<uint16_t> t(len);
    for (uint32_t j = 0; j < len; ++j) t[j] = static_cast<uint16_t>(start + step * static_cast<int32_t>(j));
    return t;
}

template <typename T>
std::vector<T> reversed(std::vector<T> v) {
    std::reverse(v.begin(), v.end());
    return v;
}

}  // namespace radimo::test
