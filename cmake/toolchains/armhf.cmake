# 32-bit ARM, hard-float ABI (Debian armhf: ARMv7 boards, Raspberry Pi OS 32-bit).
#   apt-get install g++-arm-linux-gnueabihf qemu-user
#   cmake -S . -B build-armhf --toolchain cmake/toolchains/armhf.cmake
set(CMAKE_SYSTEM_PROCESSOR arm)
set(RADIMO_CROSS_TRIPLET arm-linux-gnueabihf)
set(RADIMO_CROSS_QEMU qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
# GCC notes at every std::pair/tuple of a double passed by value that its ABI for these
# arguments changed in GCC 7.1 (GoogleTest's templates are full of them): nothing to act on.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
