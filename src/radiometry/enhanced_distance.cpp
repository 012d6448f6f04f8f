// Enhanced-distance correction of one temperature: the apparent -> object
// direction and the object -> apparent direction that recalibration uses.
//
// Both take emissivity and tau at the object temperature rather than at the
// apparent one, in two passes, and deliberately differ in how:
//   forward: emissivity once, at the apparent temperature, reused in both
//            passes; tau read twice, humidity applied to the second tau only;
//   reverse: tau read and humidity-corrected once, at the object temperature;
//            emissivity corrected twice (object temperature, then the first
//            apparent estimate).
// Kelvin temperatures are floats: T + 273.15 is formed in double precision
// and rounded to float; results are T - 273.15 formed the same way.
//
// The uint32 argument is part of the interface but not used by the
// computation.
#include "radiometry/enhanced_distance.h"

#include <cstdint>

#include "core/message.h"
#include "core/units.h"
#include "libradimo.h"
#include "radiometry/raw_table_view.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

using radimo::radiometry::DistanceBound;
using radimo::radiometry::ForwardFault;
using radimo::radiometry::SceneFault;

constexpr double kMaxEms = 1.0;
constexpr double kMaxHum = 1.0;
constexpr double kMaxDist = 1000.0;  // m, forward direction and frame variants
constexpr double kMinAirTemp = -273.15;
constexpr double kMaxAirTemp = 100.0;

// Celsius -> kelvin, formed in double precision and kept as float.
float kelvin_float(float celsius) {
    return static_cast<float>(static_cast<double>(celsius) + radimo::units::kKelvinOffset);
}

// Kelvin -> celsius, formed in double precision and kept as float.
float celsius_float(float kelvin) {
    return static_cast<float>(static_cast<double>(kelvin) - radimo::units::kKelvinOffset);
}

bool air_temp_invalid(float t) {
    return t < kMinAirTemp || t > kMaxAirTemp;
}

}  // namespace

namespace radimo::radiometry {

SceneFault check_scene(const env_correct_param_t *scene, const uint16_t *raw_table, const void *out,
                       DistanceBound bound) {
    if (scene == nullptr || raw_table == nullptr || out == nullptr) return SceneFault::kPointers;
    if (scene->ems < 0 || scene->ems > kMaxEms) return SceneFault::kEms;
    if (scene->hum < 0 || scene->hum > kMaxHum) return SceneFault::kHum;
    if (scene->dist < 0 || (bound == DistanceBound::kUpTo1000m && scene->dist > kMaxDist)) {
        return SceneFault::kDist;
    }
    if (air_temp_invalid(scene->ta)) return SceneFault::kTa;
    if (air_temp_invalid(scene->tu)) return SceneFault::kTu;
    return SceneFault::kNone;
}

ForwardFault enhanced_forward(const correct_table_t &view, const env_correct_param_t &scene, float apparent,
                              float *object) {
    const float apparent_k = kelvin_float(apparent);
    float ems = 0.0f;
    if (read_compatible_ems_with_target_temp_and_org_ems(&view, &ems, apparent_k, scene.ems) !=
        RADIMO_SUCCESS) {
        return ForwardFault::kReadEms;
    }
    uint16_t tau_first = 0;
    if (read_compatible_tau_with_target_temp_and_dist(&view, &tau_first, apparent_k, scene.dist) !=
        RADIMO_SUCCESS) {
        return ForwardFault::kReadTauFirst;
    }
    float estimate_k = 0.0f;
    if (temp_correct_with_env_param(&view, tau_first, &estimate_k, ems, scene.ta, scene.tu, apparent_k) !=
        RADIMO_SUCCESS) {
        return ForwardFault::kTempCorrectFirst;
    }
    uint16_t tau_second = 0;
    if (read_compatible_tau_with_target_temp_and_dist(&view, &tau_second, estimate_k, scene.dist) !=
        RADIMO_SUCCESS) {
        return ForwardFault::kReadTauSecond;
    }
    uint16_t tau_hum = 0;
    if (recalc_tau_under_influence_of_hum(&view, &scene, tau_second, &tau_hum, estimate_k) !=
        RADIMO_SUCCESS) {
        return ForwardFault::kHumCorrect;
    }
    // Second pass: the emissivity of the first pass, from the apparent temperature again.
    float object_k = 0.0f;
    if (temp_correct_with_env_param(&view, tau_hum, &object_k, ems, scene.ta, scene.tu, apparent_k) !=
        RADIMO_SUCCESS) {
        return ForwardFault::kTempCorrectSecond;
    }
    *object = celsius_float(object_k);
    return ForwardFault::kNone;
}

int forward_fault_code(ForwardFault fault) {
    switch (fault) {
        case ForwardFault::kNone:
            return RADIMO_SUCCESS;
        case ForwardFault::kReadEms:
            return RADIMO_ERR_READ_EMS;
        case ForwardFault::kReadTauFirst:
        case ForwardFault::kReadTauSecond:
            return RADIMO_ERR_READ_TAU;
        case ForwardFault::kHumCorrect:
            return RADIMO_ERR_HUM_CORRECT;
        case ForwardFault::kTempCorrectFirst:
        case ForwardFault::kTempCorrectSecond:
            return RADIMO_ERR_TEMP_CORRECT;
    }
    return RADIMO_ERR_TEMP_CORRECT;
}

}  // namespace radimo::radiometry

