// Conversion of 1/16 K values to degC, one value at a time: the kernel of every processor.
#include "core/simd_target.h"
#include "core/units.h"
#include "frame_api/celsius_kernels.h"

namespace radimo::frame_api::kernels {

namespace {

RADIMO_NO_AUTOVEC void convert(const uint16_t *v, size_t n, float *out) {
    RADIMO_SCALAR_LOOP
    for (size_t i = 0; i < n; ++i) out[i] = units::celsius_of_sixteenths(v[i]);
}

}  // namespace

const ConvertFn kConvertScalar = convert;

}  // namespace radimo::frame_api::kernels
