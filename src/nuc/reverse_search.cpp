// Reverse lookup: temperature to the NUC value of the nearest table entry.
//
// The lookup scans the table for the first index i at which the target either
// matches entry i (|target - t[i]| < 0.0001) or lies strictly between entries
// i and i + 1 ((target - t[i + 1]) * (target - t[i]) < 0, in single
// precision). Callers run it in every recalibration step, so the scan runs
// the literal test only where a stop may occur and crosses the entries
// between in vectors; the result and the messages are the same as those of
// the entry-by-entry scan for every table.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/message.h"
#include "core/simd_target.h"
#include "core/units.h"
#include "libradimo.h"
#include "nuc/reverse_search_kernels.h"
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
// Recalibration runs it in every step: while logging is off, one test
// passes over the three lines.
float search_target(const char *caller, const uint16_t *table, const Extremes &extremes, float temp) {
    const float target = target_of(temp);
    if (radimo::log::debug_wanted()) {
        RADIMO_DEBUG_FOR(caller, "NUC_MAX=%d,NUC_MIN=%d\n", extremes.max, extremes.min);
        RADIMO_DEBUG_FOR(caller, "nuc_table[0]=%d\n", table[0]);
        RADIMO_DEBUG_FOR(caller, "target_temp=%f\n", static_cast<double>(target));
    }
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

// Exact-match test of the literal scan for one entry value.
inline bool matches(float target, uint32_t entry) {
    return std::fabs(static_cast<double>(target - static_cast<float>(entry))) < 0.0001;
}

// First stop of the literal scan over a table of len >= 2 entries.
//
// Entry 0 takes the literal test. If it does not stop, it lies strictly on
// one side of the target without matching, and the scan cannot stop before
// the first entry j that leaves that side: every earlier pair has both
// entries on the same side (a product of two same-signed non-zero floats is
// never negative) and no earlier entry matches. The side is an integer
// bound: above the target, every integer from the smallest one above it
// that does not match (at most the next integer or two can match); below,
// the mirror. Entries are compared with the bound in vectors, and the
// literal test resumes at j - 1 (a pair ending on a matching entry may still
// bracket) for as long as it takes; that is one or two entries unless the
// table hovers at the target, and then the search continues from there in
// the same way.
Stop find_first_stop(const uint16_t *table, uint32_t len, float target) {
    Stop stop;
    // A NaN target compares false everywhere: the literal scan never stops.
    if (std::isnan(target)) return stop;
    namespace kernels = radimo::nuc::kernels;
    static const kernels::Leaving *const leaving =
        radimo::simd::pick(&kernels::kScalar, RADIMO_X86(kernels::kSse2), RADIMO_X86(kernels::kAvx2),
                           RADIMO_NEON(kernels::kNeon));
    // The clamped target lies within a unit or two of 0 .. 65535.
    int64_t above = static_cast<int64_t>(std::floor(static_cast<double>(target))) + 1;
    while (matches(target, static_cast<uint32_t>(above))) ++above;
    int64_t below = static_cast<int64_t>(std::ceil(static_cast<double>(target))) - 1;
    while (below >= 0 && matches(target, static_cast<uint32_t>(below))) --below;

    uint32_t i = 0;
    while (i + 1 < len) {
        if (stops_at(table, i, true, target, &stop)) return stop;
        // Entry i neither matches nor brackets with i + 1; where it lies
        // inside its side's bound, skip to the first entry leaving it.
        const int64_t e = table[i];
        uint32_t j = i + 1;
        if (e >= above)
            j = leaving->below(table, i + 1, len, static_cast<uint16_t>(above));
        else if (e <= below)
            j = leaving->above(table, i + 1, len, static_cast<uint16_t>(below));
        if (j == len) return stop;  // no entry leaves the side: no stop
        i = j - 1 > i ? j - 1 : i + 1;
    }
    // The last entry has no partner but can still match exactly.
    stops_at(table, len - 1, false, target, &stop);
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
            if (radimo::log::debug_wanted()) {
                RADIMO_DEBUG("i=%d,nuc_value=%d\n", static_cast<int>(i), static_cast<int>(2 * i));
                RADIMO_DEBUG("nuc_table[%d]=%d\n", static_cast<int>(i), nuc_table[i]);
            }
            return RADIMO_SUCCESS;
        case Stop::Kind::kBracket:
            *nuc = static_cast<uint16_t>(2 * bracket_choice(nuc_table, i, target));
            if (radimo::log::debug_wanted()) {
                RADIMO_DEBUG("nuc_table[%d]=%d\n", static_cast<int>(i), nuc_table[i]);
                RADIMO_DEBUG("nuc_table[%d]=%d\n", static_cast<int>(i + 1), nuc_table[i + 1]);
            }
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
