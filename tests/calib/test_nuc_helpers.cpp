// Interpolation, hot-mode detection, reversal and point sorting.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "calib/calib_tables.h"
#include "libradimo.h"
#include "support/log_capture.h"

using ::testing::ElementsAre;

namespace {

class NucHelpers : public radimo::test::LoggedTest {};

TEST_F(NucHelpers, LinearInterpExactOnAbscissaeAndExtrapolatesBeyondBothEnds) {
    float x[] = {0, 10, 20, 40}, y[] = {100, 200, 250, 250};
    const linear_interp_param_t p{x, y, 4};
    const float cases[][2] = {{0, 100}, {10, 200}, {20, 250}, {40, 250},
                              {5, 150}, {15, 225}, {-10, 0},  {99, 250}};
    for (const auto &c : cases) {
        float out = 0;
        ASSERT_EQ(LinearInterp(&p, &out, c[0]), RADIMO_SUCCESS);
        EXPECT_EQ(out, c[1]) << c[0];
    }
}

TEST_F(NucHelpers, RejectionsAndTheirMessages) {
    float x[] = {0, 1}, out = 0;
    const linear_interp_param_t no_y{x, nullptr, 2}, single{x, x, 1};
    EXPECT_EQ(LinearInterp(nullptr, &out, 0), RADIMO_ERR_PARAM);
    EXPECT_EQ(LinearInterp(&no_y, &out, 0), RADIMO_ERR_PARAM);
    EXPECT_EQ(LinearInterp(&single, &out, 0), RADIMO_ERR_PARAM);  // no segment: treated like size 0
    EXPECT_EQ(hotmode_reverse(nullptr, 2, nullptr), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_trace(), ElementsAre("src/temp_correct/LinearInterp: input param is invalid\n",
                                               "src/temp_correct/LinearInterp: arr_x or arr_y is invalid\n",
                                               "src/temp_correct/LinearInterp: size is invalid\n",
                                               "src/temp_correct/hotmode_reverse: input param is invalid\n"));
}

TEST(HotMode, FirstDifferingEntryOfTheFirst8192Decides) {
    std::vector<uint16_t> t(16384, 500);
    EXPECT_EQ(hotmode_calc(t.data()), 0);  // constant
    t[9000] = 100;
    EXPECT_EQ(hotmode_calc(t.data()), 0);  // falls only beyond 8192
    t[3] = 499;
    t[4] = 900;
    EXPECT_EQ(hotmode_calc(t.data()), 1);
    EXPECT_EQ(hotmode_calc(nullptr), 0);
}

TEST(SortMultiPointNuc, SortsColumnsIndependently) {
    multi_point_nuc_t p[] = {{100, 900}, {200, 800}};
    sort_multi_point_nuc(p, 2);
    EXPECT_EQ(std::vector<int>({p[0].output_nuc, p[0].setting_nuc, p[1].output_nuc, p[1].setting_nuc}),
              std::vector<int>({100, 800, 200, 900}));
    sort_multi_point_nuc(nullptr, 2);  // does nothing
}

}  // namespace
