// Recalibration of the second linear stage (K, B) of a two-stage Q10 reading,
// and the offset of a line through the end of a KT/BT index range.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// First stage y = x * K1 + B1 in wrapping 32-bit arithmetic.
constexpr int32_t first_stage_of(const kb_param_t &first, uint32_t x) {
    return radimo::fx::wrap32(static_cast<int64_t>(static_cast<uint32_t>(first.K) * x) + first.B);
}

}  // namespace

extern "C" {

int single_point_recalibrate_KB(const kb_param_t *first_stage, uint32_t x, kb_param_t *new_kb,
                                double target) {
    if (first_stage == nullptr || new_kb == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // The second stage passes y through (K = 1.0 in Q10) and shifts it onto the target.
    const int32_t y = first_stage_of(*first_stage, x);
    new_kb->K = 1024;
    new_kb->B = radimo::fx::trunc_i32(target * 1024.0 - static_cast<double>(y));
    return RADIMO_SUCCESS;
}

int double_point_recalibrate_KB(const kb_param_t *first_stage, const uint32_t *x, const double *target,
                                kb_param_t *new_kb) {
    if (first_stage == nullptr || x == nullptr || target == nullptr || new_kb == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const uint32_t xa = x[0];
    const uint32_t xb = x[1];
    const int32_t d =
        radimo::fx::wrap32(static_cast<int64_t>((xa - xb) * static_cast<uint32_t>(first_stage->K)));
    // Equal readings or a zero first-stage gain leave no line to fit.
    if (d == 0) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const int32_t ya = first_stage_of(*first_stage, xa);
    const double ta = target[0];
    const double tb = target[1];
    const int32_t k = radimo::fx::trunc_i32((ta - tb) * 1048576.0 / static_cast<double>(d));
    const int32_t y_scaled = radimo::fx::wrap32(static_cast<int64_t>(ya) * k);
    new_kb->K = k;
    new_kb->B = radimo::fx::trunc_i32(ta * 1024.0 - static_cast<double>(y_scaled) / 1024.0);
    return RADIMO_SUCCESS;
}

int calculate_Kn_and_Bn(const second_calib_param_t *kt_info, const uint16_t *index, const uint32_t *value,
                        kb_param_t *kb) {
    if (kt_info == nullptr || index == nullptr || value == nullptr || kb == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (index[0] == index[1]) {
        RADIMO_ERROR("kt_info is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    // A zero K_Temp maps every vtemp to one index: reported like a degenerate range.
    if (kt_info->K_Temp == 0) {
        RADIMO_ERROR("kt_info is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    // The vtemp at which the KT/BT index reaches the end of the range.
    const int64_t span = static_cast<int64_t>(index[1]) + kt_info->Address_CA + 1 - kt_info->B_Temp;
    const int32_t v_end = radimo::fx::div32(radimo::fx::wrap32(span * 16384), kt_info->K_Temp);
    const int64_t b = static_cast<int64_t>(*value) * 1024 - static_cast<int64_t>(v_end) * kb->K;
    kb->B = radimo::fx::wrap32(b);
    return RADIMO_SUCCESS;
}

}  // extern "C"
