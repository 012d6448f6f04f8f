// Log printers and level selection.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "libradimo.h"

namespace {

// Longest message (terminating zero included) a printer accepts; a longer
// message is a programming error and aborts rather than being truncated.
constexpr std::size_t kMessageCapacity = 200;

void print_checked(const char *format, va_list args) {
    char buffer[kMessageCapacity] = {};
    const int length = std::vsnprintf(buffer, sizeof buffer, format, args);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof buffer) {
        std::fputs("libradimo: log message overflows its buffer\n", stderr);
        std::abort();
    }
    std::printf("%s", buffer);
    std::fflush(stdout);
}

}  // namespace

extern "C" {

radimo_printer_t radimo_error_print = radimo_error_void;
radimo_printer_t radimo_debug_print = radimo_debug_void;

void radimo_debug_void(const char *, ...) {}

void radimo_error_void(const char *, ...) {}

void radimo_debug_info(const char *format, ...) {
    va_list args;
    va_start(args, format);
    print_checked(format, args);
    va_end(args);
}

// Errors deliberately go to standard output like debug lines.
void radimo_error_info(const char *format, ...) {
    va_list args;
    va_start(args, format);
    print_checked(format, args);
    va_end(args);
}

void radimo_log_register(int level) {
    switch (level) {
        case 0:
            radimo_debug_print = radimo_debug_info;
            radimo_error_print = radimo_error_info;
            break;
        case 1:
            radimo_debug_print = radimo_debug_void;
            radimo_error_print = radimo_error_info;
            break;
        default:
            radimo_debug_print = radimo_debug_void;
            radimo_error_print = radimo_error_void;
            break;
    }
}

}  // extern "C"
