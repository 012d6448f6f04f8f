// Line sinks: the printers' lines, unchanged, through a plain callback;
// registration refusals; removal that waits for deliveries in progress.
#include <atomic>
#include <regex>
#include <thread>

#include "support/prelude.h"

namespace {

using radimo::test::LogCapture;

struct Received {
    std::vector<std::pair<int, std::string>> lines;
};

void collect(void *user, int level, const char *line) {
    static_cast<Received *>(user)->lines.emplace_back(level, line);
}

// A failing reverse lookup: three debug lines, then one error line.
void provoke() {
    const std::vector<uint16_t> flat(8192, 5000);
    uint16_t nuc = 0;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(flat.data(), &nuc, 200.0f), RADIMO_ERR_PARAM);
}

TEST(LogSink, ReceivesThePrintersLinesAndLeavesThePrintersAlone) {
    for (const int level : {RADIMO_LOG_DEBUG, RADIMO_LOG_ERROR}) {
        LogCapture capture;
        const radimo_printer_t error = radimo_error_print, debug = radimo_debug_print;
        Received got;
        ASSERT_EQ(radimo_log_sink_add(collect, &got, level), RADIMO_SUCCESS);
        EXPECT_TRUE(radimo_error_print == error && radimo_debug_print == debug);
        provoke();
        ASSERT_EQ(radimo_log_sink_remove(collect, &got), RADIMO_SUCCESS);
        provoke();  // removed: nothing more arrives

        std::vector<std::pair<int, std::string>> want;
        for (const auto &l : capture.lines())
            if (l.printer == "error" || level == RADIMO_LOG_DEBUG)
                want.emplace_back(l.printer == "error" ? RADIMO_LOG_ERROR : RADIMO_LOG_DEBUG, l.raw);
        want.resize(want.size() / 2);  // the lines of the first call
        ASSERT_EQ(got.lines.size(), level == RADIMO_LOG_DEBUG ? 4U : 1U);
        EXPECT_EQ(got.lines, want) << level;
        EXPECT_EQ(got.lines.back().second.back(), '\n');
    }
}

TEST(LogSink, WithoutPrintersTheSinkStillHearsEveryLine) {
    radimo_log_register(2);  // both printers silent
    Received got;
    ASSERT_EQ(radimo_log_sink_add(collect, &got, RADIMO_LOG_DEBUG), RADIMO_SUCCESS);
    ASSERT_EQ(radimo_log_sink_add(collect, &got, RADIMO_LOG_DEBUG), RADIMO_SUCCESS);  // no second copy
    provoke();
    EXPECT_EQ(radimo_log_sink_remove(collect, &got), RADIMO_SUCCESS);
    ASSERT_EQ(got.lines.size(), 4U);
    EXPECT_TRUE(std::regex_match(got.lines[3].second,
                                 std::regex(R"(libradimo error \[src/temp_correct:[0-9]+/)"
                                            R"(reverse_calc_NUC_with_nuc_t\] reverse calculate failed\n)")))
        << got.lines[3].second;
}

TEST(LogSink, RefusalsAreReportedWithTheirCodes) {
    LogCapture capture;
    Received users[RADIMO_LOG_SINKS_MAX + 1];
    EXPECT_EQ(radimo_log_sink_add(nullptr, nullptr, RADIMO_LOG_ERROR), RADIMO_ERR_PARAM);
    EXPECT_EQ(radimo_log_sink_add(collect, nullptr, 2), RADIMO_ERR_PARAM);
    for (int i = 0; i < RADIMO_LOG_SINKS_MAX; ++i)
        ASSERT_EQ(radimo_log_sink_add(collect, &users[i], RADIMO_LOG_ERROR), RADIMO_SUCCESS);
    EXPECT_EQ(radimo_log_sink_add(collect, &users[RADIMO_LOG_SINKS_MAX], RADIMO_LOG_ERROR), RADIMO_ERR_ALLOC);
    EXPECT_EQ(radimo_log_sink_remove(collect, &users[RADIMO_LOG_SINKS_MAX]), RADIMO_ERR_PARAM);
    for (int i = 0; i < RADIMO_LOG_SINKS_MAX; ++i)
        ASSERT_EQ(radimo_log_sink_remove(collect, &users[i]), RADIMO_SUCCESS);
    EXPECT_THAT(capture.error_trace(),
                ElementsAre("src/libradimo/radimo_log_sink_add: sink is NULL\n",
                            "src/libradimo/radimo_log_sink_add: level is invalid\n",
                            "src/libradimo/radimo_log_sink_add: sink table is full\n",
                            "src/libradimo/radimo_log_sink_remove: sink is not registered\n"));
    // Each full sink heard the refusals made while it was registered: the third and the fourth.
    EXPECT_EQ(users[0].lines.size(), 2U);
}

// A sink that must never be called once removed.
struct Watched {
    std::atomic<bool> removed{false};
    std::atomic<int> late_calls{0};
    std::atomic<int> calls{0};
};

void watch(void *user, int, const char *) {
    auto *w = static_cast<Watched *>(user);
    w->calls.fetch_add(1);
    if (w->removed.load()) w->late_calls.fetch_add(1);
}

TEST(LogSink, RemovalWaitsForDeliveriesOnOtherThreads) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> callers;
    for (int t = 0; t < 2; ++t)
        callers.emplace_back([&] {
            const uint16_t data[2] = {1, 2};
            uint16_t out = 0;
            while (!stop.load()) get_array_average_value(data, 2, &out);  // one error line each
        });
    int heard = 0;
    for (int round = 0; round < 40; ++round) {
        Watched w;
        ASSERT_EQ(radimo_log_sink_add(watch, &w, RADIMO_LOG_ERROR), RADIMO_SUCCESS);
        while (w.calls.load() == 0 && round % 2 == 0) std::this_thread::yield();
        ASSERT_EQ(radimo_log_sink_remove(watch, &w), RADIMO_SUCCESS);
        w.removed.store(true);
        for (int spin = 0; spin < 10; ++spin) std::this_thread::yield();
        EXPECT_EQ(w.late_calls.load(), 0);
        heard += w.calls.load() > 0;
    }
    stop.store(true);
    for (auto &c : callers) c.join();
    EXPECT_GE(heard, 20);
}

}  // namespace
