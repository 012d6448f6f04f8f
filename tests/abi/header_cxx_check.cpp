// Compiles the public header as strict C++ (no C-only constructs, extern "C" guards).
#include "libradimo.h"

static_assert(sizeof(point_t) == 8, "point_t is two 32-bit integers");
static_assert(sizeof(rect_size_t) == sizeof(point_t), "a rectangle size is passed in the shape of a point");
static_assert(sizeof(env_correct_param_t) == 20, "five floats");
static_assert(sizeof(second_calib_param_t) == 36, "eight u16, four floats, one u16");
static_assert(sizeof(multi_point_nuc_t) == 4, "two u16");
