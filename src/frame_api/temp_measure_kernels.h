// The kernels of the whole-frame KT/BT correction and NUC-table lookup
// (temp_measure_frame.cpp): one per target, each in a file of its own
// (temp_measure_<target>.cpp).
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/fixed_point.h"

namespace radimo::frame_api::kernels {

// The correction of one frame: kt[index], bt[index] and the table's index shift.
struct Correction {
    int32_t kt;
    int32_t bt;
    const uint16_t *table;
    uint32_t shift;  // 1 for an 8192-entry table (NUC / 2), 0 for 16384 entries
};

// bt + ((kt * nuc + 8192) >> 14) in wrapping 32-bit arithmetic, clamped to 0 .. 16383.
inline uint32_t table_slot(const Correction &c, uint16_t raw) {
    const int32_t product = fx::mul_wrap32(c.kt, raw);
    const int32_t gained = fx::wrap32(int64_t{product} + fx::kQ14Half) >> fx::kQ14Shift;
    return uint32_t{fx::clamp_nuc(c.bt + gained)} >> c.shift;
}

// temp[i] = the table entry of raw[i], for i < n.
using MeasureFn = void (*)(const Correction &c, const uint16_t *raw, size_t n, uint16_t *temp);

extern const MeasureFn kMeasureScalar;
extern const MeasureFn kMeasureSse2;  // x86-64 only
extern const MeasureFn kMeasureAvx2;  // x86-64 only
extern const MeasureFn kMeasureNeon;  // ARM only

}  // namespace radimo::frame_api::kernels
