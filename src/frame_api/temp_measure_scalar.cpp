// Whole-frame KT/BT correction and table lookup, one pixel at a time: the
// kernel of every processor.
#include "core/simd_target.h"
#include "frame_api/temp_measure_kernels.h"

namespace radimo::frame_api::kernels {

namespace {

RADIMO_NO_AUTOVEC void measure(const Correction &c, const uint16_t *raw, size_t n, uint16_t *temp) {
    RADIMO_SCALAR_LOOP
    for (size_t i = 0; i < n; ++i) temp[i] = c.table[table_slot(c, raw[i])];
}

}  // namespace

const MeasureFn kMeasureScalar = measure;

}  // namespace radimo::frame_api::kernels
