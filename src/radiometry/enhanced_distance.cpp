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
using radimo::units::celsius_float;
using radimo::units::kelvin_float;

constexpr double kMaxEms = 1.0;
constexpr double kMaxHum = 1.0;
constexpr double kMaxDist = 1000.0;  // m, forward direction and frame variants
constexpr double kMinAirTemp = -radimo::units::kKelvinOffset;
constexpr double kMaxAirTemp = 100.0;

bool air_temp_invalid(float t) {
    return t < kMinAirTemp || t > kMaxAirTemp;
}

}  // namespace

namespace radimo::radiometry {

bool scene_finite(const char *caller, const env_correct_param_t &scene) {
    const struct {
        float value;
        const char *name;
    } fields[] = {
        {scene.dist, "dist"}, {scene.ems, "ems"}, {scene.hum, "hum"}, {scene.ta, "ta"}, {scene.tu, "tu"}};
    for (const auto &f : fields) {
        if (!std::isfinite(f.value)) {
            RADIMO_ERROR_FOR(caller, "%s is not a finite number\n", f.name);
            return false;
        }
    }
    return true;
}

bool scene_valid(const char *caller, const env_correct_param_t *scene, const uint16_t *raw_table,
                 const void *out, DistanceBound bound) {
    if (scene == nullptr || raw_table == nullptr || out == nullptr) {
        RADIMO_ERROR_FOR(caller, "env_correct_param or correct_table or new_temp is invalid\n");
        return false;
    }
    if (scene->ems < 0 || scene->ems > kMaxEms) {
        RADIMO_ERROR_FOR(caller, "ems is out of range\n");
        return false;
    }
    if (scene->hum < 0 || scene->hum > kMaxHum) {
        RADIMO_ERROR_FOR(caller, "hum is out of range\n");
        return false;
    }
    if (scene->dist < 0 || (bound == DistanceBound::kUpTo1000m && scene->dist > kMaxDist)) {
        RADIMO_ERROR_FOR(caller, "dist is invalid\n");
        return false;
    }
    if (air_temp_invalid(scene->ta)) {
        RADIMO_ERROR_FOR(caller, "ta is invalid\n");
        return false;
    }
    if (air_temp_invalid(scene->tu)) {
        RADIMO_ERROR_FOR(caller, "tu is invalid\n");
        return false;
    }
    return true;
}

int enhanced_forward(const char *caller, const correct_table_t &view, const env_correct_param_t &scene,
                     float apparent, float *object) {
    const float apparent_k = kelvin_float(apparent);
    float ems = 0.0f;
    if (read_compatible_ems_with_target_temp_and_org_ems(&view, &ems, apparent_k, scene.ems) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "read_compatible_ems_with_target_temp_and_org_ems failed\n");
        return RADIMO_ERR_READ_EMS;
    }
    uint16_t tau_first = 0;
    if (read_compatible_tau_with_target_temp_and_dist(&view, &tau_first, apparent_k, scene.dist) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "read_compatible_tau_with_target_temp_and_dist first failed\n");
        return RADIMO_ERR_READ_TAU;
    }
    float estimate_k = 0.0f;
    if (temp_correct_with_env_param(&view, tau_first, &estimate_k, ems, scene.ta, scene.tu, apparent_k) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "first temp_correct_with_env_param failed\n");
        return RADIMO_ERR_TEMP_CORRECT;
    }
    uint16_t tau_second = 0;
    if (read_compatible_tau_with_target_temp_and_dist(&view, &tau_second, estimate_k, scene.dist) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "read_compatible_tau_with_target_temp_and_dist second failed\n");
        return RADIMO_ERR_READ_TAU;
    }
    uint16_t tau_hum = 0;
    if (recalc_tau_under_influence_of_hum(&view, &scene, tau_second, &tau_hum, estimate_k) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "hum correction process failed\n");
        return RADIMO_ERR_HUM_CORRECT;
    }
    // Second pass: the emissivity of the first pass, from the apparent temperature again.
    float object_k = 0.0f;
    if (temp_correct_with_env_param(&view, tau_hum, &object_k, ems, scene.ta, scene.tu, apparent_k) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR_FOR(caller, "second temp_correct_with_env_param failed\n");
        return RADIMO_ERR_TEMP_CORRECT;
    }
    *object = celsius_float(object_k);
    return RADIMO_SUCCESS;
}

}  // namespace radimo::radiometry

extern "C" {

int enhance_distance_temp_correct(const env_correct_param_t *env_correct_param, const uint16_t *correct_table,
                                  uint32_t /*correct_table_arg*/, float *new_temp, float temp) {
    using namespace radimo::radiometry;
    if (!scene_valid(__func__, env_correct_param, correct_table, new_temp, DistanceBound::kUpTo1000m))
        return RADIMO_ERR_PARAM;
    const correct_table_t view = raw_table_view(correct_table);
    float object = 0.0f;
    const int rc = enhanced_forward(__func__, view, *env_correct_param, temp, &object);
    if (rc != RADIMO_SUCCESS) return rc;
    *new_temp = object;
    return RADIMO_SUCCESS;
}

int reverse_enhance_distance_temp_correct(const env_correct_param_t *env_correct_param,
                                          const uint16_t *correct_table, uint32_t /*correct_table_arg*/,
                                          float *new_temp, float temp) {
    using namespace radimo::radiometry;
    // No upper distance bound here, on purpose: recalibration scenes may lie beyond 1000 m.
    if (!scene_valid(__func__, env_correct_param, correct_table, new_temp, DistanceBound::kUnbounded))
        return RADIMO_ERR_PARAM;
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
