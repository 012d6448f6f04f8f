// Frame measurement: neighbourhoods, trimmed means, points, lines,
// rectangles and alarms on small random frames, with coordinates inside,
// just outside and far outside the frame.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>

#include "fuzz_input.h"

using radimo::fuzz::Input;

namespace {

int32_t coordinate(Input &in, uint16_t extent) {
    switch (in.in<int>(0, 9)) {
        case 0:
            return in.any<int32_t>();
        case 1:
            return in.in<int32_t>(-70000, 70000);
        case 2:
            return -in.in<int32_t>(1, 3);
        default:
            return in.in<int32_t>(0, extent + 2);
    }
}

point_t point(Input &in, uint16_t w, uint16_t h) {
    const int32_t x = coordinate(in, w);
    return {x, coordinate(in, h)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    Input in(data, size);
    radimo::fuzz::set_up_logging(in);
    const uint16_t w = in.chance(95) ? in.in<uint16_t>(1, 48) : in.in<uint16_t>(0, 300);
    const uint16_t h = in.chance(95) ? in.in<uint16_t>(1, 48) : in.in<uint16_t>(0, 300);
    const uint32_t resolution = w | static_cast<uint32_t>(h) << 16;
    std::vector<uint16_t> frame = in.values<uint16_t>(static_cast<std::size_t>(w) * h);
    if (frame.empty()) frame.resize(1);  // a valid pointer even for an empty frame
    const uint16_t *f = frame.data();

    for (int call = 0; call < radimo::fuzz::kCallsPerInput && !in.empty(); ++call) {
        const point_t a = point(in, w, h);
        const point_t b = point(in, w, h);
        const uint32_t size_word = in.chance(80) ? in.in<uint32_t>(0, 12) : in.any<uint32_t>();
        const std::size_t n = 2 * ((size_word & 0xFF) / 2) + 1;  // samples per axis
        uint16_t value = 0;
        temp_result_t result{};
        switch (in.in<int>(0, 15)) {
            case 0: {
                std::vector<uint16_t> out(n * n);
                get_pixel_square_array(in.ptr(f), resolution, a, size_word, out.data());
                break;
            }
            case 1: {
                std::vector<uint16_t> out(n);
                get_pixel_horz_neighb_array(in.ptr(f), resolution, a, size_word, in.ptr(out.data()));
                get_pixel_vert_neighb_array(in.ptr(f), resolution, a, size_word, in.ptr(out.data()));
                break;
            }
            case 2: {
                const uint32_t count = in.in<uint32_t>(0, 40);
                std::vector<point_t> points(count == 0 ? 1 : count);
                for (auto &p : points) p = point(in, w, h);
                std::vector<uint16_t> out(n);
                get_pixel_slope_neighb_array(in.ptr(f), in.ptr(points.data()), resolution, in.in<int>(-3, 44),
                                             size_word, count, out.data());
                break;
            }
            case 3: {
                const int num = in.in<int>(-2, 64);
                std::vector<uint16_t> samples = in.values<uint16_t>(num > 0 ? num : 1);
                get_array_average_value(in.ptr(samples.data()), num, in.ptr(&value));
                break;
            }
            case 4:
                get_point_temp(f, resolution, a, in.ptr(&value));
                get_NUC_value(in.ptr(f), resolution, a, in.ptr(&value));
                break;
            case 5:
                get_line_temp(in.ptr(f), resolution, a, b, in.ptr(&result));
                break;
            case 6:
                get_horz_line_temp(in.ptr(f), resolution, a, {b.x, a.y}, in.ptr(&result));
                break;
            case 7:
                get_vert_line_temp(in.ptr(f), resolution, a, {a.x, b.y}, in.ptr(&result));
                break;
            case 8:
                get_slope_line_temp(in.ptr(f), resolution, a, b, in.ptr(&result));
                break;
            case 9:
                get_rect_temp(f, resolution, a, {b.x, b.y}, in.ptr(&result));
                break;
            case 10: {
                const float slope = get_slope(a, b);
                get_point_num(a, b);
                const int64_t near = static_cast<int64_t>(a.x) + in.in<int>(-5, 5);
                const int t = in.chance(50)
                                  ? static_cast<int>(std::clamp<int64_t>(near, INT32_MIN, INT32_MAX))
                                  : coordinate(in, w);
                select_pixel(a.x, a.y, t, slope);
                break;
            }
            case 11: {
                const float slope = in.chance(50) ? get_slope(a, b) : in.real(-4.0f, 4.0f);
                const int count = in.in<int>(-1, 300);
                std::vector<point_t> points(count > 0 ? count : 1);
                const uint32_t x0 = static_cast<uint32_t>(in.mostly<int32_t>(-1000000, 1000000));
                const uint32_t y0 = static_cast<uint32_t>(in.mostly<int32_t>(-1000000, 1000000));
                get_point_set(x0, y0, count, in.ptr(points.data()), slope);
                break;
            }
            case 12:
                point_over_threshold_alarm({in.any<int32_t>(), in.any<int32_t>()}, in.any<int>());
                break;
            case 13:
                result = {in.any<uint16_t>(), in.any<uint16_t>(), in.any<uint16_t>(), a, b};
                line_rect_over_threshold_alarm({in.mostly<int32_t>(0, 20000), in.mostly<int32_t>(0, 20000)},
                                               in.ptr(&result));
                break;
            case 14: {  // a line inside the frame in any direction
                const point_t s{in.in<int32_t>(0, w), in.in<int32_t>(0, h)};
                const point_t e{in.in<int32_t>(0, w), in.in<int32_t>(0, h)};
                get_line_temp(f, resolution, s, e, &result);
                break;
            }
            default:
                radimo_version();
                radimo_error_void("%s", "");
                radimo_debug_void("%s", "");
                radimo_error_info("libradimo error [%s:%d/%s] %d\n", "fuzz", 1, "harness", in.any<int>());
                radimo_debug_info("libradimo debug [%s:%d/%s] %d\n", "fuzz", 1, "harness", in.any<int>());
                break;
        }
    }
    return 0;
}
