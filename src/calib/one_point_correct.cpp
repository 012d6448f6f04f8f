// One-point correction: one stretch of an 8192-entry NUC table rebuilt from
// three calibration points, the rest kept.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "calib/nuc_table_layout.h"
#include "core/heap_block.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
using radimo::HeapBlock;
using radimo::calib::kRebuildTableLen;
using radimo::calib::kStandardTableLen;

constexpr uint16_t kPointCount = 3;

// Half-open range of table entries (NUC >> 1) taken from the rebuild.
struct Stretch {
    uint32_t from;
    uint32_t to;
};

// s0 and s1 bound the calibrated range (s0 < s1); s2 picks the stretch: the
// one between them, the one below s0 (s2 at or below s0, or s2 equal to s1),
// or the one above s1. The between case is tested first, so a third point
// strictly inside never touches the table ends. Ranges end at the table's
// last entry at the latest.
Stretch choose_stretch(uint16_t s0, uint16_t s1, uint16_t s2) {
    Stretch stretch{0, 0};
    if (s0 < s2 && s2 < s1) {
        stretch = {static_cast<uint32_t>(s0 >> 1), static_cast<uint32_t>(s1 >> 1)};
    } else if (s2 <= s0 || s2 == s1) {
        stretch = {0, static_cast<uint32_t>(s0 >> 1)};
    } else {
        stretch = {static_cast<uint32_t>(s1 >> 1), kStandardTableLen};
    }
    stretch.to = std::min(stretch.to, kStandardTableLen);
    return stretch;
}

void mirror_points(multi_point_nuc_t *points) {
    for (uint16_t i = 0; i < kPointCount; ++i) {
        points[i].output_nuc = radimo::calib::mirror_nuc(points[i].output_nuc);
        points[i].setting_nuc = radimo::calib::mirror_nuc(points[i].setting_nuc);
    }
}

// The rebuild works on 16384 entries. Its old table is a working copy: the
// caller's 8192 entries, then the last entry repeated. The repetition keeps
// the copy's maximum and minimum (the rebuild's clamp range) those of the
// caller's table, continues the table flat where the map looks beyond it,
// and leaves hot-mode detection (first 8192 entries only) exactly as on the
// caller's table; any reversal by the rebuild stays inside the copy.
void fill_working_copy(const uint16_t *table, uint16_t *copy) {
    std::memcpy(copy, table, kStandardTableLen * sizeof(uint16_t));
    std::fill(copy + kStandardTableLen, copy + kRebuildTableLen, table[kStandardTableLen - 1]);
}

}  // namespace

extern "C" {

int multi_point_calc_one_point_correct(uint16_t *nuc_table, multi_point_nuc_t *points, uint16_t num,
                                       uint16_t *new_nuc_table) {
    if (nuc_table == nullptr || points == nullptr || new_nuc_table == nullptr) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (num != kPointCount) {
        RADIMO_ERROR("temp num is in valid.\n");
        return RADIMO_ERR_PARAM;
    }
    HeapBlock<uint16_t> old_copy(kRebuildTableLen);
    HeapBlock<uint16_t> rebuilt(kRebuildTableLen);
    if (!old_copy || !rebuilt) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }

    const bool hot = hotmode_calc(nuc_table) == 1;
    if (hot) {
        mirror_points(points);
        if (hotmode_reverse(nuc_table, kStandardTableLen, nuc_table) != RADIMO_SUCCESS) {
            mirror_points(points);  // its own inverse: the points are as given again
            RADIMO_ERROR("input param is invalid\n");
            return RADIMO_ERR_PARAM;
        }
    }
    const uint16_t s0 = points[0].setting_nuc;
    const uint16_t s1 = points[1].setting_nuc;
    const uint16_t s2 = points[2].setting_nuc;
    // A hot-mode reversal stays in place on this failure and the next.
    if (!(s0 < s1)) {
        RADIMO_ERROR("the sencond temperature point must greater than the first temperature point.%d %d\n",
                     s0, s1);
        return RADIMO_ERR_PARAM;
    }
    const Stretch stretch = choose_stretch(s0, s1, s2);
    fill_working_copy(nuc_table, old_copy.get());
    if (multi_point_calc_new_nuc_table(old_copy.get(), points, kPointCount, rebuilt.get()) !=
        RADIMO_SUCCESS) {
        RADIMO_ERROR("multi_point_calc_new_nuc_table failed\n");
        return RADIMO_ERR_VERSION;
    }
    std::memcpy(new_nuc_table, nuc_table, kStandardTableLen * sizeof(uint16_t));
    for (uint32_t i = stretch.from; i < stretch.to; ++i) new_nuc_table[i] = rebuilt[i];

    if (hot && (hotmode_reverse(new_nuc_table, kStandardTableLen, new_nuc_table) != RADIMO_SUCCESS ||
                hotmode_reverse(nuc_table, kStandardTableLen, nuc_table) != RADIMO_SUCCESS)) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
