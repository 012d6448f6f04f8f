// Enhanced-distance correction of many values through a precomputed table.
//
// Both frame variants check the scene as the forward single-value function
// does (the output array taking the place of its result pointer), then a NULL
// input array or table gives "data is NULL"; a count of 0 then succeeds
// without touching anything. The view is built once per call. A value
// without a table entry runs the two-pass forward scheme itself; a failure
// there prints the step's line, stops and returns its code, leaving the
// outputs before that value written.
//
// Misses are expected, so they are kept quiet: the variants test a slot's
// flag before asking the lookup, which thus never prints its "is invalid"
// line for them, and values outside the table's range are computed without
// asking it at all (its out-of-range lines are errors).
#include <cstddef>
#include <cstdint>

#include "core/heap_block.h"
#include "core/message.h"
#include "core/units.h"
#include "libradimo.h"
#include "radiometry/enhanced_distance.h"
#include "radiometry/raw_table_view.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

using radimo::HeapBlock;

}  // namespace

extern "C" {

// The caller's table answers the temperatures of its valid slots (the value
// of the slot nearest to the temperature, to 0.01 degC); other temperatures
// are corrected exactly. The table is only read, so a result never depends
// on earlier calls. The first miss of a call is noted once on the debug
// printer ("get_precomputed_temp failed"): it tells that the table does not
// cover the values, and a line per pixel would flood the log.
int enhance_distance_temp_correct_lattice(const env_correct_param_t *env_correct_param,
                                          const uint16_t *correct_table, uint32_t /*correct_table_arg*/,
                                          const float *table, const uint8_t *valid, const float *temps,
                                          uint32_t count, float *new_temps) {
    using namespace radimo::radiometry;
    if (!scene_valid(__func__, env_correct_param, correct_table, new_temps, DistanceBound::kUpTo1000m))
        return RADIMO_ERR_PARAM;
    if (table == nullptr || valid == nullptr || temps == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (count == 0) return RADIMO_SUCCESS;

    const correct_table_t view = raw_table_view(correct_table);
    bool miss_noted = false;
    for (uint32_t i = 0; i < count; ++i) {
        const float temp = temps[i];
        if (in_lattice_range(temp)) {
            float hit = 0.0f;
            if (valid[lattice_slot(temp)] != 0 &&
                get_precomputed_temp(&hit, table, valid, temp) == RADIMO_SUCCESS) {
                new_temps[i] = hit;
                continue;
            }
            if (!miss_noted) {
                RADIMO_DEBUG("get_precomputed_temp failed\n");
                miss_noted = true;
            }
        }
        float object = 0.0f;
        const int rc = enhanced_forward(__func__, view, *env_correct_param, temp, &object);
        if (rc != RADIMO_SUCCESS) return rc;
        new_temps[i] = object;
    }
    return RADIMO_SUCCESS;
}

// Frame values are temperatures in 1/16 K; a value's apparent temperature is
// value * 0.0625 - 273.15 as the NUC-table lookup forms it (single-precision
// product, double-precision difference, kept as float). The per-call lattice
// (11700 floats, 46800 bytes, with one flag byte per slot) holds the result
// of each frame value 2271 .. 13970 once computed; its slots are whole frame
// values, so a repeated value gets exactly the result it got first, the same
// float the single-value function returns for its apparent temperature.
// Filling an empty slot is the plan, not a miss, and is not logged. Both
// blocks are freed on every path; should either allocation fail, every pixel
// is computed directly, with the same results.
int enhance_distance_raw_temp_correct_lattice(const env_correct_param_t *env_correct_param,
                                              const uint16_t *correct_table, uint32_t /*correct_table_arg*/,
                                              const uint16_t *frame, uint32_t count, float *new_temps) {
    using namespace radimo::radiometry;
    if (!scene_valid(__func__, env_correct_param, correct_table, new_temps, DistanceBound::kUpTo1000m))
        return RADIMO_ERR_PARAM;
    if (frame == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (count == 0) return RADIMO_SUCCESS;

    const correct_table_t view = raw_table_view(correct_table);
    const HeapBlock<float> lattice(kFrameValueSlots);
    HeapBlock<uint8_t> filled;
    filled.allocate_zeroed(kFrameValueSlots);
    const bool have_lattice = lattice && filled;

    for (uint32_t i = 0; i < count; ++i) {
        const uint16_t value = frame[i];
        const bool slotted = have_lattice && in_frame_value_range(value);
        const std::size_t slot = slotted ? static_cast<std::size_t>(value - kFrameValueFirst) : 0;
        float object = 0.0f;
        if (slotted && filled[slot] != 0 &&
            get_precomputed_temp_with_y14_temp(value, &object, lattice.get(), filled.get()) ==
                RADIMO_SUCCESS) {
            new_temps[i] = object;
            continue;
        }
        const float apparent = radimo::units::celsius_of_sixteenths(value);
        const int rc = enhanced_forward(__func__, view, *env_correct_param, apparent, &object);
        if (rc != RADIMO_SUCCESS) return rc;
        if (slotted) {
            lattice[slot] = object;
            filled[slot] = 1;
        }
        new_temps[i] = object;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
