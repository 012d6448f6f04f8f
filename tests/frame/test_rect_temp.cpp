// Rectangle measurement and the threshold alarms.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frame/frame_fixture.h"
#include "libradimo.h"
#include "support/log_capture.h"

namespace {

using radimo::test::LoggedTest;
using radimo::test::TestFrame;
using ::testing::ElementsAre;

class RectTemp : public LoggedTest {
protected:
    temp_result_t r{};
};

// The rectangle's samples are the point values of its pixels: compare the
// rectangle (with its interior fast path) against get_point_temp pixel by pixel.
TEST_F(RectTemp, AgreesWithPointMeasurementOnRandomFramesAndRectangles) {
    std::mt19937 rng(11);
    for (int round = 0; round < 300; ++round) {
        const uint16_t w = static_cast<uint16_t>(1 + rng() % 12), h = static_cast<uint16_t>(1 + rng() % 9);
        // Few distinct values so that ties are common.
        TestFrame f = TestFrame::random(w, h, rng, 100, round % 2 ? 104 : 60000);
        const int x0 = static_cast<int>(rng() % w), y0 = static_cast<int>(rng() % h);
        const int rw = 1 + static_cast<int>(rng() % (w - x0)), rh = 1 + static_cast<int>(rng() % (h - y0));

        temp_result_t expect{0, 0xFFFF, 0, {}, {}};
        uint32_t sum = 0;
        for (int y = y0; y < y0 + rh; ++y) {
            for (int x = x0; x < x0 + rw; ++x) {
                uint16_t v = 0;
                ASSERT_EQ(get_point_temp(f.data(), f.resolution(), {x, y}, &v), 0);
                if (v >= expect.max_temp) expect.max_temp = v, expect.max_temp_point = {x, y};
                if (v <= expect.min_temp) expect.min_temp = v, expect.min_temp_point = {x, y};
                sum += v;
            }
        }
        const uint32_t n = static_cast<uint32_t>(rw * rh);
        ASSERT_EQ(get_rect_temp(f.data(), f.resolution(), {x0, y0}, {rw, rh}, &r), RADIMO_SUCCESS);
        ASSERT_EQ(r.max_temp, expect.max_temp) << round;
        ASSERT_EQ(r.min_temp, expect.min_temp) << round;
        ASSERT_EQ(r.avg_temp, (sum + n / 2) / n) << round;
        ASSERT_EQ(r.max_temp_point.x, expect.max_temp_point.x) << round;
        ASSERT_EQ(r.max_temp_point.y, expect.max_temp_point.y) << round;
        ASSERT_EQ(r.min_temp_point.x, expect.min_temp_point.x) << round;
        ASSERT_EQ(r.min_temp_point.y, expect.min_temp_point.y) << round;
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(RectTemp, EqualMaximaReportTheLaterPixel) {
    TestFrame f(6, 6, 3000);
    ASSERT_EQ(get_rect_temp(f.data(), f.resolution(), {1, 1}, {3, 2}, &r), RADIMO_SUCCESS);
    EXPECT_EQ(r.max_temp_point.x, 3);
    EXPECT_EQ(r.max_temp_point.y, 2);
    EXPECT_EQ(r.min_temp_point.x, 3);
    EXPECT_EQ(r.min_temp_point.y, 2);
}

TEST_F(RectTemp, RectangleMayEndExactlyAtTheFrameEdge) {
    TestFrame f = TestFrame::ramp(7, 5);
    EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), {4, 2}, {3, 3}, &r), RADIMO_SUCCESS);
    EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), {0, 0}, {7, 5}, &r), RADIMO_SUCCESS);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(RectTemp, RefusesRectanglesBeyondTheFrameOrWithoutPixels) {
    TestFrame f = TestFrame::ramp(7, 5);
    r.max_temp = 123;
    r.min_temp = 456;
    EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), {4, 2}, {4, 3}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(r.max_temp, 0) << "the record is initialised before the size check";
    EXPECT_EQ(r.min_temp, 65535);
    EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), {4, 2}, {3, 4}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), {1, 1}, {0, 2}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), {1, 1}, {2, 0}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), {-1, 1}, {2, 2}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), {1, 1}, {-2, -2}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), {0x7FFFFFFF, 0}, {5, 1}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(log.error_texts().size(), 7u);
    EXPECT_THAT(log.error_texts(), ::testing::Each(std::string("the rect is invalid\n")));
    EXPECT_EQ(get_rect_temp(nullptr, f.resolution(), {0, 0}, {1, 1}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(log.errors().back().where_what(), "src/libradimo/get_rect_temp: data is NULL\n");
}

TEST(ThresholdAlarm, PointStates) {
    EXPECT_EQ(point_over_threshold_alarm({100, 100}, 100), 0);
    EXPECT_EQ(point_over_threshold_alarm({100, 50}, 101), 1);
    EXPECT_EQ(point_over_threshold_alarm({100, 50}, 49), 2);
    EXPECT_EQ(point_over_threshold_alarm({50, 100}, 70), 3);
    EXPECT_EQ(point_over_threshold_alarm({100, 50}, 0x10000 + 75), 0) << "only the low 16 bits count";
    EXPECT_EQ(point_over_threshold_alarm({100, 50}, -1), 1) << "-1 is 65535 as a 16-bit sample";
}

TEST(ThresholdAlarm, LineAndRectangleStatesTestTheAverageToo) {
    temp_result_t r{};
    r = {90, 60, 70, {}, {}};
    EXPECT_EQ(line_rect_over_threshold_alarm({100, 50}, &r), 0);
    r = {101, 60, 70, {}, {}};
    EXPECT_EQ(line_rect_over_threshold_alarm({100, 50}, &r), 1);
    r = {90, 60, 101, {}, {}};
    EXPECT_EQ(line_rect_over_threshold_alarm({100, 50}, &r), 1);
    r = {90, 49, 70, {}, {}};
    EXPECT_EQ(line_rect_over_threshold_alarm({100, 50}, &r), 2);
    r = {90, 60, 40, {}, {}};
    EXPECT_EQ(line_rect_over_threshold_alarm({100, 50}, &r), 2);
    r = {200, 10, 70, {}, {}};
    EXPECT_EQ(line_rect_over_threshold_alarm({100, 50}, &r), 1) << "above is tested before below";
    EXPECT_EQ(line_rect_over_threshold_alarm({40, 50}, &r), 3);
}

TEST_F(RectTemp, AlarmOnMissingResultIsAnError) {
    EXPECT_EQ(line_rect_over_threshold_alarm({100, 50}, nullptr), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/libradimo/line_rect_over_threshold_alarm: data is NULL\n"));
}

}  // namespace
