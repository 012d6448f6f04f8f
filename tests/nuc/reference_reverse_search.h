// The reverse NUC lookups written as the plain entry-by-entry scan. The
// library's block-skipping search must agree with these on every table:
// same result code, same output and the same messages in the same order.
#pragma once

#include <cstdint>

namespace radimo::test::reference {

int reverse_calc_NUC_with_nuc_t(const uint16_t *nuc_table, uint16_t *nuc, float temp);
int reverse_calc_NUC_with_nuc_t_table_len(const uint16_t *nuc_table, uint32_t nuc_table_len, uint16_t *nuc,
                                          float temp);

}  // namespace radimo::test::reference
