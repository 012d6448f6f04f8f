// Conversion of 1/16 K values to degC on x86-64: eight values at once in GCC
// vectors (SSE2 registers, or AVX2 ones in the function compiled for it).
#include <cstring>

#include "core/simd_target.h"
#include "core/units.h"
#include "frame_api/celsius_kernels.h"

namespace radimo::frame_api::kernels {

namespace {

typedef uint16_t U16x8 __attribute__((vector_size(16)));
typedef float F32x8 __attribute__((vector_size(32)));
typedef double F64x8 __attribute__((vector_size(64)));

inline __attribute__((always_inline)) void convert_vector(const uint16_t *v, size_t n, float *out) {
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        U16x8 x;
        std::memcpy(&x, v + i, sizeof x);
        const F32x8 scaled = __builtin_convertvector(x, F32x8) * 0.0625f;
        const F64x8 celsius = __builtin_convertvector(scaled, F64x8) - units::kKelvinOffset;
        const F32x8 r = __builtin_convertvector(celsius, F32x8);
        std::memcpy(out + i, &r, sizeof r);
    }
    for (; i < n; ++i) out[i] = units::celsius_of_sixteenths(v[i]);
}

void convert_sse2(const uint16_t *v, size_t n, float *out) {
    convert_vector(v, n, out);
}

RADIMO_TARGET_AVX2 void convert_avx2(const uint16_t *v, size_t n, float *out) {
    convert_vector(v, n, out);
}

}  // namespace

const ConvertFn kConvertSse2 = convert_sse2;
const ConvertFn kConvertAvx2 = convert_avx2;

}  // namespace radimo::frame_api::kernels
