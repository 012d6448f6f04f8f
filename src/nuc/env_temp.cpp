// A reading through two Q10 linear stages (e.g. a sensor value to an ambient
// temperature); what the stages mean is the caller's.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
constexpr double kQ10One = 1024.0;
}  // namespace

extern "C" {

int env_temp_calculate(const kb_param_t *first, const kb_param_t *second, int value, double *temp) {
    if (first == nullptr || second == nullptr || temp == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const double x = static_cast<double>(radimo::fx::low16(value));
    const double y = static_cast<double>(first->K) * x + static_cast<double>(first->B);
    *temp = (y * static_cast<double>(second->K) / kQ10One + static_cast<double>(second->B)) / kQ10One;
    return RADIMO_SUCCESS;
}

}  // extern "C"
