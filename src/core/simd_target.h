// The instruction-set target of the vectorised kernels, chosen once per process.
//
// The widest target the CPU offers is used (AVX2, else the x86-64 baseline
// SSE2). The environment variable RADIMO_SIMD ("scalar", "sse2" or "avx2")
// forces a narrower one, so every path can be exercised on one machine; a
// forced target the CPU lacks, or an unknown name, falls back to the widest
// available. Every target gives bit-identical results.
#pragma once

namespace radimo::simd {

enum class Target { kScalar, kSse2, kAvx2 };

// The target in use; read from the CPU and the environment on first call.
Target active();

// "scalar", "sse2" or "avx2".
const char *name(Target t);

// One kernel per target; returns the one of the active target.
template <typename Fn>
Fn pick(Fn scalar, Fn sse2, Fn avx2) {
    switch (active()) {
        case Target::kAvx2:
            return avx2;
        case Target::kSse2:
            return sse2;
        case Target::kScalar:
            break;
    }
    return scalar;
}

}  // namespace radimo::simd

// Kernels compiled for a wider target than the library's baseline.
#if defined(__x86_64__) || defined(__i386__)
#define RADIMO_TARGET_AVX2 __attribute__((target("avx2")))
#else
#define RADIMO_TARGET_AVX2
#endif

// The scalar kernels stay scalar: the compiler must not vectorise them.
#if defined(__clang__)
#define RADIMO_NO_AUTOVEC
#define RADIMO_SCALAR_LOOP _Pragma("clang loop vectorize(disable) interleave(disable)")
#elif defined(__GNUC__)
#define RADIMO_NO_AUTOVEC __attribute__((optimize("no-tree-vectorize")))
#define RADIMO_SCALAR_LOOP
#else
#define RADIMO_NO_AUTOVEC
#define RADIMO_SCALAR_LOOP
#endif
