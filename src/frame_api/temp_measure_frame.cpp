// Whole-frame KT/BT correction and NUC-table lookup.
//
// Per pixel this is temp_measure_with_NUC_value: the focal-plane index, the
// gain and the offset depend only on the record, so they are taken once per
// call; each pixel then needs one Q14 product, a clamp and a table read.
#include "core/message.h"
#include "core/simd_target.h"
#include "frame_api/band.h"
#include "frame_api/temp_measure_kernels.h"
#include "ktbt/ktbt_index.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

}  // namespace

extern "C" {

int radimo_frame_temp_measure(const ktbt_correct_param_t *ktbt_param, uint32_t ktbt_len,
                              const uint16_t *nuc_table, uint32_t nuc_table_len, const uint16_t *raw,
                              uint32_t resolution, uint32_t first_row, uint32_t row_count, uint16_t *temp) {
    if (ktbt_param == nullptr || nuc_table == nullptr || raw == nullptr || temp == nullptr ||
        ktbt_param->kt_array == nullptr || ktbt_param->bt_array == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (ktbt_len != 1201 && ktbt_len != 3601) {
        RADIMO_ERROR("ktbt_len is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (!radimo::frame_api::nuc_table_len_valid(nuc_table_len)) {
        RADIMO_ERROR("nuc_table_len is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::frame_api::Band band;
    if (!radimo::frame_api::band_valid(__func__, kLogModule, resolution, first_row, row_count, &band))
        return RADIMO_ERR_PARAM;

    const ktbt_correct_param_t &p = *ktbt_param;
    const int32_t index = radimo::ktbt::correction_index(
        p, ktbt_len == 1201 ? radimo::ktbt::kLimits1201 : radimo::ktbt::kLimits3601);
    namespace kernels = radimo::frame_api::kernels;
    const kernels::Correction c{p.kt_array[index], p.bt_array[index], nuc_table,
                                nuc_table_len == 8192 ? 1u : 0u};
    static const kernels::MeasureFn *const measure =
        radimo::simd::pick(&kernels::kMeasureScalar, RADIMO_X86(kernels::kMeasureSse2),
                           RADIMO_X86(kernels::kMeasureAvx2), RADIMO_NEON(kernels::kMeasureNeon));
    (*measure)(c, raw + band.first_pixel(), band.pixels(), temp + band.first_pixel());
    return RADIMO_SUCCESS;
}

}  // extern "C"
