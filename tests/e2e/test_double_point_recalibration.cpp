// End to end: a camera whose KT/BT arrays have drifted reads two blackbodies,
// the double-point recalibration rewrites its arrays, and the camera reads
// true again, in every correction mode and through every entry point.
//
// How a host uses the recalibration:
//   1. point the camera at a low and a high blackbody and note, for each,
//      the focal-plane reading (vtemp) and the apparent temperature the
//      camera reported before any scene correction;
//   2. fill a second_calib_param_t with those and with the blackbodies'
//      true temperatures, and describe the scene(s) in front of them;
//   3. call the recalibration with the camera's current arrays, NUC table and
//      correction table, and install the new arrays it writes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "libradimo.h"
#include "support/simulated_camera.h"

namespace {

using radimo::test::SimulatedCamera;

struct Blackbody {
    float celsius;
    uint16_t vtemp;  // focal-plane reading while the camera looked at it
};
const Blackbody kLow{30.0f, SimulatedCamera::vtemp_of_index(480)};
const Blackbody kHigh{90.0f, SimulatedCamera::vtemp_of_index(520)};
const Blackbody kBetween{60.0f, SimulatedCamera::vtemp_of_index(500)};  // not used to calibrate

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

// Step 1 and 2: what the recalibration is told.
second_calib_param_t measurements(const SimulatedCamera &camera, const Session &s) {
    second_calib_param_t p = camera.calib_param();
    p.high_vtemp = kHigh.vtemp;
    p.low_vtemp = kLow.vtemp;
    p.actual_high_celsius =
        camera.apparent_reading(camera.raw_of(kHigh.celsius, kHigh.vtemp, s.high_scene, s.mode), kHigh.vtemp);
    p.actual_low_celsius =
        camera.apparent_reading(camera.raw_of(kLow.celsius, kLow.vtemp, s.low_scene, s.mode), kLow.vtemp);
    p.target_high_celsius = kHigh.celsius;
    p.target_low_celsius = kLow.celsius;
    return p;
}

// Step 3: recalibrate and install the new arrays.
int recalibrate(SimulatedCamera &camera, const Session &s) {
    std::vector<uint16_t> new_kt(SimulatedCamera::kEntries);
    std::vector<int16_t> new_bt(SimulatedCamera::kEntries);
    two_point_calib_result_t result{new_kt.data(), new_bt.data()};
    multi_point_calib_array_t arrays = camera.calib_arrays(s.mode);
    advanced_second_cal_param_t two_scenes{s.high_scene, s.low_scene, measurements(camera, s)};
    int rc = RADIMO_SUCCESS;
    switch (s.entry) {
        case EntryPoint::kOneScene: {
            second_cal_param_t one_scene{s.high_scene, two_scenes.second_calib_param};
            rc = new_ktbt_recal_double_point_calculate(&one_scene, s.mode, &arrays, &result);
            break;
        }
        case EntryPoint::kTwoScenes:
            rc = advanced_ktbt_recal_double_point_calculate(&two_scenes, s.mode, &arrays, &result);
            break;
        case EntryPoint::kVersioned: {
            multi_point_calib_param_t param{&two_scenes, &arrays, nullptr, nullptr, 0, 0, 0};
            rc = new_ktbt_recal_double_point_calculate_with_version(&param, s.mode <= 3 ? 0 : 1, &result);
            break;
        }
    }
    if (rc == RADIMO_SUCCESS) camera.install(new_kt, new_bt);
    return rc;
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
    if (std::getenv("RADIMO_E2E_VERBOSE") != nullptr)
        std::printf("%-40s before %+.3f %+.3f %+.3f  after %+.3f %+.3f %+.3f\n", what, before.low,
                    before.high, before.between, after.low, after.high, after.between);
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
        ASSERT_EQ(recalibrate(camera, c.session), RADIMO_SUCCESS) << c.what;
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
    advanced_second_cal_param_t scenes{s.high_scene, s.low_scene, measurements(ranges[1], s)};
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

}  // namespace
