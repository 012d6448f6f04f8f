// What every harness shares: a structured view of the fuzzer's bytes, the
// log set-up of each input, and a plausible camera to draw scenes, tables
// and calibration arrays from.
//
// Values are drawn so that most inputs are plausible (the success paths of
// long chains such as the recalibration are reached) while the rest are
// extreme: NaN, infinities, huge and negative values, wrapped counts.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "libradimo.h"

namespace radimo::fuzz {

// Calls one input makes at most: short inputs keep the fuzzer's feedback fine.
inline constexpr int kCallsPerInput = 16;

class Input {
public:
    Input(const uint8_t *data, std::size_t size) : p_(data, size) {}

    bool empty() { return p_.remaining_bytes() == 0; }
    // True with the given chance in percent (false once the input is used up).
    bool chance(int percent) { return p_.ConsumeIntegralInRange<int>(0, 99) < percent; }
    template <typename T>
    T any() {
        return p_.ConsumeIntegral<T>();
    }
    template <typename T>
    T in(T lo, T hi) {
        return p_.ConsumeIntegralInRange<T>(lo, hi);
    }
    // An index below n (n > 0).
    std::size_t pick(std::size_t n) { return p_.ConsumeIntegralInRange<std::size_t>(0, n - 1); }
    // The pointer, or now and then NULL.
    template <typename T>
    T *ptr(T *p) {
        return chance(3) ? nullptr : p;
    }
    // Mostly a value in [lo, hi]; sometimes an edge, a special or any float.
    float real(float lo, float hi);
    // Any 32-bit pattern as a float (NaN, infinities and denormals included).
    float bits();
    // Mostly a value in [lo, hi], sometimes any integer of the type.
    template <typename T>
    T mostly(T lo, T hi) {
        return chance(90) ? in<T>(lo, hi) : any<T>();
    }
    // n values of the type: a short stretch of the input (at most half of what
    // is left, at most 64 values), repeated over the whole array, so a large
    // table never swallows the choices that follow it. Zeros once the input
    // is used up.
    template <typename T>
    std::vector<T> values(std::size_t n) {
        std::vector<T> v(n);
        const std::size_t taken = std::min({n, std::size_t{64}, p_.remaining_bytes() / 2 / sizeof(T)});
        if (taken == 0) return v;
        p_.ConsumeData(v.data(), taken * sizeof(T));
        for (std::size_t i = taken; i < n; ++i) v[i] = v[i - taken];
        return v;
    }

private:
    FuzzedDataProvider p_;
};

// Chooses this input's log level and printers: the library's own printers
// (whose output goes to /dev/null), a printer that formats into a buffer
// and checks the message prefix, or silence.
void set_up_logging(Input &in);

// The scene of a camera in front of a blackbody: plausible most of the time.
env_correct_param_t scene(Input &in);

// A plausible high-gain camera, shared read-only by every input.
struct Camera {
    static constexpr int kEntries = 1201;    // KT/BT entries (standard arrays)
    static constexpr int kEntriesV3 = 3601;  // KT/BT entries (version 3 arrays)
    static constexpr int16_t kKTemp = 4096;  // vtemp / 4
    static constexpr int16_t kBTemp = -500;
    static constexpr uint16_t kAddressCa = 999;
    static uint16_t vtemp_of_index(int index) { return static_cast<uint16_t>(4 * (index + 1500)); }

    std::vector<uint16_t> nuc_table;         // 8192 entries, -20 .. 150 degC
    std::vector<uint16_t> nuc_table_16k;     // 16384 entries indexed by the NUC value
    std::vector<uint16_t> kt;                // kEntriesV3 gains around 1.0
    std::vector<int16_t> bt;                 // kEntriesV3 offsets
    std::vector<uint16_t> env_tau;           // environment tau table
    std::vector<std::vector<uint16_t>> raw;  // raw correction tables, header + each layout

    static const Camera &get();
};

// Words of the largest raw correction table (header and the largest layout).
std::size_t raw_table_words();
// A raw correction table of raw_table_words() words: one of the camera's,
// with random header words or random contents some of the time.
std::vector<uint16_t> raw_table(Input &in);

// A focal-plane reading: mostly one inside the camera's KT/BT range.
uint16_t vtemp(Input &in);

// The second-calibration record of the camera with random deviations.
second_calib_param_t calib_record(Input &in);

}  // namespace radimo::fuzz
