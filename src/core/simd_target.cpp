// Choice of the kernel target: once per process, from the CPU and RADIMO_SIMD.
#include "core/simd_target.h"

#include <cstdlib>
#include <cstring>

#include "libradimo.h"

namespace radimo::simd {

namespace {

bool cpu_has_avx2() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

Target choose() {
    const Target widest = cpu_has_avx2() ? Target::kAvx2 : Target::kSse2;
    const char *forced = std::getenv("RADIMO_SIMD");
    if (forced == nullptr) return widest;
    if (std::strcmp(forced, "scalar") == 0) return Target::kScalar;
    if (std::strcmp(forced, "sse2") == 0) return Target::kSse2;
    return widest;  // "avx2" where the CPU has it; anything else is ignored
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
        case Target::kScalar:
            break;
    }
    return "scalar";
}

}  // namespace radimo::simd

extern "C" const char *radimo_simd_target(void) {
    return radimo::simd::name(radimo::simd::active());
}
