// A small bench for the double-point recalibration tests, with numbers that
// can be followed by hand.
//
// The NUC table climbs one 1/16 K per entry from 4000, so a temperature T
// (degC) looks up entry round(370.4 + 16 T) and its NUC value is twice that:
// 30 degC -> 1700, 31 -> 1732, 90 -> 3620, 91 -> 3652. With unit gains and
// zero offsets, a camera that reads 31 and 91 for blackbodies at 30 and 90
// reads 32 NUC (one degree) too high: the recalibration gives Kc = Kd = 1,
// Bc = -32, Bd = 0, and every offset becomes -32. The environment tau table
// is fully transparent, so with emissivity 1 the environment factor is the
// identity and the factor modes give the same numbers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"
#include "tau_model.h"

namespace radimo::test {

inline constexpr uint16_t kSentinelKt = 0xAAAA;
inline constexpr int16_t kSentinelBt = 0x5555;

struct SecondCalBench {
    explicit SecondCalBench(std::size_t len = 1201)
        : nuc_table(8192),
          tau(tau_model::kEnvTableSize, 16384),
          kt(len, 16384),
          bt(len, 0),
          new_kt(len + 4, kSentinelKt),
          new_bt(len + 4, kSentinelBt) {
        for (int i = 0; i < 8192; ++i) nuc_table[i] = static_cast<uint16_t>(4000 + i);
        second_calib_param_t &p = param.second_calib_param;
        p.K_Temp = 16384;
        p.Address_CA = 100;
        p.ktbt_array_len = static_cast<uint16_t>(len);
        p.ktbt_index_len = 1201;
        p.nuc_table_len = 8192;
        p.high_vtemp = 600;  // index 499
        p.low_vtemp = 400;   // index 299
        p.actual_high_celsius = 91.0f;
        p.actual_low_celsius = 31.0f;
        p.target_high_celsius = 90.0f;
        p.target_low_celsius = 30.0f;
        param.env_correct_param = env_correct_param_t{1.0f, 1.0f, 0.5f, 25.0f, 25.0f};
    }
    second_calib_param_t &calib() { return param.second_calib_param; }
    multi_point_calib_array_t arrays() { return {kt.data(), bt.data(), nuc_table.data(), tau.data(), 0}; }
    two_point_calib_result_t result() { return {new_kt.data(), new_bt.data()}; }
    int run(uint32_t mode) {
        const multi_point_calib_array_t a = arrays();
        two_point_calib_result_t r = result();
        return new_ktbt_recal_double_point_calculate(&param, mode, &a, &r);
    }
    bool outputs_untouched() const {
        for (std::size_t i = 0; i < new_kt.size(); ++i)
            if (new_kt[i] != kSentinelKt || new_bt[i] != kSentinelBt) return false;
        return true;
    }

    std::vector<uint16_t> nuc_table, tau, kt;
    std::vector<int16_t> bt;
    std::vector<uint16_t> new_kt;
    std::vector<int16_t> new_bt;
    second_cal_param_t param{};
};

// "<function>: <text>" of the debug lines of the second calibration itself
// (module src/sencond_cal, without the index function's five lines per call).
inline std::vector<std::string> second_cal_debug(const LogCapture &log) {
    std::vector<std::string> out;
    for (const LogLine &l : log.debugs())
        if (l.module == "src/sencond_cal" && l.function != "calculate_ktbt_index_according_vtemp")
            out.push_back(l.function + ": " + l.text);
    return out;
}

}  // namespace radimo::test
