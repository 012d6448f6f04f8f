// Working state of one NUC-table rebuild from calibration points.
//
// The two rebuild entry points run the same steps and differ only in the
// unit of the position map (half or full NUC units). Each entry point calls
// the steps in order and emits its own log lines between them, so that the
// lines carry the entry point's name.
#pragma once

#include <cstdint>

#include "core/heap_block.h"
#include "libradimo.h"

namespace radimo::calib {

enum class MapUnits {
    kHalfNuc,  // position = setting >> 1, intercepts halved (table indexed by NUC >> 1)
    kFullNuc,  // position = setting itself
};

struct TableRange {
    uint16_t max;
    uint16_t min;
};

class NucRebuild {
public:
    // Reads the hot-mode state of the old table; allocates nothing yet.
    NucRebuild(uint16_t *old_table, multi_point_nuc_t *points, uint32_t count, MapUnits units);

    // True when there are at least two points and every setting, as the
    // rebuild will see it (mirrored in hot mode), maps inside the position
    // map, so that every fill range ends at or before its last entry.
    bool points_fit() const;
    // Allocates the slopes, intercepts, position map and old-table copy.
    bool allocate();
    // Hot mode: mirrors the points and reverses the old table in place.
    // On failure nothing stays modified.
    bool enter_hot_mode();
    // Maximum and minimum of the (possibly reversed) old table.
    TableRange scan_range();
    void sort_points();
    // Slope and intercept of segment i (points i and i + 1).
    void fit_segment(uint32_t i);
    float slope(uint32_t i) const { return k_[i]; }
    float intercept(uint32_t i) const { return b_[i]; }
    // Position map from the segments, and the float copy of the old table;
    // frees the slopes and intercepts.
    void build_map();
    // The float copy of the old table alone, and the position map for a
    // caller that fills it itself (every entry, ascending) instead of build_map().
    void copy_old_table();
    float *position_map() { return map_.get(); }
    // Interpolates every entry of the new table; false when LinearInterp fails.
    bool interpolate(uint16_t *new_table) const;
    // Hot mode: reverses the new table and restores the old one.
    bool leave_hot_mode(uint16_t *new_table);

    uint32_t count() const { return count_; }
    const multi_point_nuc_t &point(uint32_t i) const { return points_[i]; }

private:
    uint32_t position(uint16_t setting) const;
    void fill(uint32_t from, uint32_t to, float k, float b);
    void mirror_points();

    uint16_t *old_;
    multi_point_nuc_t *points_;
    uint32_t count_;
    MapUnits units_;
    bool hot_;
    TableRange range_{0, 0};
    HeapBlock<float> k_;
    HeapBlock<float> b_;
    HeapBlock<float> map_;
    HeapBlock<float> copy_;
};

}  // namespace radimo::calib
