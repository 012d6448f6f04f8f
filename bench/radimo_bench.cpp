// Benchmarks of the fast paths, each beside its literal per-call reference
// and a streaming pass over the same frame (the memory limit).
//
// Names are "<operation>/<variant>/<size>": variant "fast" is the library's
// path, "literal" the per-call rule (pixel by pixel, or the reference
// transcription kept in the test tree), "today" where it differs from both
// (the per-call function a host calls today), "stream" the streaming pass.
// Every benchmark reports its per-iteration item count as the "pixels"
// counter (samples, table entries or calls for the non-frame operations);
// bench/report divides by it.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "frame_api/literal_reference.h"
#include "libradimo.h"
#include "nuc/reference_nuc_rebuild.h"
#include "nuc/reference_reverse_search.h"
#include "tau_model.h"

namespace {

namespace literal = radimo::test::literal;

struct Size {
    uint16_t w, h;
    std::string name() const { return std::to_string(w) + "x" + std::to_string(h); }
    uint32_t resolution() const { return uint32_t{w} | uint32_t{h} << 16; }
    size_t pixels() const { return size_t{w} * h; }
};
constexpr Size kSizes[] = {{256, 192}, {640, 512}, {1280, 1024}};

// A thermal scene: 20 .. 40 degC background (1/16 K), a warm gradient, a hot
// spot and sensor noise; raw frames are the same shape in NUC units.
std::vector<uint16_t> scene_frame(const Size &s, uint16_t base, uint16_t span) {
    std::mt19937 rng(1);
    std::normal_distribution<float> noise(0.0f, 3.0f);
    std::vector<uint16_t> f(s.pixels());
    for (int y = 0; y < s.h; ++y)
        for (int x = 0; x < s.w; ++x) {
            float v = base + span * (0.5f * x / s.w + 0.3f * y / s.h) + noise(rng);
            const float dx = x - s.w * 0.6f, dy = y - s.h * 0.4f;
            if (dx * dx + dy * dy < s.w * s.w / 100.0f) v += span;
            f[size_t(y) * s.w + x] = static_cast<uint16_t>(v);
        }
    return f;
}

void finish(benchmark::State &state, size_t items) {
    state.counters["pixels"] = static_cast<double>(items);
}

// ---------------------------------------------------------------------------
// The streaming limit: a vectorised sum over the frame.
// ---------------------------------------------------------------------------
template <int Dummy = 0>
uint64_t sum_frame(const uint16_t *f, size_t n) {
    uint32_t lanes[16] = {};
    size_t i = 0;
    for (; i + 16 <= n; i += 16)
        for (int k = 0; k < 16; ++k) lanes[k] += f[i + k];
    uint64_t s = 0;
    for (int k = 0; k < 16; ++k) s += lanes[k];
    for (; i < n; ++i) s += f[i];
    return s;
}
__attribute__((target("avx2"))) uint64_t sum_frame_avx2(const uint16_t *f, size_t n) {
    return sum_frame(f, n);
}

void stream(benchmark::State &state, Size s) {
    const auto f = scene_frame(s, 4690, 320);
    const bool avx2 = __builtin_cpu_supports("avx2");
    for (auto _ : state)
        benchmark::DoNotOptimize(avx2 ? sum_frame_avx2(f.data(), f.size()) : sum_frame(f.data(), f.size()));
    finish(state, s.pixels());
}

// ---------------------------------------------------------------------------
// Frame measurement
// ---------------------------------------------------------------------------
void rect(benchmark::State &state, Size s, int variant) {
    const auto f = scene_frame(s, 4690, 320);
    temp_result_t r{};
    for (auto _ : state) {
        if (variant == 0) get_rect_temp(f.data(), s.resolution(), {0, 0}, {s.w, s.h}, &r);
        if (variant == 1) literal::rect(f.data(), s.resolution(), {0, 0}, {s.w, s.h}, &r);
        if (variant == 2) {
            radimo_frame_stats_t st;
            radimo_frame_stats(f.data(), s.resolution(), {0, 0}, {s.w, s.h}, &st);
            benchmark::DoNotOptimize(st);
        }
        benchmark::DoNotOptimize(r);
    }
    finish(state, s.pixels());
}

void point_means(benchmark::State &state, Size s, int variant) {
    const auto f = scene_frame(s, 4690, 320);
    std::vector<uint16_t> out(s.pixels());
    for (auto _ : state) {
        if (variant == 0) radimo_frame_point_means(f.data(), s.resolution(), 0, s.h, out.data());
        if (variant == 1)
            for (int y = 0; y < s.h; ++y)
                for (int x = 0; x < s.w; ++x)
                    get_point_temp(f.data(), s.resolution(), {x, y}, &out[size_t(y) * s.w + x]);
        benchmark::ClobberMemory();
    }
    finish(state, s.pixels());
}

// Lines: the middle row, and the diagonal of the frame; per sample.
void line(benchmark::State &state, Size s, int kind, int variant) {
    const auto f = scene_frame(s, 4690, 320);
    const point_t a = kind == 0 ? point_t{0, s.h / 2} : point_t{0, 0};
    const point_t b = kind == 0 ? point_t{s.w - 1, s.h / 2} : point_t{s.w - 1, s.h - 1};
    temp_result_t r{};
    for (auto _ : state) {
        if (variant == 0)
            (kind == 0 ? get_horz_line_temp : get_slope_line_temp)(f.data(), s.resolution(), a, b, &r);
        if (variant == 1) literal::line(kind == 0 ? 0 : 2, f.data(), s.resolution(), a, b, &r);
        benchmark::DoNotOptimize(r);
    }
    finish(state, static_cast<size_t>(get_point_num(a, b)));
}

// ---------------------------------------------------------------------------
// Conversion
// ---------------------------------------------------------------------------
struct Camera {
    std::vector<uint16_t> table = std::vector<uint16_t>(8192), kt = std::vector<uint16_t>(1201, 16500);
    std::vector<int16_t> bt = std::vector<int16_t>(1201, -40);
    ktbt_correct_param_t param{4096, -500, 999, nullptr, nullptr, 8000};
    Camera() {
        const nuc_factor_t high_gain{-5645, 9300000, 104858};
        generate_high_gain_nuc_t(&high_gain, table.data());
        param.kt_array = kt.data();
        param.bt_array = bt.data();
    }
};

void temp_measure(benchmark::State &state, Size s, int variant) {
    const Camera cam;
    const auto raw = scene_frame(s, 6000, 3000);
    std::vector<uint16_t> out(s.pixels());
    const uint32_t half = s.h / 2;
    // The second band runs on a worker that waits on a generation counter,
    // yielding (no sleeping wake-ups inside the timed loop).
    std::atomic<int> generation{0}, finished{0};
    std::atomic<bool> stop{false};
    std::thread worker;
    if (variant == 2)
        worker = std::thread([&] {
            for (int seen = 0;;) {
                while (generation.load(std::memory_order_acquire) == seen) {
                    if (stop.load(std::memory_order_relaxed)) return;
                    std::this_thread::yield();
                }
                seen = generation.load(std::memory_order_acquire);
                radimo_frame_temp_measure(&cam.param, 1201, cam.table.data(), 8192, raw.data(),
                                          s.resolution(), half, s.h - half, out.data());
                finished.fetch_add(1, std::memory_order_release);
            }
        });
    int rounds = 0;
    for (auto _ : state) {
        if (variant == 0)
            radimo_frame_temp_measure(&cam.param, 1201, cam.table.data(), 8192, raw.data(), s.resolution(), 0,
                                      s.h, out.data());
        if (variant == 1)
            for (size_t i = 0; i < s.pixels(); ++i)
                temp_measure_with_NUC_value(&cam.param, cam.table.data(), raw[i], &out[i]);
        if (variant == 2) {
            generation.fetch_add(1, std::memory_order_release);
            radimo_frame_temp_measure(&cam.param, 1201, cam.table.data(), 8192, raw.data(), s.resolution(), 0,
                                      half, out.data());
            ++rounds;
            while (finished.load(std::memory_order_acquire) != rounds) std::this_thread::yield();
        }
        benchmark::ClobberMemory();
    }
    if (variant == 2) {
        stop = true;
        worker.join();
    }
    finish(state, s.pixels());
}

void to_celsius(benchmark::State &state, Size s, int variant) {
    const Camera cam;
    const auto nuc = scene_frame(s, 6000, 3000);
    std::vector<float> out(s.pixels());
    for (auto _ : state) {
        if (variant == 0)
            radimo_frame_to_celsius(cam.table.data(), 8192, nuc.data(), s.resolution(), 0, s.h, out.data());
        if (variant == 1)
            for (size_t i = 0; i < s.pixels(); ++i)
                calc_temperature_with_nuc_t_table_len(cam.table.data(), nuc[i], 8192, &out[i]);
        if (variant == 2) radimo_frame_to_celsius(nullptr, 0, nuc.data(), s.resolution(), 0, s.h, out.data());
        benchmark::ClobberMemory();
    }
    finish(state, s.pixels());
}

// ---------------------------------------------------------------------------
// Scene correction: per pixel (literal), the lattice variant (today), the
// whole-frame call on a scene and on a flat frame (its per-pixel part), and
// a plain table lookup over the frame for comparison.
// ---------------------------------------------------------------------------
void scene_correct(benchmark::State &state, Size s, int variant) {
    namespace model = radimo::tau_model;
    std::vector<uint16_t> raw_table(model::raw_table_size(model::TargetLayout::kV3));
    model::fill_raw_correction_table(model::TargetLayout::kV3, {0, 272, 1, 3, 0, 0, 0, 0, 1, 1},
                                     raw_table.data());
    const env_correct_param_t scene{25.0f, 0.93f, 0.7f, 22.0f, 35.0f};
    auto f = scene_frame(s, 4690, 320);
    if (variant == 3) std::fill(f.begin(), f.end(), uint16_t{4800});
    std::vector<float> out(s.pixels()), lut(65536, 1.0f);
    for (auto _ : state) {
        if (variant == 0 || variant == 3)
            radimo_frame_scene_correct(&scene, raw_table.data(), f.data(), s.resolution(), 0, s.h,
                                       out.data());
        if (variant == 1)
            for (size_t i = 0; i < s.pixels(); ++i)
                enhance_distance_temp_correct(&scene, raw_table.data(), 0, &out[i], f[i] * 0.0625f - 273.15f);
        if (variant == 2)
            enhance_distance_raw_temp_correct_lattice(&scene, raw_table.data(), 0, f.data(), s.pixels(),
                                                      out.data());
        if (variant == 4)
            for (size_t i = 0; i < s.pixels(); ++i) out[i] = lut[f[i]];
        benchmark::ClobberMemory();
    }
    finish(state, s.pixels());
}

// ---------------------------------------------------------------------------
// Reverse NUC search and NUC-table rebuild (per call)
// ---------------------------------------------------------------------------
void reverse_search(benchmark::State &state, float celsius, int variant) {
    const Camera cam;
    uint16_t nuc = 0;
    for (auto _ : state) {
        if (variant == 0) reverse_calc_NUC_with_nuc_t(cam.table.data(), &nuc, celsius);
        if (variant == 1)
            radimo::test::reference::reverse_calc_NUC_with_nuc_t(cam.table.data(), &nuc, celsius);
        benchmark::DoNotOptimize(nuc);
    }
    finish(state, 1);
}

void nuc_rebuild(benchmark::State &state, int variant) {
    std::vector<uint16_t> old_table(16384), new_table(16384);
    for (int i = 0; i < 16384; ++i) old_table[i] = static_cast<uint16_t>(3000 + i / 3);
    const multi_point_nuc_t given[] = {{2000, 2100}, {6000, 5900}, {12000, 12150}};
    for (auto _ : state) {
        multi_point_nuc_t points[3];
        std::memcpy(points, given, sizeof points);
        if (variant == 0) multi_point_calc_new_nuc_table(old_table.data(), points, 3, new_table.data());
        if (variant == 1)
            radimo::test::reference::rebuild_nuc_table("x", old_table.data(), points, 3, new_table.data(),
                                                       true);
        benchmark::ClobberMemory();
    }
    finish(state, 1);
}

// ---------------------------------------------------------------------------
// Region statistics: a polygon and an ellipse covering the frame; exact
// percentiles through the count table.
// ---------------------------------------------------------------------------
void region(benchmark::State &state, Size s, int kind) {
    const auto f = scene_frame(s, 4690, 320);
    const double w = s.w, h = s.h;
    const double corners[] = {-0.5, -0.5, w, -0.5, w, h, -0.5, h};
    radimo_region_t r{};
    r.shape = kind == 1 ? RADIMO_REGION_ELLIPSE : RADIMO_REGION_POLYGON;
    r.vertices = corners;
    r.vertex_count = 4;
    r.cx = w / 2, r.cy = h / 2, r.rx = w / 2, r.ry = h / 2;
    std::vector<uint32_t> counts(65536);
    size_t pixels = s.pixels();
    for (auto _ : state) {
        if (kind == 2) {
            std::fill(counts.begin(), counts.end(), 0u);
            radimo_region_counts(f.data(), s.resolution(), &r, RADIMO_SAMPLE_PIXEL, 0, s.h, counts.data());
            double p[3];
            radimo_counts_percentile(counts.data(), 5, &p[0]);
            radimo_counts_percentile(counts.data(), 50, &p[1]);
            radimo_counts_percentile(counts.data(), 95, &p[2]);
            benchmark::DoNotOptimize(p);
        } else {
            radimo_region_stats_t st;
            radimo_region_stats(f.data(), s.resolution(), &r,
                                kind == 3 ? RADIMO_SAMPLE_MEAN3 : RADIMO_SAMPLE_PIXEL, 0, s.h, &st);
            pixels = st.count;
            benchmark::DoNotOptimize(st);
        }
    }
    finish(state, pixels);
}

void register_all() {
    using benchmark::RegisterBenchmark;
    const char *variants[] = {"fast", "literal", "today", "flat", "lookup"};
    for (const Size &s : kSizes) {
        const std::string n = s.name();
        RegisterBenchmark(("stream/stream/" + n).c_str(), stream, s);
        for (int v : {0, 1})
            RegisterBenchmark(("rect/" + std::string(variants[v]) + "/" + n).c_str(), rect, s, v);
        RegisterBenchmark(("frame_stats/fast/" + n).c_str(), rect, s, 2);
        RegisterBenchmark(("region_polygon/fast/" + n).c_str(), region, s, 0);
        RegisterBenchmark(("region_ellipse/fast/" + n).c_str(), region, s, 1);
        RegisterBenchmark(("region_percentiles/fast/" + n).c_str(), region, s, 2);
        RegisterBenchmark(("region_polygon_mean3/fast/" + n).c_str(), region, s, 3);
        for (int v : {0, 1})
            RegisterBenchmark(("point_means/" + std::string(variants[v]) + "/" + n).c_str(), point_means, s,
                              v);
        for (int v : {0, 1}) {
            RegisterBenchmark(("horz_line/" + std::string(variants[v]) + "/" + n).c_str(), line, s, 0, v);
            RegisterBenchmark(("slope_line/" + std::string(variants[v]) + "/" + n).c_str(), line, s, 1, v);
        }
        for (int v : {0, 1})
            RegisterBenchmark(("temp_measure/" + std::string(variants[v]) + "/" + n).c_str(), temp_measure, s,
                              v);
        RegisterBenchmark(("temp_measure/2threads/" + n).c_str(), temp_measure, s, 2)->UseRealTime();
        for (int v : {0, 1})
            RegisterBenchmark(("to_celsius/" + std::string(variants[v]) + "/" + n).c_str(), to_celsius, s, v);
        RegisterBenchmark(("to_celsius_16thK/fast/" + n).c_str(), to_celsius, s, 2);
        for (int v : {0, 1, 2, 3, 4})
            RegisterBenchmark(("scene_correct/" + std::string(variants[v]) + "/" + n).c_str(), scene_correct,
                              s, v);
    }
    for (float c : {-10.0f, 40.0f, 140.0f}) {
        const std::string t = std::to_string(static_cast<int>(c)) + "C";
        for (int v : {0, 1})
            RegisterBenchmark(("reverse_search/" + std::string(variants[v]) + "/" + t).c_str(),
                              reverse_search, c, v);
    }
    for (int v : {0, 1})
        RegisterBenchmark(("nuc_rebuild/" + std::string(variants[v]) + "/16384").c_str(), nuc_rebuild, v);
}

}  // namespace

int main(int argc, char **argv) {
    register_all();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
