# The vector kernels the library is built with, by processor family:
#   x86-64          SSE2 (the baseline) and AVX2 (chosen at run time)   <name>_x86.cpp
#   64-bit ARM      NEON (always present)                               <name>_neon.cpp
#   32-bit ARM      NEON (chosen at run time, when the CPU reports it)  <name>_neon.cpp
#   any processor   scalar kernels                                      <name>_scalar.cpp
# The family is read from the compiler's own predefined macros, so a
# cross-build needs nothing beyond its toolchain file. Every other processor
# (riscv64, ppc64el, s390x...) builds the scalar kernels alone, as does any
# build with -DRADIMO_SIMD_KERNELS=OFF.
#
# Sets RADIMO_KERNEL_TARGETS (the targets RADIMO_SIMD can select in this
# build, widest last) and defines radimo_kernel_sources(<name>...), which adds
# a kernel family's files to the library.
include(CheckCXXSourceCompiles)

option(RADIMO_SIMD_KERNELS "Build the vector kernels of the target processor (OFF: scalar kernels only)" ON)

set(radimo_kernel_family none)
if(RADIMO_SIMD_KERNELS)
    check_cxx_source_compiles("
        #if !defined(__x86_64__)
        #error not x86-64
        #endif
        #include <immintrin.h>
        int main() { return _mm_cvtsi128_si32(_mm_setzero_si128()); }" RADIMO_HAVE_X86_64)
    # 32-bit ARM needs the hard-float ABI for NEON (armhf; not armel).
    check_cxx_source_compiles("
        #if !defined(__aarch64__) && !defined(__arm__)
        #error not ARM
        #endif
        #include <arm_neon.h>
        #if defined(__arm__)
        __attribute__((target(\"fpu=neon\")))
        #endif
        static unsigned lane(unsigned x) { return vgetq_lane_u16(vdupq_n_u16((uint16_t)x), 0); }
        int main() { return (int)lane(0); }" RADIMO_HAVE_ARM_NEON)
    if(RADIMO_HAVE_X86_64)
        set(radimo_kernel_family x86)
    elseif(RADIMO_HAVE_ARM_NEON)
        set(radimo_kernel_family neon)
    endif()
endif()

if(radimo_kernel_family STREQUAL "x86")
    set(RADIMO_KERNEL_TARGETS scalar sse2 avx2)
    target_compile_definitions(radimo_objects PRIVATE RADIMO_KERNELS_X86)
elseif(radimo_kernel_family STREQUAL "neon")
    set(RADIMO_KERNEL_TARGETS scalar neon)
    target_compile_definitions(radimo_objects PRIVATE RADIMO_KERNELS_NEON)
else()
    set(RADIMO_KERNEL_TARGETS scalar)
endif()
message(STATUS "Kernel targets: ${RADIMO_KERNEL_TARGETS}")
# For scripts that run the tests once per target (setup).
file(WRITE ${PROJECT_BINARY_DIR}/kernel_targets "${RADIMO_KERNEL_TARGETS}\n")

# Adds <name>_scalar.cpp and the files of this build's kernel family, for
# each name, from the calling folder.
function(radimo_kernel_sources)
    foreach(name ${ARGN})
        set(files ${name}_scalar.cpp)
        if(NOT radimo_kernel_family STREQUAL "none")
            list(APPEND files ${name}_${radimo_kernel_family}.cpp)
        endif()
        list(TRANSFORM files PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        target_sources(radimo_objects PRIVATE ${files})
    endforeach()
endfunction()
