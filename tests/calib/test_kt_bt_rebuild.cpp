// New KT/BT arrays from calibration points and their helper steps.
#include "support/prelude.h"

using radimo::test::linear_table;
using ::testing::HasSubstr;

namespace {

constexpr uint16_t kLen = 1201;

// kt 12000..18000 and bt -3000..3000 in steps of 5; three falling points
// whose gains (15360, 16384, 17554) and offsets (-250, 0, 285) lie inside.
class KtBtRebuild : public radimo::test::LoggedTest {
protected:
    KtBtRebuild() {
        p = {0,  2,  1,  kLen, 600, 0, 0, 0, {12000, 11000, 10000}, {4000, 3500, 3000}, {100, 200, 300},
             {}, {}, {}, {}};
        for (int i = 0; i < 3; ++i) p.fit_y[i] = static_cast<float>(i + 1);  // slope 0.01
        for (int j = 0; j < kLen; ++j) bt[j] = static_cast<int16_t>(-3000 + 5 * j);
    }
    int intermediate() {
        return multi_point_calc_new_kt_bt_intermediate_param(&p, nullptr, nullptr, nullptr, nullptr);
    }
    int rebuild() {
        return multi_point_calc_new_kt_bt(&p, kt.data(), bt.data(), new_kt.data(), new_bt.data());
    }

    multi_point_kt_param_t p{};
    std::vector<uint16_t> kt = linear_table(kLen, 12000, 5), new_kt = std::vector<uint16_t>(kLen);
    std::vector<int16_t> bt = std::vector<int16_t>(kLen), new_bt = std::vector<int16_t>(kLen);
};

TEST_F(KtBtRebuild, IntermediateWorkedValuesAndUnconditionalPrints) {
    testing::internal::CaptureStdout();
    ASSERT_EQ(intermediate(), 0);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(p.Ktemp, 1638);
    EXPECT_EQ(p.Btemp, 581);  // 600 - 200 * 1638 / 16384
    EXPECT_THAT(std::vector<int>({p.K[0], p.K[1], p.K[2], p.B[0], p.B[1], p.B[2], p.P[0], p.P[1], p.P[2]}),
                ElementsAre(15360, 16384, 17554, -250, 0, 285, 590, 600, 610));
    EXPECT_THAT(printed, HasSubstr("Ktemp = 1638\nBtemp = 581\nK[0] = 15360\nB[0] = -250\nP[0] = 590\n"));
    EXPECT_EQ(log.debugs().at(0).function, "multi_point_calc_new_kt_bt_intermediate_param");
    EXPECT_EQ(log.debug_texts().at(0), "Ktemp = 1638\n");

    radimo_log_register(2);  // silent; the capture restores the printers afterwards
    p.table_len = 3601;
    testing::internal::CaptureStdout();
    intermediate();
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("Ktemp = 4915\n"));
}

TEST_F(KtBtRebuild, OrderingRulesAndPointCount) {
    p.H[0] = 4000;  // not above L[0]
    EXPECT_EQ(intermediate(), RADIMO_ERR_PARAM);
    p.H[0] = 10500;  // not above H[1]
    EXPECT_EQ(intermediate(), RADIMO_ERR_PARAM);
    p.mode = 1;  // rising with H below L: L is checked first
    for (int i = 0; i < 3; ++i) p.L[i] = static_cast<uint16_t>(20000 - i);
    EXPECT_EQ(intermediate(), RADIMO_ERR_PARAM);
    p.point_num = 20;
    EXPECT_EQ(intermediate(), RADIMO_ERR_PARAM);
    EXPECT_THAT(log.error_texts(), ElementsAre("H or L is invalid\n", "H is invalid\n", "L is invalid\n",
                                               "the number of calib point is out of range\n"));
}

TEST(KtBtIndex, NearestEntryTiesToTheLowerIndexAndNothingPastTheEnd) {
    const std::vector<uint16_t> kt = {100, 200, 300};
    const std::vector<int16_t> bt = {-30, -20, -10};
    const uint16_t K[] = {150, 160, 300, 301};
    const int16_t B[] = {-25, -11, -30, -9};
    uint16_t kt_index[4] = {9, 9, 9, 9}, bt_index[4] = {9, 9, 9, 9};
    EXPECT_EQ(calculate_new_value_index_in_orgtable(3, 3, K, B, kt.data(), bt.data(), kt_index, bt_index), 0);
    EXPECT_THAT(kt_index, ElementsAre(0, 1, 2, 9));  // 301 is beyond the last pair: left unset
    EXPECT_THAT(bt_index, ElementsAre(0, 2, 0, 9));
    uint16_t a[] = {5, 3, 9, 1, 3};
    sort_multi_point_kt(a, 5);
    EXPECT_THAT(a, ElementsAre(1, 3, 3, 5, 9));
}

TEST_F(KtBtRebuild, IdentityTargetsKeepTheArraysEvenWithAnEmptySegment) {
    for (int j = 0; j < kLen; ++j) bt[j] = static_cast<int16_t>((j % 7) * 10 - 30);
    const uint16_t idx[] = {0, 300, 300, 1201};  // a point may sit at the end
    ASSERT_EQ(new_kt_bt_table_interpolate(3, kLen, kt.data(), bt.data(), idx, idx, idx, new_kt.data(),
                                          new_bt.data()),
              0);
    EXPECT_EQ(new_kt, kt);
    EXPECT_EQ(new_bt, bt);
}

TEST_F(KtBtRebuild, MovesEachPointToItsTargetWithinTheOldRange) {
    testing::internal::CaptureStdout();
    ASSERT_EQ(rebuild(), RADIMO_SUCCESS);
    testing::internal::GetCapturedStdout();
    // kt entries 672, 877, 1111 and bt entries 550, 600, 657 move to P.
    EXPECT_THAT(std::vector<int>({new_kt[590], new_kt[600], new_kt[610], new_bt[590], new_bt[610]}),
                ElementsAre(kt[672], kt[877], kt[1111], -250, 285));
    EXPECT_GE(*std::min_element(new_kt.begin(), new_kt.end()), 12000);
    EXPECT_LE(*std::max_element(new_kt.begin(), new_kt.end()), 18000);
    EXPECT_GE(*std::min_element(new_bt.begin(), new_bt.end()), -3000);
    EXPECT_LE(*std::max_element(new_bt.begin(), new_bt.end()), 3000);
}

TEST_F(KtBtRebuild, FailsOnUnlocatedGainsAndTooFewPoints) {
    testing::internal::CaptureStdout();
    p.mode = 2;     // modes above 1 have no ordering rule
    p.L[2] = 4000;  // span 6000: gain 20480 lies above the whole kt array
    EXPECT_EQ(rebuild(), RADIMO_ERR_PARAM);
    p.point_num = 0;
    EXPECT_EQ(rebuild(), RADIMO_ERR_PARAM);
    EXPECT_EQ(multi_point_calc_new_kt_bt(&p, nullptr, bt.data(), new_kt.data(), new_bt.data()), -1100);
    testing::internal::GetCapturedStdout();
    const std::string where = "src/temp_correct/multi_point_calc_new_kt_bt: ";
    EXPECT_THAT(log.error_trace(), ElementsAre(where + "calculate_new_value_index_in_orgtable failed\n",
                                               where + "the number of calib point is out of range\n",
                                               where + "input param is NULL\n"));
}

}  // namespace
