/* A program as an integrator writes it against the installed library: the
 * header from the include directory, libradimo.so from the library directory.
 * Exits 0 when every call answers as documented. */
#include <libradimo.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

#define CHECK(cond)                                                    \
    do {                                                               \
        if (!(cond)) {                                                 \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #cond); \
            return 1;                                                  \
        }                                                              \
    } while (0)

int main(void) {
    static uint16_t nuc_table[8192];
    static uint16_t frame[16 * 8];
    const nuc_factor_t factor = {-5645, 9300000, 104858};
    uint16_t nuc = 0, value = 0;
    float celsius = 0.0f, apparent = 0.0f, object = 0.0f;
    const point_t centre = {4, 3};
    int i;

    CHECK(strncmp(radimo_version(), "libradimo V", 11) == 0);

    /* NUC table round trip: 30 degC -> NUC value -> degC within one table step. */
    CHECK(generate_high_gain_nuc_t(&factor, nuc_table) == RADIMO_SUCCESS);
    CHECK(reverse_calc_NUC_with_nuc_t(nuc_table, &nuc, 30.0f) == RADIMO_SUCCESS);
    CHECK(calc_temperature_with_nuc_t_table_len(nuc_table, nuc, 8192, &celsius) == RADIMO_SUCCESS);
    CHECK(fabsf(celsius - 30.0f) < 0.1f);

    /* Grey-body correction and its reverse. */
    CHECK(reverse_temp_correct(16000, &apparent, 0.95f, 20.0f, 60.0f) == RADIMO_SUCCESS);
    CHECK(temp_correct(16000, &object, 0.95f, 20.0f, apparent) == RADIMO_SUCCESS);
    CHECK(fabsf(object - 60.0f) < 0.01f);

    /* Point measurement on a constant frame, and a refused NULL frame. */
    for (i = 0; i < 16 * 8; ++i) frame[i] = 4800;
    CHECK(get_point_temp(frame, 16u | (8u << 16), centre, &value) == RADIMO_SUCCESS && value == 4800);
    CHECK(get_point_temp(NULL, 16u | (8u << 16), centre, &value) == RADIMO_ERR_PARAM);

    puts("consumer: ok");
    return 0;
}
