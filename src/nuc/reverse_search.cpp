// Reverse lookup: temperature to the NUC value of the nearest table entry.
//
// The lookup scans the table for the first index i at which the target either
// matches entry i (|target - t[i]| < 0.0001) or lies strictly between entries
// i and i + 1 ((target - t[i + 1]) * (target - t[i]) < 0, in single
// precision). Callers run it in every recalibration step, so the scan skips
// whole blocks in which no stop can occur and runs the literal test only
// where one may; the result and the messages are the same as those of the
// entry-by-entry scan for every table.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/message.h"
#include "core/units.h"
#include "libradimo.h"
#include "nuc/table_length.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// Where the scan stopped: an exact match of entry `index`, or a bracket
// between entries `index` and `index + 1`.
struct Stop {
    enum class Kind { kNone, kExact, kBracket };
    Kind kind = Kind::kNone;
    uint32_t index = 0;
};

// Target in 1/16 K: computed in double precision, kept as float.
float target_of(float temp) {
    return static_cast<float>((static_cast<double>(temp) + radimo::units::kKelvinOffset) *
                              radimo::units::kTableUnitsPerKelvin);
}

// A target beyond the table's ends is moved one unit inside them.
float clamp_target(float target, int32_t nuc_max, int32_t nuc_min) {
    if (target > static_cast<float>(nuc_max)) return static_cast<float>(nuc_max - 1);
    if (target < static_cast<float>(nuc_min)) return static_cast<float>(nuc_min + 1);
    return target;
}

// The table's extremes: its first and last entries, the larger one first.
struct Extremes {
    int32_t max;
    int32_t min;
};
Extremes extremes_of(const uint16_t *table, uint32_t len) {
    const int32_t first = table[0];
    const int32_t last = table[len - 1];
    return first > last ? Extremes{first, last} : Extremes{last, first};
}

// The opening lines of both lookups, under the caller's name; gives the
// search target, moved inside the table's extremes.
float search_target(const char *caller, const uint16_t *table, const Extremes &extremes, float temp) {
    RADIMO_DEBUG_FOR(caller, "NUC_MAX=%d,NUC_MIN=%d\n", extremes.max, extremes.min);
    RADIMO_DEBUG_FOR(caller, "nuc_table[0]=%d\n", table[0]);
    const float target = target_of(temp);
    RADIMO_DEBUG_FOR(caller, "target_temp=%f\n", static_cast<double>(target));
    return clamp_target(target, extremes.max, extremes.min);
}

// The literal stop test at index i; `has_next` is false only at the last entry.
inline bool stops_at(const uint16_t *table, uint32_t i, bool has_next, float target, Stop *stop) {
    const float d = target - static_cast<float>(table[i]);
    if (std::fabs(static_cast<double>(d)) < 0.0001) {
        *stop = Stop{Stop::Kind::kExact, i};
        return true;
    }
    if (has_next && (target - static_cast<float>(table[i + 1])) * d < 0.0f) {
        *stop = Stop{Stop::Kind::kBracket, i};
        return true;
    }
    return false;
}

// Entries are compared eight at a time as biased signed 16-bit lanes
// (e ^ 0x8000 keeps the unsigned order), which plain SSE2 compares directly.
typedef int16_t Lanes __attribute__((vector_size(16)));
constexpr uint32_t kLanes = 8;
constexpr uint32_t kBlock = 64;  // pairs (i, i + 1) per block

inline Lanes load_lanes(const uint16_t *p) {
    Lanes v;
    std::memcpy(&v, p, sizeof v);
    return v ^ static_cast<int16_t>(INT16_MIN);
}

inline Lanes biased(int32_t v) {
    const int16_t b = static_cast<int16_t>(static_cast<uint16_t>(v) ^ 0x8000u);
    return Lanes{b, b, b, b, b, b, b, b};
}

inline bool any_lane(Lanes v) {
    uint64_t half[2];
    std::memcpy(half, &v, sizeof half);
    return (half[0] | half[1]) != 0;
}

// Whether a run of entries holds one below `above` and one above `below`.
// Without both, every entry lies on one side of the target, and no pair of
// the run can stop the scan.
struct Reach {
    Lanes above;
    Lanes below;
    Lanes some_under_above{};
    Lanes some_over_below{};
    void add(Lanes e) {
        some_under_above |= above > e;
        some_over_below |= e > below;
    }
    bool may_stop() const { return any_lane(some_under_above) && any_lane(some_over_below); }
};

