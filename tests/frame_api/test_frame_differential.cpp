// Every fast path against the literal per-call rule, on the active kernel
// target (CTest runs this file once per forced target): structured and random
// frames, every border, ties, extremes, bands of rows, random tables and
// KT/BT arrays. Results, codes and messages must agree exactly.
#include <cstdlib>
#include <cstring>
#include <random>

#include "frame/frame_fixture.h"
#include "literal_reference.h"
#include "support/prelude.h"

namespace {

namespace literal = radimo::test::literal;
using radimo::test::summary;
using radimo::test::TestFrame;

std::mt19937 &rng() {
    static std::mt19937 r(20261122);
    return r;
}
int uniform(int lo, int hi) {
    return std::uniform_int_distribution<int>(lo, hi)(rng());
}

// Flat, ramps, ties at the extremes, 0 and 65535, random: one of each shape.
TestFrame shaped(int shape, uint16_t w, uint16_t h) {
    TestFrame f(w, h, 5000);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            uint16_t &p = f.at(x, y);
            switch (shape) {
                case 1:
                    p = static_cast<uint16_t>(1000 + 7 * x + 13 * y);
                    break;  // ramp
                case 2:
                    p = static_cast<uint16_t>(60000 - 5 * x - 11 * y);
                    break;  // falling ramp
                case 3:
                    p = uniform(0, 3) == 0 ? 9000 : (uniform(0, 3) == 0 ? 1000 : 5000);
                    break;  // ties
                case 4:
                    p = uniform(0, 1) ? 65535 : 0;
                    break;  // extremes
                case 5:
                    p = static_cast<uint16_t>(uniform(0, 65535));
                    break;
                default:
                    break;  // flat
            }
        }
    }
    return f;
}
constexpr int kShapes = 6;

// The targets this processor always has (AVX2, and NEON on 32-bit ARM,
// depend on the CPU): forced, each is the one used. By default the widest.
#if defined(__x86_64__)
const std::string kAlways[] = {"scalar", "sse2"};
#elif defined(__aarch64__)
const std::string kAlways[] = {"scalar", "neon"};
#else
const std::string kAlways[] = {"scalar"};
#endif

// RADIMO_EXPECT_SIMD names the target a run must end up with (tests/cross/run
// sets it for a CPU without NEON).
TEST(FrameDifferential, TargetIsTheForcedOne) {
    const char *forced = std::getenv("RADIMO_SIMD");
    if (forced != nullptr && std::find(std::begin(kAlways), std::end(kAlways), forced) != std::end(kAlways)) {
        EXPECT_STREQ(radimo_simd_target(), forced);
    }
#if defined(__aarch64__)
    if (forced == nullptr) {
        EXPECT_STREQ(radimo_simd_target(), "neon");
    }
#endif
    if (const char *expected = std::getenv("RADIMO_EXPECT_SIMD")) {
        EXPECT_STREQ(radimo_simd_target(), expected);
    }
}

