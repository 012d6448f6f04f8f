// Index modes of the emissivity-table grid lookups
// (get_compatible_*_read_index_of_ems_table).
#pragma once

namespace radimo::radiometry {

inline constexpr int kIndexNearest = 1;  // nearest grid point, ties go up
inline constexpr int kIndexLower = 2;    // lower neighbour

}  // namespace radimo::radiometry
