// A small simulated thermal camera for end-to-end tests of the recalibration.
//
// The model
// ---------
// Factory calibration: a high-gain quadratic NUC factor and its 8192-entry
// NUC table (-20 .. 150 degC), and the focal-plane mapping
//     T_FPA = vtemp * 0.25 - 500,  KT/BT index = T_FPA - 999 - 1,
// so readings vtemp 6000 .. 10800 cover the indices 0 .. 1200
// (vtemp_of_index()).
//
// The sensor: at the KT/BT index i of the current vtemp, a scene whose ideal
// corrected NUC value is N produces the raw response
//     R = (N - bt_true[i]) * 16384 / kt_true[i]   (rounded to an integer),
// with true arrays that drift gently across the index (gains 0.95 .. 1.05,
// offsets within +-120 NUC). The ideal corrected NUC of an apparent
// temperature is the factory table's reverse lookup: the physics stays with
// the factory table whatever table the camera has installed since.
//
// The scene in front of a blackbody of true temperature T, by correction
// mode (the modes of the recalibration):
//   - 8 and above: no scene effect, the apparent temperature is T;
//   - 4 to 7: the apparent temperature is the reverse enhanced-distance
//     correction of T through the raw correction table;
//   - 0 to 3: the object NUC of T, with the scene's environment factor
//     removed, is what the sensor sees.
//
// The camera reads a raw response with the KT/BT arrays it holds (kt, bt):
// the KT/BT correction, then by mode the NUC table (apparent temperature)
// and the enhanced-distance correction, or the environment factor and then
// the NUC table. Its apparent reading, the temperature before any scene
// correction, is what a recalibration is told the camera reported.
//
// A camera whose held arrays equal the true ones reads every blackbody
// within a table step or two; drift() perturbs the held arrays as a camera
// ages, change_lens() puts a lens of other optics in front of the sensor,
// and install() puts recalibrated arrays or a new NUC table in place.
#pragma once

#include <cstdint>
#include <vector>

#include "libradimo.h"

namespace radimo::test {

class SimulatedCamera {
public:
    static constexpr int kEntries = 1201;            // KT/BT entries
    static constexpr uint32_t kTableEntries = 8192;  // NUC table entries
    static constexpr nuc_factor_t kHighGain{-5645, 9300000, 104858};

    // `variant` shifts the true arrays slightly, for cameras (or ranges)
    // that share the factory NUC table but not their sensors.
    explicit SimulatedCamera(int variant = 0);

    // The focal-plane reading that selects KT/BT index i.
    static constexpr uint16_t vtemp_of_index(int index) { return static_cast<uint16_t>(4 * (index + 1500)); }
    // A blackbody: its true temperature and the focal-plane reading while the camera looked at it.
    struct Blackbody {
        float celsius;
        uint16_t vtemp;
    };

    // The KT/BT mapping and lengths of this camera (no temperatures set).
    second_calib_param_t calib_param() const;
    // The table the recalibration's correction reads in this mode: the
    // environment tau table for 0-3, the raw correction table otherwise.
    uint16_t *correct_table(uint32_t mode);
    // The camera's calibration arrays as the recalibration takes them.
    multi_point_calib_array_t calib_arrays(uint32_t mode);
    // What a double-point recalibration is told: calib_param() with the two
    // blackbodies' vtemps, true temperatures and apparent readings through the scenes.
    second_calib_param_t blackbody_record(const Blackbody &low, const Blackbody &high,
                                          const env_correct_param_t &low_scene,
                                          const env_correct_param_t &high_scene, uint32_t mode) const;
    // The 16384-entry working copy of the installed table that a NUC-table rebuild reads (continued flat).
    std::vector<uint16_t> working_copy() const;

    // A camera that has aged: held gains scaled by (1 + gain_error), held
    // offsets moved by offset_error NUC.
    void drift(double gain_error, int offset_error);
    // A lens of other optics: the raw response R becomes
    //   transmission * R + offset + curvature * (R - 8192)^2 / 8192.
    struct Lens {
        double transmission = 1.0;
        double offset = 0.0;
        double curvature = 0.0;
    };
    void change_lens(const Lens &lens) { lens_ = lens; }
    void install(const std::vector<uint16_t> &new_kt, const std::vector<int16_t> &new_bt);
    void install_nuc_table(const uint16_t *table);  // 8192 entries

    // The sensor's raw response to a blackbody of true temperature T (degC).
    uint16_t raw_of(float celsius, uint16_t vtemp, const env_correct_param_t &scene, uint32_t mode) const;
    // Corrected NUC value of a raw response with the held arrays.
    uint16_t corrected_nuc(uint16_t raw, uint16_t vtemp) const;
    // Apparent temperature (degC) of a raw response: no scene correction.
    float apparent_reading(uint16_t raw, uint16_t vtemp) const;
    // The object temperature (degC) the camera reports in a mode.
    float report(uint16_t raw, uint16_t vtemp, const env_correct_param_t &scene, uint32_t mode) const;
    // What the camera reports for a blackbody of true temperature T.
    float measure(float celsius, uint16_t vtemp, const env_correct_param_t &scene, uint32_t mode) const {
        return report(raw_of(celsius, vtemp, scene, mode), vtemp, scene, mode);
    }

    std::vector<uint16_t> factory_table;  // the factory NUC table, 8192 entries
    std::vector<uint16_t> nuc_table;      // installed NUC table, 8192 entries
    std::vector<uint16_t> env_tau;        // environment tau table (humidity x ambient x distance)
    std::vector<uint16_t> raw_table;      // raw correction table with its header
    std::vector<uint16_t> kt_true;        // the sensor's true arrays
    std::vector<int16_t> bt_true;
    std::vector<uint16_t> kt;  // the arrays the camera holds
    std::vector<int16_t> bt;

private:
    Lens lens_;
    env_factor_t env_factor(const env_correct_param_t &scene, const std::vector<uint16_t> &table) const;
    uint16_t ideal_nuc(float apparent_celsius) const;
};

}  // namespace radimo::test
