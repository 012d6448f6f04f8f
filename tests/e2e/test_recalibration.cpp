// End to end on a simulated camera: a camera whose KT/BT arrays have drifted
// reads two blackbodies, the double-point recalibration rewrites its arrays,
// and the camera reads true again, in every correction mode and through every
// entry point; then user calibration points rebuild the NUC table, and a
// one-point correction rebuilds one stretch of it.
//
// How a host uses the recalibration:
//   1. point the camera at a low and a high blackbody and note, for each,
//      the focal-plane reading (vtemp) and the apparent temperature the
//      camera reported before any scene correction;
//   2. fill a second_calib_param_t with those and with the blackbodies'
//      true temperatures, and describe the scene(s) in front of them;
//   3. call the recalibration with the camera's current arrays, NUC table and
//      correction table, and install the new arrays it writes.
#include <cstddef>
#include <cstdlib>

#include "support/prelude.h"
#include "support/simulated_camera.h"

namespace {

using radimo::test::SimulatedCamera;

using Blackbody = SimulatedCamera::Blackbody;
constexpr Blackbody kLow{30.0f, SimulatedCamera::vtemp_of_index(480)};
constexpr Blackbody kHigh{90.0f, SimulatedCamera::vtemp_of_index(520)};
constexpr Blackbody kBetween{60.0f, SimulatedCamera::vtemp_of_index(500)};  // not used to calibrate

// Scenes in front of the blackbodies: close and nearly black.
constexpr env_correct_param_t kNear{0.5f, 0.97f, 0.5f, 23.0f, 23.0f};
constexpr env_correct_param_t kFarther{2.0f, 0.95f, 0.6f, 23.0f, 26.0f};

// The aged camera: gains 2 % high, offsets 40 NUC high.
constexpr double kGainDrift = 0.02;
constexpr int kOffsetDrift = 40;

enum class EntryPoint { kOneScene, kTwoScenes, kVersioned };

struct Session {
    EntryPoint entry;
    uint32_t mode;  // correction mode; the versioned entry uses version 0 for 0-3, 1 for 4-7
    env_correct_param_t high_scene;
    env_correct_param_t low_scene;
};

// The arrays a recalibration writes.
struct NewArrays {
    std::vector<uint16_t> kt = std::vector<uint16_t>(SimulatedCamera::kEntries);
    std::vector<int16_t> bt = std::vector<int16_t>(SimulatedCamera::kEntries);
};

// Steps 1 to 3: what the recalibration is told, and the recalibration; the caller installs the new arrays.
int recalibrate(SimulatedCamera &camera, const Session &s, NewArrays *out) {
    two_point_calib_result_t result{out->kt.data(), out->bt.data()};
    multi_point_calib_array_t arrays = camera.calib_arrays(s.mode);
    advanced_second_cal_param_t two_scenes{
        s.high_scene, s.low_scene, camera.blackbody_record(kLow, kHigh, s.low_scene, s.high_scene, s.mode)};
    switch (s.entry) {
        case EntryPoint::kOneScene: {
            second_cal_param_t one_scene{s.high_scene, two_scenes.second_calib_param};
            return new_ktbt_recal_double_point_calculate(&one_scene, s.mode, &arrays, &result);
        }
        case EntryPoint::kTwoScenes:
            return advanced_ktbt_recal_double_point_calculate(&two_scenes, s.mode, &arrays, &result);
        case EntryPoint::kVersioned: {
            multi_point_calib_param_t param{&two_scenes, &arrays, nullptr, nullptr, 0, 0, 0};
            return new_ktbt_recal_double_point_calculate_with_version(&param, s.mode <= 3 ? 0 : 1, &result);
        }
    }
    return RADIMO_ERR_PARAM;
}

// Reading minus truth for the two blackbodies and the one in between.
struct Errors {
    float low, high, between;
    float largest() const { return std::max({std::fabs(low), std::fabs(high), std::fabs(between)}); }
};
Errors errors(const SimulatedCamera &camera, const Session &s) {
    return {camera.measure(kLow.celsius, kLow.vtemp, s.low_scene, s.mode) - kLow.celsius,
            camera.measure(kHigh.celsius, kHigh.vtemp, s.high_scene, s.mode) - kHigh.celsius,
            camera.measure(kBetween.celsius, kBetween.vtemp, s.low_scene, s.mode) - kBetween.celsius};
}

void expect_restored(const Errors &before, const Errors &after, const char *what) {
    EXPECT_GT(before.largest(), 1.0f) << what;  // the drift was plain to see
    EXPECT_LE(std::fabs(after.low), 0.5f) << what;
    EXPECT_LE(std::fabs(after.high), 0.5f) << what;
    EXPECT_LE(std::fabs(after.between), 1.0f) << what;
}

TEST(DoublePointRecalibration, RestoresADriftedCameraInEveryMode) {
    const struct {
        const char *what;
        Session session;
    } cases[] = {
        {"one scene, environment factor (mode 2)", {EntryPoint::kOneScene, 2, kNear, kNear}},
        {"one scene, enhanced distance (mode 5)", {EntryPoint::kOneScene, 5, kNear, kNear}},
        {"one scene, no correction (mode 8)", {EntryPoint::kOneScene, 8, kNear, kNear}},
        {"two scenes, environment factor (mode 0)", {EntryPoint::kTwoScenes, 0, kFarther, kNear}},
        {"two scenes, enhanced distance (mode 7)", {EntryPoint::kTwoScenes, 7, kFarther, kNear}},
        {"two scenes, no correction (mode 12)", {EntryPoint::kTwoScenes, 12, kFarther, kNear}},
        {"version 0 (environment factor)", {EntryPoint::kVersioned, 0, kFarther, kNear}},
        {"version 1 (enhanced distance)", {EntryPoint::kVersioned, 4, kFarther, kNear}},
    };
    for (const auto &c : cases) {
        SimulatedCamera camera;
        const Errors factory = errors(camera, c.session);
        EXPECT_LE(factory.largest(), 0.2f) << c.what;  // fresh from the factory
        camera.drift(kGainDrift, kOffsetDrift);
        const Errors before = errors(camera, c.session);
        NewArrays fresh;
        ASSERT_EQ(recalibrate(camera, c.session, &fresh), RADIMO_SUCCESS) << c.what;
        camera.install(fresh.kt, fresh.bt);
        expect_restored(before, errors(camera, c.session), c.what);
    }
}

TEST(DoublePointRecalibration, ThreeRangesFromOneRangesMeasurement) {
    // Three temperature ranges: each has its own arrays (its own sensor
    // response) over the one factory NUC table, and all three have aged alike.
    // The blackbodies are measured in range 1 only; version 2 rewrites all three.
    std::vector<SimulatedCamera> ranges{SimulatedCamera(0), SimulatedCamera(1), SimulatedCamera(2)};
    const Session s{EntryPoint::kVersioned, 5, kFarther, kNear};  // version 2 always corrects as modes 4-7 do
    std::vector<Errors> before;
    for (SimulatedCamera &r : ranges) {
        r.drift(kGainDrift, kOffsetDrift);
        before.push_back(errors(r, s));
    }
    advanced_second_cal_param_t scenes{
        s.high_scene, s.low_scene,
        ranges[1].blackbody_record(kLow, kHigh, s.low_scene, s.high_scene, s.mode)};
    multi_point_calib_array_v3_t arrays{{ranges[0].kt.data(), ranges[1].kt.data(), ranges[2].kt.data()},
                                        {ranges[0].bt.data(), ranges[1].bt.data(), ranges[2].bt.data()},
                                        ranges[1].nuc_table.data(),
                                        ranges[1].raw_table.data(),
                                        0};
    std::vector<std::vector<uint16_t>> new_kt(3, std::vector<uint16_t>(SimulatedCamera::kEntries));
    std::vector<std::vector<int16_t>> new_bt(3, std::vector<int16_t>(SimulatedCamera::kEntries));
    two_point_calib_result_v3_t result{{new_kt[0].data(), new_kt[1].data(), new_kt[2].data()},
                                       {new_bt[0].data(), new_bt[1].data(), new_bt[2].data()}};
    multi_point_calib_param_t param{&scenes, &arrays, nullptr, nullptr, 0, 0, 1};
    testing::internal::CaptureStdout();  // version 2 prints its coefficients
    ASSERT_EQ(new_ktbt_recal_double_point_calculate_with_version(&param, 2, &result), RADIMO_SUCCESS);
    EXPECT_EQ(testing::internal::GetCapturedStdout().substr(0, 5), "Kc = ");
    const char *names[] = {"version 2, range 0", "version 2, range 1 (measured)", "version 2, range 2"};
    for (int r = 0; r < 3; ++r) {
        ranges[r].install(new_kt[r], new_bt[r]);
        expect_restored(before[r], errors(ranges[r], s), names[r]);
    }
}

// ---------------------------------------------------------------------------
// User calibration points and the rebuilt NUC table
// ---------------------------------------------------------------------------
//
// After a double-point recalibration the user may still want the camera to
// read some objects differently (a reference of their own). How a host
// does it:
//   1. with the arrays the camera holds, read each object (output_temp, the
//      apparent reading before any scene correction, as for the blackbodies)
//      and say what it should read (setting_temp);
//   2. for each point, multi_point_calc_user_defined_nuc with the held arrays
//      and the recalibrated ones gives the NUC value the camera will present
//      for the object (output_nuc) and the one the set temperature has in
//      the NUC table (setting_nuc);
//   3. multi_point_calc_new_nuc_table rebuilds the table from the points; it
//      reads and writes 16384 entries, so it gets a working copy of the
//      8192-entry table (continued flat) and the first 8192 entries are kept;
//   4. the recalibrated arrays and the new table are installed.

constexpr uint16_t kPointVtemp = SimulatedCamera::vtemp_of_index(500);

struct UserPoint {
    float celsius;  // the object's true temperature
    float offset;   // the user wants it to read this much higher
};
constexpr UserPoint kUserPoints[3] = {{40.0f, 1.0f}, {70.0f, -0.8f}, {110.0f, 0.6f}};

// Steps 1 and 2: the points' NUC values.
std::vector<multi_point_nuc_t> user_points(SimulatedCamera &camera, const NewArrays &fresh, uint32_t mode) {
    second_cal_param_t param{kNear, camera.calib_param()};
    param.second_calib_param.cur_vtemp = kPointVtemp;
    const multi_point_calib_array_t arrays = camera.calib_arrays(mode);
    two_point_calib_result_t result{const_cast<uint16_t *>(fresh.kt.data()),
                                    const_cast<int16_t *>(fresh.bt.data())};
    std::vector<multi_point_nuc_t> points;
    for (const UserPoint &u : kUserPoints) {
        const uint16_t raw = camera.raw_of(u.celsius, kPointVtemp, kNear, mode);
        multi_point_temp_t temp{camera.apparent_reading(raw, kPointVtemp), u.celsius + u.offset};
        multi_point_nuc_t nuc{};
        EXPECT_EQ(multi_point_calc_user_defined_nuc(&param, mode, &arrays, &result, &temp, &nuc),
                  RADIMO_SUCCESS);
        points.push_back(nuc);
    }
    return points;
}

// Step 3 (the points are passed by value: the rebuild sorts them in place).
std::vector<uint16_t> rebuilt_table(const SimulatedCamera &camera, std::vector<multi_point_nuc_t> points) {
    std::vector<uint16_t> old = camera.working_copy(), rebuilt(16384);
    EXPECT_EQ(multi_point_calc_new_nuc_table(old.data(), points.data(), static_cast<uint32_t>(points.size()),
                                             rebuilt.data()),
              RADIMO_SUCCESS);
    rebuilt.resize(8192);
    return rebuilt;
}

// A camera after the double-point recalibration, with the new arrays not yet installed.
struct RecalibratedCamera {
    explicit RecalibratedCamera(uint32_t mode) {
        camera.drift(kGainDrift, kOffsetDrift);
        EXPECT_EQ(recalibrate(camera, {EntryPoint::kOneScene, mode, kNear, kNear}, &fresh), RADIMO_SUCCESS);
    }
    SimulatedCamera camera;
    NewArrays fresh;
};

// The largest step between neighbouring table entries, in kelvin.
float table_step(const std::vector<uint16_t> &table) {
    int step = 0;
    for (std::size_t i = 0; i + 1 < table.size(); ++i)
        step = std::max(step, std::abs(table[i + 1] - table[i]));
    return step / 16.0f;
}

TEST(UserCalibrationPoints, TheCameraReadsTheSetTemperatures) {
    for (uint32_t mode : {8u, 5u}) {
        RecalibratedCamera r(mode);
        const std::vector<multi_point_nuc_t> points = user_points(r.camera, r.fresh, mode);
        const std::vector<uint16_t> table = rebuilt_table(r.camera, points);
        r.camera.install(r.fresh.kt, r.fresh.bt);
        r.camera.install_nuc_table(table.data());
        for (const UserPoint &u : kUserPoints) {
            const float reading = r.camera.measure(u.celsius, kPointVtemp, kNear, mode);
            EXPECT_NEAR(reading, u.celsius + u.offset, table_step(table)) << mode << " " << u.celsius;
        }
    }
}

// ---------------------------------------------------------------------------
// One-point correction
// ---------------------------------------------------------------------------
//
// Three points: the first two bound the calibrated range, the third says
// which stretch of the table is corrected (here the one between them). The
// rest of the table keeps its values.

TEST(OnePointCorrection, RebuildsOnlyTheChosenStretch) {
    RecalibratedCamera r(8);
    const std::vector<multi_point_nuc_t> sorted = user_points(r.camera, r.fresh, 8);
    const std::vector<uint16_t> old = r.camera.nuc_table;
    // Bounds at 40 and 110 degC, the point at 70 degC in between.
    std::vector<multi_point_nuc_t> points{sorted[0], sorted[2], sorted[1]};
    std::vector<uint16_t> corrected(8192);
    ASSERT_EQ(
        multi_point_calc_one_point_correct(r.camera.nuc_table.data(), points.data(), 3, corrected.data()),
        RADIMO_SUCCESS);
    const std::size_t from = sorted[0].setting_nuc >> 1, to = sorted[2].setting_nuc >> 1;
    const std::vector<uint16_t> full = rebuilt_table(r.camera, sorted);
    for (std::size_t i = 0; i < 8192; ++i)
        EXPECT_EQ(corrected[i], i >= from && i < to ? full[i] : old[i]) << i;
    EXPECT_NE(std::vector<uint16_t>(corrected.begin() + from, corrected.begin() + to),
              std::vector<uint16_t>(old.begin() + from, old.begin() + to));

    // Installed: the point in between reads its set temperature, objects outside the stretch read as before.
    r.camera.install(r.fresh.kt, r.fresh.bt);
    const float cold_before = r.camera.measure(20.0f, kPointVtemp, kNear, 8);
    r.camera.install_nuc_table(corrected.data());
    EXPECT_NEAR(r.camera.measure(70.0f, kPointVtemp, kNear, 8), 70.0f - 0.8f, table_step(corrected));
    EXPECT_EQ(r.camera.measure(20.0f, kPointVtemp, kNear, 8), cold_before);
}

}  // namespace
