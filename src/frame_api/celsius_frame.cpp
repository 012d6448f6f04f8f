// Whole-frame conversion to degrees Celsius: of 1/16 K temperatures, or of
// NUC values through a NUC table.
//
// A temperature in 1/16 K converts as everywhere in the library: value *
// 0.0625 in single precision, minus 273.15 in double precision, kept as
// float. Through a table, a NUC value converts as
// calc_temperature_with_nuc_t_table_len does: the same rule applied to the
// table entry it indexes; the entries are converted once per call.
#include "core/fixed_point.h"
#include "core/heap_block.h"
#include "core/message.h"
#include "core/simd_target.h"
#include "core/units.h"
#include "frame_api/band.h"
#include "frame_api/celsius_kernels.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

using radimo::units::celsius_of_sixteenths;

// NUC values through a table already converted to degC: a slot per value,
// capped as the per-call lookup caps it.
void convert_through(const float *celsius_table, uint32_t table_len, const uint16_t *nuc, size_t n,
                     float *out) {
    const uint32_t shift = table_len == 8192 ? 1 : 0;
    for (size_t i = 0; i < n; ++i) out[i] = celsius_table[radimo::fx::cap_nuc(nuc[i]) >> shift];
}

}  // namespace

extern "C" {

int radimo_frame_to_celsius(const uint16_t *nuc_table, uint32_t nuc_table_len, const uint16_t *frame,
                            uint32_t resolution, uint32_t first_row, uint32_t row_count, float *celsius) {
    if (frame == nullptr || celsius == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (nuc_table != nullptr && !radimo::frame_api::nuc_table_len_valid(nuc_table_len)) {
        RADIMO_ERROR("nuc_table_len is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::frame_api::Band band;
    if (!radimo::frame_api::band_valid(__func__, kLogModule, resolution, first_row, row_count, &band))
        return RADIMO_ERR_PARAM;

    namespace kernels = radimo::frame_api::kernels;
    static const kernels::ConvertFn convert =
        *radimo::simd::pick(&kernels::kConvertScalar, RADIMO_X86(kernels::kConvertSse2),
                            RADIMO_X86(kernels::kConvertAvx2), RADIMO_NEON(kernels::kConvertNeon));
    const uint16_t *in = frame + band.first_pixel();
    float *out = celsius + band.first_pixel();
    if (nuc_table == nullptr) {
        convert(in, band.pixels(), out);
        return RADIMO_SUCCESS;
    }
    const radimo::HeapBlock<float> table(nuc_table_len);
    if (!table) {
        // Without the working block every value reads its own table entry.
        for (size_t i = 0; i < band.pixels(); ++i)
            out[i] = celsius_of_sixteenths(
                nuc_table[radimo::fx::cap_nuc(in[i]) >> (nuc_table_len == 8192 ? 1 : 0)]);
        return RADIMO_SUCCESS;
    }
    convert(nuc_table, nuc_table_len, table.get());
    convert_through(table.get(), nuc_table_len, in, band.pixels(), out);
    return RADIMO_SUCCESS;
}

}  // extern "C"