TEST(FrameDifferential, PointMeansAndRectanglesMatchTheLiteralRule) {
    const uint16_t sizes[][2] = {{1, 1},  {1, 9},   {9, 1},   {2, 2},   {3, 3},
                                 {17, 4}, {33, 20}, {70, 35}, {257, 3}, {2100, 3}};
    for (const auto &size : sizes) {
        for (int shape = 0; shape < kShapes; ++shape) {
            const TestFrame f = shaped(shape, size[0], size[1]);
            const uint32_t res = f.resolution();
            // The image, computed in two bands, equals get_point_temp everywhere.
            std::vector<uint16_t> means(f.pixels.size(), 0xABCD);
            const uint32_t split = static_cast<uint32_t>(uniform(0, f.height));
            ASSERT_EQ(radimo_frame_point_means(f.data(), res, 0, split, means.data()), RADIMO_SUCCESS);
            ASSERT_EQ(radimo_frame_point_means(f.data(), res, split, f.height - split, means.data()),
                      RADIMO_SUCCESS);
            for (int y = 0; y < f.height; ++y)
                for (int x = 0; x < f.width; ++x) {
                    uint16_t want = 0;
                    get_point_temp(f.data(), res, {x, y}, &want);
                    ASSERT_EQ(means[y * f.width + x], want) << x << "," << y << " shape " << shape;
                }
            // A horizontal line along a whole row (chunks of means, both ends).
            if (f.width > 1) {
                temp_result_t got{}, want{};
                const int y = uniform(0, f.height - 1);
                ASSERT_EQ(get_horz_line_temp(f.data(), res, {f.width - 1, y}, {0, y}, &got), RADIMO_SUCCESS);
                literal::line(0, f.data(), res, {f.width - 1, y}, {0, y}, &want);
                ASSERT_EQ(summary(got), summary(want)) << "row " << y;
            }
            // Rectangles: the full frame, single pixels at the corners, random ones.
            std::vector<std::pair<point_t, rect_size_t>> rects = {
                {{0, 0}, {f.width, f.height}}, {{0, 0}, {1, 1}}, {{f.width - 1, f.height - 1}, {1, 1}}};
            for (int k = 0; k < 12; ++k) {
                const int x = uniform(0, f.width - 1), y = uniform(0, f.height - 1);
                rects.push_back({{x, y}, {uniform(1, f.width - x), uniform(1, f.height - y)}});
            }
            for (const auto &[o, s] : rects) {
                temp_result_t got{}, want{};
                uint64_t sum64 = 0;
                ASSERT_EQ(get_rect_temp(f.data(), res, o, s, &got), RADIMO_SUCCESS);
                literal::rect(f.data(), res, o, s, &want, &sum64);
                ASSERT_EQ(summary(got), summary(want)) << o.x << "," << o.y << " " << s.w << "x" << s.h;
                // The 64-bit statistics, whole and merged from two bands of rows.
                radimo_frame_stats_t st{}, lower{};
                ASSERT_EQ(radimo_frame_stats(f.data(), res, o, s, &st), RADIMO_SUCCESS);
                const uint64_t n = uint64_t(s.w) * s.h;
                EXPECT_EQ(std::tuple(st.max, st.min, st.sum, st.count, st.avg),
                          std::tuple(want.max_temp, want.min_temp, sum64, n, uint16_t((sum64 + n / 2) / n)));
                EXPECT_EQ(std::pair(st.max_point.x, st.max_point.y),
                          std::pair(want.max_temp_point.x, want.max_temp_point.y));
                EXPECT_EQ(std::pair(st.min_point.x, st.min_point.y),
                          std::pair(want.min_temp_point.x, want.min_temp_point.y));
                if (s.h < 2) continue;
                const int top = uniform(1, s.h - 1);
                radimo_frame_stats_t merged{};
                radimo_frame_stats(f.data(), res, o, {s.w, top}, &merged);
                radimo_frame_stats(f.data(), res, {o.x, o.y + top}, {s.w, s.h - top}, &lower);
                radimo_frame_stats_merge(&merged, &lower);
                EXPECT_EQ(std::memcmp(&merged, &st, sizeof st), 0);
            }
        }
    }
}

TEST(FrameDifferential, LinesMatchTheLiteralRule) {
    using Fn = int (*)(const uint16_t *, uint32_t, point_t, point_t, temp_result_t *);
    const Fn fns[] = {get_horz_line_temp, get_vert_line_temp, get_slope_line_temp};
    for (int round = 0; round < 600; ++round) {
        const TestFrame f = shaped(round % kShapes, static_cast<uint16_t>(uniform(1, 40)),
                                   static_cast<uint16_t>(uniform(1, 40)));
        const int kind = round % 3;
        // Mostly inside the frame, sometimes beyond any border.
        auto coord = [&](int len) { return uniform(0, 9) == 0 ? uniform(-5, len + 5) : uniform(0, len - 1); };
        point_t a{coord(f.width), coord(f.height)}, b{coord(f.width), coord(f.height)};
        if (kind == 0) b.y = a.y;
        if (kind == 1) b.x = a.x;
        if ((kind == 0 && a.x == b.x) || (kind == 1 && a.y == b.y) ||
            (kind == 2 && (a.x == b.x || a.y == b.y)))
            continue;
        temp_result_t got{}, want{};
        radimo::test::LogCapture log_got;
        const int rc = fns[kind](f.data(), f.resolution(), a, b, &got);
        const std::vector<std::string> got_lines = log_got.printed();
        log_got.clear();
        const int want_rc = literal::line(kind, f.data(), f.resolution(), a, b, &want);
        ASSERT_EQ(rc, want_rc);
        ASSERT_EQ(got_lines, log_got.printed());
        ASSERT_EQ(summary(got), summary(want))
            << kind << " (" << a.x << "," << a.y << ")-(" << b.x << "," << b.y << ")";
    }
}