extern "C" {

int enhance_distance_temp_correct(const env_correct_param_t *env_correct_param, const uint16_t *correct_table,
                                  uint32_t /*correct_table_arg*/, float *new_temp, float temp) {
    using namespace radimo::radiometry;
    const SceneFault scene_fault =
        check_scene(env_correct_param, correct_table, new_temp, DistanceBound::kUpTo1000m);
    if (scene_fault != SceneFault::kNone) {
        RADIMO_SCENE_FAULT_LINE(scene_fault);
        return RADIMO_ERR_PARAM;
    }
    const correct_table_t view = raw_table_view(correct_table);
    float object = 0.0f;
    const ForwardFault fault = enhanced_forward(view, *env_correct_param, temp, &object);
    if (fault != ForwardFault::kNone) {
        RADIMO_FORWARD_FAULT_LINE(fault);
        return forward_fault_code(fault);
    }
    *new_temp = object;
    return RADIMO_SUCCESS;
}

int reverse_enhance_distance_temp_correct(const env_correct_param_t *env_correct_param,
                                          const uint16_t *correct_table, uint32_t /*correct_table_arg*/,
                                          float *new_temp, float temp) {
    using namespace radimo::radiometry;
    // No upper distance bound here, on purpose: recalibration scenes may lie beyond 1000 m.
    const SceneFault scene_fault =
        check_scene(env_correct_param, correct_table, new_temp, DistanceBound::kUnbounded);
    if (scene_fault != SceneFault::kNone) {
        RADIMO_SCENE_FAULT_LINE(scene_fault);
        return RADIMO_ERR_PARAM;
    }
    const correct_table_t view = raw_table_view(correct_table);
    const env_correct_param_t &scene = *env_correct_param;
    const float object_k = kelvin_float(temp);

    uint16_t tau_read = 0;
    if (read_compatible_tau_with_target_temp_and_dist(&view, &tau_read, object_k, scene.dist) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR("read_compatible_tau_with_target_temp_and_dist first failed\n");
        return RADIMO_ERR_READ_TAU;
    }
    RADIMO_DEBUG("first read tau = %f\n", tau_read / 16384.0);

    uint16_t tau = 0;
    if (recalc_tau_under_influence_of_hum(&view, &scene, tau_read, &tau, object_k) != RADIMO_SUCCESS) {
        RADIMO_ERROR("hum correction process failed\n");
        return RADIMO_ERR_HUM_CORRECT;
    }
    RADIMO_DEBUG("second calculate tau = %f\n", tau / 16384.0);

    float ems_first = 0.0f;
    if (read_compatible_ems_with_target_temp_and_org_ems(&view, &ems_first, object_k, scene.ems) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR("read_compatible_ems_with_target_temp_and_org_ems failed\n");
        return RADIMO_ERR_READ_EMS;
    }
    RADIMO_DEBUG("first corrected ems = %f\n", static_cast<double>(ems_first));

    float apparent_first_k = 0.0f;
    if (reverse_temp_correct_with_env_param(&view, tau, &apparent_first_k, ems_first, scene.ta, scene.tu,
                                            object_k) != RADIMO_SUCCESS) {
        RADIMO_ERROR("reverse_temp_correct_with_env_param failed\n");
        return RADIMO_ERR_REVERSE_TEMP_CORRECT;
    }
    RADIMO_DEBUG("first reverse temp = %f\n", static_cast<double>(apparent_first_k));

    float ems_second = 0.0f;
    if (read_compatible_ems_with_target_temp_and_org_ems(&view, &ems_second, apparent_first_k, scene.ems) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR("read_compatible_ems_with_target_temp_and_org_ems failed\n");
        return RADIMO_ERR_READ_EMS;
    }
    RADIMO_DEBUG("second corrected ems = %f\n", static_cast<double>(ems_second));

    // The Kelvin value goes straight into the result and is converted there;
    // the dispatcher leaves the result untouched when it fails.
    if (reverse_temp_correct_with_env_param(&view, tau, new_temp, ems_second, scene.ta, scene.tu, object_k) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR("reverse_temp_correct_with_env_param failed\n");
        return RADIMO_ERR_REVERSE_TEMP_CORRECT;
    }
    *new_temp = celsius_float(*new_temp);
    RADIMO_DEBUG("second reverse temp = %f\n", static_cast<double>(*new_temp));
    return RADIMO_SUCCESS;
}

}  // extern "C"
