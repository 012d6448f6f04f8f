// Line measurement: dispatch, sampling, tie rule and failure chains.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "frame/frame_fixture.h"
#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using radimo::test::LoggedTest;
using radimo::test::TestFrame;
using ::testing::ElementsAre;

class LineTemp : public LoggedTest {
protected:
    TestFrame frame = TestFrame::ramp(8, 6);
    temp_result_t r{};

    // Trimmed mean of a caller-built neighbourhood, for expected values.
    static uint16_t mean_of(std::vector<uint16_t> s) {
        uint16_t out = 0;
        EXPECT_EQ(get_array_average_value(s.data(), static_cast<int>(s.size()), &out), 0);
        return out;
    }
};

TEST_F(LineTemp, HorizontalLineRunsFromTheSmallerX) {
    frame.at(1, 5) = 9000;  // makes x = 1 the row's hottest sample
    ASSERT_EQ(get_line_temp(frame.data(), frame.resolution(), {3, 5}, {0, 5}, &r), RADIMO_SUCCESS);
    std::vector<uint16_t> samples;
    for (int x = 0; x <= 3; ++x) {
        std::vector<uint16_t> s;
        for (int c = x - 2; c <= x + 2; ++c) s.push_back(c < 0 ? frame.at(x, 5) : frame.at(c, 5));
        samples.push_back(mean_of(s));
    }
    EXPECT_EQ(r.max_temp, *std::max_element(samples.begin(), samples.end()));
    EXPECT_EQ(r.min_temp, *std::min_element(samples.begin(), samples.end()));
    uint32_t sum = 0;
    for (uint16_t v : samples) sum += v;
    EXPECT_EQ(r.avg_temp, (sum + 2) / 4);
    EXPECT_EQ(r.min_temp_point.x, 0);
    EXPECT_EQ(r.min_temp_point.y, 5);
    EXPECT_THAT(log.debug_texts(), ElementsAre("this is horizontal line temperture\n"));
    EXPECT_EQ(log.debugs()[0].function, "get_line_temp");
}

TEST_F(LineTemp, VerticalLineSamplesAlongTheColumn) {
    ASSERT_EQ(get_line_temp(frame.data(), frame.resolution(), {2, 4}, {2, 1}, &r), RADIMO_SUCCESS);
    // The ramp rises by 100 per row; row 4's neighbourhood is cut at the bottom edge.
    EXPECT_EQ(r.min_temp_point.y, 1);
    EXPECT_EQ(r.max_temp_point.y, 4);
    // Row 1: rows -1..3 give {1102 (centre copy), 1002, 1102, 1202, 1302}; 1002 and 1302 are dropped.
    EXPECT_EQ(r.min_temp, (1102 + 1102 + 1202 + 1) / 3);
    EXPECT_THAT(log.debug_texts(), ElementsAre("this is vertical line temperture\n"));
}

TEST_F(LineTemp, EqualExtremesReportTheLastPositionInScanOrder) {
    TestFrame flat(8, 6, 4000);
    ASSERT_EQ(get_line_temp(flat.data(), flat.resolution(), {6, 2}, {1, 2}, &r), RADIMO_SUCCESS);
    EXPECT_EQ(r.max_temp, 4000);
    EXPECT_EQ(r.min_temp, 4000);
    EXPECT_EQ(r.max_temp_point.x, 6);
    EXPECT_EQ(r.min_temp_point.x, 6);
    EXPECT_EQ(r.avg_temp, 4000);
}

TEST_F(LineTemp, ShortSlantedLinesReportTheirOwnPixels) {
    // In a slanted line of 5 points or fewer each neighbourhood holds at most one other
    // pixel, and the trimmed mean drops it.
    std::mt19937 rng(3);
    TestFrame noisy = TestFrame::random(8, 6, rng);
    ASSERT_EQ(get_line_temp(noisy.data(), noisy.resolution(), {0, 0}, {4, 2}, &r), RADIMO_SUCCESS);
    const std::vector<std::pair<int, int>> pts = {{0, 0}, {1, 1}, {2, 1}, {3, 2}, {4, 2}};
    uint16_t hi = 0, lo = 0xFFFF;
    uint32_t sum = 0;
    std::pair<int, int> hi_at, lo_at;
    for (auto [x, y] : pts) {
        const uint16_t v = noisy.at(x, y);
        if (v >= hi) hi = v, hi_at = {x, y};
        if (v <= lo) lo = v, lo_at = {x, y};
        sum += v;
    }
    EXPECT_EQ(r.max_temp, hi);
    EXPECT_EQ(r.min_temp, lo);
    EXPECT_EQ(std::pair(r.max_temp_point.x, r.max_temp_point.y), hi_at);
    EXPECT_EQ(std::pair(r.min_temp_point.x, r.min_temp_point.y), lo_at);
    EXPECT_EQ(r.avg_temp, (sum + 2) / 5);
    EXPECT_THAT(log.debug_texts(), ElementsAre("this is slope line temperture\n"));
}

