// End to end on a simulated camera: a lens of other optics (a few percent
// less transmission, its own emission, a slight curvature) puts the readings
// off by kelvins; the lens-change double-point recalibration and user points
// through the least-squares NUC-table rebuild bring them back.
//
// How a host recalibrates after a lens change:
//   1. with the arrays and the table the camera holds, point it at a low and
//      a high blackbody and note, for each, the vtemp and the apparent
//      reading; fill one second_cal_param_t with those and the true
//      temperatures (the scene block is not read);
//   2. new_ktbt_recal_double_point_calculate_in_change_lens(record, held
//      arrays and table, new arrays) writes the new KT/BT arrays;
//   3. still with the held arrays, read three to five objects of known
//      temperature at one vtemp (cur_vtemp in the same record); for each,
//      multi_point_calc_user_defined_nuc_in_change_lens(record, held arrays,
//      new arrays, {reading, known temperature}) gives its NUC pair;
//   4. multi_point_calc_new_nuc_table_in_change_lens(16384-entry working copy
//      of the table, pairs) gives the new table (first 8192 entries);
//   5. install the new arrays and the new table.
#include <cstdio>

#include "support/prelude.h"
#include "support/simulated_camera.h"

namespace {

using radimo::test::SimulatedCamera;

constexpr SimulatedCamera::Lens kNewLens{0.96, 80.0, 0.03};
constexpr uint32_t kNoScene = 8;  // the camera reads apparent temperatures
constexpr env_correct_param_t kScene{1.0f, 1.0f, 0.5f, 23.0f, 23.0f};

constexpr SimulatedCamera::Blackbody kLow{30.0f, SimulatedCamera::vtemp_of_index(480)};
constexpr SimulatedCamera::Blackbody kHigh{90.0f, SimulatedCamera::vtemp_of_index(520)};
constexpr uint16_t kPointVtemp = SimulatedCamera::vtemp_of_index(500);
constexpr float kUserPoints[] = {25.0f, 45.0f, 65.0f, 85.0f, 105.0f};

struct LensChange {
    LensChange() { camera.change_lens(kNewLens); }

    // Largest |reading - truth| of a camera over both blackbodies and, unless
    // only those are asked for, 30 .. 100 degC at the points' vtemp.
    static float worst_error(const SimulatedCamera &c, bool blackbodies_only = false) {
        const auto error = [&](float celsius, uint16_t vtemp) {
            return std::fabs(c.measure(celsius, vtemp, kScene, kNoScene) - celsius);
        };
        float worst = std::max(error(kLow.celsius, kLow.vtemp), error(kHigh.celsius, kHigh.vtemp));
        for (float celsius = 30.0f; celsius <= 100.0f && !blackbodies_only; celsius += 2.5f)
            worst = std::max(worst, error(celsius, kPointVtemp));
        return worst;
    }
    // Root mean square of reading - truth over 30 .. 100 degC at the points' vtemp.
    static float rms_error(const SimulatedCamera &c) {
        double sum = 0.0;
        int n = 0;
        for (float celsius = 30.0f; celsius <= 100.0f; celsius += 2.5f, ++n)
            sum += std::pow(c.measure(celsius, kPointVtemp, kScene, kNoScene) - celsius, 2);
        return static_cast<float>(std::sqrt(sum / n));
    }
    // The camera with the new arrays and, when given, the first 8192 entries of a new table.
    SimulatedCamera installed(const std::vector<uint16_t> &table = {}) const {
        SimulatedCamera c = camera;
        c.install(kt, bt);
        if (!table.empty()) c.install_nuc_table(table.data());
        return c;
    }
    // Steps 1 and 2.
    void recalibrate() {
        record.second_calib_param = camera.blackbody_record(kLow, kHigh, kScene, kScene, kNoScene);
        record.second_calib_param.cur_vtemp = kPointVtemp;
        const multi_point_calib_array_t held = camera.calib_arrays(kNoScene);
        two_point_calib_result_t result{kt.data(), bt.data()};
        ASSERT_EQ(new_ktbt_recal_double_point_calculate_in_change_lens(&record, &held, &result),
                  RADIMO_SUCCESS);
    }
    // Step 3; noise[i] is added to the reading of point i.
    std::vector<multi_point_nuc_t> points(const float *noise) {
        const multi_point_calib_array_t held = camera.calib_arrays(kNoScene);
        const two_point_calib_result_t fresh{kt.data(), bt.data()};
        std::vector<multi_point_nuc_t> out;
        for (std::size_t i = 0; i < std::size(kUserPoints); ++i) {
            const uint16_t raw = camera.raw_of(kUserPoints[i], kPointVtemp, kScene, kNoScene);
            multi_point_temp_t temp{camera.apparent_reading(raw, kPointVtemp) + noise[i], kUserPoints[i]};
            multi_point_nuc_t nuc{};
            EXPECT_EQ(multi_point_calc_user_defined_nuc_in_change_lens(&record, &held, &fresh, &temp, &nuc),
                      RADIMO_SUCCESS);
            out.push_back(nuc);
        }
        return out;
    }
    // Step 4 through either rebuild (the points by value: the piecewise one sorts them in place).
    using Rebuild = int (*)(uint16_t *, multi_point_nuc_t *, uint32_t, uint16_t *);
    std::vector<uint16_t> rebuilt(Rebuild rebuild, std::vector<multi_point_nuc_t> pts) const {
        std::vector<uint16_t> old = camera.working_copy(), table(16384);
        EXPECT_EQ(rebuild(old.data(), pts.data(), static_cast<uint32_t>(pts.size()), table.data()),
                  RADIMO_SUCCESS);
        return table;
    }

