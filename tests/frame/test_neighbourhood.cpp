// Neighbourhood extractors, the trimmed mean and the point measurement.
#include <array>

#include "frame/frame_fixture.h"
#include "support/prelude.h"

namespace {

using radimo::test::TestFrame;

class Neighbourhood : public radimo::test::LoggedTest {
protected:
    TestFrame frame = TestFrame::ramp(6, 4);  // 1000 + 100 y + x
    std::array<uint16_t, 100> out{};
    std::vector<uint16_t> first(size_t n) const { return {out.begin(), out.begin() + n}; }
    uint16_t at(int x, int y) const { return frame.at(x, y); }
};

TEST_F(Neighbourhood, OutsideSlotsHoldTheCentre) {
    const uint32_t res = frame.resolution();
    ASSERT_EQ(get_pixel_square_array(frame.data(), res, {0, 0}, 3, out.data()), RADIMO_SUCCESS);
    const uint16_t c = at(0, 0);
    EXPECT_THAT(first(10),
                ElementsAre(c, c, c, c, c, at(1, 0), c, at(0, 1), at(1, 1), 0));  // exactly 9 written
    ASSERT_EQ(get_pixel_horz_neighb_array(frame.data(), res, {1, 2}, 5, out.data()), 0);
    EXPECT_THAT(first(5), ElementsAre(at(1, 2), at(0, 2), at(1, 2), at(2, 2), at(3, 2)));
    ASSERT_EQ(get_pixel_vert_neighb_array(frame.data(), res, {4, 3}, 5, out.data()), 0);
    EXPECT_THAT(first(5), ElementsAre(at(4, 1), at(4, 2), at(4, 3), at(4, 3), at(4, 3)));
    // Sizes: an even size rounds up and only the low eight bits count (256 gives one sample).
    std::array<uint16_t, 100> five{};
    ASSERT_EQ(get_pixel_square_array(frame.data(), res, {2, 1}, 5, five.data()), 0);
    ASSERT_EQ(get_pixel_square_array(frame.data(), res, {2, 1}, 4, out.data()), 0);
    EXPECT_EQ(out, five);
    EXPECT_THAT(std::vector<uint16_t>(five.begin() + 24, five.begin() + 26), ElementsAre(at(4, 3), 0));
    out.fill(7);
    ASSERT_EQ(get_pixel_square_array(frame.data(), res, {2, 1}, 256, out.data()), 0);
    EXPECT_THAT(first(2), ElementsAre(at(2, 1), 7));
}

TEST_F(Neighbourhood, SlopeNeighboursComeFromTheListAwayFromItsEnds) {
    const std::vector<point_t> points = {{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}, {5, 2}, {5, 3}};
    const auto value = [&](int i) { return at(points[i].x, points[i].y); };
    const auto slope = [&](int index, uint32_t count) {
        return get_pixel_slope_neighb_array(frame.data(), points.data(), frame.resolution(), index, 5, count,
                                            out.data());
    };
    // Positions 1 and 5 are within two of an end: they take the centre value.
    ASSERT_EQ(slope(3, 7), 0);
    EXPECT_THAT(first(5), ElementsAre(value(3), value(2), value(3), value(4), value(3)));
    // At index 0 only list position 2 is far enough from both ends to be used.
    ASSERT_EQ(slope(0, 7), 0);
    EXPECT_THAT(first(5), ElementsAre(value(0), value(0), value(0), value(0), value(2)));
    // A list of four points: every neighbourhood is five copies of the centre.
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(slope(i, 4), 0);
        EXPECT_THAT(first(5), Each(value(i))) << i;
    }
}

