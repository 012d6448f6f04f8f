// Internal diagnostics helper: the one place that knows the message prefix.
//
// Every diagnostic of the library goes through the printer pointers with the
// prefix "libradimo error [%s:%d/%s] " (or "libradimo debug ..."), followed by
// the module path, the emitting line and the emitting function's name, and
// then to the line sinks a host registered for its level. Code never spells
// the prefix itself; it calls one of the macros below.
#pragma once

#include "libradimo.h"

#if defined(RADIMO_BUILDING_LIBRARY)
#include "core/log_sink.h"
#endif

namespace radimo {

// Module paths printed in the first bracket field.
inline constexpr const char kModuleLibradimo[] = "src/libradimo";       // frame measurement
inline constexpr const char kModuleSencondCal[] = "src/sencond_cal";    // KT/BT index, second calibration
inline constexpr const char kModuleTempCorrect[] = "src/temp_correct";  // everything else

}  // namespace radimo

namespace radimo::log {

// Never called: checks a message's format against its arguments at compile time.
int format_check(const char *format, ...) __attribute__((format(printf, 1, 2)));

#if defined(RADIMO_BUILDING_LIBRARY)
template <typename... Args>
void error(const char *format, Args... args) {
    ::radimo_error_print(format, args...);
    if (sinks_want(RADIMO_LOG_ERROR)) to_sinks(RADIMO_LOG_ERROR, format, args...);
}

inline bool debug_wanted() {
    return ::radimo_debug_print != &::radimo_debug_void || sinks_want(RADIMO_LOG_DEBUG);
}

template <typename... Args>
void debug(const char *format, Args... args) {
    if (::radimo_debug_print != &::radimo_debug_void) ::radimo_debug_print(format, args...);
    if (sinks_want(RADIMO_LOG_DEBUG)) to_sinks(RADIMO_LOG_DEBUG, format, args...);
}
#else
// Code built outside the library (the tests' literal references) has no
// access to the sinks: its lines go through the printers alone. These
// functions live in a namespace of their own so that they never share a
// symbol with the library's instantiations above when both are linked into
// one program.
inline namespace printers_only {

template <typename... Args>
void error(const char *format, Args... args) {
    ::radimo_error_print(format, args...);
}

inline bool debug_wanted() {
    return ::radimo_debug_print != &::radimo_debug_void;
}

template <typename... Args>
void debug(const char *format, Args... args) {
    ::radimo_debug_print(format, args...);
}

}  // namespace printers_only
#endif

}  // namespace radimo::log

// One error line: format and arguments checked, then emitted.
#define RADIMO_EMIT_ERROR(...) \
    ((void)sizeof(::radimo::log::format_check(__VA_ARGS__)), ::radimo::log::error(__VA_ARGS__))

// One debug line. Nothing is evaluated or called while neither the debug
// printer nor a sink wants it (the silent default printer is not called):
// the hot paths keep their debug lines at no cost while logging is off.
#define RADIMO_EMIT_DEBUG(...)                               \
    ((void)sizeof(::radimo::log::format_check(__VA_ARGS__)), \
     ::radimo::log::debug_wanted() ? ::radimo::log::debug(__VA_ARGS__) : (void)0)

// Error line, tagged with an explicit module path.
#define RADIMO_ERROR_IN(module, text, ...)                                    \
    RADIMO_EMIT_ERROR("libradimo error [%s:%d/%s] " text, (module), __LINE__, \
                      __func__ __VA_OPT__(, ) __VA_ARGS__)

// Debug line, tagged with an explicit module path.
#define RADIMO_DEBUG_IN(module, text, ...)                                    \
    RADIMO_EMIT_DEBUG("libradimo debug [%s:%d/%s] " text, (module), __LINE__, \
                      __func__ __VA_OPT__(, ) __VA_ARGS__)

// Lines on behalf of a caller: a shared helper receives the caller's
// __func__ and reports under the caller's name.
#define RADIMO_ERROR_FOR(function, text, ...)                                     \
    RADIMO_EMIT_ERROR("libradimo error [%s:%d/%s] " text, (kLogModule), __LINE__, \
                      (function)__VA_OPT__(, ) __VA_ARGS__)
#define RADIMO_DEBUG_FOR(function, text, ...)                                     \
    RADIMO_EMIT_DEBUG("libradimo debug [%s:%d/%s] " text, (kLogModule), __LINE__, \
                      (function)__VA_OPT__(, ) __VA_ARGS__)

// Shorthands for translation units that emit from one module: they declare
//   namespace { constexpr const char *kLogModule = radimo::kModule...; }
#define RADIMO_ERROR(text, ...) RADIMO_ERROR_IN(kLogModule, text __VA_OPT__(, ) __VA_ARGS__)
#define RADIMO_DEBUG(text, ...) RADIMO_DEBUG_IN(kLogModule, text __VA_OPT__(, ) __VA_ARGS__)
