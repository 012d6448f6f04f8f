// Grid-index rules of the compatibility tables: tolerance, ties, clamping and refusal.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "libradimo.h"
#include "support/log_capture.h"

using radimo::test::LoggedTest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr uint16_t kUnset = 0xBEEF;
const double kGrid[] = {0.0, 1.0, 2.0};

struct Case {
    float value;
    uint16_t index;
};

TEST(CompatTauGridIndex, GivesLowerNeighbourWithToleranceAndClamps) {
    // 273.15f lies 6e-6 below its grid point, 0.29995f within 0.0001 below 0.3.
    for (const Case &c : {Case{100.0f, 0}, {273.15f, 1}, {273.14f, 0}, {1623.15f, 55}, {5000.0f, 55}}) {
        uint16_t i = kUnset;
        EXPECT_EQ(get_compatible_target_temp_read_index(target_temp_table, 56, &i, c.value), RADIMO_SUCCESS);
        EXPECT_EQ(i, c.index) << c.value;
    }
    for (const Case &c : {Case{0.1f, 0}, {0.29995f, 1}, {0.2998f, 0}, {49.0f, 62}, {50.0f, 63}}) {
        uint16_t i = kUnset;
        EXPECT_EQ(get_compatible_dist_read_index(dist_table, 64, &i, c.value), RADIMO_SUCCESS);
        EXPECT_EQ(i, c.index) << c.value;
    }
}

// Both emissivity-table rules on kGrid; modes 1 (nearest, ties up within 1e-5) and 2 (lower).
TEST_F(LoggedTest, CompatEmsGridIndexFollowsModeToleranceAndRange) {
    const struct {
        int mode;
        float value;
        uint16_t temp_index;  // target-temperature rule: clamps
        uint16_t ems_index;   // emissivity rule: refuses outside the grid (kUnset)
    } cases[] = {
        {2, 0.0f, 0, 0},           {2, 0.9998f, 0, 0},        {2, 0.99995f, 1, 1},   {2, 1.99995f, 2, 2},
        {2, 2.0f, 2, 2},           {1, 0.3f, 0, 0},           {1, 0.5f, 1, 1},       {1, 0.499992f, 1, 1},
        {1, 0.49998f, 0, 0},       {1, 1.99995f, 2, 2},       {1, -1.0f, 0, kUnset}, {2, 3.0f, 2, kUnset},
        {3, 1.0f, kUnset, kUnset}, {0, 5.0f, kUnset, kUnset},  // unknown mode: success, nothing written
    };
    for (const auto &c : cases) {
        uint16_t ti = kUnset;
        uint16_t ei = kUnset;
        EXPECT_EQ(get_compatible_target_temp_read_index_of_ems_table(c.mode, kGrid, 3, &ti, c.value), 0);
        const int rc = get_compatible_ems_read_index_of_ems_table(c.mode, kGrid, 3, &ei, c.value);
        EXPECT_EQ(rc, c.ems_index == kUnset && c.temp_index != kUnset ? RADIMO_ERR_PARAM : RADIMO_SUCCESS);
        EXPECT_EQ(ti, c.temp_index) << c.mode << " " << c.value;
        EXPECT_EQ(ei, c.ems_index) << c.mode << " " << c.value;
    }
    // 228.15f lies 6e-6 below the middle of 223.15 .. 233.15: a tie.
    uint16_t i = kUnset;
    get_compatible_target_temp_read_index_of_ems_table(1, target_temp_list_of_ems_table_v1, 86, &i, 228.15f);
    EXPECT_EQ(i, 1);
    get_compatible_target_temp_read_index_of_ems_table(1, target_temp_list_of_ems_table_v1, 86, &i, 228.1f);
    EXPECT_EQ(i, 0);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(LoggedTest, CompatGridIndexRefusesNullPointers) {
    uint16_t i = 0;
    EXPECT_EQ(get_compatible_target_temp_read_index(nullptr, 3, &i, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_compatible_dist_read_index(kGrid, 3, nullptr, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_compatible_ems_read_index_of_ems_table(1, nullptr, 3, &i, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/get_compatible_target_temp_read_index: data is NULL\n",
                            "src/temp_correct/get_compatible_dist_read_index: data is NULL\n",
                            "src/temp_correct/get_compatible_ems_read_index_of_ems_table: data is NULL\n"));
}

}  // namespace
