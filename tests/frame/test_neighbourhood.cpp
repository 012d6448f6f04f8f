// Neighbourhood extractors, the trimmed mean and the point measurement.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "frame/frame_fixture.h"
#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using radimo::test::LoggedTest;
using radimo::test::TestFrame;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

class Neighbourhood : public LoggedTest {
protected:
    TestFrame frame = TestFrame::ramp(6, 4);
    std::array<uint16_t, 100> out{};
};

TEST_F(Neighbourhood, CornerSquareFillsOutsideSlotsWithTheCentre) {
    ASSERT_EQ(get_pixel_square_array(frame.data(), frame.resolution(), {0, 0}, 3, out.data()),
              RADIMO_SUCCESS);
    const uint16_t c = frame.at(0, 0);
    EXPECT_THAT(std::vector<uint16_t>(out.begin(), out.begin() + 9),
                ElementsAre(c, c, c,                              //
                            c, frame.at(0, 0), frame.at(1, 0),    //
                            c, frame.at(0, 1), frame.at(1, 1)));  // 5 outside slots hold the centre
    EXPECT_EQ(out[9], 0) << "writes exactly (2*half+1)^2 samples";
}

TEST_F(Neighbourhood, SizeUsesLowEightBitsAndEvenSizesRoundUp) {
    std::array<uint16_t, 100> four{}, five{};
    ASSERT_EQ(get_pixel_square_array(frame.data(), frame.resolution(), {2, 1}, 4, four.data()), 0);
    ASSERT_EQ(get_pixel_square_array(frame.data(), frame.resolution(), {2, 1}, 5, five.data()), 0);
    EXPECT_EQ(four, five);
    EXPECT_EQ(five[24], frame.at(4, 3));  // 25 samples written, the last one bottom right
    EXPECT_EQ(five[25], 0);

    out.fill(7);
    ASSERT_EQ(get_pixel_square_array(frame.data(), frame.resolution(), {2, 1}, 256, out.data()), 0);
    EXPECT_EQ(out[0], frame.at(2, 1));
    EXPECT_EQ(out[1], 7) << "size 256 behaves as size 0: one sample";
}

TEST_F(Neighbourhood, HorizontalAndVerticalStayOnTheirAxis) {
    ASSERT_EQ(get_pixel_horz_neighb_array(frame.data(), frame.resolution(), {1, 2}, 5, out.data()), 0);
    const uint16_t c = frame.at(1, 2);
    EXPECT_THAT(std::vector<uint16_t>(out.begin(), out.begin() + 5),
                ElementsAre(c, frame.at(0, 2), c, frame.at(2, 2), frame.at(3, 2)));

    ASSERT_EQ(get_pixel_vert_neighb_array(frame.data(), frame.resolution(), {4, 3}, 5, out.data()), 0);
    const uint16_t v = frame.at(4, 3);
    EXPECT_THAT(std::vector<uint16_t>(out.begin(), out.begin() + 5),
                ElementsAre(frame.at(4, 1), frame.at(4, 2), v, v, v));
}

TEST_F(Neighbourhood, SlopeNeighboursComeFromTheListAwayFromItsEnds) {
    // A list of 7 points along the frame's diagonal-ish path.
    const std::vector<point_t> points = {{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}, {5, 2}, {5, 3}};
    const auto value = [&](int i) { return frame.at(points[i].x, points[i].y); };

    ASSERT_EQ(
        get_pixel_slope_neighb_array(frame.data(), points.data(), frame.resolution(), 3, 5, 7, out.data()),
        0);
    // Positions 1 and 5 are within two of an end: they take the centre value.
    EXPECT_THAT(std::vector<uint16_t>(out.begin(), out.begin() + 5),
                ElementsAre(value(3), value(2), value(3), value(4), value(3)));

    // At index 0 only list position 2 is far enough from both ends to be used.
    ASSERT_EQ(
        get_pixel_slope_neighb_array(frame.data(), points.data(), frame.resolution(), 0, 5, 7, out.data()),
        0);
    EXPECT_THAT(std::vector<uint16_t>(out.begin(), out.begin() + 5),
                ElementsAre(value(0), value(0), value(0), value(0), value(2)));

    // A list of four points: every neighbourhood is five copies of the centre.
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(get_pixel_slope_neighb_array(frame.data(), points.data(), frame.resolution(), i, 5, 4,
                                               out.data()),
                  0);
        EXPECT_THAT(std::vector<uint16_t>(out.begin(), out.begin() + 5), Each(value(i))) << i;
    }
}

