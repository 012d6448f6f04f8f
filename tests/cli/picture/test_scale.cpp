#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "picture/scale.h"

namespace radimo::cli {
namespace {

std::vector<float> ramp(int n, float lo, float hi) {
    std::vector<float> v(n);
    for (int i = 0; i < n; ++i) v[i] = lo + (hi - lo) * i / (n - 1);
    return v;
}

TEST(AutomaticRange, IgnoresAFewOutliersButKeepsANearbyWarmObject) {
    std::vector<float> frame = ramp(10000, 20.0f, 30.0f);
    for (int i = 0; i < 5; ++i) frame[100 * i + 7] = 1000.0f, frame[100 * i + 11] = -200.0f;
    frame[5000] = NAN;
    frame[6000] = INFINITY;
    auto [lo, hi] = automatic_range(frame);
    EXPECT_NEAR(lo, 20.0f, 0.05f);
    EXPECT_NEAR(hi, 30.0f, 0.05f);

    frame[42] = 30.8f;  // a real, slightly warmer spot is shown in full
    EXPECT_FLOAT_EQ(automatic_range(frame).second, 30.8f);
}

TEST(AutomaticRange, FlatAndEmptyFramesGetTheMinimumSpan) {
    std::vector<float> flat(4800, 25.0f);
    flat[17] = NAN;
    EXPECT_EQ(automatic_range(flat), (std::pair{24.0f, 26.0f}));
    EXPECT_EQ(automatic_range(std::vector<float>(12, NAN)), (std::pair{-1.0f, 1.0f}));
    EXPECT_EQ(automatic_range({}), (std::pair{-1.0f, 1.0f}));
}

TEST(RoundTicks, StepsOfOneTwoFive) {
    struct Case {
        double lo, hi;
        int max_ticks;
        double step, first, last;
        size_t count;
    };
    for (const Case &c :
         {Case{4.9, 65.6, 8, 10, 10, 60, 6}, Case{20, 22, 10, 0.2, 20, 22, 11}, Case{-3, 3, 6, 1, -3, 3, 7},
          Case{-41.3, 151.0, 6, 50, 0, 150, 4}, Case{20, 20.1, 4, 0.05, 20, 20.1, 3}}) {
        const Ticks t = round_ticks(c.lo, c.hi, c.max_ticks);
        EXPECT_DOUBLE_EQ(t.step, c.step) << c.lo << ".." << c.hi;
        ASSERT_EQ(t.values.size(), c.count) << c.lo << ".." << c.hi;
        EXPECT_NEAR(t.values.front(), c.first, 1e-9);
        EXPECT_NEAR(t.values.back(), c.last, 1e-9);
    }
    EXPECT_TRUE(round_ticks(5, 5, 4).values.empty());
}

TEST(FormatTemperature, DecimalsFromTheStep) {
    EXPECT_EQ(step_decimals(10), 0);
    EXPECT_EQ(step_decimals(1), 0);
    EXPECT_EQ(step_decimals(0.5), 1);
    EXPECT_EQ(step_decimals(0.05), 2);
    EXPECT_EQ(format_temperature(65.55, 1), "65.5");  // 65.55 is just below its decimal in binary
    EXPECT_EQ(format_temperature(-0.04, 1), "0.0");
    EXPECT_EQ(format_temperature(-12.46, 1), "-12.5");
}

}  // namespace
}  // namespace radimo::cli
