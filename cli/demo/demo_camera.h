// The demo's camera and scene, built in code and fully deterministic.
//
// The camera: a high-gain quadratic NUC factor and its generated table
// (-20 .. 150 degC); the focal-plane mapping T_FPA = vtemp / 4 - 500 with
// the KT/BT index T_FPA - 1000, so vtemp 6000 .. 10800 spans the 1201
// entries; KT/BT arrays that undo the sensor's drift with the focal-plane
// temperature (gain 0.93 .. 1.07, offset -250 .. +250 NUC, with a slow
// ripple); a correction table of the physical tau model (target
// temperature x distance grid, humidity and reflected temperature on) and
// the environment tau table.
//
// The scene: a 640x512 room at 22 degC with a cooler floor and a window, a
// face, a hot mug on the desk and a cold can, softened at the edges as an
// optical system does; each object has a uniform core whose true
// temperature is known.
//
// The sensor (the inverse of the camera model): the true temperature, seen
// through the scene (the library's reverse scene correction), gives the
// apparent temperature; the NUC factor gives its ideal corrected response
// N; the focal-plane drift at the frame's vtemp turns it into the raw
// response R = (N - bt[i]) * 16384 / kt[i]; a little deterministic noise
// is added.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/frame.h"
#include "core/profile.h"

namespace radimo::cli::demo {

CameraProfile demo_camera();

struct SceneObject {
    std::string name;
    float celsius;   // true temperature of the core
    int x, y, w, h;  // measurement rectangle inside the core
};

struct Scene {
    static constexpr int kWidth = 640;
    static constexpr int kHeight = 512;
    std::vector<float> celsius;  // true temperatures, row-major
    std::vector<SceneObject> objects;
};
Scene demo_scene();

// Focal-plane readings of the two demo frames (a cool and a warm sensor).
inline constexpr uint16_t kCoolVtemp = 7200;
inline constexpr uint16_t kWarmVtemp = 9600;

// The raw frame the camera's sensor delivers for the scene at a vtemp.
Frame sense(const CameraProfile &camera, const Scene &scene, uint16_t vtemp, uint32_t noise_seed);

}  // namespace radimo::cli::demo