TEST_F(Neighbourhood, RejectsNullsAndCentresOutsideTheFrameWithoutWriting) {
    out.fill(0xABCD);
    EXPECT_EQ(get_pixel_square_array(nullptr, frame.resolution(), {0, 0}, 3, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_horz_neighb_array(frame.data(), frame.resolution(), {0, 0}, 3, nullptr),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_square_array(frame.data(), frame.resolution(), {6, 0}, 3, out.data()),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_horz_neighb_array(frame.data(), frame.resolution(), {0, 4}, 3, out.data()),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_vert_neighb_array(frame.data(), frame.resolution(), {-1, 0}, 3, out.data()),
              RADIMO_ERR_PARAM);
    EXPECT_THAT(out, Each(0xABCD));
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/libradimo/get_pixel_square_array: data is NULL\n",
                            "src/libradimo/get_pixel_horz_neighb_array: data is NULL\n",
                            "src/libradimo/get_pixel_square_array: the point is invalid\n",
                            "src/libradimo/get_pixel_horz_neighb_array: the point is invalid\n",
                            "src/libradimo/get_pixel_vert_neighb_array: the point is invalid\n"));
}

TEST_F(Neighbourhood, SlopeRejectsIndexOutsideTheListAndPointsOutsideTheFrame) {
    const std::vector<point_t> points = {{0, 0}, {1, 1}, {2, 2}, {9, 9}, {3, 3}, {4, 3}};
    out.fill(0xABCD);
    const uint32_t res = frame.resolution();
    EXPECT_EQ(get_pixel_slope_neighb_array(frame.data(), points.data(), res, -1, 5, 6, out.data()),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_slope_neighb_array(frame.data(), points.data(), res, 6, 5, 6, out.data()),
              RADIMO_ERR_PARAM);
    // Index 2 would read list position 3, which lies outside the frame.
    EXPECT_EQ(get_pixel_slope_neighb_array(frame.data(), points.data(), res, 2, 5, 6, out.data()),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_slope_neighb_array(frame.data(), nullptr, res, 0, 5, 6, out.data()),
              RADIMO_ERR_PARAM);
    EXPECT_THAT(out, Each(0xABCD));
    EXPECT_THAT(log.error_texts(), ElementsAre("the point is invalid\n", "the point is invalid\n",
                                               "the point is invalid\n", "data is NULL\n"));
}

class TrimmedMean : public LoggedTest {};

TEST_F(TrimmedMean, DropsExactlyOneMinimumAndOneMaximum) {
    uint16_t out = 0;
    const uint16_t equal_lows[] = {10, 10, 10, 10, 50};
    ASSERT_EQ(get_array_average_value(equal_lows, 5, &out), RADIMO_SUCCESS);
    EXPECT_EQ(out, 10);  // (90 - 10 - 50 + 1) / 3 = 31 / 3

    const uint16_t nine[] = {1, 9, 2, 8, 3, 7, 4, 6, 5};
    ASSERT_EQ(get_array_average_value(nine, 9, &out), RADIMO_SUCCESS);
    EXPECT_EQ(out, 5);  // middle seven 2..8

    const uint16_t rounds_up[] = {0, 1, 2, 65535};  // (1 + 2 + 1) / 2 = 2: half rounds up
    ASSERT_EQ(get_array_average_value(rounds_up, 4, &out), RADIMO_SUCCESS);
    EXPECT_EQ(out, 2);

    const uint16_t top[] = {65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535};
    ASSERT_EQ(get_array_average_value(top, 9, &out), RADIMO_SUCCESS);
    EXPECT_EQ(out, 65535);
}

