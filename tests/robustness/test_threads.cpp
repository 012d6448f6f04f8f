// Concurrent use: threads measure, convert, correct and recalibrate on their
// own buffers with logging on, and every thread gets exactly the results of
// a single-threaded run. Built with ThreadSanitizer, this is the race check.
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <thread>

#include "support/prelude.h"
#include "support/simulated_camera.h"

namespace {

using radimo::test::SimulatedCamera;

std::atomic<long> g_lines{0};

// A thread-safe printer: formats into the caller's stack and counts lines.
void counting_printer(const char *format, ...) {
    char buffer[256];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    g_lines.fetch_add(buffer[0] == 'l' ? 1 : 0, std::memory_order_relaxed);
}

// Every result of one round of work, as raw words.
using Results = std::vector<uint32_t>;

void put(Results &r, int code, float value) {
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    r.push_back(static_cast<uint32_t>(code));
    r.push_back(bits);
}

Results work(int seed) {
    Results r;
    SimulatedCamera camera(seed % 3);
    constexpr uint32_t kRes = 32 | 24 << 16;
    std::vector<uint16_t> frame(32 * 24);
    for (std::size_t i = 0; i < frame.size(); ++i)
        frame[i] = static_cast<uint16_t>(4000 + (i * 37 + seed) % 2000);

    // Measurement.
    uint16_t value = 0;
    temp_result_t line{}, rect{};
    put(r, get_point_temp(frame.data(), kRes, {5 + seed % 7, 9}, &value), value);
    put(r, get_line_temp(frame.data(), kRes, {1, 2}, {30, 2 + seed % 20}, &line), line.avg_temp);
    put(r, get_rect_temp(frame.data(), kRes, {3, 4}, {10, 8}, &rect),
        rect.max_temp * 65536.0f + rect.min_temp);
    put(r, get_point_temp(frame.data(), kRes, {-1, 0}, &value), 0);  // refused: logs an error

    // Conversion: KT/BT correction and table lookup, reverse lookup.
    const ktbt_correct_param_t ktbt{
        4096, -500, 999, camera.kt.data(), camera.bt.data(), SimulatedCamera::vtemp_of_index(300 + seed)};
    for (uint32_t nuc = 3000; nuc < 15000; nuc += 997) {
        put(r, temp_measure_with_NUC_value(&ktbt, camera.nuc_table.data(), nuc, &value), value);
        put(r, reverse_calc_NUC_with_nuc_t(camera.nuc_table.data(), &value, nuc / 200.0f - 10), value);
    }

    // Radiometry: the two-pass correction and its reverse.
    const env_correct_param_t scene{2.0f + seed, 0.95f, 0.6f, 23.0f, 26.0f};
    for (float t = -10; t < 140; t += 17.5f) {
        float out = 0;
        put(r, enhance_distance_temp_correct(&scene, camera.raw_table.data(), 0, &out, t), out);
        put(r, reverse_enhance_distance_temp_correct(&scene, camera.raw_table.data(), 0, &out, t), out);
    }

    // Recalibration: a double-point rewrite and a NUC table rebuild.
    second_cal_param_t cal{scene, camera.calib_param()};
    auto &p = cal.second_calib_param;
    p.high_vtemp = SimulatedCamera::vtemp_of_index(520);
    p.low_vtemp = SimulatedCamera::vtemp_of_index(480);
    p.actual_high_celsius = 91.0f + seed * 0.25f, p.actual_low_celsius = 29.5f;
    p.target_high_celsius = 90.0f, p.target_low_celsius = 30.0f;
    std::vector<uint16_t> kt(SimulatedCamera::kEntries);
    std::vector<int16_t> bt(SimulatedCamera::kEntries);
    two_point_calib_result_t result{kt.data(), bt.data()};
    multi_point_calib_array_t arrays = camera.calib_arrays(8);
    put(r, new_ktbt_recal_double_point_calculate(&cal, 8, &arrays, &result), 0);
    r.insert(r.end(), kt.begin(), kt.end());
    r.insert(r.end(), bt.begin(), bt.end());
    std::vector<uint16_t> table(16384), rebuilt(16384);
    for (uint32_t j = 0; j < table.size(); ++j) table[j] = static_cast<uint16_t>(1000 + 2 * j);
    multi_point_nuc_t points[] = {{9000, static_cast<uint16_t>(9000 + seed)}, {2000, 2010}, {5000, 4990}};
    put(r, multi_point_calc_new_nuc_table(table.data(), points, 3, rebuilt.data()), 0);
    r.insert(r.end(), rebuilt.begin(), rebuilt.end());
    return r;
}

std::atomic<long> g_sunk{0};

// A line sink beside the printers: it must hear every line they print.
void counting_sink(void *, int, const char *line) {
    g_sunk.fetch_add(line[0] == 'l' ? 1 : 0, std::memory_order_relaxed);
}

TEST(Threads, ConcurrentCallsGiveTheSingleThreadedResults) {
    radimo_error_print = counting_printer;  // set once, before any thread starts
    radimo_debug_print = counting_printer;
    ASSERT_EQ(radimo_log_sink_add(counting_sink, nullptr, RADIMO_LOG_DEBUG), RADIMO_SUCCESS);
    constexpr int kThreads = 4;
    std::vector<Results> expected;
    for (int t = 0; t < kThreads; ++t) expected.push_back(work(t));
    const long lines_alone = g_lines.exchange(0);

    std::vector<Results> got(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back([&, t] { got[t] = work(t); });
    for (auto &thread : threads) thread.join();
    radimo_log_register(2);
    ASSERT_EQ(radimo_log_sink_remove(counting_sink, nullptr), RADIMO_SUCCESS);

    EXPECT_EQ(got, expected);
    EXPECT_EQ(g_lines.load(), lines_alone);
    EXPECT_EQ(g_sunk.load(), 2 * lines_alone);
    EXPECT_GT(lines_alone, kThreads);  // logging was on and busy
}

}  // namespace
