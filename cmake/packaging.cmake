# Debian packages of the build tree, made by CPack:
#
#   cmake --workflow --preset package      # configure for /usr, build, cpack
#
# writes into <build>/packages/
#   libradimo<N>     libradimo.so.<N>.x.y and its SONAME link (component runtime)
#   libradimo-dev    the header, the libradimo.so link, radimo.pc, the CMake package
#                    (and libradimo.a with RADIMO_BUILD_STATIC) (component development)
#   radimo-tools     the radimo tool, when it is built (component tools)
# and beside each a -dbgsym package (.ddeb) with the debug info of its ELF files:
# the packaged files are stripped and find their debug info through their build id
# under /usr/lib/debug, as Debian's own packages do.
#
# Packages install under /usr, so the tree must be configured with
# CMAKE_INSTALL_PREFIX=/usr (the package preset does): GNUInstallDirs then gives
# the multiarch library directory (lib/<triplet>) and the tool needs no run path.
# A cross build packages for its target: the Debian architecture is the one of
# the compiler's triplet, not the building machine's.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    message(STATUS "Debian packages: off, the install prefix is ${CMAKE_INSTALL_PREFIX} "
                   "(cmake --workflow --preset package configures /usr)")
    return()
endif()
find_program(RADIMO_DPKG_ARCHITECTURE dpkg-architecture)
find_program(RADIMO_DPKG_SHLIBDEPS dpkg-shlibdeps)
if(NOT RADIMO_DPKG_ARCHITECTURE OR NOT RADIMO_DPKG_SHLIBDEPS OR NOT CMAKE_LIBRARY_ARCHITECTURE)
    message(STATUS "Debian packages: off, dpkg-architecture or dpkg-shlibdeps not found, or the "
                   "compiler names no multiarch triplet (Debian: dpkg-dev)")
    return()
endif()
execute_process(COMMAND ${RADIMO_DPKG_ARCHITECTURE} -t${CMAKE_LIBRARY_ARCHITECTURE} -qDEB_HOST_ARCH
    OUTPUT_VARIABLE RADIMO_DEB_ARCH OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)

set(radimo_runtime_package libradimo${PROJECT_VERSION_MAJOR})
# Every package carries the copyright statement and the changelog in /usr/share/doc/<package>/
# (the changelog dated by SOURCE_DATE_EPOCH when it is set, for a reproducible package).
find_program(RADIMO_GZIP gzip REQUIRED)
string(TIMESTAMP radimo_changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/copyright.in ${PROJECT_BINARY_DIR}/debian/copyright @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in ${PROJECT_BINARY_DIR}/debian/changelog @ONLY)
execute_process(COMMAND ${RADIMO_GZIP} -9nc ${PROJECT_BINARY_DIR}/debian/changelog
    OUTPUT_FILE ${PROJECT_BINARY_DIR}/debian/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
foreach(component_package IN ITEMS runtime:${radimo_runtime_package} development:libradimo-dev tools:radimo-tools)
    string(REPLACE ":" ";" component_package ${component_package})
    list(GET component_package 0 component)
    list(GET component_package 1 package)
    if(component STREQUAL "tools" AND NOT TARGET radimo_cli)
        continue()
    endif()
    install(FILES ${PROJECT_BINARY_DIR}/debian/copyright ${PROJECT_BINARY_DIR}/debian/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libradimo)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "libradimo")
# Each package's first description line is its own summary (no shared one prepended).
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET radimo_cli)
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT) # <package>_<version>_<architecture>.deb
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${RADIMO_DEB_ARCH})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${RADIMO_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# dpkg-shlibdeps finds libradimo.so.<N> in the build tree (the tool's dependency on it is the
# component dependency below) and, when cross-building, the target's system libraries in the
# cross toolchain's tree.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
if(CMAKE_CROSSCOMPILING)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS /usr/${CMAKE_LIBRARY_ARCHITECTURE}/lib)
endif()
# CPack splits the debug info off every unstripped ELF file into the -dbgsym package, strips the
# file and links it to its debug file (with the toolchain's own objcopy and readelf).
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_OBJCOPY_EXECUTABLE ${CMAKE_OBJCOPY})
set(CPACK_READELF_EXECUTABLE ${CMAKE_READELF})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON) # component dependencies as "<package> (= <version>)"

# Each description: its own summary line, then what the library is, then what the package holds.
string(CONCAT radimo_about
    "libradimo is the temperature arithmetic of an uncooled infrared (thermal)\n"
    "camera: frame measurement (points, lines, rectangles, alarms), NUC tables\n"
    "and the KT/BT drift correction, radiometric correction for emissivity,\n"
    "atmosphere and distance, and double-point and multi-point recalibration.\n\n")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${radimo_runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# shlibs control file: programs built against this library depend on this
# package at this version or later (the SONAME changes on incompatible changes).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON) # only the runtime package has a shared library
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# dpkg runs ldconfig through its trigger (CPack's postinst and postrm call it as well).
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)
string(CONCAT CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "temperature arithmetic of uncooled thermal cameras - library\n${radimo_about}"
    "This package holds the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libradimo-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF) # no ELF file of its own but libradimo.a
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
string(CONCAT CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "temperature arithmetic of uncooled thermal cameras - development\n${radimo_about}"
    "This package holds the C header libradimo.h, the pkg-config file radimo.pc\n"
    "and the CMake package: find_package(radimo CONFIG), target radimo::radimo.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME radimo-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
# Pictures are drawn in DejaVu Sans (found through fontconfig).
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS fonts-dejavu-core)
string(CONCAT CPACK_COMPONENT_TOOLS_DESCRIPTION
    "temperature arithmetic of uncooled thermal cameras - radimo tool\n${radimo_about}"
    "This package holds the radimo command-line tool: raw frames to temperatures,\n"
    "measurements, false-colour pictures, NUC and correction tables, recalibration\n"
    "and a demo on a simulated camera.")

include(CPack)
