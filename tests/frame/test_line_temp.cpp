// Lines: rasterising slanted lines, and line measurement with its dispatch, sampling,
// tie rule and failure chains.
#include <cstdlib>
#include <utility>

#include "frame/frame_fixture.h"
#include "support/prelude.h"

namespace {

using radimo::test::summary;
using radimo::test::TestFrame;

class LineTemp : public radimo::test::LoggedTest {
protected:
    TestFrame frame = TestFrame::ramp(8, 6);  // 1000 + 100 y + x
    temp_result_t r{};
    int line(const TestFrame &f, point_t a, point_t b) {
        return get_line_temp(f.data(), f.resolution(), a, b, &r);
    }
};

using Pairs = std::vector<std::pair<int, int>>;

Pairs point_set(point_t begin, int n, float slope) {
    std::vector<point_t> points(static_cast<size_t>(n));
    EXPECT_EQ(get_point_set(static_cast<uint32_t>(begin.x), static_cast<uint32_t>(begin.y), n, points.data(),
                            slope),
              RADIMO_SUCCESS);
    Pairs out;
    for (const point_t &p : points) out.emplace_back(p.x, p.y);
    return out;
}

TEST(LineRaster, SlopeAndPointCount) {
    EXPECT_FLOAT_EQ(get_slope({0, 0}, {4, 2}), 0.5f);
    EXPECT_FLOAT_EQ(get_slope({4, 2}, {0, 0}), 0.5f);
    EXPECT_FLOAT_EQ(get_slope({0, 4}, {1, 0}), -4.0f);
    EXPECT_EQ(get_point_num({0, 0}, {4, 2}), 5);
    EXPECT_EQ(get_point_num({0, 4}, {1, 0}), 5);
    EXPECT_EQ(get_point_num({7, 3}, {2, 3}), 6);
    EXPECT_EQ(get_point_num({2, 2}, {5, 5}), 4);
}

TEST(LineRaster, HalvesRoundUpwards) {
    // Shallow: y = round(y0 + slope * (t - x0)); steep: x = round((t - y0) / slope + x0).
    const struct {
        int x0, y0, t;
        float slope;
        int x, y;
    } cases[] = {{0, 0, 1, 0.5f, 1, 1},   {0, 0, 3, 0.5f, 3, 2},  {0, 0, 1, -0.5f, 1, 0},
                 {0, 0, 3, -0.5f, 3, -1}, {0, 0, 1, 0.49f, 1, 0}, {2, 5, 7, 0.25f, 7, 6},
                 {0, 4, 2, -4.0f, 1, 2}};  // (2 - 4) / -4 = 0.5 -> 1
    for (const auto &c : cases) {
        const point_t p = select_pixel(c.x0, c.y0, c.t, c.slope);
        EXPECT_EQ(std::pair(p.x, p.y), std::pair(c.x, c.y)) << c.t << " " << c.slope;
    }
}

TEST(LineRaster, PointSetsWalkTheMajorAxis) {
    EXPECT_EQ(point_set({0, 0}, 5, 0.5f), (Pairs{{0, 0}, {1, 1}, {2, 1}, {3, 2}, {4, 2}}));
    EXPECT_EQ(point_set({0, 4}, 5, -4.0f), (Pairs{{0, 4}, {0, 3}, {1, 2}, {1, 1}, {1, 0}}));  // y downwards
    EXPECT_EQ(point_set({1, 1}, 4, 3.0f), (Pairs{{1, 1}, {1, 2}, {2, 3}, {2, 4}}));
    // Every rasterised line between two points starts and ends on them and moves by one pixel per step.
    for (int ex = 1; ex < 12; ++ex) {
        for (int ey = -11; ey < 12; ++ey) {
            if (ey == 0) continue;
            const point_t a{0, 20}, b{ex, 20 + ey};
            const Pairs pts = point_set(a, get_point_num(a, b), get_slope(a, b));
            ASSERT_EQ(pts.front(), std::pair(0, 20));
            ASSERT_EQ(pts.back(), std::pair(ex, 20 + ey));
            for (size_t i = 1; i < pts.size(); ++i) {
                ASSERT_LE(std::abs(pts[i].first - pts[i - 1].first), 1);
                ASSERT_LE(std::abs(pts[i].second - pts[i - 1].second), 1);
            }
        }
    }
}

TEST_F(LineTemp, PointSetRefusesANullArrayAndWritesNothingForZeroPoints) {
    EXPECT_EQ(get_point_set(0, 0, 3, nullptr, 0.5f), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/libradimo/get_point_set: point set is NULL\n"));
    point_t untouched{-7, -7};
    EXPECT_EQ(get_point_set(0, 0, 0, &untouched, 0.5f), RADIMO_SUCCESS);
    EXPECT_EQ(get_point_set(0, 0, -3, &untouched, 5.0f), RADIMO_SUCCESS);
    EXPECT_EQ(untouched.x, -7);
}

TEST_F(LineTemp, StraightLinesSampleFiveAlongTheirDirection) {
    frame.at(1, 5) = 9000;
    // Row 5 from x = 0: {1500 x3, 9000, 1502} -> 1501, {9000, 1500, 9000, 1502, 1503} -> 4002, 1503, 1504.
    ASSERT_EQ(line(frame, {3, 5}, {0, 5}), RADIMO_SUCCESS);
    EXPECT_EQ(summary(r), "max 4002 at (1,5), min 1501 at (0,5), avg 2128");
    // Column 2, rows 1..4: row 1 is {1102 (centre copy), 1002, 1102, 1202, 1302} -> 1135; row 4 is cut too.
    ASSERT_EQ(line(frame, {2, 4}, {2, 1}), RADIMO_SUCCESS);
    EXPECT_EQ(summary(r), "max 1369 at (2,4), min 1135 at (2,1), avg 1252");
    // Equal extremes report the last position in scan order.
    ASSERT_EQ(line(TestFrame(8, 6, 4000), {6, 2}, {1, 2}), RADIMO_SUCCESS);
    EXPECT_EQ(summary(r), "max 4000 at (6,2), min 4000 at (6,2), avg 4000");
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("this is horizontal line temperture\n", "this is vertical line temperture\n",
                            "this is horizontal line temperture\n"));
    EXPECT_EQ(log.debugs()[0].function, "get_line_temp");
}

TEST_F(LineTemp, SlantedLinesTrimAlongTheListAwayFromItsEnds) {
    // Five points or fewer: each neighbourhood holds at most one other pixel, which the mean drops.
    ASSERT_EQ(line(frame, {0, 0}, {4, 2}), RADIMO_SUCCESS);
    EXPECT_EQ(summary(r), "max 1204 at (4,2), min 1000 at (0,0), avg 1122");
    EXPECT_THAT(log.debug_texts(), ElementsAre("this is slope line temperture\n"));
    // 9 points from (0, 0) to (8, 2): the hot pixel at list position 4 has four list neighbours.
    TestFrame f(10, 6, 5000);
    f.at(4, 1) = 9000;
    ASSERT_EQ(line(f, {0, 0}, {8, 2}), RADIMO_SUCCESS);
    EXPECT_EQ(r.max_temp, 5000);
    // 7 points from (0, 0) to (6, 2), position 3 hot: list positions 1 and 5 lie within two of an
    // end and take the centre value, so {9000, 5000, 9000, 5000, 9000} -> (9000 + 5000 + 9000 + 1) / 3.
    TestFrame g(10, 6, 5000);
    g.at(3, 1) = 9000;
    ASSERT_EQ(line(g, {0, 0}, {6, 2}), RADIMO_SUCCESS);
    EXPECT_EQ(summary(r), "max 7667 at (3,1), min 5000 at (6,2), avg 5381");
}

TEST_F(LineTemp, RefusalsAndFailureChainsNameEachLevel) {
    const uint16_t *f = frame.data();
    const uint32_t res = frame.resolution();
    EXPECT_EQ(get_line_temp(nullptr, res, {0, 0}, {1, 0}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_line_temp(f, res, {0, 0}, {1, 0}, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(line(frame, {0, 0}, {8, 0}), RADIMO_ERR_PARAM);
    EXPECT_EQ(line(frame, {0, 6}, {0, 0}), RADIMO_ERR_PARAM);
    EXPECT_EQ(line(frame, {-1, 0}, {0, 0}), RADIMO_ERR_PARAM);
    EXPECT_EQ(line(frame, {2, 3}, {2, 3}), RADIMO_ERR_PARAM);
    // The direct calls check their own direction only.
    EXPECT_EQ(get_horz_line_temp(f, res, {0, 0}, {2, 1}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_horz_line_temp(f, res, {2, 0}, {2, 0}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_vert_line_temp(f, res, {0, 0}, {1, 3}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_slope_line_temp(f, res, {0, 0}, {0, 3}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_slope_line_temp(f, res, {0, 2}, {5, 2}, &r), RADIMO_ERR_PARAM);
    // A failing extractor (NULL frame, or a line off the frame) adds the caller's line;
    // the vertical line keeps the horizontal text.
    EXPECT_EQ(get_horz_line_temp(nullptr, res, {0, 0}, {2, 0}, &r), RADIMO_ERR_HORZ_NEIGHB);
    EXPECT_EQ(get_vert_line_temp(nullptr, res, {0, 0}, {0, 2}, &r), RADIMO_ERR_VERT_NEIGHB);
    EXPECT_EQ(get_slope_line_temp(nullptr, res, {0, 0}, {2, 1}, &r), RADIMO_ERR_SLOPE_NEIGHB);
    EXPECT_EQ(get_horz_line_temp(f, res, {0, 9}, {3, 9}, &r), RADIMO_ERR_HORZ_NEIGHB);
    EXPECT_EQ(get_slope_line_temp(f, res, {6, 4}, {9, 5}, &r), RADIMO_ERR_SLOPE_NEIGHB);
    const std::string at = "src/libradimo/", bad = "line parameter is invalid\n",
                      horz = "get pixel horz neighb array error\n",
                      slope = "get pixel slope neighb array error\n";
    EXPECT_EQ(log.error_trace(),
              (std::vector<std::string>{at + "get_line_temp: data is NULL\n",
                                        at + "get_line_temp: data is NULL\n",
                                        at + "get_line_temp: line parameter is not valid\n",
                                        at + "get_line_temp: line parameter is not valid\n",
                                        at + "get_line_temp: line parameter is not valid\n",
                                        at + "get_line_temp: this is point temperture\n",
                                        at + "get_horz_line_temp: " + bad,
                                        at + "get_horz_line_temp: " + bad,
                                        at + "get_vert_line_temp: " + bad,
                                        at + "get_slope_line_temp: " + bad,
                                        at + "get_slope_line_temp: " + bad,
                                        at + "get_pixel_horz_neighb_array: data is NULL\n",
                                        at + "get_horz_line_temp: " + horz,
                                        at + "get_pixel_vert_neighb_array: data is NULL\n",
                                        at + "get_vert_line_temp: " + horz,
                                        at + "get_pixel_slope_neighb_array: data is NULL\n",
                                        at + "get_slope_line_temp: " + slope,
                                        at + "get_pixel_horz_neighb_array: the point is invalid\n",
                                        at + "get_horz_line_temp: " + horz,
                                        at + "get_pixel_slope_neighb_array: the point is invalid\n",
                                        at + "get_slope_line_temp: " + slope}));
}

}  // namespace
