// NUC table rebuilt from calibration points, both map units and the dispatcher.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "calib/calib_tables.h"
#include "libradimo.h"
#include "support/log_capture.h"

using radimo::test::linear_table;
using radimo::test::reversed;
using ::testing::ElementsAre;

namespace {

using Rebuild = int (*)(uint16_t *, multi_point_nuc_t *, uint32_t, uint16_t *);
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

TEST(NucTableRebuild, ShiftedPointsShiftTheTableAndClampAsymmetrically) {
    const std::vector<uint16_t> old = linear_table(kLen, 100, 3);  // 100 .. 49249
    std::vector<uint16_t> table = old, out(kLen);
    multi_point_nuc_t points[] = {{2200, 2000}, {10200, 10000}};  // +100 in half NUC units
    ASSERT_EQ(multi_point_calc_new_nuc_table(table.data(), points, 2, out.data()), RADIMO_SUCCESS);
    EXPECT_EQ(out[2200 / 2], old[2000 / 2]);
    for (uint32_t j = 100; j < kLen; ++j) ASSERT_EQ(out[j], old[j - 100]) << j;
    // Below the first point the table extrapolates to 3j - 200.
    EXPECT_THAT(std::vector<uint16_t>({out[0], out[66], out[67], out[99]}),
                ElementsAre(49249, 49249, 100, 100));
}

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

class NucRebuildLog : public radimo::test::LoggedTest {};

TEST_F(NucRebuildLog, RebuildLogsUnderItsOwnName) {
    std::vector<uint16_t> table = linear_table(kLen, 1000, 2), out(kLen);
    multi_point_nuc_t points[] = {{9000, 9000}, {2000, 2000}};
    ASSERT_EQ(multi_point_calc_new_nuc_table_with_version3(table.data(), points, 2, out.data()), 0);
    EXPECT_EQ(log.debugs().at(0).function, "multi_point_calc_new_nuc_table_with_version3");
    EXPECT_THAT(log.debug_texts(),
                ElementsAre("max value=33766,min value=1000\n", "setting_nuc=2000,output_nuc=2000\n",
                            "setting_nuc=9000,output_nuc=9000\n", "k=1.000000,b=0.000000\n"));
}

TEST_F(NucRebuildLog, DispatcherReadsTheTableOfTheVersionsRecord) {
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

}  // namespace
