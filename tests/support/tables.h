// Tables and records shared by the tests of several subsystems.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "libradimo.h"
#include "tau_model.h"

namespace radimo::test {

using Table = std::vector<uint16_t>;

// A plausible high-gain camera: NUC ~3000 at 253 K rising to ~16000 at 423 K.
inline constexpr nuc_factor_t kHighGain{-5645, 9300000, 104858};

// The 8192-entry NUC table of kHighGain (4048 .. 6768, -20 .. 150 degC).
inline Table high_gain_table() {
    Table t(8192);
    generate_high_gain_nuc_t(&kHighGain, t.data());
    return t;
}

// entry j = start + step * j
inline Table linear_table(uint32_t len, int32_t start, int32_t step) {
    Table t(len);
    for (uint32_t j = 0; j < len; ++j) t[j] = static_cast<uint16_t>(start + step * static_cast<int32_t>(j));
    return t;
}

template <typename T>
std::vector<T> reversed(std::vector<T> v) {
    std::reverse(v.begin(), v.end());
    return v;
}

// 4800 (300 K) at both ends, dipping to 4000 at entry 4000: a hotter target is
// moved to 4799 and found, a colder one is moved to 4801 and never found.
inline Table dip_table() {
    Table t(8192);
    for (int i = 0; i < 8192; ++i) t[i] = static_cast<uint16_t>(std::min(4800, 4000 + std::abs(i - 4000)));
    return t;
}

// The model's environment tau table (humidity class x ambient x distance).
inline Table env_table() {
    Table t(tau_model::kEnvTableSize);
    tau_model::fill_env_table(t.data());
    return t;
}

// The model's raw correction table: header words, then a target-temperature tau table.
inline Table raw_table(tau_model::TargetLayout layout, const tau_model::RawHeader &header) {
    Table t(tau_model::raw_table_size(layout));
    tau_model::fill_raw_correction_table(layout, header, t.data());
    return t;
}

// A KT/BT record: the index mapping and both lengths.
inline second_calib_param_t ktbt_record(int16_t k, int16_t b, uint16_t ca, uint16_t len) {
    second_calib_param_t p{};
    p.K_Temp = k;
    p.B_Temp = b;
    p.Address_CA = ca;
    p.ktbt_array_len = p.ktbt_index_len = len;
    p.nuc_table_len = 8192;
    return p;
}

}  // namespace radimo::test
