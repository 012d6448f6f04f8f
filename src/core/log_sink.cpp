// Line sinks: registration under a lock, delivery without one.
#include "core/log_sink.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <thread>

#include "core/heap_block.h"
#include "core/message.h"
#include "libradimo.h"

namespace radimo::log {

std::atomic<unsigned> g_sink_levels{0};

namespace {

constexpr const char *kLogModule = kModuleLibradimo;

// One registered sink. The callback is stored last when a sink is added and
// cleared first when it is removed, so a delivery that reads it also reads
// the user pointer stored with it. `calls` counts the deliveries in progress:
// removal waits for them, so a removed sink is never running afterwards.
struct Slot {
    std::atomic<radimo_line_sink_t> sink{nullptr};
    std::atomic<void *> user{nullptr};
    std::atomic<int> level{RADIMO_LOG_ERROR};
    std::atomic<unsigned> calls{0};
};

Slot g_slots[RADIMO_LOG_SINKS_MAX];
std::mutex g_registration;  // serialises adding and removing

// The level bits of the registered sinks; called with g_registration held.
void update_levels() {
    unsigned bits = 0;
    for (const Slot &slot : g_slots) {
        if (slot.sink.load() == nullptr) continue;
        bits |= 1U << RADIMO_LOG_ERROR;
        if (slot.level.load() == RADIMO_LOG_DEBUG) bits |= 1U << RADIMO_LOG_DEBUG;
    }
    g_sink_levels.store(bits);
}

// The slot holding the pair, or nullptr; called with g_registration held.
Slot *slot_of(radimo_line_sink_t sink, void *user) {
    for (Slot &slot : g_slots)
        if (slot.sink.load() == sink && slot.user.load() == user) return &slot;
    return nullptr;
}

void deliver(int level, const char *line) {
    for (Slot &slot : g_slots) {
        if (slot.sink.load(std::memory_order_relaxed) == nullptr) continue;
        // Counted before the callback is read: a removal that clears the
        // callback after this read sees the count and waits.
        slot.calls.fetch_add(1);
        const radimo_line_sink_t sink = slot.sink.load();
        if (sink != nullptr && level >= slot.level.load()) sink(slot.user.load(), level, line);
        slot.calls.fetch_sub(1);
    }
}

}  // namespace

void to_sinks(int level, const char *format, ...) {
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    char line[256];
    const int length = std::vsnprintf(line, sizeof line, format, args);
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof line) {
        deliver(level, line);
    } else if (length >= 0) {
        // Longer than any of the library's own lines: formatted once more at its size.
        const HeapBlock<char> whole(static_cast<std::size_t>(length) + 1);
        if (whole) {
            std::vsnprintf(whole.get(), static_cast<std::size_t>(length) + 1, format, again);
            deliver(level, whole.get());
        } else {
            deliver(level, line);  // no memory: the line cut at its buffer
        }
    }
    va_end(again);
    va_end(args);
}

}  // namespace radimo::log

extern "C" {

int radimo_log_sink_add(radimo_line_sink_t sink, void *user, int level) {
    using namespace radimo::log;
    if (sink == nullptr) {
        RADIMO_ERROR("sink is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (level != RADIMO_LOG_DEBUG && level != RADIMO_LOG_ERROR) {
        RADIMO_ERROR("level is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    {
        const std::lock_guard<std::mutex> lock(g_registration);
        Slot *slot = slot_of(sink, user);  // registered again: a new level
        for (Slot &free : g_slots)
            if (slot == nullptr && free.sink.load() == nullptr) slot = &free;
        if (slot != nullptr) {
            slot->level.store(level);
            slot->user.store(user);
            slot->sink.store(sink);
            update_levels();
            return RADIMO_SUCCESS;
        }
    }
    RADIMO_ERROR("sink table is full\n");
    return RADIMO_ERR_ALLOC;
}

int radimo_log_sink_remove(radimo_line_sink_t sink, void *user) {
    using namespace radimo::log;
    if (sink != nullptr) {
        const std::lock_guard<std::mutex> lock(g_registration);
        if (Slot *slot = slot_of(sink, user)) {
            slot->sink.store(nullptr);
            update_levels();
            while (slot->calls.load() != 0) std::this_thread::yield();
            slot->user.store(nullptr);
            return RADIMO_SUCCESS;
        }
    }
    RADIMO_ERROR("sink is not registered\n");
    return RADIMO_ERR_PARAM;
}

}  // extern "C"
