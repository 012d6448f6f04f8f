// Compatibility tau reader: grid layouts, interpolation cases and clamping,
// over synthetic tables whose value is 10 * row + column.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"

using radimo::test::LoggedTest;
using ::testing::ElementsAre;

namespace {

// Exactly rows x columns values: the sanitizer build catches any read beyond.
std::vector<uint16_t> synthetic(int rows, int columns) {
    std::vector<uint16_t> data;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) data.push_back(static_cast<uint16_t>(10 * r + c));
    }
    return data;
}

TEST(CompatTau, SelectsTheLayoutAndInterpolatesByCase) {
    const std::vector<uint16_t> layout64 = synthetic(56, 64);
    const std::vector<uint16_t> layout88 = synthetic(42, 88);
    const std::vector<uint16_t> layout_v3 = synthetic(45, 88);
    const struct {
        uint16_t format;
        float t;
        float dist;
        uint16_t tau;
    } cases[] = {
        // Bilinear, half added: row 2.25, column 19.25 -> 22.5 + 19.25 + 0.5.
        {0, 304.4f, 1.225f, 42},      {63, 304.4f, 1.225f, 42},     {63, 298.15f, 1.0f, 35},  // a grid point
        {63, 235.65f, 1.225f, 14},  // below the first row: index clamps, rows extrapolate (row -0.5)
        {63, -1e30f, 1.0f, 0},      // beyond the int range: INT32_MIN, low 16 bits 0
        {63, 304.4f, 72.5f, 85},    // beyond the 64-column grid: last column, no half (22.5 + 63)
        {64, 304.4f, 72.5f, 88},    // column 65.25 of the 88-column grid
        {256, 304.4f, 72.5f, 88},     {256, 1000.0f, 1.0f, 316},  // row 30.074 of the 25 K grid
        {257, 1000.0f, 1.0f, 280},  // row 26.537 of the v3 grid (50 K steps above 823.15 K)
        {65535, 1000.0f, 1.0f, 280},  {63, 2000.0f, 1.275f, 569},    // last row: 550 + 19.75, no half
        {63, 1623.15f, 1.275f, 569},  {63, 2000.0f, 60.0f, 613},     // last row and column
        {100, 5000.0f, 5000.0f, 497}, {300, 5000.0f, 0.2375f, 439},  // last row, column -0.25
    };
    for (const auto &c : cases) {
        correct_table_t table{};
        table.tau_format = c.format;
        table.tau_data =
            c.format < 64 ? layout64.data() : (c.format <= 256 ? layout88.data() : layout_v3.data());
        uint16_t tau = 0xFFFF;
        EXPECT_EQ(read_compatible_tau_with_target_temp_and_dist(&table, &tau, c.t, c.dist), RADIMO_SUCCESS);
        EXPECT_EQ(tau, c.tau) << "format " << c.format << " T=" << c.t << " dist=" << c.dist;
    }
}

TEST_F(LoggedTest, CompatTauRefusesNullPointers) {
    const std::vector<uint16_t> data = synthetic(56, 64);
    correct_table_t table{};
    uint16_t tau = 7;
    EXPECT_EQ(read_compatible_tau_with_target_temp_and_dist(&table, &tau, 300.0f, 1.0f), RADIMO_ERR_PARAM);
    table.tau_data = data.data();
    EXPECT_EQ(read_compatible_tau_with_target_temp_and_dist(&table, nullptr, 300.0f, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(read_compatible_tau_with_target_temp_and_dist(nullptr, &tau, 300.0f, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(tau, 7);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/temp_correct/read_compatible_tau_with_target_temp_and_dist: data is NULL\n",
                    "src/temp_correct/read_compatible_tau_with_target_temp_and_dist: data is NULL\n",
                    "src/temp_correct/read_compatible_tau_with_target_temp_and_dist: data is NULL\n"));
}

}  // namespace