TEST_F(TrimmedMean, MatchesASortedReferenceOnRandomSamples) {
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> value(0, 65535), count(3, 40);
    for (int round = 0; round < 2000; ++round) {
        std::vector<uint16_t> s(count(rng));
        for (auto &v : s) v = static_cast<uint16_t>(value(rng));
        std::vector<uint16_t> sorted = s;
        std::sort(sorted.begin(), sorted.end());
        uint64_t middle = 0;
        for (size_t i = 1; i + 1 < sorted.size(); ++i) middle += sorted[i];
        const uint64_t kept = sorted.size() - 2;
        uint16_t out = 0;
        ASSERT_EQ(get_array_average_value(s.data(), static_cast<int>(s.size()), &out), 0);
        ASSERT_EQ(out, static_cast<uint16_t>((middle + kept / 2) / kept)) << "round " << round;
    }
}

TEST_F(TrimmedMean, RefusesTwoOrFewerSamples) {
    const uint16_t data[3] = {1, 2, 3};
    uint16_t out = 77;
    for (int num : {2, 1, 0, -1, -100}) EXPECT_EQ(get_array_average_value(data, num, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(out, 77);
    EXPECT_EQ(log.error_texts().size(), 5u);
    EXPECT_THAT(log.error_texts(), Each(std::string("num is invalid\n")));
    EXPECT_EQ(log.errors()[0].module, "src/libradimo");
}

class PointTemp : public LoggedTest {
protected:
    TestFrame frame = TestFrame::ramp(5, 4);
};

TEST_F(PointTemp, InteriorPointIsTheMeanOfTheMiddleSeven) {
    uint16_t out = 0;
    ASSERT_EQ(get_point_temp(frame.data(), frame.resolution(), {2, 1}, &out), RADIMO_SUCCESS);
    // Ramp neighbourhood 1001..1203: drop 1001 and 1203, mean of the rest is the centre.
    EXPECT_EQ(out, frame.at(2, 1));
}

TEST_F(PointTemp, CornerPointUsesCentreCopiesForOutsideSlots) {
    frame.at(4, 3) = 500;
    frame.at(3, 3) = 900;
    frame.at(4, 2) = 700;
    frame.at(3, 2) = 2000;
    uint16_t out = 0;
    ASSERT_EQ(get_point_temp(frame.data(), frame.resolution(), {4, 3}, &out), RADIMO_SUCCESS);
    // Samples: 500 x6 (5 outside + centre), 900, 700, 2000 -> drop 500 and 2000:
    // (500*5 + 900 + 700 + 3) / 7 = 586.
    EXPECT_EQ(out, (500 * 5 + 900 + 700 + 3) / 7);
}

TEST_F(PointTemp, RejectsPointsOutsideTheFrameAndNulls) {
    uint16_t out = 0;
    EXPECT_EQ(get_point_temp(frame.data(), frame.resolution(), {5, 0}, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_point_temp(frame.data(), frame.resolution(), {0, 4}, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_point_temp(frame.data(), frame.resolution(), {-1, 0}, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_point_temp(nullptr, frame.resolution(), {0, 0}, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_point_temp(frame.data(), frame.resolution(), {0, 0}, nullptr), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/libradimo/get_point_temp: the point is invalid\n",
                                               "src/libradimo/get_point_temp: the point is invalid\n",
                                               "src/libradimo/get_point_temp: the point is invalid\n",
                                               "src/libradimo/get_point_temp: data is NULL\n",
                                               "src/libradimo/get_point_temp: data is NULL\n"));
}

}  // namespace
