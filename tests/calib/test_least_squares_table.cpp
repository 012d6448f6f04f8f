// The least-squares quadratic and the lens-change NUC-table rebuild on it.
#include "support/prelude.h"

using radimo::test::linear_table;
using radimo::test::reversed;

namespace {

using LeastSquares = radimo::test::LoggedTest;
using ::testing::ElementsAre;

// Coefficients agree to float precision when each term's share of the fitted
// values over the points differs by at most 1e-6 of the largest value.
void expect_coefficients(const std::vector<double> &x, const double *got, const double *want) {
    double x_max = 0.0, y_max = 0.0;
    for (double v : x) {
        x_max = std::max(x_max, std::fabs(v));
        y_max = std::max(y_max, std::fabs(want[0] + v * (want[1] + v * want[2])));
    }
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(got[k] * std::pow(x_max, k), want[k] * std::pow(x_max, k), 1e-6 * y_max) << k;
}

TEST_F(LeastSquares, RecoversExactQuadraticsToFloatPrecision) {
    const struct {
        std::vector<double> x;
        double c[3];
    } cases[] = {
        {{0, 1, 2, 3, 4}, {3.0, 2.0, 0.5}},
        {{3000, 6000, 9000, 12000, 15000}, {-120.0, 1.04, -2e-6}},   // NUC range
        {{16000, 16000.5, 16001, 16001.5, 16002}, {1.0, 2.0, 3.0}},  // clustered far from the origin
        {{-5, 5, 0, 5, -5, 1e-3}, {7.0, -1.0, 0.0}},                 // a line, repeated and unsorted
        {{0, 1e-6, 1}, {0.0, 1.0, 1.0}},                             // two abscissae close, not too close
    };
    for (const auto &c : cases) {
        std::vector<double> y;
        for (double v : c.x) y.push_back(c.c[0] + c.c[1] * v + c.c[2] * v * v);
        double got[3] = {};
        ASSERT_EQ(ordinary_least_squares(c.x.data(), y.data(), static_cast<uint32_t>(y.size()), got), 0);
        expect_coefficients(c.x, got, c.c);
    }
}

TEST_F(LeastSquares, NoisyPointsLeaveResidualsOrthogonalToTheQuadratics) {
    std::vector<double> x, y;
    for (int i = 0; i < 40; ++i) {
        x.push_back(3000.0 + 300.0 * i);
        y.push_back(100.0 + 0.97 * x.back() + 1e-6 * x.back() * x.back() + 4.0 * std::sin(7.0 * i));
    }
    double c[3] = {};
    ASSERT_EQ(ordinary_least_squares(x.data(), y.data(), 40, c), RADIMO_SUCCESS);
    double moments[3] = {}, scale = 0.0;
    for (int i = 0; i < 40; ++i) {
        const double t = (x[i] - 8850.0) / 5850.0, r = y[i] - (c[0] + x[i] * (c[1] + x[i] * c[2]));
        for (int k = 0; k < 3; ++k) moments[k] += r * std::pow(t, k);
        scale += std::fabs(r);
    }
    EXPECT_GT(scale, 40.0);                                          // the noise is there ...
    for (double m : moments) EXPECT_LT(std::fabs(m), 1e-9 * scale);  // ... and nothing of it is explained
}

TEST_F(LeastSquares, RefusesDegenerateSetsWithoutWriting) {
    const double x[] = {1, 1, 2, 2}, y[] = {1, 2, 3, 4}, same[] = {5, 5, 5}, close[] = {0, 1e-12, 1},
                 nan[] = {0, NAN, 1}, huge[] = {1e308, -1e308, 1e308};
    double c[3] = {9, 9, 9};
    EXPECT_EQ(ordinary_least_squares(nullptr, y, 4, c), RADIMO_ERR_PARAM);
    EXPECT_EQ(ordinary_least_squares(x, y, 4, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(ordinary_least_squares(x, y, 2, c), RADIMO_ERR_PARAM);
    EXPECT_EQ(ordinary_least_squares(x, y, 4, c), RADIMO_ERR_PARAM);
    EXPECT_EQ(ordinary_least_squares(same, y, 3, c), RADIMO_ERR_PARAM);
    EXPECT_EQ(ordinary_least_squares(nan, y, 3, c), RADIMO_ERR_PARAM);
    EXPECT_EQ(ordinary_least_squares(close, y, 3, c), RADIMO_ERR_PARAM);
    EXPECT_EQ(ordinary_least_squares(x + 1, huge, 3, c), RADIMO_ERR_PARAM);  // 1, 2, 2: two values
    EXPECT_EQ(ordinary_least_squares(y, huge, 3, c), RADIMO_ERR_PARAM);
    EXPECT_THAT(c, ElementsAre(9, 9, 9));
    EXPECT_THAT(log.error_texts(),
                ElementsAre("input param is invalid\n", "input param is invalid\n",
                            "the number of points is invalid\n", "fewer than three distinct x\n",
                            "fewer than three distinct x\n", "x or y is not finite\n",
                            "x is too close to two values\n", "fewer than three distinct x\n",
                            "coefficients are not finite\n"));
    EXPECT_EQ(log.errors()[0].where_what().substr(0, 40), "src/temp_correct/ordinary_least_squares:");
}

// ---------------------------------------------------------------------------
// The rebuild
// ---------------------------------------------------------------------------

constexpr uint32_t kLen = 16384;

class LensTable : public radimo::test::LoggedTest {
protected:
    std::vector<uint16_t> table = linear_table(kLen, 1000, 2);
    std::vector<uint16_t> out = std::vector<uint16_t>(kLen, 0xAAAA);
    int run(const std::vector<multi_point_nuc_t> &points) {
        return multi_point_calc_new_nuc_table_in_change_lens(
            table.data(), points.data(), static_cast<uint32_t>(points.size()), out.data());
    }
};

TEST_F(LensTable, PointsOnALineGiveThePiecewiseLinearTable) {
    // Output 200 NUC above the setting: the fit is that line, and both
    // rebuilds give the same table, rising or falling (hot mode).
    const std::vector<multi_point_nuc_t> points = {{2200, 2000}, {6200, 6000}, {12200, 12000}, {9200, 9000}};
    for (const auto &old : {table, reversed(table)}) {
        table = old;
        std::vector<multi_point_nuc_t> copy = points;
        std::vector<uint16_t> piecewise(kLen);
        ASSERT_EQ(multi_point_calc_new_nuc_table(table.data(), copy.data(), 4, piecewise.data()), 0);
        ASSERT_EQ(run(points), RADIMO_SUCCESS);
        EXPECT_EQ(out, piecewise);
        EXPECT_EQ(table, old);  // a hot-mode reversal is undone
    }
}

TEST_F(LensTable, RefusalsLeaveTablesAndPointsAsGiven) {
    const struct {
        std::vector<multi_point_nuc_t> points;
        int rc;
        std::vector<std::string> errors;
    } cases[] = {
        {{{100, 100}, {200, 200}}, RADIMO_ERR_TABLE_CALC, {"the number of calib point is out of range\n"}},
        {{{100, 500}, {300, 500}, {200, 500}, {100, 400}},
         RADIMO_ERR_TABLE_CALC,
         {"fewer than three distinct x\n", "ordinary_least_squares failed\n"}},
        {{{2000, 2000}, {12000, 8000}, {2000, 14000}},
         RADIMO_ERR_TABLE_CALC,
         {"position map is not monotonic\n"}},
        {{{9000, 2000}, {5000, 8000}, {1000, 14000}},
         RADIMO_ERR_TABLE_CALC,
         {"position map is not monotonic\n"}},
    };
    for (const auto &c : cases) {
        for (const auto &old : {linear_table(kLen, 1000, 2), reversed(linear_table(kLen, 1000, 2))}) {
            table = old;
            log.clear();
            EXPECT_EQ(run(c.points), c.rc);
            EXPECT_EQ(log.error_texts(), c.errors);
            EXPECT_EQ(table, old);
            EXPECT_EQ(out, std::vector<uint16_t>(kLen, 0xAAAA));
        }
    }
    log.clear();
    multi_point_nuc_t point{};
    EXPECT_EQ(multi_point_calc_new_nuc_table_in_change_lens(nullptr, &point, 3, out.data()),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(log.errors().at(0).where_what(),
              "src/temp_correct/multi_point_calc_new_nuc_table_in_change_lens: input param is invalid\n");
}

}  // namespace
