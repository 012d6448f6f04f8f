// Trimming of the flat (saturated) runs at both ends of a NUC table.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

extern "C" {

int find_start_and_end_addr(const uint16_t *nuc_table, const uint16_t *addr_in, int len, uint16_t *addr_out) {
    if (nuc_table == nullptr || addr_in == nullptr || addr_out == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    const uint32_t n = radimo::fx::low16(len);

    // Start: the first entry after the flat run holding the given start. The
    // comparison stops at the last entry; a run reaching it leaves the start.
    const uint32_t s = addr_in[0];
    if (s < n) {
        const uint16_t v = nuc_table[s];
        for (uint32_t k = s; k + 1 < n; ++k) {
            if (nuc_table[k + 1] != v) {
                addr_out[0] = static_cast<uint16_t>(k + 1);
                break;
            }
        }
    }

    // End: the first entry of the flat run holding the given end, scanning
    // down to index 0 at most. An end outside the table is left unchanged.
    const uint32_t t = addr_in[1];
    if (t < n) {
        const uint16_t v = nuc_table[t];
        for (uint32_t k = t; k >= 1; --k) {
            if (nuc_table[k - 1] != v) {
                addr_out[1] = static_cast<uint16_t>(k);
                break;
            }
        }
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
