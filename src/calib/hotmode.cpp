// Hot-mode (falling table) detection and table reversal.
#include <cstdint>
#include <cstring>

#include "calib/nuc_table_layout.h"
#include "core/heap_block.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

extern "C" {

// Only the first 8192 entries decide, even for the 16384-entry tables of
// the rebuild; callers rely on exactly this window.
int hotmode_calc(const uint16_t *nuc_table) {
    if (nuc_table == nullptr) return 0;
    const uint16_t reference = nuc_table[0];
    for (uint32_t i = 1; i < radimo::calib::kStandardTableLen; ++i) {
        if (nuc_table[i] != reference) return nuc_table[i] < reference ? 1 : 0;
    }
    return 0;
}

int hotmode_reverse(const uint16_t *src, uint32_t count, uint16_t *dst) {
    if (src == nullptr || dst == nullptr) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (count == 0) return RADIMO_SUCCESS;
    // Through a copy, so that src and dst may be the same array.
    radimo::HeapBlock<uint16_t> copy(count);
    if (!copy) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    std::memcpy(copy.get(), src, static_cast<std::size_t>(count) * sizeof(uint16_t));
    for (uint32_t i = 0; i < count; ++i) dst[i] = copy[count - 1 - i];
    return RADIMO_SUCCESS;
}

}  // extern "C"
