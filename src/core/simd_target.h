// The instruction-set target of the vectorised kernels, chosen once per process.
//
// Each processor family has kernels of its own, in files of their own that
// CMake compiles for that family only (cmake/kernel_targets.cmake): SSE2
// (the x86-64 baseline) and AVX2 on x86-64; NEON on 64-bit ARM, where it is
// always present, and on 32-bit ARM when the CPU reports it; the scalar
// kernels everywhere, and alone on every other processor. The widest target
// this build and the CPU offer is used. The environment variable RADIMO_SIMD
// ("scalar", "sse2", "avx2" or "neon") forces another one, so every path can
// be exercised on one machine; a target the build or the CPU lacks, or an
// unknown name, falls back to the widest available. Every target gives
// bit-identical results.
#pragma once

namespace radimo::simd {

enum class Target { kScalar, kSse2, kAvx2, kNeon };

// The target in use; read from the CPU and the environment on first call.
Target active();

// "scalar", "sse2", "avx2" or "neon".
const char *name(Target t);

// The kernels of the active target: one pointer (to a function or to a set
// of functions) per target, nullptr for a target this build has no kernels
// for (see RADIMO_X86 and RADIMO_NEON below); the scalar ones otherwise.
template <typename Kernels>
const Kernels *pick(const Kernels *scalar, const Kernels *sse2, const Kernels *avx2, const Kernels *neon) {
    const Kernels *chosen = nullptr;
    switch (active()) {
        case Target::kAvx2:
            chosen = avx2;
            break;
        case Target::kSse2:
            chosen = sse2;
            break;
        case Target::kNeon:
            chosen = neon;
            break;
        case Target::kScalar:
            break;
    }
    return chosen != nullptr ? chosen : scalar;
}

}  // namespace radimo::simd

// The address of a kernel set compiled only in builds with the x86-64 (or
// NEON) kernels, and nullptr in other builds.
#if defined(RADIMO_KERNELS_X86)
#define RADIMO_X86(kernels) (&(kernels))
#else
#define RADIMO_X86(kernels) static_cast<decltype(&(kernels))>(nullptr)
#endif
#if defined(RADIMO_KERNELS_NEON)
#define RADIMO_NEON(kernels) (&(kernels))
#else
#define RADIMO_NEON(kernels) static_cast<decltype(&(kernels))>(nullptr)
#endif

// Kernels compiled for a wider target than the build's baseline: AVX2 on
// x86-64, NEON on 32-bit ARM (64-bit ARM always has it). Only functions
// carry the target, so no inline function of a shared header is ever
// compiled for it and picked by the linker for code that runs anywhere.
#define RADIMO_TARGET_AVX2 __attribute__((target("avx2")))
#if defined(__arm__)
#define RADIMO_TARGET_NEON __attribute__((target("fpu=neon")))
#else
#define RADIMO_TARGET_NEON
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
