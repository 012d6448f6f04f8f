// The reverse NUC lookups as the plain entry-by-entry scan, kept as the
// reference the library's block-skipping search is compared with.
#pragma once

#include <cstdint>

namespace radimo::test::reference {

int reverse_calc_NUC_with_nuc_t(const uint16_t *nuc_table, uint16_t *nuc, float temp);
int reverse_calc_NUC_with_nuc_t_table_len(const uint16_t *nuc_table, uint32_t nuc_table_len, uint16_t *nuc,
                                          float temp);

}  // namespace radimo::test::reference
