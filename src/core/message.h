// Internal diagnostics helper: the one place that knows the message prefix.
//
// Every diagnostic of the library goes through the printer pointers with the
// prefix "libradimo error [%s:%d/%s] " (or "libradimo debug ..."), followed by
// the module path, the emitting line and the emitting function's name. Code
// never spells the prefix itself; it calls one of the macros below.
#pragma once

#include "libradimo.h"

namespace radimo {

// Module paths printed in the first bracket field.
inline constexpr const char kModuleLibradimo[] = "src/libradimo";       // frame measurement
inline constexpr const char kModuleSencondCal[] = "src/sencond_cal";    // KT/BT index, second calibration
inline constexpr const char kModuleTempCorrect[] = "src/temp_correct";  // everything else

}  // namespace radimo

// Error line through radimo_error_print, tagged with an explicit module path.
#define RADIMO_ERROR_IN(module, text, ...)                                       \
    ::radimo_error_print("libradimo error [%s:%d/%s] " text, (module), __LINE__, \
                         __func__ __VA_OPT__(, ) __VA_ARGS__)

// Debug line through radimo_debug_print, tagged with an explicit module path.
// The silent default printer is not called at all (nothing to print): the
// hot paths keep their debug lines at no cost while logging is off.
#define RADIMO_DEBUG_IN(module, text, ...)                                              \
    (::radimo_debug_print == &::radimo_debug_void                                       \
         ? (void)0                                                                      \
         : ::radimo_debug_print("libradimo debug [%s:%d/%s] " text, (module), __LINE__, \
                                __func__ __VA_OPT__(, ) __VA_ARGS__))

// Lines on behalf of a caller: a shared helper receives the caller's
// __func__ and reports under the caller's name.
#define RADIMO_ERROR_FOR(function, text, ...)                                        \
    ::radimo_error_print("libradimo error [%s:%d/%s] " text, (kLogModule), __LINE__, \
                         (function)__VA_OPT__(, ) __VA_ARGS__)
#define RADIMO_DEBUG_FOR(function, text, ...)                                               \
    (::radimo_debug_print == &::radimo_debug_void                                           \
         ? (void)0                                                                          \
         : ::radimo_debug_print("libradimo debug [%s:%d/%s] " text, (kLogModule), __LINE__, \
                                (function)__VA_OPT__(, ) __VA_ARGS__))

// Shorthands for translation units that emit from one module: they declare
//   namespace { constexpr const char *kLogModule = radimo::kModule...; }
#define RADIMO_ERROR(text, ...) RADIMO_ERROR_IN(kLogModule, text __VA_OPT__(, ) __VA_ARGS__)
#define RADIMO_DEBUG(text, ...) RADIMO_DEBUG_IN(kLogModule, text __VA_OPT__(, ) __VA_ARGS__)
