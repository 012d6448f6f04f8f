// Bubble sorts of calibration points and KT/BT indexes.
#include <cstdint>
#include <utility>

#include "libradimo.h"

extern "C" {

// The two columns are sorted independently on purpose: the points are taken
// to be monotonic, so pairs are not kept together.
void sort_multi_point_nuc(multi_point_nuc_t *points, uint32_t count) {
    if (points == nullptr || count < 2) return;
    for (uint32_t pass = 0; pass < count - 1; ++pass) {
        bool swapped = false;
        for (uint32_t i = 0; i < count - 1 - pass; ++i) {
            if (points[i].output_nuc > points[i + 1].output_nuc) {
                std::swap(points[i].output_nuc, points[i + 1].output_nuc);
                swapped = true;
            }
            if (points[i].setting_nuc > points[i + 1].setting_nuc) {
                std::swap(points[i].setting_nuc, points[i + 1].setting_nuc);
                swapped = true;
            }
        }
        if (!swapped) break;
    }
}

void sort_multi_point_kt(uint16_t *array, uint32_t count) {
    if (array == nullptr || count < 2) return;
    for (uint32_t pass = 0; pass < count - 1; ++pass) {
        bool swapped = false;
        for (uint32_t i = 0; i < count - 1 - pass; ++i) {
            if (array[i] > array[i + 1]) {
                std::swap(array[i], array[i + 1]);
                swapped = true;
            }
        }
        if (!swapped) break;
    }
}

}  // extern "C"
