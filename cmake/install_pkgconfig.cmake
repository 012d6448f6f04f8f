# Install-time writer of radimo.pc. Runs inside cmake --install, where
# CMAKE_INSTALL_PREFIX is the prefix actually chosen (--prefix included), so
# the file names the real libdir and includedir. Inputs: RADIMO_PC_TEMPLATE,
# RADIMO_PC_LIBDIR, RADIMO_PC_INCLUDEDIR (relative to the prefix or absolute),
# RADIMO_PC_DESCRIPTION, RADIMO_PC_VERSION.
set(RADIMO_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
foreach(kind LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${RADIMO_PC_${kind}}")
        set(RADIMO_PC_FULL_${kind} "${RADIMO_PC_${kind}}")
    else()
        set(RADIMO_PC_FULL_${kind} "\${prefix}/${RADIMO_PC_${kind}}")
    endif()
endforeach()
if(IS_ABSOLUTE "${RADIMO_PC_LIBDIR}")
    set(destination "$ENV{DESTDIR}${RADIMO_PC_LIBDIR}/pkgconfig")
else()
    set(destination "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/${RADIMO_PC_LIBDIR}/pkgconfig")
endif()
message(STATUS "Installing: ${destination}/radimo.pc")
configure_file("${RADIMO_PC_TEMPLATE}" "${destination}/radimo.pc" @ONLY)
list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${destination}/radimo.pc")
