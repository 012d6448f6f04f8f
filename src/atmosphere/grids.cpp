// Default grids of the tau tables: object distance, ambient temperature and
// target temperature, with the step width of each interval.
//
// These are exported, writable tables; the values below are the library's
// defaults (the distance generators may overwrite dist_table and
// new_dist_table with their single-precision values). Each _diff table holds
// the exact decimal step grid[i + 1] - grid[i].
#include "libradimo.h"

// The distance grids, each value written once. The first model's 64
// distances (0.25 .. 50 m) and their steps open the second model's 88
// (continued to 1000 m); the second model's grid is exported twice, as
// new_dist_table and as dist_table_v3 of the version-3 layout, two separate
// writable tables with the same defaults.
#define RADIMO_FIRST_MODEL_DISTANCES                                                                         \
    0.25, 0.3, 0.35, 0.4, 0.45, 0.5, 0.55, 0.6, 0.65, 0.7, 0.75, 0.8, 0.85, 0.9, 0.95, 1.0, 1.05, 1.1, 1.15, \
        1.2, 1.3, 1.4, 1.5, 1.6, 1.7, 1.8, 1.9, 2.0, 2.2, 2.4, 2.6, 2.8, 3.0, 3.2, 3.4, 3.6, 3.8, 4.0, 4.5,  \
        5.0, 5.5, 6.0, 6.5, 7.0, 7.5, 8.0, 9.0, 10.0, 11.0, 12.0, 13.0, 14.0, 16.0, 18.0, 20.0, 22.0, 24.0,  \
        26.0, 28.0, 30.0, 35.0, 40.0, 45.0, 50.0
#define RADIMO_SECOND_MODEL_DISTANCES                                                                      \
    RADIMO_FIRST_MODEL_DISTANCES, 60.0, 70.0, 80.0, 90.0, 100.0, 120.0, 140.0, 160.0, 180.0, 200.0, 220.0, \
        240.0, 260.0, 280.0, 300.0, 350.0, 400.0, 450.0, 500.0, 600.0, 700.0, 800.0, 900.0, 1000.0
#define RADIMO_FIRST_MODEL_STEPS                                                                            \
    0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05, 0.05,   \
        0.05, 0.05, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.2, 0.2, 0.2, 0.2, 0.2, 0.2, 0.2, 0.2, 0.2,    \
        0.2, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 2.0, 2.0, 2.0, 2.0, 2.0, \
        2.0, 2.0, 2.0, 5.0, 5.0, 5.0, 5.0
#define RADIMO_SECOND_MODEL_STEPS                                                                           \
    RADIMO_FIRST_MODEL_STEPS, 10.0, 10.0, 10.0, 10.0, 10.0, 20.0, 20.0, 20.0, 20.0, 20.0, 20.0, 20.0, 20.0, \
        20.0, 20.0, 50.0, 50.0, 50.0, 50.0, 100.0, 100.0, 100.0, 100.0, 100.0

extern "C" {

// m, first distance model: 0.25 .. 50.
double dist_table[64] = {RADIMO_FIRST_MODEL_DISTANCES};
double dist_table_diff[63] = {RADIMO_FIRST_MODEL_STEPS};

// m, second distance model: the first model's distances continued to 1000.
double new_dist_table[88] = {RADIMO_SECOND_MODEL_DISTANCES};
double new_dist_table_diff[87] = {RADIMO_SECOND_MODEL_STEPS};

// m, the grid of the version-3 tau layout: the second model's defaults.
double dist_table_v3[88] = {RADIMO_SECOND_MODEL_DISTANCES};
double dist_table_diff_v3[87] = {RADIMO_SECOND_MODEL_STEPS};

#undef RADIMO_FIRST_MODEL_DISTANCES
#undef RADIMO_SECOND_MODEL_DISTANCES
#undef RADIMO_FIRST_MODEL_STEPS
#undef RADIMO_SECOND_MODEL_STEPS

// degC, ambient-temperature rows of the environment tau table. The last row
// is labelled 55 as well: a read at exactly 55 degC selects it.
double temp_table[14] = {
    -5.0, 0.0, 5.0, 10.0, 15.0, 20.0, 25.0, 30.0, 35.0, 40.0, 45.0, 50.0, 55.0, 55.0,
};

// K, -25 degC .. 1350 degC in steps of 25.
double target_temp_table[56] = {
    248.15,  273.15,  298.15,  323.15,  348.15,  373.15,  398.15,  423.15,  448.15,  473.15,
    498.15,  523.15,  548.15,  573.15,  598.15,  623.15,  648.15,  673.15,  698.15,  723.15,
    748.15,  773.15,  798.15,  823.15,  848.15,  873.15,  898.15,  923.15,  948.15,  973.15,
    998.15,  1023.15, 1048.15, 1073.15, 1098.15, 1123.15, 1148.15, 1173.15, 1198.15, 1223.15,
    1248.15, 1273.15, 1298.15, 1323.15, 1348.15, 1373.15, 1398.15, 1423.15, 1448.15, 1473.15,
    1498.15, 1523.15, 1548.15, 1573.15, 1598.15, 1623.15,
};

double target_temp_table_diff[55] = {
    25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0,
    25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0,
    25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0,
    25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0,
};

// K, -25 degC .. 1000 degC in steps of 25.
double new_target_temp_table[42] = {
    248.15,  273.15,  298.15,  323.15,  348.15,  373.15,  398.15,  423.15,  448.15,  473.15,  498.15,
    523.15,  548.15,  573.15,  598.15,  623.15,  648.15,  673.15,  698.15,  723.15,  748.15,  773.15,
    798.15,  823.15,  848.15,  873.15,  898.15,  923.15,  948.15,  973.15,  998.15,  1023.15, 1048.15,
    1073.15, 1098.15, 1123.15, 1148.15, 1173.15, 1198.15, 1223.15, 1248.15, 1273.15,
};

double new_target_temp_table_diff[41] = {
    25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0,
    25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0,
    25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0,
};

// K, -25 degC .. 550 degC in steps of 25, then 600 degC .. 1600 degC in steps of 50.
double target_temp_table_v3[45] = {
    248.15,  273.15,  298.15,  323.15,  348.15,  373.15,  398.15,  423.15,  448.15,
    473.15,  498.15,  523.15,  548.15,  573.15,  598.15,  623.15,  648.15,  673.15,
    698.15,  723.15,  748.15,  773.15,  798.15,  823.15,  873.15,  923.15,  973.15,
    1023.15, 1073.15, 1123.15, 1173.15, 1223.15, 1273.15, 1323.15, 1373.15, 1423.15,
    1473.15, 1523.15, 1573.15, 1623.15, 1673.15, 1723.15, 1773.15, 1823.15, 1873.15,
};

double target_temp_table_diff_v3[44] = {
    25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0,
    25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 25.0, 50.0, 50.0, 50.0, 50.0, 50.0, 50.0, 50.0,
    50.0, 50.0, 50.0, 50.0, 50.0, 50.0, 50.0, 50.0, 50.0, 50.0, 50.0, 50.0, 50.0, 50.0,
};

}  // extern "C"
