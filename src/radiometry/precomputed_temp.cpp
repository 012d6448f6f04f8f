// Precomputed-temperature tables: the two slot lookups and the builder of a
// caller-owned table over the 0.01 degC lattice.
//
// A table holds one float per slot with a parallel array of one-byte
// validity flags (non-zero = valid). The lattice table has 110001 slots,
// -100 degC + slot * 0.01 degC; the frame-value table 11700 slots, frame
// value 2271 + slot. Both lookups refuse NULL pointers with "data is NULL";
// an empty slot is reported on the debug printer only, since callers treat
// it as an ordinary miss.
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"
#include "radiometry/enhanced_distance.h"
#include "radiometry/raw_table_view.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

extern "C" {

int get_precomputed_temp(float *result, const float *table, const uint8_t *valid, float temp) {
    using namespace radimo::radiometry;
    if (result == nullptr || table == nullptr || valid == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (temp < kLatticeLowest) {
        RADIMO_ERROR("temp is too low\n\n");
        return RADIMO_ERR_PARAM;
    }
    // Written as "not at or below" so that a NaN is refused here too and never
    // becomes an index.
    if (!(temp <= kLatticeHighest)) {
        RADIMO_ERROR("temp is too high\n\n");
        return RADIMO_ERR_PARAM;
    }
    const int index = lattice_slot(temp);
    if (valid[index] == 0) {
        RADIMO_DEBUG("precomputed_temp[%d] is invalid\n", index);
        return RADIMO_ERR_PARAM;
    }
    *result = table[index];
    return RADIMO_SUCCESS;
}

int get_precomputed_temp_with_y14_temp(uint16_t value, float *result, const float *table,
                                       const uint8_t *valid) {
    using namespace radimo::radiometry;
    if (result == nullptr || table == nullptr || valid == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (value < kFrameValueFirst) {
        RADIMO_ERROR("temp is too low\n\n");
        return RADIMO_ERR_PARAM;
    }
    if (value > kFrameValueLast) {
        RADIMO_ERROR("temp is too high\n\n");
        return RADIMO_ERR_PARAM;
    }
    const int index = value - kFrameValueFirst;
    if (valid[index] == 0) {
        RADIMO_DEBUG("precomputed_temp[%d] is invalid\n", index);
        return RADIMO_ERR_PARAM;
    }
    *result = table[index];
    return RADIMO_SUCCESS;
}

// Fills the slots whose lattice temperature lies in [lowest, highest] (the
// range clamped to the lattice, -100 .. 1000 degC) with the forward
// correction at that lattice temperature, exactly as the single-value
// function computes it, and sets their flags; other slots stay as they were.
// The scene is checked as the forward function checks it, the table taking
// the place of its result pointer; a NULL flag array gives "data is NULL".
// A slot whose correction fails stops the build with the step's line and
// code, its own slot and flag untouched: slots filled before it stay filled.
int radimo_build_precomputed_temp(const env_correct_param_t *env_correct_param, const uint16_t *correct_table,
                                  float lowest, float highest, float *table, uint8_t *valid) {
    using namespace radimo::radiometry;
    if (!scene_valid(__func__, env_correct_param, correct_table, table, DistanceBound::kUpTo1000m))
        return RADIMO_ERR_PARAM;
    if (valid == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (!(lowest <= highest)) {  // also refuses a NaN bound
        RADIMO_ERROR("lowest or highest is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const correct_table_t view = raw_table_view(correct_table);
    for (int slot = 0; slot < kLatticeSlots; ++slot) {
        const float temp = lattice_temp(slot);
        if (temp < lowest || temp > highest) continue;
        float object = 0.0f;
        const int rc = enhanced_forward(__func__, view, *env_correct_param, temp, &object);
        if (rc != RADIMO_SUCCESS) return rc;
        table[slot] = object;
        valid[slot] = 1;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
