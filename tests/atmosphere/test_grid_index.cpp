// Index rules over the tau grids, at and around every tolerance boundary.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "atmosphere/boundary_floats.h"
#include "libradimo.h"
#include "support/log_capture.h"

using radimo::test::above;
using radimo::test::at_or_below;

namespace {

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
    EXPECT_THAT(log.error_texts(), ::testing::ElementsAre(d, d, d, d, d, t, t));
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
