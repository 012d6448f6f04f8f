// Default grids, the two distance models and calculate_tau.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <iterator>

#include "libradimo.h"
#include "support/log_capture.h"

namespace {

template <std::size_t N>
void expect_steps(const double (&grid)[N], const double (&diff)[N - 1]) {
    for (std::size_t i = 0; i + 1 < N; ++i) EXPECT_NEAR(diff[i], grid[i + 1] - grid[i], 1e-9) << i;
}

TEST(Grids, ContentsAndSteps) {
    expect_steps(dist_table, dist_table_diff);
    expect_steps(new_dist_table, new_dist_table_diff);
    expect_steps(dist_table_v3, dist_table_diff_v3);
    expect_steps(target_temp_table, target_temp_table_diff);
    expect_steps(new_target_temp_table, new_target_temp_table_diff);
    expect_steps(target_temp_table_v3, target_temp_table_diff_v3);
    EXPECT_TRUE(std::equal(std::begin(new_dist_table), std::end(new_dist_table), dist_table_v3));
    EXPECT_TRUE(std::equal(std::begin(dist_table), std::end(dist_table), new_dist_table));
    EXPECT_TRUE(
        std::equal(std::begin(new_target_temp_table), std::end(new_target_temp_table), target_temp_table));
    for (int i = 0; i < 56; ++i) EXPECT_NEAR(target_temp_table[i], 248.15 + 25.0 * i, 1e-9);
    EXPECT_THAT(std::vector<double>(std::begin(temp_table), std::end(temp_table)),
                ::testing::ElementsAre(-5, 0, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 55));  // 55 twice
    EXPECT_EQ(dist_table[1], 0.3);
    EXPECT_EQ(new_dist_table[87], 1000.0);
    EXPECT_EQ(target_temp_table_v3[23], 823.15);
    EXPECT_EQ(target_temp_table_v3[24], 873.15);
    EXPECT_EQ(target_temp_table_v3[44], 1873.15);
}

class DistanceModels : public radimo::test::LoggedTest {
protected:
    void SetUp() override {
        std::copy(std::begin(dist_table), std::end(dist_table), saved_dist_);
        std::copy(std::begin(new_dist_table), std::end(new_dist_table), saved_new_);
    }
    void TearDown() override {  // the generators overwrite shared globals
        std::copy(std::begin(saved_dist_), std::end(saved_dist_), dist_table);
        std::copy(std::begin(saved_new_), std::end(saved_new_), new_dist_table);
    }
    double saved_dist_[64] = {}, saved_new_[88] = {};
};

TEST_F(DistanceModels, ModelsReproduceTheDefaultGrids) {
    EXPECT_EQ(distance_calculate(20), 1.2f);
    EXPECT_EQ(distance_calculate(21), 1.3f);
    EXPECT_EQ(new_distance_calculate(19), 1.15f);
    EXPECT_EQ(new_distance_calculate(20), 1.2f);
    for (uint16_t x = 1; x <= 88; ++x) {
        EXPECT_EQ(new_distance_calculate(x), static_cast<float>(new_dist_table[x - 1])) << x;
        if (x <= 64) {
            EXPECT_EQ(distance_calculate(x), new_distance_calculate(x)) << "both models" << x;
        }
    }
    EXPECT_TRUE(log.errors().empty());
    EXPECT_EQ(distance_calculate(0), 0.0f);
    EXPECT_EQ(distance_calculate(65), 0.0f);
    EXPECT_EQ(new_distance_calculate(89), 0.0f);
    EXPECT_THAT(log.error_trace(),
                ::testing::ElementsAre("src/temp_correct/distance_calculate: x is invalid\n",
                                       "src/temp_correct/distance_calculate: x is invalid\n",
                                       "src/temp_correct/new_distance_calculate: x is invalid\n"));
}

TEST_F(DistanceModels, GeneratorsStoreSinglePrecisionValues) {
    generate_distance_table();
    generate_new_distance_table();
    EXPECT_EQ(dist_table[63], 50.0);
    EXPECT_EQ(dist_table[1], 0.30000001192092896);
    EXPECT_EQ(new_dist_table[2], static_cast<double>(0.35f));
    EXPECT_EQ(new_dist_table[87], 1000.0);
}

TEST(CalculateTau, RatioInQ14SaturatedAboveOnly) {
    EXPECT_EQ(calculate_tau(300, 100, 200, 100), 16384);
    EXPECT_EQ(calculate_tau(150, 100, 200, 100), 8192);
    EXPECT_EQ(calculate_tau(50, 100, 200, 100), -8192);
    EXPECT_EQ(calculate_tau(99, 100, 300, 100), -81);       // -81.92 toward zero
    EXPECT_EQ(calculate_tau(200, 100, 100, 100), 16384);    // +inf saturates
    EXPECT_EQ(calculate_tau(100, 200, 100, 100), INT_MIN);  // -inf
    EXPECT_EQ(calculate_tau(100, 100, 100, 100), INT_MIN);  // 0/0
}

}  // namespace