// Random KT/BT arrays of both lengths, random records and tables of both lengths.
TEST(FrameDifferential, TemperatureMeasurementAndCelsiusMatchThePerPixelCalls) {
    for (int round = 0; round < 40; ++round) {
        const uint32_t ktbt_len = round % 2 ? 3601 : 1201, table_len = round % 4 < 2 ? 8192 : 16384;
        std::vector<uint16_t> kt(ktbt_len), table(table_len);
        std::vector<int16_t> bt(ktbt_len);
        for (auto &k : kt)
            k = static_cast<uint16_t>(uniform(0, 4) == 0 ? uniform(0, 65535) : uniform(14000, 19000));
        for (auto &b : bt)
            b = static_cast<int16_t>(uniform(0, 4) == 0 ? uniform(-32768, 32767) : uniform(-500, 500));
        for (auto &t : table) t = static_cast<uint16_t>(uniform(0, 65535));
        const ktbt_correct_param_t p{static_cast<int16_t>(uniform(-32768, 32767)),
                                     static_cast<int16_t>(uniform(-32768, 32767)),
                                     static_cast<uint16_t>(uniform(0, 65535)),
                                     kt.data(),
                                     bt.data(),
                                     static_cast<uint16_t>(uniform(0, 65535))};
        // Every fifth frame is large enough for the widened-table path.
        const TestFrame f = round % 5 == 0 ? shaped(5, 300, 230)
                                           : shaped(round % kShapes, static_cast<uint16_t>(uniform(1, 70)),
                                                    static_cast<uint16_t>(uniform(1, 9)));
        const uint32_t first = round % 5 == 0 ? 0 : static_cast<uint32_t>(uniform(0, f.height)),
                       rows = round % 5 == 0 ? f.height : static_cast<uint32_t>(uniform(0, f.height - first));
        std::vector<uint16_t> temps(f.pixels.size(), 0xABCD);
        std::vector<float> celsius(f.pixels.size(), -1.0f), via_table(f.pixels.size(), -1.0f);
        ASSERT_EQ(radimo_frame_temp_measure(&p, ktbt_len, table.data(), table_len, f.data(), f.resolution(),
                                            first, rows, temps.data()),
                  RADIMO_SUCCESS);
        ASSERT_EQ(radimo_frame_to_celsius(nullptr, 0, f.data(), f.resolution(), first, rows, celsius.data()),
                  RADIMO_SUCCESS);
        ASSERT_EQ(radimo_frame_to_celsius(table.data(), table_len, f.data(), f.resolution(), first, rows,
                                          via_table.data()),
                  RADIMO_SUCCESS);
        for (size_t i = 0; i < f.pixels.size(); ++i) {
            const bool in_band = i >= first * f.width && i < (first + rows) * f.width;
            uint16_t corrected = 0, want = 0xABCD;
            float want_c = -1.0f, want_t = -1.0f;
            if (in_band) {
                (ktbt_len == 1201 ? ktbt_correct_process : ktbt_correct_process_with_version3)(
                    &p, f.pixels[i], &corrected);
                want = table_len == 8192 ? table[corrected >> 1] : table[corrected];
                if (ktbt_len == 1201 && table_len == 8192)
                    temp_measure_with_NUC_value(&p, table.data(), f.pixels[i], &want);
                want_c = static_cast<float>(static_cast<double>(f.pixels[i] * 0.0625f) - 273.15);
                calc_temperature_with_nuc_t_table_len(table.data(), f.pixels[i], table_len, &want_t);
            }
            ASSERT_EQ(temps[i], want) << i;
            ASSERT_EQ(std::memcmp(&celsius[i], &want_c, 4), 0) << i;
            ASSERT_EQ(std::memcmp(&via_table[i], &want_t, 4), 0) << i;
        }
    }
}

TEST(FrameDifferential, SceneCorrectionMatchesTheLatticeVariant) {
    namespace model = radimo::tau_model;
    const std::vector<uint16_t> raw =
        radimo::test::raw_table(model::TargetLayout::kV3, {0, 272, 1, 3, 0, 0, 0, 0, 1, 1});
    const std::vector<uint16_t> bad =
        radimo::test::raw_table(model::TargetLayout::kV3, {0, 300, 0, 0, 0, 0, 0, 0, 1, 0});
    const env_correct_param_t scene{25.0f, 0.93f, 0.7f, 22.0f, 35.0f};
    for (const auto *table : {&raw, &bad}) {
        for (int shape : {0, 1, 3, 5}) {
            TestFrame f = shaped(shape, 23, 7);
            if (shape == 5)
                for (auto &p : f.pixels) p = static_cast<uint16_t>(uniform(2000, 14500));
            const size_t first = 2 * f.width, n = 4 * f.width;
            std::vector<float> got(f.pixels.size(), -1.0f), want(f.pixels.size(), -1.0f);
            radimo::test::LogCapture log;
            const int rc =
                radimo_frame_scene_correct(&scene, table->data(), f.data(), f.resolution(), 2, 4, got.data());
            std::vector<std::string> got_lines = log.printed();
            log.clear();
            const int want_rc = enhance_distance_raw_temp_correct_lattice(
                &scene, table->data(), 0, f.data() + first, n, want.data() + first);
            std::vector<std::string> want_lines = log.printed();
            for (auto *lines : {&got_lines, &want_lines})  // the function's own name differs, nothing else
                for (std::string &s : *lines)
                    for (const char *name :
                         {"radimo_frame_scene_correct", "enhance_distance_raw_temp_correct_lattice"})
                        for (size_t at; (at = s.find(name)) != std::string::npos;)
                            s.replace(at, std::strlen(name), "F");
            ASSERT_EQ(rc, want_rc);
            ASSERT_EQ(got_lines, want_lines);
            ASSERT_EQ(std::memcmp(got.data(), want.data(), got.size() * 4), 0) << "shape " << shape;
        }
    }
}

