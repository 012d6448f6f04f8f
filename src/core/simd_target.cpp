// Choice of the kernel target: once per process, from the CPU and RADIMO_SIMD.
#include "core/simd_target.h"

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#if defined(RADIMO_KERNELS_NEON) && defined(__arm__)
#include <sys/auxv.h>
#endif

#include "libradimo.h"

namespace radimo::simd {

namespace {

// The widest target this build has kernels for and this CPU runs.
Target widest() {
#if defined(RADIMO_KERNELS_X86)
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0 ? Target::kAvx2 : Target::kSse2;
#elif defined(RADIMO_KERNELS_NEON) && defined(__aarch64__)
    return Target::kNeon;  // part of the 64-bit ARM architecture
#elif defined(RADIMO_KERNELS_NEON)
    // 32-bit ARM: the kernel reports NEON in the hardware capabilities.
    return (getauxval(AT_HWCAP) & HWCAP_ARM_NEON) != 0 ? Target::kNeon : Target::kScalar;
#else
    return Target::kScalar;
#endif
}

// Whether target t runs here, given the widest one.
bool available(Target t, Target best) {
    switch (t) {
        case Target::kSse2:
            return best == Target::kSse2 || best == Target::kAvx2;
        case Target::kAvx2:
        case Target::kNeon:
            return best == t;
        case Target::kScalar:
            break;
    }
    return true;
}

Target choose() {
    const Target best = widest();
    const char *forced = std::getenv("RADIMO_SIMD");
    if (forced == nullptr) return best;
    for (const Target t : {Target::kScalar, Target::kSse2, Target::kAvx2, Target::kNeon})
        if (std::strcmp(forced, name(t)) == 0 && available(t, best)) return t;
    return best;  // a target not available here, or an unknown name
}

}  // namespace

Target active() {
    static const Target chosen = choose();
    return chosen;
}

const char *name(Target t) {
    switch (t) {
        case Target::kAvx2:
            return "avx2";
        case Target::kSse2:
            return "sse2";
        case Target::kNeon:
            return "neon";
        case Target::kScalar:
            break;
    }
    return "scalar";
}

}  // namespace radimo::simd

extern "C" const char *radimo_simd_target(void) {
    return radimo::simd::name(radimo::simd::active());
}
