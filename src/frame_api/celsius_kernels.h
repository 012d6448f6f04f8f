// The kernels of the whole-frame conversion of 1/16 K values to degC
// (celsius_frame.cpp): one per target, each in a file of its own
// (celsius_<target>.cpp). Every one keeps the scalar rule's widths and order:
// value * 0.0625 in single precision, minus 273.15 in double, kept as float.
#pragma once

#include <cstddef>
#include <cstdint>

namespace radimo::frame_api::kernels {

// out[i] = the degC of the 1/16 K value v[i], for i < n.
using ConvertFn = void (*)(const uint16_t *v, size_t n, float *out);

extern const ConvertFn kConvertScalar;
extern const ConvertFn kConvertSse2;  // x86-64 only
extern const ConvertFn kConvertAvx2;  // x86-64 only
extern const ConvertFn kConvertNeon;  // ARM only

}  // namespace radimo::frame_api::kernels