class FrameRefusals : public radimo::test::LoggedTest {};

TEST_F(FrameRefusals, EveryBadInputIsNamed) {
    const TestFrame f(4, 3, 5000);
    std::vector<uint16_t> out(12);
    std::vector<float> fout(12);
    std::vector<uint16_t> kt(1201, 16384), table(8192, 4800);
    std::vector<int16_t> bt(1201, 0);
    const ktbt_correct_param_t p{16384, 0, 100, kt.data(), bt.data(), 600};
    const std::vector<uint16_t> raw =
        radimo::test::raw_table(radimo::tau_model::TargetLayout::kV3, {0, 272, 1, 3, 0, 0, 0, 0, 1, 1});
    const float inf = INFINITY;
    const uint32_t res = f.resolution();
    auto scene = [&](env_correct_param_t s) {
        return radimo_frame_scene_correct(&s, raw.data(), f.data(), res, 0, 3, fout.data());
    };
    const struct {
        int rc;
        const char *text;
    } cases[] = {
        {radimo_frame_point_means(nullptr, res, 0, 3, out.data()), "data is NULL\n"},
        {radimo_frame_point_means(f.data(), 0x80000004u, 0, 1, out.data()), "resolution is invalid\n"},
        {radimo_frame_point_means(f.data(), 4, 0, 0, out.data()), "resolution is invalid\n"},
        {radimo_frame_point_means(f.data(), res, 2, 2, out.data()), "row range is invalid\n"},
        {radimo_frame_to_celsius(table.data(), 4096, f.data(), res, 0, 3, fout.data()),
         "nuc_table_len is invalid\n"},
        {radimo_frame_temp_measure(&p, 1200, table.data(), 8192, f.data(), res, 0, 3, out.data()),
         "ktbt_len is invalid\n"},
        {radimo_frame_temp_measure(&p, 1201, table.data(), 8192 + 65536, f.data(), res, 0, 3, out.data()),
         "nuc_table_len is invalid\n"},
        {radimo_frame_temp_measure(&p, 1201, table.data(), 8192, f.data(), res, 0xFFFFFFFFu, 2, out.data()),
         "row range is invalid\n"},
        {scene({NAN, 0.9f, 0.5f, 20, 20}), "dist is not a finite number\n"},
        {scene({10, inf, 0.5f, 20, 20}), "ems is not a finite number\n"},
        {scene({10, 0.9f, -NAN, 20, 20}), "hum is not a finite number\n"},
        {scene({10, 0.9f, 0.5f, -inf, 20}), "ta is not a finite number\n"},
        {scene({10, 0.9f, 0.5f, 20, NAN}), "tu is not a finite number\n"},
        {scene({1000.5f, 0.9f, 0.5f, 20, 20}), "dist is invalid\n"},
        {scene({10, 1.01f, 0.5f, 20, 20}), "ems is out of range\n"},
        {radimo_frame_stats(f.data(), res, {3, 0}, {2, 1}, nullptr), "data is NULL\n"},
    };
    radimo_frame_stats_t st{};
    EXPECT_EQ(radimo_frame_stats(f.data(), res, {3, 0}, {2, 1}, &st), RADIMO_ERR_PARAM);
    EXPECT_EQ(radimo_frame_stats(f.data(), res, {0, 0}, {4, 0}, &st), RADIMO_ERR_PARAM);
    EXPECT_EQ(radimo_frame_stats_merge(&st, nullptr), RADIMO_ERR_PARAM);
    std::vector<std::string> texts;
    for (const auto &c : cases) {
        EXPECT_EQ(c.rc, RADIMO_ERR_PARAM) << c.text;
        texts.push_back(c.text);
    }
    texts.insert(texts.end(), {"the rect is invalid\n", "the rect is invalid\n", "data is NULL\n"});
    EXPECT_EQ(log.error_texts(), texts);
    EXPECT_THAT(out, Each(0));
    EXPECT_THAT(fout, Each(0.0f));
}

}  // namespace
