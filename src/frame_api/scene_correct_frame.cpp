// Whole-frame enhanced-distance correction of 1/16 K temperatures.
//
// Per pixel this is enhance_distance_raw_temp_correct_lattice: the two-pass
// forward correction of value * 0.0625 - 273.15 degC. The correction depends
// only on the value, so each distinct value of the band is corrected once, in
// the order of first appearance (a failing value thus fails at the same pixel
// and with the same lines as pixel by pixel, the pixels before it written);
// every other pixel reads its result from the value table.
#include <cmath>

#include "core/heap_block.h"
#include "core/message.h"
#include "core/units.h"
#include "frame_api/band.h"
#include "libradimo.h"
#include "radiometry/enhanced_distance.h"
#include "radiometry/raw_table_view.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;
constexpr size_t kValues = 65536;

}  // namespace

extern "C" {

int radimo_frame_scene_correct(const env_correct_param_t *scene, const uint16_t *correct_table,
                               const uint16_t *frame, uint32_t resolution, uint32_t first_row,
                               uint32_t row_count, float *object) {
    using namespace radimo::radiometry;
    if (scene == nullptr || correct_table == nullptr || frame == nullptr || object == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    radimo::frame_api::Band band;
    if (!radimo::frame_api::band_valid(__func__, kLogModule, resolution, first_row, row_count, &band))
        return RADIMO_ERR_PARAM;
    if (!scene_finite(__func__, *scene) ||
        !scene_valid(__func__, scene, correct_table, object, DistanceBound::kUpTo1000m))
        return RADIMO_ERR_PARAM;

    const radimo::HeapBlock<float> by_value(kValues);
    radimo::HeapBlock<uint8_t> known;
    known.allocate_zeroed(kValues);
    if (!by_value || !known) {
        RADIMO_ERROR("alloc working memory failed\n");
        return RADIMO_ERR_ALLOC;
    }
    const correct_table_t view = raw_table_view(correct_table);
    const uint16_t *in = frame + band.first_pixel();
    float *out = object + band.first_pixel();
    const size_t n = band.pixels();
    for (size_t i = 0; i < n; ++i) {
        const uint16_t v = in[i];
        if (known[v] == 0) {
            const int rc = enhanced_forward(__func__, view, *scene, radimo::units::celsius_of_sixteenths(v),
                                            &by_value[v]);
            if (rc != RADIMO_SUCCESS) return rc;
            known[v] = 1;
        }
        out[i] = by_value[v];
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
