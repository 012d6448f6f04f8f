#include "literal_reference.h"

#include <cstdlib>
#include <vector>

namespace radimo::test::literal {

namespace {

struct Rule {
    temp_result_t *out;
    uint32_t sum = 0;
    uint64_t sum64 = 0;
    void add(uint16_t v, point_t p) {
        if (v >= out->max_temp) out->max_temp = v, out->max_temp_point = p;
        if (v <= out->min_temp) out->min_temp = v, out->min_temp_point = p;
        sum += v;
        sum64 += v;
    }
    void finish(uint32_t n) { out->avg_temp = static_cast<uint16_t>((sum + n / 2) / n); }
};

void fail(const char *function, const char *text) {
    radimo_error_print("libradimo error [%s:%d/%s] %s", "src/libradimo", 0, function, text);
}

}  // namespace

void rect(const uint16_t *frame, uint32_t resolution, point_t origin, rect_size_t size, temp_result_t *out,
          uint64_t *sum64) {
    out->max_temp = 0;
    out->min_temp = 0xFFFF;
    Rule rule{out};
    for (int y = origin.y; y < origin.y + size.h; ++y) {
        for (int x = origin.x; x < origin.x + size.w; ++x) {
            uint16_t square[9], v = 0;
            get_pixel_square_array(frame, resolution, {x, y}, 3, square);
            get_array_average_value(square, 9, &v);
            rule.add(v, {x, y});
        }
    }
    rule.finish(static_cast<uint32_t>(size.w * size.h));
    if (sum64) *sum64 = rule.sum64;
}

int line(int kind, const uint16_t *frame, uint32_t resolution, point_t start, point_t end,
         temp_result_t *out) {
    const char *names[] = {"get_horz_line_temp", "get_vert_line_temp", "get_slope_line_temp"};
    out->max_temp = 0;
    out->min_temp = 0xFFFF;
    Rule rule{out};
    std::vector<point_t> points;
    if (kind == 2) {
        const point_t begin = start.x < end.x ? start : end;
        const uint16_t n = static_cast<uint16_t>(get_point_num(start, end));
        if (n == 0) return fail(names[kind], "the point is invalid\n"), RADIMO_ERR_PARAM;
        points.resize(n);
        get_point_set(static_cast<uint32_t>(begin.x), static_cast<uint32_t>(begin.y), n, points.data(),
                      get_slope(start, end));
    } else {
        const point_t begin = kind == 0 ? (start.x < end.x ? start : end) : (start.y < end.y ? start : end);
        const long long n = std::llabs(kind == 0 ? 1LL * end.x - start.x : 1LL * end.y - start.y) + 1;
        for (long long i = 0; i < n && i < 70000; ++i)
            points.push_back(kind == 0 ? point_t{static_cast<int>(begin.x + i), begin.y}
                                       : point_t{begin.x, static_cast<int>(begin.y + i)});
    }
    const uint32_t n = static_cast<uint32_t>(points.size());
    for (uint32_t i = 0; i < n; ++i) {
        uint16_t s[5], v = 0;
        const int rc = kind == 0   ? get_pixel_horz_neighb_array(frame, resolution, points[i], 5, s)
                       : kind == 1 ? get_pixel_vert_neighb_array(frame, resolution, points[i], 5, s)
                                   : get_pixel_slope_neighb_array(frame, points.data(), resolution,
                                                                  static_cast<int>(i), 5, n, s);
        if (rc != RADIMO_SUCCESS) {
            const char *texts[] = {"get pixel horz neighb array error\n",
                                   "get pixel horz neighb array error\n",
                                   "get pixel slope neighb array error\n"};
            const int codes[] = {RADIMO_ERR_HORZ_NEIGHB, RADIMO_ERR_VERT_NEIGHB, RADIMO_ERR_SLOPE_NEIGHB};
            return fail(names[kind], texts[kind]), codes[kind];
        }
        get_array_average_value(s, 5, &v);
        rule.add(v, points[i]);
    }
    rule.finish(n);
    return RADIMO_SUCCESS;
}

}  // namespace radimo::test::literal
