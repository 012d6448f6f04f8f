// Rasterising slanted lines: slope, point count, pixel selection and point sets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using radimo::test::LoggedTest;
using ::testing::ElementsAre;

bool operator==(const point_t &a, const point_t &b) {
    return a.x == b.x && a.y == b.y;
}

std::vector<std::pair<int, int>> as_pairs(const std::vector<point_t> &points) {
    std::vector<std::pair<int, int>> out;
    for (const point_t &p : points) out.emplace_back(p.x, p.y);
    return out;
}

std::vector<point_t> point_set(point_t begin, int n, float slope) {
    std::vector<point_t> points(static_cast<size_t>(n));
    EXPECT_EQ(get_point_set(static_cast<uint32_t>(begin.x), static_cast<uint32_t>(begin.y), n, points.data(),
                            slope),
              RADIMO_SUCCESS);
    return points;
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
    // Shallow: y = round(y0 + slope * (t - x0)).
    EXPECT_EQ(select_pixel(0, 0, 1, 0.5f).y, 1);    // 0.5 -> 1
    EXPECT_EQ(select_pixel(0, 0, 3, 0.5f).y, 2);    // 1.5 -> 2
    EXPECT_EQ(select_pixel(0, 0, 1, -0.5f).y, 0);   // -0.5 -> 0
    EXPECT_EQ(select_pixel(0, 0, 3, -0.5f).y, -1);  // -1.5 -> -1
    EXPECT_EQ(select_pixel(0, 0, 1, 0.49f).y, 0);
    EXPECT_EQ(select_pixel(2, 5, 7, 0.25f).x, 7);
    // Steep: x = round((t - y0) / slope + x0).
    const point_t steep = select_pixel(0, 4, 2, -4.0f);
    EXPECT_EQ(steep.y, 2);
    EXPECT_EQ(steep.x, 1);  // (2 - 4) / -4 = 0.5 -> 1
}

TEST(LineRaster, ShallowLineFromOriginToFourTwo) {
    EXPECT_THAT(
        as_pairs(point_set({0, 0}, 5, 0.5f)),
        ElementsAre(std::pair{0, 0}, std::pair{1, 1}, std::pair{2, 1}, std::pair{3, 2}, std::pair{4, 2}));
}

TEST(LineRaster, SteepFallingLineWalksYDownwards) {
    // From (0, 4) to (1, 0): slope -4, y runs 4..0 and x = round((y - 4) / -4).
    std::vector<std::pair<int, int>> expected;
    for (int y = 4; y >= 0; --y) {
        const float v = static_cast<float>(y - 4) / -4.0f;
        const float f = std::floor(v);
        expected.emplace_back(static_cast<int>(v - f >= 0.5f ? f + 1 : f), y);
    }
    EXPECT_EQ(as_pairs(point_set({0, 4}, 5, -4.0f)), expected);
    EXPECT_EQ(expected.front(), (std::pair{0, 4}));
    EXPECT_EQ(expected.back(), (std::pair{1, 0}));
}

TEST(LineRaster, SteepRisingLineWalksYUpwards) {
    EXPECT_THAT(as_pairs(point_set({1, 1}, 4, 3.0f)),
                ElementsAre(std::pair{1, 1}, std::pair{1, 2}, std::pair{2, 3}, std::pair{2, 4}));
}

TEST(LineRaster, PointSetsEndAtTheEndPoint) {
    // Every rasterised line between two points starts and ends on them and moves by one pixel per step.
    for (int ex = 1; ex < 12; ++ex) {
        for (int ey = -11; ey < 12; ++ey) {
            if (ey == 0) continue;
            const point_t a{0, 20}, b{ex, 20 + ey};
            const int n = get_point_num(a, b);
            const std::vector<point_t> pts = point_set(a, n, get_slope(a, b));
            ASSERT_TRUE(pts.front() == a) << ex << "," << ey;
            ASSERT_TRUE(pts.back() == b) << ex << "," << ey;
            for (int i = 1; i < n; ++i) {
                ASSERT_LE(std::abs(pts[i].x - pts[i - 1].x), 1);
                ASSERT_LE(std::abs(pts[i].y - pts[i - 1].y), 1);
            }
        }
    }
}

class PointSetErrors : public LoggedTest {};

TEST_F(PointSetErrors, NullArrayIsRefusedAndZeroPointsWriteNothing) {
    EXPECT_EQ(get_point_set(0, 0, 3, nullptr, 0.5f), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/libradimo/get_point_set: point set is NULL\n"));
    point_t untouched{-7, -7};
    EXPECT_EQ(get_point_set(0, 0, 0, &untouched, 0.5f), RADIMO_SUCCESS);
    EXPECT_EQ(get_point_set(0, 0, -3, &untouched, 5.0f), RADIMO_SUCCESS);
    EXPECT_EQ(untouched.x, -7);
}

}  // namespace
