// Versioned entry point of the user-defined calibration points.
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

extern "C" {

// The numbering is offset by one, as the interface has it: version 0 runs
// ..._with_version1, 1 runs ..._with_version2 and 2 runs ..._with_version3.
int multi_point_calc_user_defined_nuc_with_version(multi_point_calib_param_t *param, uint32_t version,
                                                   void *two_point_calib_result) {
    if (param == nullptr || two_point_calib_result == nullptr) {
        RADIMO_ERROR("handle is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (version > 2) {
        RADIMO_ERROR("version is wrong\n");
        return RADIMO_ERR_PARAM;
    }
    if (version == 2) {
        if (multi_point_calc_user_defined_nuc_with_version3(
                param, static_cast<const two_point_calib_result_v3_t *>(two_point_calib_result)) !=
            RADIMO_SUCCESS) {
            RADIMO_ERROR("multi_point_calc_user_defined_nuc_with_version3 failed\n");
            return RADIMO_ERR_VERSION;
        }
        return RADIMO_SUCCESS;
    }
    const auto *arrays = static_cast<const multi_point_calib_array_t *>(param->multi_point_calib_array);
    const auto *result = static_cast<const two_point_calib_result_t *>(two_point_calib_result);
    const int rc =
        version == 0
            ? multi_point_calc_user_defined_nuc_with_version1(param->multi_point_param, arrays, result,
                                                              param->multi_point_temp, param->multi_point_nuc)
            : multi_point_calc_user_defined_nuc_with_version2(
                  param->multi_point_param, arrays, result, param->multi_point_temp, param->multi_point_nuc);
    if (rc != RADIMO_SUCCESS) {
        RADIMO_ERROR("multi_point_calc_user_defined_nuc failed\n");
        return RADIMO_ERR_VERSION;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
