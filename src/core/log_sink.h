// Delivery of diagnostics to the line sinks a host registered.
//
// The message macros (core/message.h) call the printer pointer as always
// and, when some sink wants lines of that level, to_sinks() with the same
// format and arguments: it formats the line once and hands it to each sink.
#pragma once

#include <atomic>

namespace radimo::log {

// Bit 1 << level is set while some registered sink wants lines of that level.
extern std::atomic<unsigned> g_sink_levels;

inline bool sinks_want(int level) {
    return ((g_sink_levels.load(std::memory_order_relaxed) >> level) & 1U) != 0;
}

// Formats the line and gives it to every sink registered for `level`.
void to_sinks(int level, const char *format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace radimo::log
