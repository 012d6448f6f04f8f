// Pieces shared by the enhanced-distance entry points: the scene check, the
// two-pass forward scheme and the slot arithmetic of the precomputed tables.
//
// The checks and the forward scheme report what failed as a value; the entry
// point that returns the code prints the line through the macros at the end
// of this file, so the function field of every message names that entry point
// (the single-value function, a frame variant or the table builder).
#pragma once

#include <cmath>
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"

namespace radimo::radiometry {

// ---------------------------------------------------------------------------
// Scene check
// ---------------------------------------------------------------------------

// Which scene check failed, in the order the checks run.
enum class SceneFault {
    kNone,
    kPointers,  // scene, raw table or output pointer NULL
    kEms,       // ems outside 0 .. 1.0
    kHum,       // hum outside 0 .. 1.0
    kDist,      // dist below 0 (or above 1000 m when bounded)
    kTa,        // ta outside -273.15 .. 100 degC
    kTu,        // tu outside -273.15 .. 100 degC
};

// The forward direction and the frame variants refuse distances above 1000 m;
// the reverse direction deliberately sets no upper bound.
enum class DistanceBound { kUpTo1000m, kUnbounded };

// Runs the scene checks in order; a NaN value passes its check (every
// comparison with it is false), as the plain comparisons would let it.
SceneFault check_scene(const env_correct_param_t *scene, const uint16_t *raw_table, const void *out,
                       DistanceBound bound);

// ---------------------------------------------------------------------------
// Two-pass forward scheme (apparent degC -> object degC)
// ---------------------------------------------------------------------------

// Which step of the forward scheme failed.
enum class ForwardFault {
    kNone,
    kReadEms,            // emissivity at the apparent temperature
    kReadTauFirst,       // tau at the apparent temperature
    kTempCorrectFirst,   // first Kelvin correction
    kReadTauSecond,      // tau at the first object estimate
    kHumCorrect,         // humidity recalculation of the second tau
    kTempCorrectSecond,  // second Kelvin correction
};

// The two passes on one apparent temperature (degC) with a built view.
// Writes the object temperature (degC) only on success; the callees print
// their own lines on failure, the caller prints the step's line after them.
ForwardFault enhanced_forward(const correct_table_t &view, const env_correct_param_t &scene, float apparent,
                              float *object);

// Result code of a failed forward step.
int forward_fault_code(ForwardFault fault);

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

// Prints the line of a failed scene check (nothing for kNone).
#define RADIMO_SCENE_FAULT_LINE(fault)                                                       \
    do {                                                                                     \
        switch (fault) {                                                                     \
            case ::radimo::radiometry::SceneFault::kPointers:                                \
                RADIMO_ERROR("env_correct_param or correct_table or new_temp is invalid\n"); \
                break;                                                                       \
            case ::radimo::radiometry::SceneFault::kEms:                                     \
                RADIMO_ERROR("ems is out of range\n");                                       \
                break;                                                                       \
            case ::radimo::radiometry::SceneFault::kHum:                                     \
                RADIMO_ERROR("hum is out of range\n");                                       \
                break;                                                                       \
            case ::radimo::radiometry::SceneFault::kDist:                                    \
                RADIMO_ERROR("dist is invalid\n");                                           \
                break;                                                                       \
            case ::radimo::radiometry::SceneFault::kTa:                                      \
                RADIMO_ERROR("ta is invalid\n");                                             \
                break;                                                                       \
            case ::radimo::radiometry::SceneFault::kTu:                                      \
                RADIMO_ERROR("tu is invalid\n");                                             \
                break;                                                                       \
            case ::radimo::radiometry::SceneFault::kNone:                                    \
                break;                                                                       \
        }                                                                                    \
    } while (0)

// Prints the line of a failed forward step (nothing for kNone).
#define RADIMO_FORWARD_FAULT_LINE(fault)                                                       \
    do {                                                                                       \
        switch (fault) {                                                                       \
            case ::radimo::radiometry::ForwardFault::kReadEms:                                 \
                RADIMO_ERROR("read_compatible_ems_with_target_temp_and_org_ems failed\n");     \
                break;                                                                         \
            case ::radimo::radiometry::ForwardFault::kReadTauFirst:                            \
                RADIMO_ERROR("read_compatible_tau_with_target_temp_and_dist first failed\n");  \
                break;                                                                         \
            case ::radimo::radiometry::ForwardFault::kTempCorrectFirst:                        \
                RADIMO_ERROR("first temp_correct_with_env_param failed\n");                    \
                break;                                                                         \
            case ::radimo::radiometry::ForwardFault::kReadTauSecond:                           \
                RADIMO_ERROR("read_compatible_tau_with_target_temp_and_dist second failed\n"); \
                break;                                                                         \
            case ::radimo::radiometry::ForwardFault::kHumCorrect:                              \
                RADIMO_ERROR("hum correction process failed\n");                               \
                break;                                                                         \
            case ::radimo::radiometry::ForwardFault::kTempCorrectSecond:                       \
                RADIMO_ERROR("second temp_correct_with_env_param failed\n");                   \
                break;                                                                         \
            case ::radimo::radiometry::ForwardFault::kNone:                                    \
                break;                                                                         \
        }                                                                                      \
    } while (0)
