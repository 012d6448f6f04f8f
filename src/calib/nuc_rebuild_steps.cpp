// Steps of the NUC-table rebuild from calibration points.
#include "calib/nuc_rebuild_steps.h"

#include <cstdint>

#include "calib/nuc_table_layout.h"
#include "core/fixed_point.h"
#include "libradimo.h"

namespace radimo::calib {

NucRebuild::NucRebuild(uint16_t *old_table, multi_point_nuc_t *points, uint32_t count, MapUnits units)
    : old_(old_table), points_(points), count_(count), units_(units), hot_(hotmode_calc(old_table) == 1) {}

uint32_t NucRebuild::position(uint16_t setting) const {
    return units_ == MapUnits::kHalfNuc ? static_cast<uint32_t>(setting >> 1) : setting;
}

bool NucRebuild::points_fit() const {
    if (count_ < 2) return false;
    // After sorting, the settings ascend; every fill range then ends at a
    // setting's position or at the end of the map, so bounding the largest
    // position bounds every range.
    for (uint32_t i = 0; i < count_; ++i) {
        const uint16_t setting = hot_ ? mirror_nuc(points_[i].setting_nuc) : points_[i].setting_nuc;
        if (position(setting) > kRebuildTableLen) return false;
    }
    return true;
}

bool NucRebuild::allocate() {
    return k_.allocate(count_ - 1) && b_.allocate(count_ - 1) && map_.allocate(kRebuildTableLen) &&
           copy_.allocate(kRebuildTableLen);
}

void NucRebuild::mirror_points() {
    for (uint32_t i = 0; i < count_; ++i) {
        points_[i].output_nuc = mirror_nuc(points_[i].output_nuc);
        points_[i].setting_nuc = mirror_nuc(points_[i].setting_nuc);
    }
}

bool NucRebuild::enter_hot_mode() {
    if (!hot_) return true;
    mirror_points();
    if (hotmode_reverse(old_, kRebuildTableLen, old_) != RADIMO_SUCCESS) {
        mirror_points();  // the mirror is its own inverse: the points are as given again
        return false;
    }
    return true;
}

TableRange NucRebuild::scan_range() {
    uint16_t max = old_[0];
    uint16_t min = old_[0];
    for (uint32_t i = 0; i < kRebuildTableLen; ++i) {
        max = old_[i] > max ? old_[i] : max;
        min = old_[i] < min ? old_[i] : min;
    }
    range_ = {max, min};
    return range_;
}

void NucRebuild::sort_points() {
    sort_multi_point_nuc(points_, count_);
}

void NucRebuild::fit_segment(uint32_t i) {
    const int32_t o0 = points_[i].output_nuc;
    const int32_t o1 = points_[i + 1].output_nuc;
    const int32_t s0 = points_[i].setting_nuc;
    const int32_t s1 = points_[i + 1].setting_nuc;
    // Equal settings divide by a float zero: an infinite (or NaN) slope.
    k_[i] = static_cast<float>(o1 - o0) / static_cast<float>(s1 - s0);
    const float b = static_cast<float>(o0) - static_cast<float>(s0) * k_[i];
    // Halving the intercept with the setting keeps the map in half NUC units.
    b_[i] = units_ == MapUnits::kHalfNuc ? b * 0.5f : b;
}

void NucRebuild::fill(uint32_t from, uint32_t to, float k, float b) {
    for (uint32_t j = from; j < to; ++j) map_[j] = static_cast<float>(j) * k + b;
}

// The index ramp (entry j = j) is never stored: the interpolation is
// evaluated at x = j directly.
void NucRebuild::copy_old_table() {
    for (uint32_t j = 0; j < kRebuildTableLen; ++j) copy_[j] = static_cast<float>(old_[j]);
}

void NucRebuild::build_map() {
    copy_old_table();

    const uint32_t last = count_ - 1;
    for (uint32_t i = 0; i < last; ++i) {
        const uint32_t from = position(points_[i].setting_nuc);
        const uint32_t to = position(points_[i + 1].setting_nuc);
        if (i == 0 && from > 0) fill(0, from, k_[i], b_[i]);  // below the first point
        if (from < to) fill(from, to, k_[i], b_[i]);
        if (i == last - 1) {
            const uint32_t tail = position(points_[last].setting_nuc);
            if (tail < kRebuildTableLen) fill(tail, kRebuildTableLen, k_[i], b_[i]);  // above the last
        }
    }
    k_.release();
    b_.release();
}

// A negative value wraps to a large one and ends at the maximum, not at the
// minimum; callers rely on this asymmetry.
static uint16_t clamped_entry(float value, const TableRange &range) {
    uint16_t entry = fx::low16(fx::trunc_i32(value));
    if (entry > range.max) entry = range.max;
    if (entry < range.min) entry = range.min;
    return entry;
}

// Over a strictly ascending map (no NaN, no equal neighbours) the binary
// search of LinearInterp ends on the segment [s, s + 1] with s the index
// before the first entry above x, kept within 0 .. len - 2: an exact hit at
// index e gives e, and a miss leaves the last probe next to that entry. The
// abscissae x = 0, 1, 2, ... ascend, so that entry only moves forward and
// one walk over the map replaces the searches; the interpolation itself is
// LinearInterp's expression. Any other map takes LinearInterp per entry.
bool NucRebuild::interpolate(uint16_t *new_table) const {
    const float *map = map_.get();
    const float *copy = copy_.get();
    bool ascending = true;
    for (uint32_t j = 0; j + 1 < kRebuildTableLen; ++j) ascending &= map[j] < map[j + 1];
    if (ascending) {
        uint32_t above = 0;  // first entry above x
        for (uint32_t j = 0; j < kRebuildTableLen; ++j) {
            const float x = static_cast<float>(j);
            while (above < kRebuildTableLen && !(map[above] > x)) ++above;
            const uint32_t s =
                above == 0 ? 0 : (above - 1 > kRebuildTableLen - 2 ? kRebuildTableLen - 2 : above - 1);
            const float x0 = map[s], x1 = map[s + 1], y0 = copy[s], y1 = copy[s + 1];
            new_table[j] = clamped_entry(y0 + ((x - x0) * (y1 - y0)) / (x1 - x0), range_);
        }
        return true;
    }
    const linear_interp_param_t param{map_.get(), copy_.get(), kRebuildTableLen};
    for (uint32_t j = 0; j < kRebuildTableLen; ++j) {
        float value = 0.0f;
        if (LinearInterp(&param, &value, static_cast<float>(j)) != RADIMO_SUCCESS) return false;
        new_table[j] = clamped_entry(value, range_);
    }
    return true;
}

bool NucRebuild::leave_hot_mode(uint16_t *new_table) {
    if (!hot_) return true;
    return hotmode_reverse(new_table, kRebuildTableLen, new_table) == RADIMO_SUCCESS &&
           hotmode_reverse(old_, kRebuildTableLen, old_) == RADIMO_SUCCESS;
}

}  // namespace radimo::calib
