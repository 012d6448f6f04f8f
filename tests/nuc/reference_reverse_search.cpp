#include "reference_reverse_search.h"

#include <algorithm>
#include <cmath>

#include "core/message.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// Literal scan: index of the stop (-1 for none) and the entry it chooses.
int scan(const uint16_t *t, int len, float target, bool *exact, int *chosen) {
    for (int i = 0; i < len; i++) {
        float d = target - t[i];
        if (std::fabs(d) < 0.0001) return *exact = true, *chosen = i, i;
        if (i + 1 < len && (target - t[i + 1]) * d < 0) {
            float e = t[i + 1] - target;
            return *exact = false, *chosen = e > d ? i : i + 1, i;
        }
    }
    return -1;
}

float clamped_target(float temp, int lo, int hi) {
    float target = (temp + 273.15) * 16.0;
    return target > hi ? hi - 1 : (target < lo ? lo + 1 : target);
}

}  // namespace

namespace radimo::test::reference {

int reverse_calc_NUC_with_nuc_t(const uint16_t *nuc_table, uint16_t *nuc, float temp) {
    if (!nuc_table || !nuc) return RADIMO_ERROR("data is invalid\n"), RADIMO_ERR_PARAM;
    int hi = std::max(nuc_table[0], nuc_table[8191]), lo = std::min(nuc_table[0], nuc_table[8191]);
    RADIMO_DEBUG("NUC_MAX=%d,NUC_MIN=%d\n", hi, lo);
    RADIMO_DEBUG("nuc_table[0]=%d\n", nuc_table[0]);
    RADIMO_DEBUG("target_temp=%f\n", static_cast<float>((temp + 273.15) * 16.0));
    bool exact = false;
    int chosen = 0;
    int i = scan(nuc_table, 8192, clamped_target(temp, lo, hi), &exact, &chosen);
    if (i < 0) return *nuc = 0, RADIMO_ERROR("reverse calculate failed\n"), RADIMO_ERR_PARAM;
    *nuc = 2 * chosen;
    if (exact) {
        RADIMO_DEBUG("i=%d,nuc_value=%d\n", i, 2 * i);
        RADIMO_DEBUG("nuc_table[%d]=%d\n", i, nuc_table[i]);
    } else {
        RADIMO_DEBUG("nuc_table[%d]=%d\n", i, nuc_table[i]);
        RADIMO_DEBUG("nuc_table[%d]=%d\n", i + 1, nuc_table[i + 1]);
    }
    return RADIMO_SUCCESS;
}

int reverse_calc_NUC_with_nuc_t_table_len(const uint16_t *nuc_table, uint32_t nuc_table_len, uint16_t *nuc,
                                          float temp) {
    if (!nuc_table || !nuc) return RADIMO_ERROR("data is invalid\n"), RADIMO_ERR_PARAM;
    int len = nuc_table_len & 0xFFFF;
    if (len != 8192 && len != 16384) return RADIMO_ERROR("nuc_table_len is invalid\n"), RADIMO_ERR_PARAM;
    int hi = std::max(nuc_table[0], nuc_table[len - 1]), lo = std::min(nuc_table[0], nuc_table[len - 1]);
    if (hi == 0) return RADIMO_ERROR("NUC value is invalid\n"), RADIMO_ERR_PARAM;
    RADIMO_DEBUG("NUC_MAX=%d,NUC_MIN=%d\n", hi, lo);
    RADIMO_DEBUG("nuc_table[0]=%d\n", nuc_table[0]);
    RADIMO_DEBUG("target_temp=%f\n", static_cast<float>((temp + 273.15) * 16.0));
    bool exact = false;
    int chosen = 0;
    int i = scan(nuc_table, len, clamped_target(temp, lo, hi), &exact, &chosen);
    if (i < 0) return *nuc = 0, RADIMO_ERROR("reverse calculate failed\n"), RADIMO_ERR_PARAM;
    *nuc = len == 16384 ? chosen : 2 * chosen;
    RADIMO_DEBUG("i=%d,nuc_value=%d, nuc_table[i] = %d\n", i, *nuc, nuc_table[i]);
    return RADIMO_SUCCESS;
}

}  // namespace radimo::test::reference
