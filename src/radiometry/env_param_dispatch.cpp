// Kelvin grey-body correction chosen by the reflected-temperature switch of
// the correction-table record: enable 1 (with version 1) uses the separate
// reflected temperature tu, any other enable value ignores tu.
//
// Both dispatchers refuse a NULL record or result with "data is NULL"
// before any computation; the forward one thus never hands a NULL result to
// a member.
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

extern "C" {

int temp_correct_with_env_param(const correct_table_t *correct_table, uint16_t tau, float *result, float ems,
                                float ta, float tu, float temperature) {
    if (correct_table == nullptr || result == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (correct_table->reflected_tmp_enable == 1) {
        if (correct_table->reflected_tmp_version != 1) {
            RADIMO_ERROR(
                "correction table mismatch between reflected tmp enable and reflected tmp version\n");
            return RADIMO_ERR_PARAM;
        }
        if (temp_correct_with_reflected_temp_kelvin(tau, result, ems, ta, tu, temperature) !=
            RADIMO_SUCCESS) {
            RADIMO_ERROR("temp_correct_tu failed\n");
            return RADIMO_ERR_TEMP_CORRECT;
        }
        return RADIMO_SUCCESS;
    }
    if (temp_correct_kelvin(tau, result, ems, ta, temperature) != RADIMO_SUCCESS) {
        RADIMO_ERROR("temp_correct_kelvin failed\n");
        return RADIMO_ERR_TEMP_CORRECT;
    }
    return RADIMO_SUCCESS;
}

int reverse_temp_correct_with_env_param(const correct_table_t *correct_table, uint16_t tau, float *result,
                                        float ems, float ta, float tu, float temperature) {
    if (result == nullptr || correct_table == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (correct_table->reflected_tmp_enable == 1) {
        if (correct_table->reflected_tmp_version != 1) {
            RADIMO_ERROR(
                "correction table mismatch between reflected tmp enable and reflected tmp version\n");
            return RADIMO_ERR_PARAM;
        }
        if (reverse_temp_correct_with_reflected_temp_kelvin(tau, result, ems, ta, tu, temperature) !=
            RADIMO_SUCCESS) {
            RADIMO_ERROR("reverse_temp_correct_with_reflected_temp failed\n");
            return RADIMO_ERR_REVERSE_TEMP_CORRECT;
        }
        return RADIMO_SUCCESS;
    }
    if (reverse_temp_correct_kelvin(tau, result, ems, ta, temperature) != RADIMO_SUCCESS) {
        RADIMO_ERROR("reverse_temp_correct failed\n");
        return RADIMO_ERR_REVERSE_TEMP_CORRECT;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
