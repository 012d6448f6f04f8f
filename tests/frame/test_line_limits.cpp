// Lines and rasterisation at the ends of the int range: counts that do not fit
// their holders, coordinates whose differences wrap, and slopes whose rounded
// coordinates leave the int range. Nothing traps; refusals name the point.
#include <climits>
#include <utility>

#include "frame/frame_fixture.h"
#include "support/prelude.h"

namespace {

using radimo::test::TestFrame;

class LineLimits : public radimo::test::LoggedTest {};

TEST_F(LineLimits, CountsBeyondTheirHoldersAreRefusedNotDividedBy) {
    const TestFrame f(4, 4, 1000);
    using Line = int (*)(const uint16_t *, uint32_t, point_t, point_t, temp_result_t *);
    const struct {
        Line fn;
        point_t a, b;
        int rc;
        const char *trace;
    } cases[] = {
        // 65536 points keep 0 in 16 bits.
        {get_slope_line_temp,
         {0, 0},
         {65535, 1},
         RADIMO_ERR_PARAM,
         "get_slope_line_temp: the point is invalid\n"},
        // 2^32 samples: the walk stops at the first sample outside the frame.
        {get_horz_line_temp,
         {INT32_MIN, 0},
         {INT32_MAX, 0},
         RADIMO_ERR_HORZ_NEIGHB,
         "get_pixel_horz_neighb_array: the point is invalid\n"},
        {get_vert_line_temp,
         {0, INT32_MIN},
         {0, INT32_MAX},
         RADIMO_ERR_VERT_NEIGHB,
         "get_pixel_vert_neighb_array: the point is invalid\n"},
        // Beyond 2^24 the float slope loses the low bits (here -inf): the rising
        // line is walked downwards, wrapping past INT32_MIN, to its first point outside.
        {get_slope_line_temp,
         {INT32_MIN, INT32_MIN},
         {INT32_MIN + 52, INT32_MIN + 204},
         RADIMO_ERR_SLOPE_NEIGHB,
         "get_pixel_slope_neighb_array: the point is invalid\n"},
    };
    for (const auto &c : cases) {
        log.clear();
        temp_result_t r{};
        EXPECT_EQ(c.fn(f.data(), f.resolution(), c.a, c.b, &r), c.rc) << c.trace;
        ASSERT_FALSE(log.error_trace().empty());
        EXPECT_EQ(log.error_trace().front(), std::string("src/libradimo/") + c.trace);
    }
}

TEST(LineRasterLimits, OutOfRangeCoordinatesAreDefined) {
    // NaN and values beyond the int range convert to INT32_MIN; differences wrap in 32 bits.
    const struct {
        int x0, y0, t;
        float slope;
        int x, y;
    } pixels[] = {{0, 0, 0, NAN, INT32_MIN, 0},
                  {0, 0, INT32_MAX, 1.0f, INT32_MAX, INT32_MIN},
                  {-66, 0, INT32_MAX, 0.5f, INT32_MAX, -1073741760}};
    for (const auto &c : pixels) {
        const point_t p = select_pixel(c.x0, c.y0, c.t, c.slope);
        EXPECT_EQ(std::pair(p.x, p.y), std::pair(c.x, c.y)) << c.t << " " << c.slope;
    }
    const struct {
        uint32_t x0, y0;
        float slope;
        point_t first, second;
    } sets[] = {{0x7FFFFFFF, 0, 0.0f, {INT32_MAX, 0}, {INT32_MIN, 0}},
                {0, 0x80000000, -2.0f, {0, INT32_MIN}, {1, INT32_MAX}}};
    for (const auto &c : sets) {
        point_t pts[2];
        ASSERT_EQ(get_point_set(c.x0, c.y0, 2, pts, c.slope), RADIMO_SUCCESS);
        EXPECT_EQ(std::pair(pts[0].x, pts[0].y), std::pair(c.first.x, c.first.y));
        EXPECT_EQ(std::pair(pts[1].x, pts[1].y), std::pair(c.second.x, c.second.y));
    }
}

}  // namespace