// First stop of the literal scan over a table of len >= 2 entries.
//
// An integer entry e >= above lies more than 0.001 above the target and an
// entry e <= below more than 0.001 below it. For those, |target - e| rounded
// to float stays far above 0.0001, so no exact match; and a pair of entries on
// the same side gives a product of two same-signed non-zero floats, never
// negative, so no bracket. A block whose entries (including the first entry of
// the next block, the partner of its last pair) all lie on one side cannot
// stop and is skipped; in a block that may stop, runs of eight pairs are
// checked the same way and the literal test runs only in runs that may stop.
Stop find_first_stop(const uint16_t *table, uint32_t len, float target) {
    Stop stop;
    // A NaN target compares false everywhere: the literal scan never stops.
    if (std::isnan(target)) return stop;
    // The clamped target is finite and within a unit or two of 0..65535.
    const int32_t above = static_cast<int32_t>(std::floor(static_cast<double>(target) + 0.001)) + 1;
    const int32_t below = static_cast<int32_t>(std::ceil(static_cast<double>(target) - 0.001)) - 1;
    // Thresholds beyond the 16-bit range are exact after clamping, except a
    // target within a unit of 65535 or 0 (every entry on the near side): such
    // targets take the literal scan throughout.
    const bool blocks_usable = above <= 0xFFFF && below >= 0;
    const Lanes above_lanes = biased(above < 0 ? 0 : above);
    const Lanes below_lanes = biased(below > 0xFFFF ? 0xFFFF : below);

    const uint32_t pairs = len - 1;
    uint32_t b = 0;
    for (; blocks_usable && b + kBlock <= pairs; b += kBlock) {
        Reach block{above_lanes, below_lanes};
        for (uint32_t k = 0; k < kBlock; k += kLanes) block.add(load_lanes(table + b + k));
        block.add(load_lanes(table + b + kBlock + 1 - kLanes));  // up to entry b + kBlock
        if (!block.may_stop()) continue;
        for (uint32_t r = b; r < b + kBlock; r += kLanes) {
            Reach run{above_lanes, below_lanes};
            run.add(load_lanes(table + r));
            run.add(load_lanes(table + r + 1));  // up to entry r + kLanes
            if (!run.may_stop()) continue;
            for (uint32_t i = r; i < r + kLanes; ++i)
                if (stops_at(table, i, true, target, &stop)) return stop;
        }
    }
    for (uint32_t i = b; i < pairs; ++i)
        if (stops_at(table, i, true, target, &stop)) return stop;
    // The last entry has no partner but can still match exactly.
    stops_at(table, pairs, false, target, &stop);
    return stop;
}

// In a bracket the entry whose signed distance is larger is taken: the nearer
// one in a rising table (a tie goes up), the farther one in a falling table.
// Callers rely on this exact choice; it is deliberately kept.
uint32_t bracket_choice(const uint16_t *table, uint32_t i, float target) {
    const float d = target - static_cast<float>(table[i]);
    const float e = static_cast<float>(table[i + 1]) - target;
    return e > d ? i : i + 1;
}

}  // namespace

extern "C" {

int reverse_calc_NUC_with_nuc_t(const uint16_t *nuc_table, uint16_t *nuc, float temp) {
    if (nuc_table == nullptr || nuc == nullptr) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    constexpr uint32_t kLen = radimo::nuc::kStandardTableLen;
    const float target = search_target(__func__, nuc_table, extremes_of(nuc_table, kLen), temp);

    const Stop stop = find_first_stop(nuc_table, kLen, target);
    const uint32_t i = stop.index;
    switch (stop.kind) {
        case Stop::Kind::kExact:
            *nuc = static_cast<uint16_t>(2 * i);
            RADIMO_DEBUG("i=%d,nuc_value=%d\n", static_cast<int>(i), static_cast<int>(2 * i));
            RADIMO_DEBUG("nuc_table[%d]=%d\n", static_cast<int>(i), nuc_table[i]);
            return RADIMO_SUCCESS;
        case Stop::Kind::kBracket:
            *nuc = static_cast<uint16_t>(2 * bracket_choice(nuc_table, i, target));
            RADIMO_DEBUG("nuc_table[%d]=%d\n", static_cast<int>(i), nuc_table[i]);
            RADIMO_DEBUG("nuc_table[%d]=%d\n", static_cast<int>(i + 1), nuc_table[i + 1]);
            return RADIMO_SUCCESS;
        case Stop::Kind::kNone:
            break;
    }
    *nuc = 0;
    RADIMO_ERROR("reverse calculate failed\n");
    return RADIMO_ERR_PARAM;
}

int reverse_calc_NUC_with_nuc_t_table_len(const uint16_t *nuc_table, uint32_t nuc_table_len, uint16_t *nuc,
                                          float temp) {
    if (nuc_table == nullptr || nuc == nullptr) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (!radimo::nuc::table_len_valid(nuc_table_len)) {
        RADIMO_ERROR("nuc_table_len is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const uint32_t len = radimo::nuc::table_len_of(nuc_table_len);
    const Extremes extremes = extremes_of(nuc_table, len);
    if (extremes.max == 0) {
        RADIMO_ERROR("NUC value is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    // The same opening lines as the standard lookup; one line closes the search.
    const float target = search_target(__func__, nuc_table, extremes, temp);

    const Stop stop = find_first_stop(nuc_table, len, target);
    if (stop.kind == Stop::Kind::kNone) {
        *nuc = 0;
        RADIMO_ERROR("reverse calculate failed\n");
        return RADIMO_ERR_PARAM;
    }
    const uint32_t i = stop.index;
    const uint32_t entry = stop.kind == Stop::Kind::kExact ? i : bracket_choice(nuc_table, i, target);
    // A long table is indexed by the NUC value itself, the standard one by NUC / 2.
    const uint32_t nuc_value = len == radimo::nuc::kLongTableLen ? entry : 2 * entry;
    *nuc = static_cast<uint16_t>(nuc_value);
    RADIMO_DEBUG("i=%d,nuc_value=%d, nuc_table[i] = %d\n", static_cast<int>(i), static_cast<int>(nuc_value),
                 nuc_table[i]);
    return RADIMO_SUCCESS;
}

}  // extern "C"
