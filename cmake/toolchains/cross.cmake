# Shared part of the cross-build toolchain files: Debian's cross compilers
# (g++-<triplet>) and their target libraries under /usr/<triplet>, and tests
# run under qemu-user. The including file sets RADIMO_CROSS_TRIPLET and
# RADIMO_CROSS_QEMU before including this one.
set(CMAKE_SYSTEM_NAME Linux)

set(CMAKE_C_COMPILER ${RADIMO_CROSS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${RADIMO_CROSS_TRIPLET}-g++)

# Libraries, headers and CMake packages come from the target's tree only
# (never the build machine's); programs (doxygen, bash) from the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${RADIMO_CROSS_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Test programs run under qemu-user, which finds the target's loader and
# libraries under the same tree (-L).
if(RADIMO_CROSS_QEMU)
    find_program(RADIMO_CROSS_QEMU_PROGRAM ${RADIMO_CROSS_QEMU})
    if(RADIMO_CROSS_QEMU_PROGRAM)
        set(CMAKE_CROSSCOMPILING_EMULATOR ${RADIMO_CROSS_QEMU_PROGRAM} -L /usr/${RADIMO_CROSS_TRIPLET})
    endif()
endif()
