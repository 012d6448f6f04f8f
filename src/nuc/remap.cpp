// Forward lookup: NUC value to table temperature.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "core/units.h"
#include "libradimo.h"
#include "nuc/table_length.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// Table slot of a NUC value. Callers pass NUC values already capped at 16383;
// anything larger is capped here as well so the lookup never leaves the table.
constexpr uint32_t slot_of(uint32_t nuc, uint32_t table_len) {
    const uint32_t capped = radimo::fx::cap_nuc(radimo::fx::low16(nuc));
    return table_len == radimo::nuc::kLongTableLen ? capped : capped >> 1;
}

}  // namespace

extern "C" {

int remap_temp(const uint16_t *nuc_table, uint32_t nuc, uint16_t *temp) {
    if (nuc_table == nullptr) {
        RADIMO_ERROR("nuc_table is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    // No NULL check of temp: the measurement path checks it once per call.
    *temp = nuc_table[slot_of(nuc, radimo::nuc::kStandardTableLen)];
    return RADIMO_SUCCESS;
}

int calc_temperature_with_nuc_t_table_len(const uint16_t *nuc_table, uint32_t nuc, uint32_t nuc_table_len,
                                          float *temp) {
    if (nuc_table == nullptr || temp == nullptr) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (!radimo::nuc::table_len_valid(nuc_table_len)) {
        RADIMO_ERROR("nuc_table_len is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    *temp = radimo::units::celsius_of_sixteenths(
        nuc_table[slot_of(nuc, radimo::nuc::table_len_of(nuc_table_len))]);
    return RADIMO_SUCCESS;
}

}  // extern "C"
