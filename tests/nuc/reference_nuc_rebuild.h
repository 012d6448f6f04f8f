// The NUC-table rebuild from calibration points as the step-by-step rule,
// every entry through LinearInterp: the reference the library's walking
// interpolation is compared with (and the benchmark's literal baseline).
#pragma once

#include <cstdint>

#include "libradimo.h"

namespace radimo::test::reference {

// half_units: the base rebuild (map indexed by setting >> 1, intercepts
// halved); otherwise the version-3 rebuild. Valid inputs only: at least two
// points, settings inside the 16384-entry map.
int rebuild_nuc_table(const char *name, uint16_t *old_table, multi_point_nuc_t *points, uint32_t n,
                      uint16_t *new_table, bool half_units);

}  // namespace radimo::test::reference
