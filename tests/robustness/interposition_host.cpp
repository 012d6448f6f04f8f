// A host program that defines functions under two of the library's generic
// exported names. Its definitions win for the host's own calls, but the
// library's internal calls keep going to the library's functions. The
// exported data tables, on the other hand, are one object shared by host
// and library.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <vector>

#include "libradimo.h"

namespace {
int g_average_calls = 0;
int g_interp_calls = 0;

template <typename F>
F next_definition(const char *name) {
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}
}  // namespace

// The host's versions: the library's result, visibly changed.
extern "C" int get_array_average_value(const uint16_t *data, int num, uint16_t *out) {
    ++g_average_calls;
    static const auto library = next_definition<int (*)(const uint16_t *, int, uint16_t *)>(__func__);
    const int rc = library(data, num, out);
    *out += 1000;
    return rc;
}

extern "C" int LinearInterp(const linear_interp_param_t *param, float *out, float x) {
    ++g_interp_calls;
    static const auto library =
        next_definition<int (*)(const linear_interp_param_t *, float *, float)>(__func__);
    const int rc = library(param, out, x);
    *out += 1000.0f;
    return rc;
}

namespace {

TEST(Interposition, TheHostsDefinitionsServeTheHost) {
    const uint16_t data[] = {1, 2, 3, 4, 5};
    uint16_t average = 0;
    ASSERT_EQ(get_array_average_value(data, 5, &average), RADIMO_SUCCESS);
    EXPECT_EQ(average, 1003);
    EXPECT_EQ(g_average_calls, 1);
}

TEST(Interposition, TheLibraryKeepsCallingItsOwnFunctions) {
    g_average_calls = g_interp_calls = 0;
    std::vector<uint16_t> frame(3 * 3);
    for (uint16_t i = 0; i < 9; ++i) frame[i] = static_cast<uint16_t>(i + 1);
    uint16_t value = 0;
    ASSERT_EQ(get_point_temp(frame.data(), 3 | 3 << 16, {1, 1}, &value), RADIMO_SUCCESS);
    EXPECT_EQ(value, 5);  // (2 + ... + 8) / 7

    std::vector<uint16_t> table(16384), rebuilt(16384);
    for (uint32_t j = 0; j < table.size(); ++j) table[j] = static_cast<uint16_t>(1000 + 2 * j);
    multi_point_nuc_t points[] = {{9000, 9000}, {2000, 2000}, {5000, 5000}};
    ASSERT_EQ(multi_point_calc_new_nuc_table(table.data(), points, 3, rebuilt.data()), RADIMO_SUCCESS);
    EXPECT_EQ(rebuilt, table);  // identity points keep the table
    EXPECT_EQ(g_average_calls, 0);
    EXPECT_EQ(g_interp_calls, 0);
}

TEST(Interposition, DataTablesStayShared) {
    uint16_t index = 0;
    ASSERT_EQ(get_temp_read_index(&index, 2.5f), RADIMO_SUCCESS);
    EXPECT_EQ(index, 1);
    const double saved = temp_table[1];
    temp_table[1] = 3.0;  // the host's write is what the library reads
    ASSERT_EQ(get_temp_read_index(&index, 2.5f), RADIMO_SUCCESS);
    EXPECT_EQ(index, 0);
    temp_table[1] = saved;

    dist_table[5] = -1.0;  // the library's write is what the host reads
    generate_distance_table();
    EXPECT_EQ(dist_table[5], distance_calculate(6));
}

}  // namespace
