// 8192-entry NUC tables generated from a quadratic NUC factor, by gain.
//
// The scan walks the gain's temperature range in fixed steps, evaluates the
// table index of each temperature with 64-bit products and separately floored
// shifts, and writes the temperature into the entries it reaches. Entries
// below the range's start and from its end upwards get the range's limits.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"
#include "nuc/table_length.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;
constexpr uint32_t kTableLen = radimo::nuc::kStandardTableLen;

struct GainRange {
    int64_t low_kelvin;    // range start, K
    int64_t high_kelvin;   // range end, K
    int64_t scan_first;    // first scan step t (temperature in 1/64 K or 1/8 K)
    int64_t scan_last;     // last scan step, inclusive
    int linear_shift;      // shift of c1 * t
    int quadratic_shift;   // shift of t * c2 * t
    bool steps_of_64th;    // entry value t / 4 (1/64 K steps) or t * 2 (1/8 K steps)
    uint16_t below_value;  // entries below the range, 1/16 K
    uint16_t above_value;  // entries from the range's end upwards, 1/16 K
};

// High gain: 253 K .. 423 K in 1/64 K steps.
constexpr GainRange kHighGain{253, 423, 16192, 27072, 27, 33, true, 4048, 6768};
// Low gain: 273 K .. 823 K in 1/8 K steps.
constexpr GainRange kLowGain{273, 823, 2184, 6584, 24, 27, false, 4368, 13168};

// Scan step t as a table entry in 1/16 K.
constexpr uint16_t value_of(int64_t t, const GainRange &g) {
    return static_cast<uint16_t>(g.steps_of_64th ? t >> 2 : t * 2);
}

// Table index (kept as 16 bits) of a temperature in whole kelvin: the sum
// c2 T^2 + c1 T is shifted once.
uint16_t index_of_kelvin(const nuc_factor_t &f, int64_t h, int64_t kelvin) {
    const int64_t sum = static_cast<int64_t>(f.c2) * (kelvin * kelvin) + static_cast<int64_t>(f.c1) * kelvin;
    return radimo::fx::low16(h + (sum >> 21));
}

// Table index (kept as 16 bits) of scan step t: both terms floored separately.
uint16_t index_of_step(const nuc_factor_t &f, int64_t h, int64_t t, const GainRange &g) {
    const int64_t linear = (static_cast<int64_t>(f.c1) * t) >> g.linear_shift;
    const int64_t quadratic = (t * static_cast<int64_t>(f.c2) * t) >> g.quadratic_shift;
    return radimo::fx::low16(h + linear + quadratic);
}

// Writes value into entries first..last, skipping any outside the table.
void fill(uint16_t *table, uint32_t first, uint32_t last, uint16_t value) {
    for (uint32_t k = first; k <= last && k < kTableLen; ++k) table[k] = value;
}

void generate(const nuc_factor_t &f, uint16_t *table, const GainRange &g) {
    const int64_t h = f.c0 >> 1;
    const uint16_t start = index_of_kelvin(f, h, g.low_kelvin);
    const uint16_t end = index_of_kelvin(f, h, g.high_kelvin);

    if (start != 0) fill(table, 0, start - 1u, g.below_value);

    uint16_t prev = 0;
    for (int64_t t = g.scan_first; t <= g.scan_last; ++t) {
        const uint16_t idx = index_of_step(f, h, t, g);
        if (idx == prev) continue;  // the first writer (the colder step) keeps the entry
        const uint16_t value = value_of(t, g);
        const int32_t diff = static_cast<int32_t>(idx) - static_cast<int32_t>(prev);
        if (diff <= 1) {
            fill(table, idx, idx, value);  // one step forward, or a step backward
        } else {
            fill(table, prev + 1u, idx, value);  // a gap takes the temperature that reached its end
        }
        prev = idx;
    }

    if (end < kTableLen) fill(table, end, kTableLen - 1, g.above_value);
}

// Checks the arguments for the generator named `caller` (one line for
// either missing pointer) and fills the table over the gain's range.
int generate_checked(const char *caller, const nuc_factor_t *nuc_factor, uint16_t *nuc_table,
                     const GainRange &g) {
    if (nuc_factor == nullptr || nuc_table == nullptr) {
        RADIMO_ERROR_FOR(caller, "data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    generate(*nuc_factor, nuc_table, g);
    return RADIMO_SUCCESS;
}

}  // namespace

extern "C" {

int generate_high_gain_nuc_t(const nuc_factor_t *nuc_factor, uint16_t *nuc_table) {
    return generate_checked(__func__, nuc_factor, nuc_table, kHighGain);
}

int generate_low_gain_nuc_t(const nuc_factor_t *nuc_factor, uint16_t *nuc_table) {
    return generate_checked(__func__, nuc_factor, nuc_table, kLowGain);
}

}  // extern "C"
