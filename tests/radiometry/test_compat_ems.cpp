// Emissivity compatibility tables: the readers, the dispatcher and the derived table data.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "libradimo.h"
#include "support/log_capture.h"

using radimo::test::LoggedTest;
using ::testing::ElementsAre;

namespace {

using Reader = int (*)(float *, float, float);

float read(Reader reader, float t, float e) {
    float out = -1.0f;
    EXPECT_EQ(reader(&out, t, e), RADIMO_SUCCESS) << "T=" << t << " e=" << e;
    return out;
}

float v2_cell(int row, int col) {
    return static_cast<float>(ems_correct_table_v2[row * 100 + col]);
}

TEST(CompatEmsV1, ReadsTheNearestCellAndPassesOtherEmissivitiesThrough) {
    EXPECT_FLOAT_EQ(read(read_compatible_ems_version1, 223.15f, 0.95f), 0.94f);
    EXPECT_FLOAT_EQ(read(read_compatible_ems_version1, 227.0f, 0.954f), 0.94f);
    EXPECT_FLOAT_EQ(read(read_compatible_ems_version1, 1069.0f, 0.904f), 0.8f);  // row 85, column 10
    EXPECT_FLOAT_EQ(read(read_compatible_ems_version1, 223.15f, 0.79f), 0.79f);
    EXPECT_FLOAT_EQ(read(read_compatible_ems_version1, 223.15f, 0.995f), 0.995f);
}

TEST(CompatEmsV2, ReturnsTheCellAtGridPointsAndInterpolatesBetween) {
    const Reader v2 = read_compatible_ems_version2;
    const float last_column = std::nextafter(0.998f, 0.0f);  // 0.998f itself lies above 0.998
    EXPECT_FLOAT_EQ(read(v2, 233.15f, 0.804f), v2_cell(1, 2));
    EXPECT_FLOAT_EQ(read(v2, 1823.15f, last_column), v2_cell(80, 99));
    EXPECT_FLOAT_EQ(read(v2, 1823.15f, 0.998f), 0.998f);
    EXPECT_FLOAT_EQ(read(v2, 500.0f, 0.7f), 0.7f);
    // Midway between rows 5, 6 and columns 10, 11; then along the last column and the last row.
    EXPECT_NEAR(read(v2, 278.15f, 0.821f),
                (v2_cell(5, 10) + v2_cell(5, 11) + v2_cell(6, 10) + v2_cell(6, 11)) / 4, 2e-6);
    EXPECT_NEAR(read(v2, 278.15f, last_column), (v2_cell(5, 99) + v2_cell(6, 99)) / 2, 2e-6);
    EXPECT_NEAR(read(v2, 2000.0f, 0.821f), (v2_cell(80, 10) + v2_cell(80, 11)) / 2, 2e-6);
    // Below the first row the index clamps but the rows still extrapolate.
    EXPECT_NEAR(read(v2, 213.15f, 0.8f), 2 * v2_cell(0, 0) - v2_cell(1, 0), 2e-6);
}

TEST(CompatEmsV3, ExtrapolatesBeyondTheEmissivityAxis) {
    const Reader v3 = read_compatible_ems_version3;
    for (float t : {223.15f, 500.0f, 1823.15f, 3000.0f}) {
        EXPECT_EQ(read(v3, t, 0.9f), read(read_compatible_ems_version2, t, 0.9f));
        EXPECT_NEAR(read(v3, t, 0.4f), read(v3, t, 0.8f) / 2, 1e-6);
        EXPECT_NEAR(read(v3, t, 0.0f), 0.0f, 1e-7);
        const float last = read(v3, t, 0.99795f);
        const float above = read(v3, t, 0.999f);
        EXPECT_TRUE(above > last && above < 1.0f) << above;
        EXPECT_NEAR(above, (last + 1.0f) / 2, 1e-5);
        EXPECT_NEAR(read(v3, t, 1.0f), 1.0f, 1e-6);
    }
}

TEST_F(LoggedTest, CompatEmsDispatchFollowsTheSwitches) {
    const Reader readers[] = {read_compatible_ems_version1, read_compatible_ems_version2,
                              read_compatible_ems_version3};
    correct_table_t table{};
    float out = 0.0f;
    for (uint16_t enable : {0, 2}) {  // only 1 switches the tables on
        table.ems_enable = enable;
        table.ems_version = 1;
        EXPECT_EQ(read_compatible_ems_with_target_temp_and_org_ems(&table, &out, 223.15f, 0.95f), 0);
        EXPECT_FLOAT_EQ(out, 0.95f);
    }
    table.ems_enable = 1;
    for (uint16_t version = 1; version <= 3; ++version) {
        table.ems_version = version;
        EXPECT_EQ(read_compatible_ems_with_target_temp_and_org_ems(&table, &out, 640.0f, 0.333f), 0);
        EXPECT_EQ(out, read(readers[version - 1], 640.0f, 0.333f));
    }
    table.ems_version = 4;
    out = -1.0f;
    EXPECT_EQ(read_compatible_ems_with_target_temp_and_org_ems(&table, &out, 300.0f, 0.9f), RADIMO_ERR_PARAM);
    EXPECT_EQ(read_compatible_ems_with_target_temp_and_org_ems(nullptr, &out, 300.0f, 0.9f),
              RADIMO_ERR_PARAM);
    // A caller that rewrites the writable axis to end at 0.9 makes 0.95 unreadable.
    table.ems_version = 1;
    const double saved = org_ems_list_of_ems_table_v1[19];
    org_ems_list_of_ems_table_v1[19] = 0.9;
    const int rc = read_compatible_ems_with_target_temp_and_org_ems(&table, &out, 300.0f, 0.95f);
    org_ems_list_of_ems_table_v1[19] = saved;
    EXPECT_EQ(rc, RADIMO_ERR_READ_EMS);
    EXPECT_FLOAT_EQ(out, -1.0f);
    const std::string where = "src/temp_correct/read_compatible_ems_with_target_temp_and_org_ems: ";
    EXPECT_THAT(log.error_trace(),
                ElementsAre(where + "correction table mismatch between ems enable and ems version\n",
                            where + "data is NULL\n", where + "read_compatible_ems failed\n"));
}

TEST(CompatEmsAxes, HoldTheNearestDoublesOfTheirDecimalValues) {
    for (int k = 0; k < 86; ++k) EXPECT_EQ(target_temp_list_of_ems_table_v1[k], (22315 + 1000 * k) / 100.0);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(org_ems_list_of_ems_table_v1[i], (80 + i) / 100.0);
    for (int k = 0; k < 81; ++k) {
        const int centi_k = k <= 60 ? 22315 + 1000 * k : 87315 + 5000 * (k - 61);
        EXPECT_EQ(target_temp_list_of_ems_table_v2[k], centi_k / 100.0);
    }
    for (int i = 0; i < 100; ++i) EXPECT_EQ(org_ems_list_of_ems_table_v2[i], (800 + 2 * i) / 1000.0);
}

// Physical shape of a derived table: at most the emissivity, rising along
// each row, rising towards the emissivity as the temperature approaches
// ambient from below, equal to it at ambient and falling away above.
void expect_physical(const double *table, const double *temps, int rows, const double *ems, int cols) {
    constexpr double kAmbient = 298.15;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c) {
            SCOPED_TRACE(::testing::Message() << "row " << r << ", column " << c);
            const double v = table[r * cols + c];
            EXPECT_TRUE(v > 0.5 && v <= ems[c]) << v;
            EXPECT_TRUE(c == 0 || v > table[r * cols + c - 1]);
            if (r == 0) continue;
            const double previous = table[(r - 1) * cols + c];
            EXPECT_TRUE(temps[r] > kAmbient || v >= previous);
            EXPECT_TRUE(temps[r - 1] < kAmbient || v <= previous);
            EXPECT_TRUE(temps[r - 1] > kAmbient || temps[r] < kAmbient || std::fabs(v - ems[c]) < 1e-3);
        }
    }
}

TEST(CompatEmsTables, HaveThePhysicalShape) {
    expect_physical(ems_correct_table_v1, target_temp_list_of_ems_table_v1, 86, org_ems_list_of_ems_table_v1,
                    20);
    expect_physical(ems_correct_table_v2, target_temp_list_of_ems_table_v2, 81, org_ems_list_of_ems_table_v2,
                    100);
}

}  // namespace
