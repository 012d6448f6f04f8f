// Least-squares quadratic through a set of points.
//
// The abscissae are centred on their mid-range and scaled to u in [-1, 1],
// and the fit is expanded in the polynomials orthogonal over the points
// (Forsythe's three-term recurrence): p0 = 1, p1 = u - a1,
// p2 = (u - a2) p1 - b1. Each coefficient is then one projection of the
// residual, so the conditioning is that of the points themselves rather than
// its square (as with the normal equations), and no working storage is
// needed: every pass recomputes p1 and p2 from u.
#include <cmath>
#include <cstdint>

#include "core/message.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// The curvature is refused when p2, the part of u^2 no line through the
// points explains, has a root mean square below this over u in [-1, 1]:
// double rounding then amplified by 1 / rms would exceed float precision.
constexpr double kMinCurvatureSpread = 1e-9;

// Sums of one pass over the points.
struct Pass {
    double s0 = 0.0, s1 = 0.0, s2 = 0.0;
};

struct Scale {
    double centre;
    double half_range;
    double u(double x) const { return (x - centre) / half_range; }
};

}  // namespace

extern "C" {

int ordinary_least_squares(const double *x, const double *y, uint32_t n, double *coefficients) {
    if (x == nullptr || y == nullptr || coefficients == nullptr) {
        RADIMO_ERROR("input param is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    if (n < 3) {
        RADIMO_ERROR("the number of points is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    double lo = x[0];
    double hi = x[0];
    for (uint32_t i = 0; i < n; ++i) {
        if (!std::isfinite(x[i]) || !std::isfinite(y[i])) {
            RADIMO_ERROR("x or y is not finite\n");
            return RADIMO_ERR_PARAM;
        }
        lo = std::fmin(lo, x[i]);
        hi = std::fmax(hi, x[i]);
    }
    // Three distinct abscissae: the two extremes differ and one lies between.
    bool inner = false;
    for (uint32_t i = 0; i < n && !inner; ++i) inner = x[i] > lo && x[i] < hi;
    if (!inner) {
        RADIMO_ERROR("fewer than three distinct x\n");
        return RADIMO_ERR_PARAM;
    }
    // Halved before subtracting, so that no finite range overflows.
    const Scale scale{0.5 * lo + 0.5 * hi, 0.5 * hi - 0.5 * lo};
    const double count = static_cast<double>(n);

    Pass first;  // sum u, sum y
    for (uint32_t i = 0; i < n; ++i) {
        first.s0 += scale.u(x[i]);
        first.s1 += y[i];
    }
    const double a1 = first.s0 / count;
    const double c_p0 = first.s1 / count;

    Pass second;  // sum p1^2, sum u p1^2, sum (y - c_p0) p1
    for (uint32_t i = 0; i < n; ++i) {
        const double u = scale.u(x[i]);
        const double p1 = u - a1;
        second.s0 += p1 * p1;
        second.s1 += u * p1 * p1;
        second.s2 += (y[i] - c_p0) * p1;
    }
    // Positive: the extremes map to -1 and 1, so p1 is not zero everywhere.
    const double g1 = second.s0;
    const double a2 = second.s1 / g1;
    const double b1 = g1 / count;
    const double c_p1 = second.s2 / g1;

    Pass third;  // sum p2^2, sum (y - c_p0 - c_p1 p1) p2
    for (uint32_t i = 0; i < n; ++i) {
        const double u = scale.u(x[i]);
        const double p1 = u - a1;
        const double p2 = (u - a2) * p1 - b1;
        third.s0 += p2 * p2;
        third.s1 += (y[i] - c_p0 - c_p1 * p1) * p2;
    }
    const double g2 = third.s0;
    if (!(std::sqrt(g2 / count) > kMinCurvatureSpread)) {
        RADIMO_ERROR("x is too close to two values\n");
        return RADIMO_ERR_PARAM;
    }
    const double c_p2 = third.s1 / g2;

    // c_p0 + c_p1 p1 + c_p2 p2 in powers of u ...
    const double u2 = c_p2;
    const double u1 = c_p1 - c_p2 * (a1 + a2);
    const double u0 = c_p0 - c_p1 * a1 + c_p2 * (a1 * a2 - b1);
    // ... and of x = centre + half_range * u.
    const double m = scale.centre / scale.half_range;
    const double c2 = u2 / (scale.half_range * scale.half_range);
    const double c1 = (u1 - 2.0 * u2 * m) / scale.half_range;
    const double c0 = u0 - u1 * m + u2 * m * m;
    if (!std::isfinite(c0) || !std::isfinite(c1) || !std::isfinite(c2)) {
        RADIMO_ERROR("coefficients are not finite\n");
        return RADIMO_ERR_PARAM;
    }
    RADIMO_DEBUG("c0=%g,c1=%g,c2=%g\n", c0, c1, c2);
    coefficients[0] = c0;
    coefficients[1] = c1;
    coefficients[2] = c2;
    return RADIMO_SUCCESS;
}

}  // extern "C"
