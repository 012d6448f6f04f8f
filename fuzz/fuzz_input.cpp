#include "fuzz_input.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "tau_model.h"

namespace radimo::fuzz {

float Input::bits() {
    const uint32_t word = any<uint32_t>();
    float value = 0;
    std::memcpy(&value, &word, sizeof value);
    return value;
}

float Input::real(float lo, float hi) {
    const int kind = in<int>(0, 99);
    if (kind < 85) {
        const double t = in<uint32_t>(0, 1u << 24) / double(1u << 24);
        return static_cast<float>(lo + (static_cast<double>(hi) - lo) * t);
    }
    constexpr float kInf = std::numeric_limits<float>::infinity();
    static constexpr float kSpecial[] = {0.0f,     -0.0f,         1.0f,           -1.0f,   1e-30f, -1e-30f,
                                         1e30f,    -1e30f,        kInf,           -kInf,   NAN,    -273.15f,
                                         65535.0f, 2147483648.0f, -2147483904.0f, 16384.0f};
    switch (kind % 4) {
        case 0:
            return lo;
        case 1:
            return hi;
        case 2:
            return kSpecial[pick(std::size(kSpecial))];
        default:
            return bits();
    }
}

namespace {

// Formats like the library's own printers would, into a buffer, and checks
// that every line carries the library's prefix and ends with a line feed.
void buffer_printer(const char *format, ...) {
    char line[512];
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    if (n < 0 || std::strncmp(line, "libradimo ", 10) != 0 || format[std::strlen(format) - 1] != '\n') {
        std::fprintf(stderr, "malformed library message: %s\n", format);
        std::abort();
    }
}

}  // namespace

void set_up_logging(Input &in) {
    static const bool quiet = [] {
        // The library's printers write to standard output; the fuzzer reports on standard error.
        return std::freopen("/dev/null", "w", stdout) != nullptr;
    }();
    (void)quiet;
    const int level = in.in<int>(-1, 3);
    radimo_log_register(level);
    if (in.chance(60)) {
        if (radimo_error_print == radimo_error_info) radimo_error_print = buffer_printer;
        if (radimo_debug_print == radimo_debug_info) radimo_debug_print = buffer_printer;
    }
}

env_correct_param_t scene(Input &in) {
    env_correct_param_t s{};
    s.dist = in.real(0.25f, 50.0f);
    s.ems = in.real(0.8f, 1.0f);
    s.hum = in.real(0.1f, 0.9f);
    s.ta = in.real(-5.0f, 40.0f);
    s.tu = in.chance(50) ? s.ta : in.real(-5.0f, 40.0f);
    return s;
}

namespace {
namespace model = radimo::tau_model;
constexpr model::TargetLayout kLayouts[] = {model::TargetLayout::kStandard, model::TargetLayout::kNew,
                                            model::TargetLayout::kV3};
constexpr uint16_t kFormats[] = {0, 100, 300};  // one format of each layout
}  // namespace

std::size_t raw_table_words() {
    std::size_t words = 0;
    for (auto layout : kLayouts) words = std::max(words, model::raw_table_size(layout));
    return words;
}

const Camera &Camera::get() {
    static const Camera camera = [] {
        Camera c;
        static constexpr nuc_factor_t kHighGain{-5645, 9300000, 104858};
        c.nuc_table.resize(8192);
        generate_high_gain_nuc_t(&kHighGain, c.nuc_table.data());
        c.nuc_table_16k.resize(16384);
        for (std::size_t i = 0; i < c.nuc_table_16k.size(); ++i) c.nuc_table_16k[i] = c.nuc_table[i / 2];
        c.kt.resize(kEntriesV3);
        c.bt.resize(kEntriesV3);
        for (int i = 0; i < kEntriesV3; ++i) {
            const double x = static_cast<double>(i) / (kEntriesV3 - 1);
            c.kt[i] = static_cast<uint16_t>(std::lround(16384.0 * (0.95 + 0.1 * x)));
            c.bt[i] = static_cast<int16_t>(std::lround(120.0 * std::sin(5.0 * x)));
        }
        c.env_tau.resize(model::kEnvTableSize);
        model::fill_env_table(c.env_tau.data());
        for (std::size_t l = 0; l < std::size(kLayouts); ++l) {
            std::vector<uint16_t> raw(raw_table_words());
            model::RawHeader header{};
            header.format = kFormats[l];
            model::fill_raw_correction_table(kLayouts[l], header, raw.data());
            c.raw.push_back(std::move(raw));
        }
        return c;
    }();
    return camera;
}

std::vector<uint16_t> raw_table(Input &in) {
    const Camera &camera = Camera::get();
    const int kind = in.in<int>(0, 9);
    if (kind == 9) {  // anything at all, also without the header marker
        return in.values<uint16_t>(raw_table_words());
    }
    const std::size_t layout = in.pick(camera.raw.size());
    std::vector<uint16_t> raw = camera.raw[layout];
    if (kind == 8) {  // random header words behind the marker
        const std::vector<uint16_t> words = in.values<uint16_t>(12);
        std::copy(words.begin(), words.end(), raw.begin());
        raw[2] = raw[3] = 0xFFFF;
        return raw;
    }
    if (kind == 7) {  // no header: the whole table is tau data
        raw[2] = 0;
        return raw;
    }
    static constexpr uint16_t kLayoutFormats[3][5] = {
        {0, 1, 30, 63, 12}, {64, 100, 200, 256, 128}, {258, 260, 272, 275, 300}};
    model::RawHeader header{};
    header.header_id = in.any<uint16_t>();
    header.format = in.chance(90) ? kLayoutFormats[layout][in.pick(5)] : in.any<uint16_t>();
    header.ems_enable = in.in<uint16_t>(0, 2);
    header.ems_version = in.mostly<uint16_t>(1, 3);
    header.hum_enable = in.in<uint16_t>(0, 2);
    header.hum_version = in.mostly<uint16_t>(1, 3);
    header.reserved_a = in.any<uint16_t>();
    header.reserved_b = in.any<uint16_t>();
    header.reflected_enable = in.in<uint16_t>(0, 2);
    header.reflected_version = in.mostly<uint16_t>(1, 2);
    model::write_raw_header(header, raw.data());
    return raw;
}

uint16_t vtemp(Input &in) {
    return in.chance(90) ? Camera::vtemp_of_index(in.in<int>(300, 900)) : in.any<uint16_t>();
}

second_calib_param_t calib_record(Input &in) {
    second_calib_param_t p{};
    const bool plausible = in.chance(85);
    p.K_Temp = plausible ? Camera::kKTemp : in.any<int16_t>();
    p.B_Temp = plausible ? Camera::kBTemp : in.any<int16_t>();
    p.Address_CA = plausible ? Camera::kAddressCa : in.any<uint16_t>();
    p.ktbt_array_len = in.chance(80) ? Camera::kEntries : in.in<uint16_t>(0, Camera::kEntriesV3);
    p.ktbt_index_len = in.chance(80) ? p.ktbt_array_len : in.in<uint16_t>(0, Camera::kEntriesV3);
    p.nuc_table_len = in.chance(80) ? 8192 : in.chance(50) ? 16384 : in.any<uint16_t>();
    p.high_vtemp = vtemp(in);
    p.low_vtemp = vtemp(in);
    p.target_high_celsius = in.real(60.0f, 120.0f);
    p.target_low_celsius = in.real(0.0f, 50.0f);
    p.actual_high_celsius = p.target_high_celsius + in.real(-3.0f, 3.0f);
    p.actual_low_celsius = p.target_low_celsius + in.real(-3.0f, 3.0f);
    p.cur_vtemp = vtemp(in);
    return p;
}

}  // namespace radimo::fuzz
