// Compatibility tables: grid-index rules (tolerance, ties, clamping, refusal),
// the tau reader's layouts and interpolation cases, the emissivity readers,
// their dispatcher and the derived table data.
#include "support/prelude.h"

namespace {
using Compat = radimo::test::LoggedTest;
using Reader = int (*)(float *, float, float);

constexpr uint16_t kUnset = 0xBEEF;

TEST_F(Compat, GridIndexRules) {
    // Tau grids: the lower neighbour within a 0.0001 tolerance, clamped at both ends (273.15f lies
    // 6e-6 below its grid point, 0.29995f within the tolerance below 0.3).
    const auto temp_index = [](float v) {
        uint16_t i = kUnset;
        EXPECT_EQ(get_compatible_target_temp_read_index(target_temp_table, 56, &i, v), RADIMO_SUCCESS);
        return i;
    };
    const auto dist_index = [](float v) {
        uint16_t i = kUnset;
        EXPECT_EQ(get_compatible_dist_read_index(dist_table, 64, &i, v), RADIMO_SUCCESS);
        return i;
    };
    EXPECT_THAT(
        (std::vector<int>{temp_index(100.0f), temp_index(273.15f), temp_index(273.14f), temp_index(1623.15f),
                          temp_index(5000.0f), dist_index(0.1f), dist_index(0.29995f), dist_index(0.2998f),
                          dist_index(49.0f), dist_index(50.0f)}),
        ElementsAre(0, 1, 0, 55, 55, 0, 1, 0, 62, 63));
    // Emissivity-table rules on {0, 1, 2}: mode 1 nearest (ties up within 1e-5), mode 2 lower; the
    // target-temperature rule clamps, the emissivity rule refuses outside the grid (kUnset).
    const double grid[] = {0.0, 1.0, 2.0};
    const struct {
        int mode;
        float value;
        uint16_t temp_index, ems_index;
    } cases[] = {
        {2, 0.0f, 0, 0},           {2, 0.9998f, 0, 0},        {2, 0.99995f, 1, 1},   {2, 1.99995f, 2, 2},
        {2, 2.0f, 2, 2},           {1, 0.3f, 0, 0},           {1, 0.5f, 1, 1},       {1, 0.499992f, 1, 1},
        {1, 0.49998f, 0, 0},       {1, 1.99995f, 2, 2},       {1, -1.0f, 0, kUnset}, {2, 3.0f, 2, kUnset},
        {3, 1.0f, kUnset, kUnset}, {0, 5.0f, kUnset, kUnset},  // unknown mode: success, nothing written
    };
    for (const auto &c : cases) {
        uint16_t ti = kUnset, ei = kUnset;
        EXPECT_EQ(get_compatible_target_temp_read_index_of_ems_table(c.mode, grid, 3, &ti, c.value), 0);
        const int rc = get_compatible_ems_read_index_of_ems_table(c.mode, grid, 3, &ei, c.value);
        EXPECT_EQ(rc, c.ems_index == kUnset && c.temp_index != kUnset ? RADIMO_ERR_PARAM : RADIMO_SUCCESS);
        EXPECT_EQ(std::pair(ti, ei), std::pair(c.temp_index, c.ems_index)) << c.mode << " " << c.value;
    }
    // 228.15f lies 6e-6 below the middle of 223.15 .. 233.15: a tie.
    uint16_t i = kUnset;
    get_compatible_target_temp_read_index_of_ems_table(1, target_temp_list_of_ems_table_v1, 86, &i, 228.15f);
    EXPECT_EQ(i, 1);
    get_compatible_target_temp_read_index_of_ems_table(1, target_temp_list_of_ems_table_v1, 86, &i, 228.1f);
    EXPECT_EQ(i, 0);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(get_compatible_target_temp_read_index(nullptr, 3, &i, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_compatible_dist_read_index(grid, 3, nullptr, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_compatible_ems_read_index_of_ems_table(1, nullptr, 3, &i, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/get_compatible_target_temp_read_index: data is NULL\n",
                            "src/temp_correct/get_compatible_dist_read_index: data is NULL\n",
                            "src/temp_correct/get_compatible_ems_read_index_of_ems_table: data is NULL\n"));
}

// Exactly rows x columns values 10 * row + column: the sanitizer build catches any read beyond.
std::vector<uint16_t> synthetic(int rows, int columns) {
    std::vector<uint16_t> data;
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c) data.push_back(static_cast<uint16_t>(10 * r + c));
    return data;
}

TEST_F(Compat, TauReaderSelectsTheLayoutAndInterpolatesByCase) {
    const std::vector<uint16_t> layout64 = synthetic(56, 64), layout88 = synthetic(42, 88),
                                layout_v3 = synthetic(45, 88);
    const struct {
        uint16_t format;
        float t, dist;
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
    correct_table_t table{};
    uint16_t tau = 7;
    EXPECT_EQ(read_compatible_tau_with_target_temp_and_dist(&table, &tau, 300.0f, 1.0f), RADIMO_ERR_PARAM);
    table.tau_data = layout64.data();
    EXPECT_EQ(read_compatible_tau_with_target_temp_and_dist(&table, nullptr, 300.0f, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(read_compatible_tau_with_target_temp_and_dist(nullptr, &tau, 300.0f, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(tau, 7);
    EXPECT_EQ(log.error_trace(),
              std::vector<std::string>(
                  3, "src/temp_correct/read_compatible_tau_with_target_temp_and_dist: data is NULL\n"));
}

float read(Reader reader, float t, float e) {
    float out = -1.0f;
    EXPECT_EQ(reader(&out, t, e), RADIMO_SUCCESS) << "T=" << t << " e=" << e;
    return out;
}

float v2_cell(int row, int col) {
    return static_cast<float>(ems_correct_table_v2[row * 100 + col]);
}

TEST(CompatEms, ReadersByVersion) {
    // Version 1: the nearest cell; emissivities outside 0.8 .. 0.99 pass through.
    const Reader v1 = read_compatible_ems_version1, v2 = read_compatible_ems_version2,
                 v3 = read_compatible_ems_version3;
    EXPECT_THAT(
        (std::vector<float>{read(v1, 223.15f, 0.95f), read(v1, 227.0f, 0.954f), read(v1, 1069.0f, 0.904f),
                            read(v1, 223.15f, 0.79f), read(v1, 223.15f, 0.995f)}),
        ElementsAre(0.94f, 0.94f, 0.8f, 0.79f, 0.995f));  // 1069 K, 0.904: row 85, column 10
    // Version 2: the cell at grid points, bilinear between them, linear along the last column and
    // row; below the first row the index clamps but the rows still extrapolate.
    const float last_column = std::nextafter(0.998f, 0.0f);  // 0.998f itself lies above 0.998
    EXPECT_FLOAT_EQ(read(v2, 233.15f, 0.804f), v2_cell(1, 2));
    EXPECT_FLOAT_EQ(read(v2, 1823.15f, last_column), v2_cell(80, 99));
    EXPECT_FLOAT_EQ(read(v2, 1823.15f, 0.998f), 0.998f);
    EXPECT_FLOAT_EQ(read(v2, 500.0f, 0.7f), 0.7f);
    EXPECT_NEAR(read(v2, 278.15f, 0.821f),
                (v2_cell(5, 10) + v2_cell(5, 11) + v2_cell(6, 10) + v2_cell(6, 11)) / 4, 2e-6);
    EXPECT_NEAR(read(v2, 278.15f, last_column), (v2_cell(5, 99) + v2_cell(6, 99)) / 2, 2e-6);
    EXPECT_NEAR(read(v2, 2000.0f, 0.821f), (v2_cell(80, 10) + v2_cell(80, 11)) / 2, 2e-6);
    EXPECT_NEAR(read(v2, 213.15f, 0.8f), 2 * v2_cell(0, 0) - v2_cell(1, 0), 2e-6);
    // Version 3: version 2 inside the axis, extrapolated to 0 below it and towards 1 above it.
    for (float t : {223.15f, 500.0f, 1823.15f, 3000.0f}) {
        EXPECT_EQ(read(v3, t, 0.9f), read(v2, t, 0.9f));
        EXPECT_NEAR(read(v3, t, 0.4f), read(v3, t, 0.8f) / 2, 1e-6);
        EXPECT_NEAR(read(v3, t, 0.0f), 0.0f, 1e-7);
        const float last = read(v3, t, 0.99795f), above = read(v3, t, 0.999f);
        EXPECT_TRUE(above > last && above < 1.0f) << above;
        EXPECT_NEAR(above, (last + 1.0f) / 2, 1e-5);
        EXPECT_NEAR(read(v3, t, 1.0f), 1.0f, 1e-6);
    }
}

TEST_F(Compat, EmsDispatchFollowsTheSwitches) {
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

// The axes hold the nearest doubles of their decimal values. A derived table
// is at most the emissivity, rises along each row, rises towards the
// emissivity as the temperature approaches ambient from below, equals it at
// ambient and falls away above.
void expect_physical(const double *table, const double *temps, int rows, const double *ems, int cols) {
    constexpr double kAmbient = 298.15;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c) {
            SCOPED_TRACE(::testing::Message() << "row " << r << ", column " << c);
            const double v = table[r * cols + c];
            EXPECT_TRUE(v > 0.5 && v <= ems[c] && (c == 0 || v > table[r * cols + c - 1])) << v;
            if (r == 0) continue;
            const double previous = table[(r - 1) * cols + c];
            EXPECT_TRUE(temps[r] > kAmbient || v >= previous);
            EXPECT_TRUE(temps[r - 1] < kAmbient || v <= previous);
            EXPECT_TRUE(temps[r - 1] > kAmbient || temps[r] < kAmbient || std::fabs(v - ems[c]) < 1e-3);
        }
    }
}

TEST(CompatEms, AxesAndTheDerivedTables) {
    for (int k = 0; k < 86; ++k) EXPECT_EQ(target_temp_list_of_ems_table_v1[k], (22315 + 1000 * k) / 100.0);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(org_ems_list_of_ems_table_v1[i], (80 + i) / 100.0);
    for (int k = 0; k < 81; ++k)
        EXPECT_EQ(target_temp_list_of_ems_table_v2[k],
                  (k <= 60 ? 22315 + 1000 * k : 87315 + 5000 * (k - 61)) / 100.0);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(org_ems_list_of_ems_table_v2[i], (800 + 2 * i) / 1000.0);
    expect_physical(ems_correct_table_v1, target_temp_list_of_ems_table_v1, 86, org_ems_list_of_ems_table_v1,
                    20);
    expect_physical(ems_correct_table_v2, target_temp_list_of_ems_table_v2, 81, org_ems_list_of_ems_table_v2,
                    100);
}

}  // namespace
