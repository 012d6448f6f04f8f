// The whole-frame API on small random frames: bands of rows inside, at the
// edge of and beyond the frame (including ranges whose end wraps), KT/BT
// arrays and NUC tables of both lengths, random scenes and raw correction
// tables. Every successful call is checked against the per-call functions
// on a few pixels, and rows outside the band must stay untouched.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

using radimo::fuzz::Input;

namespace {

constexpr uint16_t kUntouched = 0xA5A5;

void check(bool ok) {
    if (!ok) std::abort();
}

bool same_float(float a, float b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

uint16_t extent(Input &in) {
    if (in.chance(95)) return in.in<uint16_t>(1, 24);
    static constexpr uint16_t kOdd[] = {0, 300, 32768, 65535};  // beyond 32767 is refused
    return kOdd[in.pick(std::size(kOdd))];
}

struct Band {
    uint32_t first, count;
};

Band band(Input &in, uint16_t h) {
    if (in.chance(10)) return {in.any<uint32_t>(), in.any<uint32_t>()};
    const uint32_t first = in.in<uint32_t>(0, h + 1u);
    return {first, in.in<uint32_t>(0, h + 2u)};
}

// Whether the band was accepted by a frame of h rows (and so the rows written).
bool inside(Band b, uint16_t h) {
    return static_cast<uint64_t>(b.first) + b.count <= h;
}

// Rows outside a written band keep their sentinel.
template <typename T>
void check_untouched(const std::vector<T> &out, uint16_t w, uint16_t h, Band b, T sentinel, bool written) {
    for (std::size_t y = 0; y < h; ++y) {
        if (written && y >= b.first && y < static_cast<uint64_t>(b.first) + b.count) continue;
        for (std::size_t x = 0; x < w; ++x) check(std::memcmp(&out[y * w + x], &sentinel, sizeof(T)) == 0);
    }
}

// A few pixels of the band, for the per-call oracle.
template <typename F>
void for_some_pixels(Input &in, uint16_t w, Band b, F f) {
    if (b.count == 0) return;
    for (int k = 0; k < 3; ++k) {
        const uint32_t y = b.first + in.in<uint32_t>(0, b.count - 1);
        f(in.in<uint32_t>(0, w - 1u), y);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    Input in(data, size);
    radimo::fuzz::set_up_logging(in);
    if (radimo_simd_target() == nullptr) std::abort();
    const auto &camera = radimo::fuzz::Camera::get();
    const uint16_t w = extent(in);
    const uint16_t h = extent(in);
    const uint32_t resolution = w | static_cast<uint32_t>(h) << 16;
    const bool valid = w >= 1 && h >= 1 && w <= 32767 && h <= 32767;
    // Invalid resolutions are refused before any read: one element suffices.
    const std::size_t pixels = valid ? static_cast<std::size_t>(w) * h : 1;
    const auto at = [w](uint32_t x, uint32_t y) { return static_cast<std::size_t>(y) * w + x; };

    for (int call = 0; call < 4 && !in.empty(); ++call) {
        std::vector<uint16_t> frame = in.values<uint16_t>(pixels);
        if (in.chance(50))  // mostly plausible NUC values
            for (auto &v : frame) v = static_cast<uint16_t>(6000 + v % 8000);
        const Band b = band(in, h);
        const bool band_ok = valid && inside(b, h);
        switch (in.in<int>(0, 5)) {
            case 0: {
                const bool long_ktbt = in.chance(50);
                const uint32_t ktbt_len = in.chance(95) ? (long_ktbt ? 3601 : 1201) : in.any<uint32_t>();
                const std::size_t entries = long_ktbt || ktbt_len == 3601 ? 3601 : 1201;
                std::vector<uint16_t> kt(camera.kt.begin(), camera.kt.begin() + entries);
                std::vector<int16_t> bt(camera.bt.begin(), camera.bt.begin() + entries);
                if (in.chance(20)) kt = in.values<uint16_t>(entries);
                if (in.chance(20)) bt = in.values<int16_t>(entries);
                const bool long_table = in.chance(50);
                const uint32_t table_len = in.chance(95) ? (long_table ? 16384 : 8192) : in.any<uint32_t>();
                std::vector<uint16_t> table =
                    long_table || table_len == 16384 ? camera.nuc_table_16k : camera.nuc_table;
                if (in.chance(20)) table = in.values<uint16_t>(table.size());
                ktbt_correct_param_t param{in.mostly<int16_t>(3000, 5000),
                                           in.mostly<int16_t>(-1000, 0),
                                           in.mostly<uint16_t>(900, 1100),
                                           in.ptr(kt.data()),
                                           in.ptr(bt.data()),
                                           radimo::fuzz::vtemp(in)};
                std::vector<uint16_t> temp(pixels, kUntouched);
                const int rc = radimo_frame_temp_measure(in.ptr(&param), ktbt_len, in.ptr(table.data()),
                                                         table_len, frame.data(), resolution, b.first,
                                                         b.count, in.ptr(temp.data()));
                if (!valid) break;
                check_untouched(temp, w, h, b, kUntouched, rc == RADIMO_SUCCESS);
                if (rc != RADIMO_SUCCESS) break;
                // The per-call correction of the arrays' length, then the table's lookup.
                const auto correct =
                    ktbt_len == 1201 ? ktbt_correct_process : ktbt_correct_process_with_version3;
                for_some_pixels(in, w, b, [&](uint32_t x, uint32_t y) {
                    uint16_t nuc = 0;
                    check(correct(&param, frame[at(x, y)], &nuc) == RADIMO_SUCCESS && nuc <= 16383 &&
                          table[table_len == 8192 ? nuc >> 1 : nuc] == temp[at(x, y)]);
                });
                break;
            }
            case 1: {
                const bool long_table = in.chance(50);
                const uint32_t table_len = in.chance(95) ? (long_table ? 16384 : 8192) : in.any<uint32_t>();
                std::vector<uint16_t> table =
                    long_table || table_len == 16384 ? camera.nuc_table_16k : camera.nuc_table;
                if (in.chance(20)) table = in.values<uint16_t>(table.size());
                const uint16_t *t = in.chance(30) ? nullptr : table.data();
                std::vector<float> celsius(pixels, -1.0f);
                const int rc = radimo_frame_to_celsius(t, table_len, in.ptr(frame.data()), resolution,
                                                       b.first, b.count, in.ptr(celsius.data()));
                if (!valid) break;
                check_untouched(celsius, w, h, b, -1.0f, rc == RADIMO_SUCCESS);
                if (rc != RADIMO_SUCCESS || t == nullptr) break;
                for_some_pixels(in, w, b, [&](uint32_t x, uint32_t y) {
                    float c = 0.0f;
                    check(calc_temperature_with_nuc_t_table_len(t, frame[at(x, y)], table_len, &c) ==
                              RADIMO_SUCCESS &&
                          same_float(c, celsius[at(x, y)]));
                });
                break;
            }
            case 2: {
                env_correct_param_t scene = radimo::fuzz::scene(in);
                if (in.chance(15)) scene = {in.bits(), in.bits(), in.bits(), in.bits(), in.bits()};
                std::vector<uint16_t> raw = radimo::fuzz::raw_table(in);
                if (in.chance(60))  // mostly 1/16 K values of plausible scenes
                    for (auto &v : frame) v = static_cast<uint16_t>(3800 + v % 4000);
                std::vector<float> object(pixels, -1.0f);
                const int rc =
                    radimo_frame_scene_correct(in.ptr(&scene), in.ptr(raw.data()), frame.data(), resolution,
                                               b.first, b.count, in.ptr(object.data()));
                if (!valid || !band_ok) break;
                if (rc != RADIMO_SUCCESS) break;
                check_untouched(object, w, h, b, -1.0f, true);
                for_some_pixels(in, w, b, [&](uint32_t x, uint32_t y) {
                    float c = 0.0f;
                    check(enhance_distance_raw_temp_correct_lattice(&scene, raw.data(), 0, &frame[at(x, y)],
                                                                    1, &c) == RADIMO_SUCCESS &&
                          same_float(c, object[at(x, y)]));
                });
                break;
            }
            case 3: {
                std::vector<uint16_t> means(pixels, kUntouched);
                const int rc = radimo_frame_point_means(in.ptr(frame.data()), resolution, b.first, b.count,
                                                        in.ptr(means.data()));
                if (!valid) break;
                check_untouched(means, w, h, b, kUntouched, rc == RADIMO_SUCCESS);
                if (rc != RADIMO_SUCCESS) break;
                for_some_pixels(in, w, b, [&](uint32_t x, uint32_t y) {
                    uint16_t m = 0;
                    const point_t p{static_cast<int32_t>(x), static_cast<int32_t>(y)};
                    check(get_point_temp(frame.data(), resolution, p, &m) == RADIMO_SUCCESS &&
                          m == means[at(x, y)]);
                });
                break;
            }
            default: {
                // A rectangle (sometimes beyond the frame) against get_rect_temp,
                // and the same rectangle split in two bands and merged.
                const point_t origin{in.mostly<int32_t>(-2, w + 1), in.mostly<int32_t>(-2, h + 1)};
                const rect_size_t rect{in.mostly<int32_t>(-1, w + 2), in.mostly<int32_t>(-1, h + 2)};
                radimo_frame_stats_t whole{};
                const int rc = radimo_frame_stats(frame.data(), resolution, origin, rect, in.ptr(&whole));
                temp_result_t r{};
                const int rect_rc = get_rect_temp(frame.data(), resolution, origin, rect, &r);
                if (!valid) break;
                if (rc != RADIMO_SUCCESS) break;
                check(rect_rc == RADIMO_SUCCESS && whole.max == r.max_temp && whole.min == r.min_temp &&
                      whole.max_point.x == r.max_temp_point.x && whole.max_point.y == r.max_temp_point.y &&
                      whole.min_point.x == r.min_temp_point.x && whole.min_point.y == r.min_temp_point.y &&
                      whole.count == static_cast<uint64_t>(rect.w) * rect.h && whole.avg == r.avg_temp);
                if (rect.h < 2) break;
                const int32_t split = in.in<int32_t>(1, rect.h - 1);
                radimo_frame_stats_t top{}, bottom{};
                check(radimo_frame_stats(frame.data(), resolution, origin, {rect.w, split}, &top) ==
                          RADIMO_SUCCESS &&
                      radimo_frame_stats(frame.data(), resolution, {origin.x, origin.y + split},
                                         {rect.w, rect.h - split}, &bottom) == RADIMO_SUCCESS);
                if (in.chance(3)) {
                    radimo_frame_stats_merge(in.ptr(&top), nullptr);
                    radimo_frame_stats_merge(nullptr, &bottom);
                    break;
                }
                check(radimo_frame_stats_merge(&top, &bottom) == RADIMO_SUCCESS && top.max == whole.max &&
                      top.min == whole.min && top.avg == whole.avg && top.sum == whole.sum &&
                      top.count == whole.count && top.max_point.x == whole.max_point.x &&
                      top.max_point.y == whole.max_point.y && top.min_point.x == whole.min_point.x &&
                      top.min_point.y == whole.min_point.y);
                break;
            }
        }
    }
    return 0;
}
