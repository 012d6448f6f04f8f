// Default grids, the distance models, calculate_tau and the index rules over
// the tau grids at and around every tolerance boundary.
#include <climits>
#include <iterator>
#include <limits>

#include "support/prelude.h"

namespace {

// Largest float whose widened value is at or below v, and the next float above it.
float at_or_below(double v) {
    float f = static_cast<float>(v);
    return static_cast<double>(f) > v ? std::nextafter(f, -std::numeric_limits<float>::infinity()) : f;
}
float above(double v) {
    return std::nextafter(at_or_below(v), std::numeric_limits<float>::infinity());
}

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
                ElementsAre(-5, 0, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 55));  // 55 twice
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

TEST_F(DistanceModels, ModelsReproduceTheDefaultGridsAndGeneratorsStoreSinglePrecision) {
    EXPECT_THAT((std::vector<float>{distance_calculate(20), distance_calculate(21),
                                    new_distance_calculate(19), new_distance_calculate(20)}),
                ElementsAre(1.2f, 1.3f, 1.15f, 1.2f));
    for (uint16_t x = 1; x <= 88; ++x) {
        EXPECT_EQ(new_distance_calculate(x), static_cast<float>(new_dist_table[x - 1])) << x;
        if (x <= 64) {
            EXPECT_EQ(distance_calculate(x), new_distance_calculate(x)) << "both models" << x;
        }
    }
    EXPECT_TRUE(log.errors().empty());
    EXPECT_EQ(distance_calculate(0) + distance_calculate(65) + new_distance_calculate(89), 0.0f);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/temp_correct/distance_calculate: x is invalid\n",
                                               "src/temp_correct/distance_calculate: x is invalid\n",
                                               "src/temp_correct/new_distance_calculate: x is invalid\n"));
    generate_distance_table();
    generate_new_distance_table();
    EXPECT_THAT((std::vector<double>{dist_table[63], dist_table[1], new_dist_table[2], new_dist_table[87]}),
                ElementsAre(50.0, 0.30000001192092896, static_cast<double>(0.35f), 1000.0));
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

using IndexFn = int (*)(uint16_t *, float);

// The index of each value, -1 where the value is refused.
void expect_indices(IndexFn fn, const std::vector<float> &values, const std::vector<int> &expected) {
    ASSERT_EQ(values.size(), expected.size());
    for (std::size_t k = 0; k < values.size(); ++k) {
        uint16_t i = 999;
        const int rc = fn(&i, values[k]);
        EXPECT_EQ(rc == RADIMO_SUCCESS ? i : -1, expected[k]) << "value " << values[k];
    }
}

class GridIndex : public radimo::test::LoggedTest {};

TEST_F(GridIndex, HumidityClasses) {
    // float(0.3) lies above the double 0.3, float(0.7) below the double 0.7.
    expect_indices(get_hum_index,
                   {0.0f, at_or_below(0.3), 0.3f, std::nextafter(0.5f, 0.0f), 0.5f, 0.7f, above(0.7), 0.71f,
                    1.0f, 1.01f, -0.01f},
                   {0, 0, 1, 1, 2, 2, 3, 3, 3, -1, -1});
    EXPECT_EQ(log.error_trace(),
              std::vector<std::string>(2, "src/temp_correct/get_hum_index: humidity is invalid\n"));
}

TEST_F(GridIndex, WriteIndicesAreNearestWithTiesDown) {
    expect_indices(get_dist_write_index,
                   {0.25f, 0.27f, 0.28f, 0.275f, 1.25f, 47.5f, 50.0f, above(0.2499), at_or_below(50.0001),
                    at_or_below(0.2499), above(50.0001), 50.01f},
                   {0, 0, 1, 1, 19, 62, 63, 0, 63, -1, -1, -1});
    expect_indices(
        get_temp_write_index,
        {-5.0f, 2.5f, 2.50001f, 52.5f, 55.0f, std::nextafter(55.0f, 60.0f), std::nextafter(-5.0f, -6.0f)},
        {0, 1, 2, 11, 12, -1, -1});
    expect_indices(get_target_temp_write_index,
                   {248.15f, 260.0f, 261.0f, 1623.15f, above(248.1499), at_or_below(1623.1501),
                    at_or_below(248.1499), above(1623.1501)},
                   {0, 0, 1, 55, 0, 55, -1, -1});
    const std::string d = "d is invalid\n", t = "target tempperature is invalid\n";
    EXPECT_THAT(log.error_texts(), ElementsAre(d, d, d, d, d, t, t));
    EXPECT_EQ(log.errors()[3].function, "get_temp_write_index");  // the distance text, reused
}

TEST_F(GridIndex, ReadIndicesAreTheLowerNeighbour) {
    expect_indices(
        get_temp_read_index,
        {-6.0f, -5.0f, -2.5f, at_or_below(-0.0001), above(-0.0001), at_or_below(4.9999), above(4.9999),
         at_or_below(54.9999), above(54.9999), 55.0f, at_or_below(55.0001), above(55.0001), 56.0f, NAN},
        {0, 0, 0, 0, 1, 1, 2, 11, 13, 13, 13, 12, 12, 12});
    expect_indices(get_dist_read_index,
                   {0.25f, at_or_below(0.2999), above(0.2999), 1.0f, at_or_below(49.9999), above(49.9999),
                    std::nextafter(50.0f, 0.0f), 50.0f, std::nextafter(0.25f, 0.0f)},
                   {0, 0, 1, 15, 62, 63, 63, -1, -1});
    // The target-temperature search stops at the last row instead of running past the grid.
    expect_indices(get_target_temp_read_index,
                   {100.0f, at_or_below(248.1499), 248.15f, at_or_below(273.1499), above(273.1499),
                    at_or_below(1623.1499), 1623.15f, 5000.0f},
                   {0, 0, 0, 0, 1, 54, 55, 55});
    EXPECT_EQ(log.error_trace(),
              std::vector<std::string>(2, "src/temp_correct/get_dist_read_index: dist is invalid\n"));
}

TEST_F(GridIndex, NullIndexIsRefused) {
    for (IndexFn fn : {get_hum_index, get_temp_write_index, get_temp_read_index, get_dist_write_index,
                       get_dist_read_index, get_target_temp_write_index, get_target_temp_read_index}) {
        EXPECT_EQ(fn(nullptr, 1.0f), RADIMO_ERR_PARAM);
    }
    EXPECT_EQ(log.error_texts(), std::vector<std::string>(7, "data is NULL\n"));
}

}  // namespace
