// Per-point gain, offset and target position of the multi-point KT/BT rebuild.
#include <cstdint>
#include <cstdio>

#include "calib/kt_bt_layout.h"
#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
namespace fx = radimo::fx;

enum class OrderFault { kNone, kHighOrLow, kHigh, kLow };

// Mode 0: H and L fall from point to point with H above L; mode 1: both rise
// with H below L; other modes are not checked. Stops at the first fault.
OrderFault check_order(const multi_point_kt_param_t &p, uint32_t n) {
    if (p.mode > 1) return OrderFault::kNone;
    const bool falling = p.mode == 0;
    for (uint32_t i = 0; i < n; ++i) {
        if (falling ? !(p.H[i] > p.L[i]) : !(p.H[i] < p.L[i])) return OrderFault::kHighOrLow;
        if (i + 1 == n) break;
        if (falling) {
            if (!(p.H[i] > p.H[i + 1])) return OrderFault::kHigh;
            if (!(p.L[i] > p.L[i + 1])) return OrderFault::kLow;
        } else {
            if (!(p.L[i] < p.L[i + 1])) return OrderFault::kLow;
            if (!(p.H[i] < p.H[i + 1])) return OrderFault::kHigh;
        }
    }
    return OrderFault::kNone;
}

// Least-squares slope of fit_y over fit_x in single precision, summed in
// point order. A zero denominator gives inf or NaN, never a trap.
float fit_slope(const multi_point_kt_param_t &p, uint32_t n) {
    float sx = 0.0f;
    float sy = 0.0f;
    float sxy = 0.0f;
    float sxx = 0.0f;
    for (uint32_t i = 0; i < n; ++i) {
        const float x = static_cast<float>(p.fit_x[i]);
        sx += x;
        sy += p.fit_y[i];
        sxy += x * p.fit_y[i];
        sxx += static_cast<float>(fx::mul_wrap32(p.fit_x[i], p.fit_x[i]));  // square in integers
    }
    const float count = static_cast<float>(n);
    return (count * sxy - sx * sy) / (count * sxx - sx * sx);
}

}  // namespace

extern "C" {

int multi_point_calc_new_kt_bt_intermediate_param(multi_point_kt_param_t *param, const uint16_t *,
                                                  const int16_t *, uint16_t *, int16_t *) {
    if (param == nullptr) {
        RADIMO_ERROR("input param is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // The reference point indexes the 20-entry fit_x array too.
    if (param->point_num >= radimo::calib::kMaxKtPoints || param->ref_index >= radimo::calib::kMaxKtPoints) {
        RADIMO_ERROR("the number of calib point is out of range\n");
        return RADIMO_ERR_PARAM;
    }
    const uint32_t n = param->point_num + 1u;
    switch (check_order(*param, n)) {
        case OrderFault::kHighOrLow:
            RADIMO_ERROR("H or L is invalid\n");
            return RADIMO_ERR_PARAM;
        case OrderFault::kHigh:
            RADIMO_ERROR("H is invalid\n");
            return RADIMO_ERR_PARAM;
        case OrderFault::kLow:
            RADIMO_ERROR("L is invalid\n");
            return RADIMO_ERR_PARAM;
        case OrderFault::kNone:
            break;
    }

    const float slope = fit_slope(*param, n);
    if (param->table_len == 1201) {
        param->Ktemp = fx::low16s(fx::trunc_i32(slope * 163840.0f));
    } else if (param->table_len == 3601) {
        param->Ktemp = fx::low16s(fx::trunc_i32(slope * 163840.0f * 3.0f));
    }
    const int32_t ktemp = param->Ktemp;
    param->Btemp = fx::low16(param->base_offset + param->ref_position -
                             (param->fit_x[param->ref_index] * ktemp) / 16384);
    RADIMO_DEBUG("Ktemp = %d\n", param->Ktemp);
    RADIMO_DEBUG("Btemp = %d\n", param->Btemp);
    // Printed whatever the log level: callers read these from standard output.
    std::printf("Ktemp = %d\n", param->Ktemp);
    std::printf("Btemp = %d\n", param->Btemp);

    // Every gain is relative to the span of point 1, whatever ref_index says.
    const int32_t high1 = param->H[1];
    const int32_t span1 = param->H[1] - param->L[1];
    for (uint32_t i = 0; i < n; ++i) {
        const int32_t span = param->H[i] - param->L[i];
        const float gain = static_cast<float>(span1) / static_cast<float>(span) * 16384.0f;
        param->K[i] = fx::low16(fx::trunc_i32(static_cast<double>(gain) + 0.5));
        // The product is taken in 32-bit integers; the offset is evaluated in
        // double precision (float operands, double 1/16384 constant).
        const float product = static_cast<float>(fx::mul_wrap32(param->H[i], param->K[i]));
        param->B[i] = fx::low16s(fx::trunc_i32(static_cast<float>(high1) - product * fx::kQ14Scale));
        param->P[i] = fx::low16(param->Btemp - param->base_offset + (param->fit_x[i] * ktemp) / 16384);
        RADIMO_DEBUG("K[%d]=%d\n", static_cast<int>(i), param->K[i]);
        RADIMO_DEBUG("B[%d]=%d\n", static_cast<int>(i), param->B[i]);
        RADIMO_DEBUG("P[%d]=%d\n", static_cast<int>(i), param->P[i]);
        std::printf("K[%d] = %d\n", static_cast<int>(i), param->K[i]);
        std::printf("B[%d] = %d\n", static_cast<int>(i), param->B[i]);
        std::printf("P[%d] = %d\n", static_cast<int>(i), param->P[i]);
    }
    std::fflush(stdout);
    return RADIMO_SUCCESS;
}

}  // extern "C"
