// Rectangle measurement and the threshold alarms.
#include "frame/frame_fixture.h"
#include "support/prelude.h"

namespace {

using radimo::test::summary;
using radimo::test::TestFrame;

class RectTemp : public radimo::test::LoggedTest {
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
        expect.avg_temp = static_cast<uint16_t>((sum + n / 2) / n);
        ASSERT_EQ(get_rect_temp(f.data(), f.resolution(), {x0, y0}, {rw, rh}, &r), RADIMO_SUCCESS);
        ASSERT_EQ(summary(r), summary(expect)) << round;
    }
    // Equal values: the later pixel is reported; a rectangle may end exactly at the frame edge.
    const TestFrame flat(6, 6, 3000);
    ASSERT_EQ(get_rect_temp(flat.data(), flat.resolution(), {1, 1}, {3, 2}, &r), RADIMO_SUCCESS);
    EXPECT_EQ(summary(r), "max 3000 at (3,2), min 3000 at (3,2), avg 3000");
    ASSERT_EQ(get_rect_temp(flat.data(), flat.resolution(), {0, 0}, {6, 6}, &r), RADIMO_SUCCESS);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(RectTemp, RefusesRectanglesBeyondTheFrameOrWithoutPixels) {
    TestFrame f = TestFrame::ramp(7, 5);
    r.max_temp = 123;
    r.min_temp = 456;
    EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), {4, 2}, {4, 3}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(r.max_temp, 0) << "the record is initialised before the size check";
    EXPECT_EQ(r.min_temp, 65535);
    const std::pair<point_t, rect_size_t> invalid[] = {{{4, 2}, {3, 4}},   {{1, 1}, {0, 2}},
                                                       {{1, 1}, {2, 0}},   {{-1, 1}, {2, 2}},
                                                       {{1, 1}, {-2, -2}}, {{0x7FFFFFFF, 0}, {5, 1}}};
    for (const auto &[origin, size] : invalid)
        EXPECT_EQ(get_rect_temp(f.data(), f.resolution(), origin, size, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(log.error_texts(), std::vector<std::string>(7, "the rect is invalid\n"));
    EXPECT_EQ(get_rect_temp(nullptr, f.resolution(), {0, 0}, {1, 1}, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(line_rect_over_threshold_alarm({100, 50}, nullptr), RADIMO_ERR_PARAM);
    const std::vector<std::string> trace = log.error_trace();
    EXPECT_THAT(std::vector<std::string>(trace.begin() + 7, trace.end()),
                ElementsAre("src/libradimo/get_rect_temp: data is NULL\n",
                            "src/libradimo/line_rect_over_threshold_alarm: data is NULL\n"));
}

TEST(ThresholdAlarm, PointAndResultStates) {
    EXPECT_EQ(point_over_threshold_alarm({100, 100}, 100), 0);
    EXPECT_EQ(point_over_threshold_alarm({100, 50}, 101), 1);
    EXPECT_EQ(point_over_threshold_alarm({100, 50}, 49), 2);
    EXPECT_EQ(point_over_threshold_alarm({50, 100}, 70), 3);
    EXPECT_EQ(point_over_threshold_alarm({100, 50}, 0x10000 + 75), 0) << "only the low 16 bits count";
    EXPECT_EQ(point_over_threshold_alarm({100, 50}, -1), 1) << "-1 is 65535 as a 16-bit sample";
    // Lines and rectangles test the average too; above is tested before below.
    const struct {
        threshold_t threshold;
        uint16_t max, min, avg;
        int state;
    } cases[] = {{{100, 50}, 90, 60, 70, 0}, {{100, 50}, 101, 60, 70, 1}, {{100, 50}, 90, 60, 101, 1},
                 {{100, 50}, 90, 49, 70, 2}, {{100, 50}, 90, 60, 40, 2},  {{100, 50}, 200, 10, 70, 1},
                 {{40, 50}, 200, 10, 70, 3}};
    for (const auto &c : cases) {
        const temp_result_t r{c.max, c.min, c.avg, {}, {}};
        EXPECT_EQ(line_rect_over_threshold_alarm(c.threshold, &r), c.state)
            << c.max << " " << c.min << " " << c.avg;
    }
}

}  // namespace