TEST_F(Neighbourhood, RefusalsWriteNothing) {
    const uint16_t *f = frame.data();
    const uint32_t res = frame.resolution();
    const std::vector<point_t> points = {{0, 0}, {1, 1}, {2, 2}, {9, 9}, {3, 3}, {4, 3}};
    uint16_t value = 77;
    out.fill(0xABCD);
    EXPECT_EQ(get_pixel_square_array(nullptr, res, {0, 0}, 3, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_horz_neighb_array(f, res, {0, 0}, 3, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_square_array(f, res, {6, 0}, 3, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_horz_neighb_array(f, res, {0, 4}, 3, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_vert_neighb_array(f, res, {-1, 0}, 3, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_slope_neighb_array(f, points.data(), res, -1, 5, 6, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_slope_neighb_array(f, points.data(), res, 6, 5, 6, out.data()), RADIMO_ERR_PARAM);
    // Index 2 would read list position 3, which lies outside the frame.
    EXPECT_EQ(get_pixel_slope_neighb_array(f, points.data(), res, 2, 5, 6, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_pixel_slope_neighb_array(f, nullptr, res, 0, 5, 6, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_point_temp(f, res, {6, 0}, &value), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_point_temp(f, res, {0, 4}, &value), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_point_temp(nullptr, res, {0, 0}, &value), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_point_temp(f, res, {0, 0}, nullptr), RADIMO_ERR_PARAM);
    EXPECT_THAT(out, Each(0xABCD));
    EXPECT_EQ(value, 77);
    const std::string at = "src/libradimo/", point = "the point is invalid\n", null = "data is NULL\n";
    EXPECT_EQ(log.error_trace(),
              (std::vector<std::string>{
                  at + "get_pixel_square_array: " + null, at + "get_pixel_horz_neighb_array: " + null,
                  at + "get_pixel_square_array: " + point, at + "get_pixel_horz_neighb_array: " + point,
                  at + "get_pixel_vert_neighb_array: " + point, at + "get_pixel_slope_neighb_array: " + point,
                  at + "get_pixel_slope_neighb_array: " + point,
                  at + "get_pixel_slope_neighb_array: " + point, at + "get_pixel_slope_neighb_array: " + null,
                  at + "get_point_temp: " + point, at + "get_point_temp: " + point,
                  at + "get_point_temp: " + null, at + "get_point_temp: " + null}));
}

class TrimmedMean : public radimo::test::LoggedTest {};

TEST_F(TrimmedMean, DropsExactlyOneMinimumAndOneMaximumAndRoundsHalfUp) {
    const struct {
        std::vector<uint16_t> samples;
        uint16_t mean;
    } cases[] = {{{10, 10, 10, 10, 50}, 10},  // (90 - 10 - 50 + 1) / 3
                 {{1, 9, 2, 8, 3, 7, 4, 6, 5}, 5},
                 {{0, 1, 2, 65535}, 2},  // (1 + 2 + 1) / 2
                 {std::vector<uint16_t>(9, 65535), 65535}};
    for (const auto &c : cases) {
        uint16_t out = 0;
        ASSERT_EQ(get_array_average_value(c.samples.data(), static_cast<int>(c.samples.size()), &out), 0);
        EXPECT_EQ(out, c.mean) << c.samples.size();
    }
    const uint16_t data[3] = {1, 2, 3};
    uint16_t out = 77;
    for (int num : {2, 1, 0, -1, -100}) EXPECT_EQ(get_array_average_value(data, num, &out), RADIMO_ERR_PARAM);
    EXPECT_EQ(out, 77);
    EXPECT_EQ(log.error_trace(),
              std::vector<std::string>(5, "src/libradimo/get_array_average_value: num is invalid\n"));
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

TEST(PointTemp, MeanOfTheMiddleSevenWithCentreCopiesOutside) {
    TestFrame frame = TestFrame::ramp(5, 4);
    uint16_t out = 0;
    ASSERT_EQ(get_point_temp(frame.data(), frame.resolution(), {2, 1}, &out), RADIMO_SUCCESS);
    EXPECT_EQ(out, frame.at(2, 1));  // 1001..1203 without 1001 and 1203: the centre
    frame.at(4, 3) = 500;
    frame.at(3, 3) = 900;
    frame.at(4, 2) = 700;
    frame.at(3, 2) = 2000;
    // Corner: 500 x6 (5 outside + centre), 900, 700, 2000 -> drop 500 and 2000.
    ASSERT_EQ(get_point_temp(frame.data(), frame.resolution(), {4, 3}, &out), RADIMO_SUCCESS);
    EXPECT_EQ(out, (500 * 5 + 900 + 700 + 3) / 7);
}

}  // namespace
