// NUC table rebuilt from calibration points (both map units and the
// dispatcher), the one-point correction of a stretch, and their helpers:
// interpolation, hot-mode detection, reversal and point sorting.
#include "support/prelude.h"

using radimo::test::linear_table;
using radimo::test::reversed;

namespace {

using Rebuild = int (*)(uint16_t *, multi_point_nuc_t *, uint32_t, uint16_t *);
using NucTables = radimo::test::LoggedTest;
constexpr uint32_t kLen = 16384;

class NucRebuild : public radimo::test::LoggedTest, public ::testing::WithParamInterface<Rebuild> {
protected:
    std::vector<uint16_t> table = linear_table(kLen, 1000, 2);
    std::vector<uint16_t> out = std::vector<uint16_t>(kLen);
    int run(multi_point_nuc_t *points, uint32_t n) { return GetParam()(table.data(), points, n, out.data()); }
};

TEST_P(NucRebuild, IdentityPointsKeepRisingAndFallingTables) {
    for (const auto &old : {table, reversed(table)}) {
        table = old;
        multi_point_nuc_t points[] = {{9000, 9000}, {2000, 2000}, {5000, 5000}};
        ASSERT_EQ(run(points, 3), RADIMO_SUCCESS);
        EXPECT_EQ(out, old);
        EXPECT_EQ(table, old);  // a hot-mode reversal is undone
    }
    multi_point_nuc_t shared[] = {{1000, 5000}, {3000, 5000}};  // infinite slope
    EXPECT_EQ(run(shared, 0x10002), RADIMO_SUCCESS);            // low 16 bits count
}

TEST_P(NucRebuild, RejectsBeforeTouchingAnything) {
    table = reversed(table);
    const std::vector<uint16_t> falling = table;
    multi_point_nuc_t points[] = {{1000, 1000}, {20000, 20000}};
    EXPECT_EQ(run(points, 1), RADIMO_ERR_PARAM);
    EXPECT_EQ(run(points, 2), RADIMO_ERR_PARAM);  // mirrored, 20000 wraps far beyond the map
    EXPECT_EQ(points[1].setting_nuc, 20000);
    EXPECT_EQ(table, falling);
    EXPECT_EQ(GetParam()(nullptr, points, 2, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(log.error_texts(), std::vector<std::string>(3, "input param is invalid\n"));
}

INSTANTIATE_TEST_SUITE_P(BothUnits, NucRebuild,
                         ::testing::Values(multi_point_calc_new_nuc_table,
                                           multi_point_calc_new_nuc_table_with_version3),
                         [](const auto &info) { return info.index == 0 ? "HalfNuc" : "FullNuc"; });

TEST(NucTableRebuild, SettingBoundsOfTheTwoUnits) {
    std::vector<uint16_t> table = linear_table(kLen, 1000, 2), out(kLen);
    auto run = [&](Rebuild f, uint16_t s) {
        multi_point_nuc_t points[] = {{100, 100}, {s, s}};
        return f(table.data(), points, 2, out.data());
    };
    EXPECT_EQ(run(multi_point_calc_new_nuc_table, 32769), RADIMO_SUCCESS);
    EXPECT_EQ(run(multi_point_calc_new_nuc_table, 32770), RADIMO_ERR_PARAM);
    EXPECT_EQ(run(multi_point_calc_new_nuc_table_with_version3, 16384), RADIMO_SUCCESS);
    EXPECT_EQ(run(multi_point_calc_new_nuc_table_with_version3, 16385), RADIMO_ERR_PARAM);
}

TEST_F(NucTables, RebuildLogsUnderItsOwnName) {
    std::vector<uint16_t> table = linear_table(kLen, 1000, 2), out(kLen);
    multi_point_nuc_t points[] = {{9000, 9000}, {2000, 2000}};
    ASSERT_EQ(multi_point_calc_new_nuc_table_with_version3(table.data(), points, 2, out.data()), 0);
    EXPECT_EQ(log.debugs().at(0).function, "multi_point_calc_new_nuc_table_with_version3");
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("max value=33766,min value=1000\n", "setting_nuc=2000,output_nuc=2000\n",
                            "setting_nuc=9000,output_nuc=9000\n", "k=1.000000,b=0.000000\n"));
}

TEST_F(NucTables, DispatcherReadsTheTableOfTheVersionsRecord) {
    const std::vector<uint16_t> old = linear_table(kLen, 1000, 2);
    std::vector<uint16_t> table = old, out(kLen);
    multi_point_nuc_t points[] = {{2000, 2000}, {9000, 9000}};
    multi_point_calib_array_t plain{nullptr, nullptr, table.data(), nullptr, 0};
    multi_point_calib_array_v3_t ranges{{}, {}, table.data(), nullptr, 0};
    multi_point_calib_param_t param{nullptr, &plain, nullptr, points, 2, 0, 0};
    EXPECT_EQ(multi_point_calc_new_nuc_table_with_version(&param, 0, out.data()), RADIMO_SUCCESS);
    EXPECT_EQ(out, old);
    param.multi_point_calib_array = &ranges;  // read as the plain record it would give a NULL table
    EXPECT_EQ(multi_point_calc_new_nuc_table_with_version(&param, 2, out.data()), RADIMO_SUCCESS);
    log.clear();
    EXPECT_EQ(multi_point_calc_new_nuc_table_with_version(&param, 3, out.data()), RADIMO_ERR_PARAM);
    param.calib_point_num = 0x20001;  // one point
    EXPECT_EQ(multi_point_calc_new_nuc_table_with_version(&param, 2, out.data()), RADIMO_ERR_VERSION);
    const std::string where = "src/temp_correct/multi_point_calc_new_nuc_table_with_version";
    EXPECT_THAT(log.error_trace(),
                ElementsAre(where + ": version is invalid\n", where + "3: input param is invalid\n",
                            where + ": multi_point_calc_new_nuc_table_with_version failed\n"));
}

constexpr uint32_t kShort = 8192;  // the one-point correction works on the standard table

struct StretchCase {
    uint16_t s0, s2;
    uint32_t from, to;
};

class OnePointStretch : public ::testing::TestWithParam<StretchCase> {};

// Every point reads 200 NUC (100 entries) above its setting, so the rebuilt
// stretch is the old table shifted up by 100 entries, flat at the minimum
// where the shift reaches below entry 0. A third setting equal to the second
// makes the last segment's slope 0/0: the map and the rebuild are then NaN,
// which ends at the minimum everywhere.
TEST_P(OnePointStretch, CopiesOnlyTheChosenStretchOfTheRebuild) {
    const StretchCase c = GetParam();
    const std::vector<uint16_t> old = linear_table(kShort, 2000, 3);
    std::vector<uint16_t> table = old, out(kShort);
    multi_point_nuc_t points[] = {
        {static_cast<uint16_t>(c.s0 + 200), c.s0}, {3200, 3000}, {static_cast<uint16_t>(c.s2 + 200), c.s2}};
    ASSERT_EQ(multi_point_calc_one_point_correct(table.data(), points, 3, out.data()), RADIMO_SUCCESS);
    for (uint32_t i = 0; i < kShort; ++i) {
        const uint16_t rebuilt = i < 100 || c.s2 == 3000 ? old[0] : old[i - 100];
        ASSERT_EQ(out[i], i >= c.from && i < c.to ? rebuilt : old[i]) << i;
    }
    EXPECT_EQ(table, old);
}

// (1000, 3000, 3000): s2 equal to s1 corrects below the first point, not above it.
// A first setting of 0 or 1 with the third below it corrects nothing.
INSTANTIATE_TEST_SUITE_P(ThirdPoint, OnePointStretch,
                         ::testing::Values(StretchCase{1000, 2000, 500, 1500}, StretchCase{1000, 500, 0, 500},
                                           StretchCase{1000, 3000, 0, 500},
                                           StretchCase{1000, 5000, 1500, kShort}, StretchCase{0, 0, 0, 0},
                                           StretchCase{1, 0, 0, 0}),
                         [](const auto &info) {
                             return "s0_" + std::to_string(info.param.s0) + "_s2_" +
                                    std::to_string(info.param.s2);
                         });

TEST(OnePointCorrect, FallingTableGivesTheMirrorOfTheRisingResult) {
    const std::vector<uint16_t> rising = linear_table(kShort, 2000, 3);
    std::vector<uint16_t> table = rising, rising_out(kShort), falling_out(kShort);
    multi_point_nuc_t points[] = {{1200, 1000}, {3200, 3000}, {2200, 2000}};
    ASSERT_EQ(multi_point_calc_one_point_correct(table.data(), points, 3, rising_out.data()), 0);
    table = reversed(rising);
    multi_point_nuc_t mirrored[] = {{15184, 15384}, {13184, 13384}, {14184, 14384}};
    ASSERT_EQ(multi_point_calc_one_point_correct(table.data(), mirrored, 3, falling_out.data()), 0);
    EXPECT_EQ(falling_out, reversed(rising_out));
    EXPECT_EQ(table, reversed(rising));
}

TEST_F(NucTables, OnePointCorrectFailures) {
    std::vector<uint16_t> table = linear_table(kShort, 2000, 3), out(kShort);
    multi_point_nuc_t points[] = {{3200, 3000}, {1200, 1000}, {2200, 2000}};
    EXPECT_EQ(multi_point_calc_one_point_correct(table.data(), points, 2, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(multi_point_calc_one_point_correct(table.data(), points, 3, out.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(multi_point_calc_one_point_correct(nullptr, points, 3, out.data()), RADIMO_ERR_PARAM);
    multi_point_nuc_t beyond[] = {{40000, 40000}, {50000, 50000}, {45000, 45000}};
    EXPECT_EQ(multi_point_calc_one_point_correct(table.data(), beyond, 3, out.data()), RADIMO_ERR_VERSION);
    const std::string where = "src/temp_correct/multi_point_calc_one_point_correct: ";
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre(
            where + "temp num is in valid.\n",
            where + "the sencond temperature point must greater than the first temperature point.3000 1000\n",
            where + "input param is invalid\n",
            "src/temp_correct/multi_point_calc_new_nuc_table: input param is invalid\n",
            where + "multi_point_calc_new_nuc_table failed\n"));
}

TEST_F(NucTables, LinearInterpExactOnAbscissaeAndExtrapolatesBeyondBothEnds) {
    float x[] = {0, 10, 20, 40}, y[] = {100, 200, 250, 250}, out = 0;
    const linear_interp_param_t p{x, y, 4}, no_y{x, nullptr, 2}, single{x, x, 1};
    const float cases[][2] = {{0, 100}, {10, 200}, {20, 250}, {40, 250},
                              {5, 150}, {15, 225}, {-10, 0},  {99, 250}};
    for (const auto &c : cases) {
        ASSERT_EQ(LinearInterp(&p, &out, c[0]), RADIMO_SUCCESS);
        EXPECT_EQ(out, c[1]) << c[0];
    }
    EXPECT_EQ(LinearInterp(nullptr, &out, 0), RADIMO_ERR_PARAM);
    EXPECT_EQ(LinearInterp(&no_y, &out, 0), RADIMO_ERR_PARAM);
    EXPECT_EQ(LinearInterp(&single, &out, 0), RADIMO_ERR_PARAM);  // no segment: treated like size 0
    EXPECT_EQ(hotmode_reverse(nullptr, 2, nullptr), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/temp_correct/LinearInterp: input param is invalid\n",
                                               "src/temp_correct/LinearInterp: arr_x or arr_y is invalid\n",
                                               "src/temp_correct/LinearInterp: size is invalid\n",
                                               "src/temp_correct/hotmode_reverse: input param is invalid\n"));
}

TEST(HotModeAndSorting, FirstDifferingEntryOfTheFirst8192DecidesAndColumnsSortIndependently) {
    std::vector<uint16_t> t(16384, 500);
    EXPECT_EQ(hotmode_calc(t.data()), 0);  // constant
    t[9000] = 100;
    EXPECT_EQ(hotmode_calc(t.data()), 0);  // falls only beyond 8192
    t[3] = 499;
    t[4] = 900;
    EXPECT_EQ(hotmode_calc(t.data()), 1);
    EXPECT_EQ(hotmode_calc(nullptr), 0);
    multi_point_nuc_t p[] = {{100, 900}, {200, 800}};
    sort_multi_point_nuc(p, 2);
    EXPECT_THAT((std::vector<int>{p[0].output_nuc, p[0].setting_nuc, p[1].output_nuc, p[1].setting_nuc}),
                ElementsAre(100, 800, 200, 900));
    sort_multi_point_nuc(nullptr, 2);  // does nothing
}

}  // namespace