TEST_F(LineTemp, SlantedLinesTrimAlongTheListAwayFromItsEnds) {
    // 9 points from (0, 0) to (8, 2): the hot pixel at list position 4 has four list
    // neighbours and is trimmed away.
    TestFrame f(10, 6, 5000);
    f.at(4, 1) = 9000;
    ASSERT_EQ(get_line_temp(f.data(), f.resolution(), {0, 0}, {8, 2}, &r), RADIMO_SUCCESS);
    EXPECT_EQ(r.max_temp, 5000);
    EXPECT_EQ(r.min_temp, 5000);

    // 7 points from (0, 0) to (6, 2): position 3 is hot. Its neighbourhood uses list
    // positions 2..4 only (1 and 5 lie within two of an end and take the centre value),
    // so the hot value survives: {9000, 5000, 9000, 5000, 9000} -> (9000 + 5000 + 9000 + 1) / 3.
    TestFrame g(10, 6, 5000);
    g.at(3, 1) = 9000;
    ASSERT_EQ(get_line_temp(g.data(), g.resolution(), {0, 0}, {6, 2}, &r), RADIMO_SUCCESS);
    EXPECT_EQ(r.max_temp, (9000 + 5000 + 9000 + 1) / 3);
    EXPECT_EQ(r.max_temp_point.x, 3);
    EXPECT_EQ(r.max_temp_point.y, 1);
}

TEST_F(LineTemp, DispatcherRefusesBadLines) {
    EXPECT_EQ(get_line_temp(nullptr, frame.resolution(), {0, 0}, {1, 0}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_line_temp(frame.data(), frame.resolution(), {0, 0}, {1, 0}, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_line_temp(frame.data(), frame.resolution(), {0, 0}, {8, 0}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_line_temp(frame.data(), frame.resolution(), {0, 6}, {0, 0}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_line_temp(frame.data(), frame.resolution(), {-1, 0}, {0, 0}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_line_temp(frame.data(), frame.resolution(), {2, 3}, {2, 3}, &r), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/libradimo/get_line_temp: data is NULL\n",
                                               "src/libradimo/get_line_temp: data is NULL\n",
                                               "src/libradimo/get_line_temp: line parameter is not valid\n",
                                               "src/libradimo/get_line_temp: line parameter is not valid\n",
                                               "src/libradimo/get_line_temp: line parameter is not valid\n",
                                               "src/libradimo/get_line_temp: this is point temperture\n"));
}

TEST_F(LineTemp, DirectCallsCheckTheirOwnDirection) {
    EXPECT_EQ(get_horz_line_temp(frame.data(), frame.resolution(), {0, 0}, {2, 1}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_horz_line_temp(frame.data(), frame.resolution(), {2, 0}, {2, 0}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_vert_line_temp(frame.data(), frame.resolution(), {0, 0}, {1, 3}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_slope_line_temp(frame.data(), frame.resolution(), {0, 0}, {0, 3}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_slope_line_temp(frame.data(), frame.resolution(), {0, 2}, {5, 2}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(log.error_texts().size(), 5u);
    EXPECT_THAT(log.error_texts(), ::testing::Each(std::string("line parameter is invalid\n")));
}

TEST_F(LineTemp, FailureChainsNameEachLevelAndVerticalKeepsItsSwappedTexts) {
    EXPECT_EQ(get_horz_line_temp(nullptr, frame.resolution(), {0, 0}, {2, 0}, &r), RADIMO_ERR_HORZ_NEIGHB);
    EXPECT_EQ(get_vert_line_temp(nullptr, frame.resolution(), {0, 0}, {0, 2}, &r), RADIMO_ERR_VERT_NEIGHB);
    EXPECT_EQ(get_slope_line_temp(nullptr, frame.resolution(), {0, 0}, {2, 1}, &r), RADIMO_ERR_SLOPE_NEIGHB);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/libradimo/get_pixel_horz_neighb_array: data is NULL\n",
                            "src/libradimo/get_horz_line_temp: get pixel horz neighb array error\n",
                            "src/libradimo/get_pixel_vert_neighb_array: data is NULL\n",
                            "src/libradimo/get_vert_line_temp: get pixel horz neighb array error\n",
                            "src/libradimo/get_pixel_slope_neighb_array: data is NULL\n",
                            "src/libradimo/get_slope_line_temp: get pixel slope neighb array error\n"));
}

TEST_F(LineTemp, DirectCallOffTheFrameFailsInsteadOfReading) {
    EXPECT_EQ(get_horz_line_temp(frame.data(), frame.resolution(), {0, 9}, {3, 9}, &r),
              RADIMO_ERR_HORZ_NEIGHB);
    EXPECT_EQ(get_slope_line_temp(frame.data(), frame.resolution(), {6, 4}, {9, 5}, &r),
              RADIMO_ERR_SLOPE_NEIGHB);
    EXPECT_THAT(log.error_texts(),
                ElementsAre("the point is invalid\n", "get pixel horz neighb array error\n",
                            "the point is invalid\n", "get pixel slope neighb array error\n"));
}

}  // namespace
