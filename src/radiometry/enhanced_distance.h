// Pieces shared by the enhanced-distance entry points: the scene check, the
// two-pass forward scheme and the slot arithmetic of the precomputed tables.
//
// The check and the forward scheme print their failure lines under the name
// of the entry point that returns the code (`caller`: the single-value
// function, a frame variant or the table builder).
#pragma once

#include <cmath>
#include <cstdint>

#include "libradimo.h"

namespace radimo::radiometry {

// ---------------------------------------------------------------------------
// Scene check and two-pass forward scheme (apparent degC -> object degC)
// ---------------------------------------------------------------------------

// The forward direction and the frame variants refuse distances above 1000 m;
// the reverse direction deliberately sets no upper bound.
enum class DistanceBound { kUpTo1000m, kUnbounded };

// NaN and infinities pass the scene's range checks (every comparison with a
// NaN is false); the frame and region variants refuse them first, by name
// ("<field> is not a finite number" under the caller's name).
bool scene_finite(const char *caller, const env_correct_param_t &scene);

// Runs the scene checks in order (pointers, ems, hum, dist, ta, tu) and
// prints the failed check's line under the caller's name. A NaN value passes
// its check (every comparison with it is false), as the plain comparisons
// would let it.
bool scene_valid(const char *caller, const env_correct_param_t *scene, const uint16_t *raw_table,
                 const void *out, DistanceBound bound);

// The two passes on one apparent temperature (degC) with a built view.
// Writes the object temperature (degC) only on success and returns 0; on
// failure the callees print their own lines, then the failed step's line is
// printed under the caller's name, and its code is returned.
int enhanced_forward(const char *caller, const correct_table_t &view, const env_correct_param_t &scene,
                     float apparent, float *object);

// ---------------------------------------------------------------------------
// Precomputed-temperature slots
// ---------------------------------------------------------------------------

// Temperature lattice: slot i holds -100 degC + i * 0.01 degC, up to 1000 degC.
inline constexpr int kLatticeSlots = RADIMO_PRECOMPUTED_TEMP_SLOTS;
inline constexpr float kLatticeLowest = -100.0f;
inline constexpr float kLatticeHighest = 1000.0f;

// Frame-value slots: slot i holds the frame value 2271 + i (1/16 K).
inline constexpr uint16_t kFrameValueFirst = 2271;
inline constexpr uint16_t kFrameValueLast = 13970;
inline constexpr int kFrameValueSlots = kFrameValueLast - kFrameValueFirst + 1;  // 11700

// True for -100 .. 1000 degC; false for NaN.
inline bool in_lattice_range(float temp) {
    return temp >= kLatticeLowest && temp <= kLatticeHighest;
}

// Slot of a temperature inside the lattice range: roundf((temp + 100) * 100)
// with both operations in single precision (-100 gives 0, 1000 gives 110000).
inline int lattice_slot(float temp) {
    return static_cast<int>(std::roundf((temp + 100.0f) * 100.0f));
}

// Lattice temperature of a slot: (float)(slot / 100.0 - 100.0), which
// lattice_slot() maps back to the same slot.
inline float lattice_temp(int slot) {
    return static_cast<float>(slot / 100.0 - 100.0);
}

inline bool in_frame_value_range(uint16_t value) {
    return value >= kFrameValueFirst && value <= kFrameValueLast;
}

}  // namespace radimo::radiometry
