#include "reference_reverse_search.h"

#include <cmath>

#include "core/message.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

namespace radimo::test::reference {

int reverse_calc_NUC_with_nuc_t(const uint16_t *nuc_table, uint16_t *nuc, float temp) {
    if (nuc_table == nullptr || nuc == nullptr) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    int NUC_MAX = nuc_table[0];
    int NUC_MIN = nuc_table[8191];
    if (NUC_MAX < NUC_MIN) {
        NUC_MAX = nuc_table[8191];
        NUC_MIN = nuc_table[0];
    }
    RADIMO_DEBUG("NUC_MAX=%d,NUC_MIN=%d\n", NUC_MAX, NUC_MIN);
    RADIMO_DEBUG("nuc_table[0]=%d\n", nuc_table[0]);
    float target = (temp + 273.15) * 16.0;
    RADIMO_DEBUG("target_temp=%f\n", target);
    if (target > NUC_MAX)
        target = NUC_MAX - 1;
    else if (target < NUC_MIN)
        target = NUC_MIN + 1;
    for (int i = 0; i < 8192; i++) {
        float d = target - nuc_table[i];
        if (std::fabs(d) < 0.0001) {
            *nuc = 2 * i;
            RADIMO_DEBUG("i=%d,nuc_value=%d\n", i, 2 * i);
            RADIMO_DEBUG("nuc_table[%d]=%d\n", i, nuc_table[i]);
            return RADIMO_SUCCESS;
        }
        if (i + 1 == 8192) break;
        float next = nuc_table[i + 1];
        if ((target - next) * d < 0) {
            float e = next - target;
            *nuc = e > d ? 2 * i : 2 * (i + 1);
            RADIMO_DEBUG("nuc_table[%d]=%d\n", i, nuc_table[i]);
            RADIMO_DEBUG("nuc_table[%d]=%d\n", i + 1, nuc_table[i + 1]);
            return RADIMO_SUCCESS;
        }
    }
    *nuc = 0;
    RADIMO_ERROR("reverse calculate failed\n");
    return RADIMO_ERR_PARAM;
}

int reverse_calc_NUC_with_nuc_t_table_len(const uint16_t *nuc_table, uint32_t nuc_table_len, uint16_t *nuc,
                                          float temp) {
    if (nuc_table == nullptr || nuc == nullptr) {
        RADIMO_ERROR("data is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const int len = nuc_table_len & 0xFFFF;
    if (len != 8192 && len != 16384) {
        RADIMO_ERROR("nuc_table_len is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const int step = len == 16384 ? 1 : 2;
    int NUC_MAX = nuc_table[0];
    int NUC_MIN = nuc_table[len - 1];
    if (NUC_MAX < NUC_MIN) {
        NUC_MAX = nuc_table[len - 1];
        NUC_MIN = nuc_table[0];
    }
    if (NUC_MAX == 0) {
        RADIMO_ERROR("NUC value is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    float target = (temp + 273.15) * 16.0;
    if (target > NUC_MAX)
        target = NUC_MAX - 1;
    else if (target < NUC_MIN)
        target = NUC_MIN + 1;
    for (int i = 0; i < len; i++) {
        float d = target - nuc_table[i];
        int nuc_value = -1;
        if (std::fabs(d) < 0.0001) {
            nuc_value = step * i;
        } else if (i + 1 < len) {
            float next = nuc_table[i + 1];
            if ((target - next) * d < 0) {
                float e = next - target;
                nuc_value = e > d ? step * i : step * (i + 1);
            }
        }
        if (nuc_value >= 0) {
            *nuc = nuc_value;
            RADIMO_DEBUG("i=%d,nuc_value=%d, nuc_table[i] = %d\n", i, nuc_value, nuc_table[i]);
            return RADIMO_SUCCESS;
        }
    }
    *nuc = 0;
    RADIMO_ERROR("reverse calculate failed\n");
    return RADIMO_ERR_PARAM;
}

}  // namespace radimo::test::reference
