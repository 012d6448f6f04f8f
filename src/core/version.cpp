// Version string of the library; the number comes from the build (project version).
#include "libradimo.h"

#ifndef RADIMO_VERSION_NUMBER
#error "RADIMO_VERSION_NUMBER must be defined by the build"
#endif

extern "C" const char *radimo_version(void) {
    static const char kVersion[] = "libradimo V" RADIMO_VERSION_NUMBER;
    return kVersion;
}
