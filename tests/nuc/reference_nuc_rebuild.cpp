#include "reference_nuc_rebuild.h"

#include <vector>

namespace radimo::test::reference {

int rebuild_nuc_table(const char *name, uint16_t *old_table, multi_point_nuc_t *p, uint32_t n,
                      uint16_t *new_table, bool half_units) {
    const auto debug = [&](auto... args) { radimo_debug_print(args...); };
    constexpr int kLen = 16384;
    std::vector<float> k(n - 1), b(n - 1), ramp(kLen), copy(kLen), map(kLen);
    const bool hot = hotmode_calc(old_table) == 1;
    if (hot) {
        for (uint32_t i = 0; i < n; ++i) {
            p[i].output_nuc = static_cast<uint16_t>(16384 - p[i].output_nuc);
            p[i].setting_nuc = static_cast<uint16_t>(16384 - p[i].setting_nuc);
        }
        hotmode_reverse(old_table, kLen, old_table);
    }
    uint16_t max = old_table[0], min = old_table[0];
    for (int i = 0; i < kLen; ++i) {
        if (old_table[i] > max) max = old_table[i];
        if (old_table[i] < min) min = old_table[i];
    }
    debug("libradimo debug [%s:%d/%s] max value=%d,min value=%d\n", "src/temp_correct", 0, name, max, min);
    sort_multi_point_nuc(p, n);
    for (uint32_t i = 0; i < n; ++i)
        debug("libradimo debug [%s:%d/%s] setting_nuc=%d,output_nuc=%d\n", "src/temp_correct", 0, name,
              p[i].setting_nuc, p[i].output_nuc);
    for (uint32_t i = 0; i + 1 < n; ++i) {
        k[i] =
            (float)(p[i + 1].output_nuc - p[i].output_nuc) / (float)(p[i + 1].setting_nuc - p[i].setting_nuc);
        b[i] = (float)p[i].output_nuc - (float)p[i].setting_nuc * k[i];
        if (half_units) b[i] = b[i] * 0.5f;
        debug("libradimo debug [%s:%d/%s] k=%f,b=%f\n", "src/temp_correct", 0, name, (double)k[i],
              (double)b[i]);
    }
    for (int i = 0; i < kLen; ++i) ramp[i] = (float)i, copy[i] = (float)old_table[i];
    const auto pos = [&](uint16_t s) { return half_units ? (uint16_t)(s >> 1) : s; };
    for (uint32_t i = 0; i + 1 < n; ++i) {
        if (i == 0 && (half_units ? p[0].setting_nuc > 1 : p[0].setting_nuc != 0))
            for (uint16_t j = 0; j < pos(p[0].setting_nuc); ++j) map[j] = (float)j * k[i] + b[i];
        for (uint16_t j = pos(p[i].setting_nuc); j < pos(p[i + 1].setting_nuc); ++j)
            map[j] = (float)j * k[i] + b[i];
        if (i == n - 2)
            for (uint32_t j = pos(p[n - 1].setting_nuc); j < kLen; ++j) map[j] = (float)j * k[i] + b[i];
    }
    const linear_interp_param_t param{map.data(), copy.data(), kLen};
    for (int j = 0; j < kLen; ++j) {
        float v = 0;
        if (LinearInterp(&param, &v, ramp[j]) != RADIMO_SUCCESS) return RADIMO_ERR_TABLE_CALC;
        double d = v;  // truncation toward zero into 32 bits, INT32_MIN outside
        uint16_t e = static_cast<uint16_t>(d > -2147483649.0 && d < 2147483648.0 ? (int32_t)d : INT32_MIN);
        if (e > max) e = max;
        if (e < min) e = min;
        new_table[j] = e;
    }
    if (hot) {
        hotmode_reverse(new_table, kLen, new_table);
        hotmode_reverse(old_table, kLen, old_table);
    }
    return RADIMO_SUCCESS;
}

}  // namespace radimo::test::reference
