// Trimmed mean of a neighbourhood: one minimum and one maximum dropped,
// the rest averaged with rounding half up, all in unsigned 32-bit arithmetic.
#pragma once

#include <cstdint>

namespace radimo::frame {

// Precondition: num > 2. Single pass over the samples (sum, minimum and
// maximum together), which the compiler vectorises for long inputs.
inline uint16_t trimmed_mean(const uint16_t *samples, uint32_t num) {
    uint32_t sum = 0;
    uint16_t lowest = samples[0];
    uint16_t highest = samples[0];
    for (uint32_t i = 0; i < num; ++i) {
        const uint16_t v = samples[i];
        sum += v;
        lowest = v < lowest ? v : lowest;
        highest = v > highest ? v : highest;
    }
    const uint32_t kept = num - 2;
    return static_cast<uint16_t>((sum - lowest - highest + kept / 2) / kept);
}

}  // namespace radimo::frame
