# 64-bit RISC-V (Debian riscv64), a processor without vector kernels here:
# the library builds with its scalar kernels.
#   apt-get install g++-riscv64-linux-gnu qemu-user
#   cmake -S . -B build-riscv64 --toolchain cmake/toolchains/riscv64.cmake
set(CMAKE_SYSTEM_PROCESSOR riscv64)
set(RADIMO_CROSS_TRIPLET riscv64-linux-gnu)
set(RADIMO_CROSS_QEMU qemu-riscv64)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
