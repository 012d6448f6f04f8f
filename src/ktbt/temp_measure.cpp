// One pixel's temperature from its raw NUC value: KT/BT correction, then the
// NUC table lookup.
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

extern "C" {

int temp_measure_with_NUC_value(const ktbt_correct_param_t *ktbt_param, const uint16_t *nuc_table,
                                uint32_t nuc, uint16_t *temp) {
    if (nuc_table == nullptr || temp == nullptr || ktbt_param == nullptr) {
        RADIMO_ERROR("ktbt correct param or nuc_table or temp data is in valid.\n");
        return RADIMO_ERR_PARAM;
    }
    uint16_t corrected = 0;
    if (ktbt_correct_process(ktbt_param, nuc, &corrected) != RADIMO_SUCCESS) {
        RADIMO_ERROR("ktbt correct process failed\n");
        return RADIMO_ERR_KTBT_CORRECT;
    }
    if (remap_temp(nuc_table, corrected, temp) != RADIMO_SUCCESS) {
        RADIMO_ERROR("remap temp failed\n");
        return RADIMO_ERR_REMAP;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
