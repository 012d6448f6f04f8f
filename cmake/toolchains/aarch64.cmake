# 64-bit ARM (Debian arm64: Raspberry Pi 3/4/5, Jetson, RK35xx, i.MX 8...).
#   apt-get install g++-aarch64-linux-gnu qemu-user
#   cmake -S . -B build-aarch64 --toolchain cmake/toolchains/aarch64.cmake
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(RADIMO_CROSS_TRIPLET aarch64-linux-gnu)
set(RADIMO_CROSS_QEMU qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