    SimulatedCamera camera;
    second_cal_param_t record{};
    std::vector<uint16_t> kt = std::vector<uint16_t>(SimulatedCamera::kEntries);
    std::vector<int16_t> bt = std::vector<int16_t>(SimulatedCamera::kEntries);
};

int least_squares(uint16_t *old, multi_point_nuc_t *pts, uint32_t n, uint16_t *out) {
    return multi_point_calc_new_nuc_table_in_change_lens(old, pts, n, out);
}

TEST(LensChange, DoublePointAndLeastSquaresTableReadTrueAgain) {
    LensChange lc;
    const float after_lens = LensChange::worst_error(lc.camera);
    lc.recalibrate();
    const float exact[std::size(kUserPoints)] = {};
    const float after_recal = LensChange::worst_error(lc.installed());
    const float blackbodies = LensChange::worst_error(lc.installed(), true);  // the double point alone
    const float after_table =
        LensChange::worst_error(lc.installed(lc.rebuilt(least_squares, lc.points(exact))));
    EXPECT_GT(after_lens, 1.0f);
    EXPECT_LE(blackbodies, 0.1f);
    EXPECT_LE(after_table, 0.1f);

    // Readings of the user points off by up to 0.15 K, in eight draws: the
    // piecewise-linear table passes through each error, the quadratic averages them out.
    constexpr int kDraws = 8;
    float quadratic = 0.0f, piecewise = 0.0f;
    for (int draw = 1; draw <= kDraws; ++draw) {
        float noise[std::size(kUserPoints)];
        for (std::size_t i = 0; i < std::size(noise); ++i)
            noise[i] = 0.15f * std::sin(2.3f * draw * (i + 1) + draw);
        const std::vector<multi_point_nuc_t> noisy = lc.points(noise);
        quadratic += LensChange::rms_error(lc.installed(lc.rebuilt(least_squares, noisy))) / kDraws;
        piecewise +=
            LensChange::rms_error(lc.installed(lc.rebuilt(multi_point_calc_new_nuc_table, noisy))) / kDraws;
    }
    EXPECT_LT(quadratic, piecewise);
    std::printf(
        "lens change, worst error: %.3f K after the lens; after the double point %.3f K at the blackbodies, "
        "%.3f K in between; %.3f K with the least-squares table; noisy points, mean rms error: "
        "quadratic %.3f K, piecewise-linear %.3f K\n",
        after_lens, blackbodies, after_recal, after_table, quadratic, piecewise);
}

}  // namespace
