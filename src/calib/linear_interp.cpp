// Piecewise-linear interpolation over ascending abscissae, single precision.
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;
}  // namespace

extern "C" {

int LinearInterp(const linear_interp_param_t *param, float *out, float x) {
    if (param == nullptr || out == nullptr) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (param->arr_x == nullptr || param->arr_y == nullptr) {
        RADIMO_ERROR("arr_x or arr_y is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    // One entry has no segment to interpolate along; reading the entry
    // before it is never allowed, so a single entry is rejected like none.
    if (param->size < 2) {
        RADIMO_ERROR("size is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const float *arr_x = param->arr_x;
    const float *arr_y = param->arr_y;
    const int64_t last = static_cast<int64_t>(param->size) - 1;

    // Binary search; m is the last probe. It stops early on an exact hit, and
    // also on a NaN abscissa (neither comparison holds), so it always ends.
    int64_t lo = 0;
    int64_t hi = last;
    int64_t m = 0;
    for (;;) {
        m = (lo + hi) >> 1;
        if (arr_x[m] > x) {
            hi = m - 1;
            if (lo > hi) break;
        } else if (!(x > arr_x[m])) {
            break;
        } else {
            lo = m + 1;
            if (lo > hi) break;
        }
    }

    // Segment [s, s + 1]: the end segments also extrapolate beyond both ends.
    int64_t s;
    if (m == last) {
        s = last - 1;
    } else if (m == 0) {
        s = 0;
    } else if (x < arr_x[m]) {
        s = m - 1;
    } else {
        s = m;
    }
    const float x0 = arr_x[s];
    const float x1 = arr_x[s + 1];
    const float y0 = arr_y[s];
    const float y1 = arr_y[s + 1];
    // Equal abscissae are not guarded: the quotient is then inf or NaN.
    *out = y0 + ((x - x0) * (y1 - y0)) / (x1 - x0);
    return RADIMO_SUCCESS;
}

}  // extern "C"
