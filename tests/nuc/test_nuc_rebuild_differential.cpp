// The NUC-table rebuild (walking interpolation over ascending maps) against
// the step-by-step rule: rising, falling (hot) and noisy tables, random point
// sets including out-of-order and repeated settings (non-ascending maps).
#include <cstring>
#include <random>

#include "reference_nuc_rebuild.h"
#include "support/prelude.h"

namespace {

TEST(NucRebuildDifferential, RandomTablesAndPoints) {
    std::mt19937 rng(7);
    const auto uniform = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    for (int round = 0; round < 120; ++round) {
        std::vector<uint16_t> table(16384);
        const int shape = round % 4;
        for (int i = 0; i < 16384; ++i)
            table[i] = static_cast<uint16_t>(shape == 0   ? 3000 + i / 4
                                             : shape == 1 ? 9000 - i / 3
                                             : shape == 2 ? std::min(4000 + i / 2, 9000)
                                                          : uniform(0, 65535));
        const bool half = round % 2;
        const int n = uniform(2, 8);
        std::vector<multi_point_nuc_t> points(n);
        for (auto &p : points) {
            p.setting_nuc = static_cast<uint16_t>(uniform(0, 16383));
            p.output_nuc = static_cast<uint16_t>(round % 5 == 0 ? uniform(0, 16383)
                                                                : p.setting_nuc + uniform(-300, 300));
        }
        if (round % 7 == 0) points[1].setting_nuc = points[0].setting_nuc;  // an infinite slope
        std::vector<uint16_t> old_ref = table, got(16384), want(16384);
        std::vector<multi_point_nuc_t> points_ref = points;
        const auto fn = half ? multi_point_calc_new_nuc_table : multi_point_calc_new_nuc_table_with_version3;
        const char *name =
            half ? "multi_point_calc_new_nuc_table" : "multi_point_calc_new_nuc_table_with_version3";
        radimo::test::LogCapture log;
        ASSERT_EQ(fn(table.data(), points.data(), n, got.data()), RADIMO_SUCCESS);
        const std::vector<std::string> got_lines = log.debug_texts();
        log.clear();
        ASSERT_EQ(radimo::test::reference::rebuild_nuc_table(name, old_ref.data(), points_ref.data(), n,
                                                             want.data(), half),
                  RADIMO_SUCCESS);
        EXPECT_EQ(got_lines, log.debug_texts());
        ASSERT_EQ(got, want) << "round " << round;
        ASSERT_EQ(table, old_ref);
        ASSERT_EQ(std::memcmp(points.data(), points_ref.data(), n * sizeof(multi_point_nuc_t)), 0);
    }
}

}  // namespace
