// Region statistics against the brute-force reference (every kernel target:
// CTest runs RegionDifferential once per forced target), the edge rules of
// each shape, band split and merge, the distribution functions, the
// per-region scene and every refusal.
#include <cstring>
#include <random>

#include "frame/frame_fixture.h"
#include "region_reference.h"
#include "support/prelude.h"

namespace {

namespace ref = radimo::test::region;
using radimo::test::TestFrame;

std::mt19937 &rng() {
    static std::mt19937 r(20261125);
    return r;
}
double uniform(double lo, double hi) {
    return std::uniform_real_distribution<double>(lo, hi)(rng());
}
int pick(int lo, int hi) {
    return std::uniform_int_distribution<int>(lo, hi)(rng());
}

// A region with the storage its pointers use.
struct Shape {
    radimo_region_t region{};
    std::vector<double> vertices;
    std::vector<uint8_t> mask;
};

Shape rect(int x, int y, int w, int h) {
    Shape s;
    s.region.shape = RADIMO_REGION_RECT;
    s.region.origin = {x, y};
    s.region.size = {w, h};
    return s;
}
Shape ellipse(double cx, double cy, double rx, double ry) {
    Shape s;
    s.region.shape = RADIMO_REGION_ELLIPSE;
    s.region.cx = cx, s.region.cy = cy, s.region.rx = rx, s.region.ry = ry;
    return s;
}
Shape polygon(std::vector<double> xy) {
    Shape s;
    s.vertices = std::move(xy);
    s.region.shape = RADIMO_REGION_POLYGON;
    s.region.vertices = s.vertices.data();
    s.region.vertex_count = static_cast<uint32_t>(s.vertices.size() / 2);
    return s;
}
Shape mask(std::vector<uint8_t> m) {
    Shape s;
    s.mask = std::move(m);
    s.region.shape = RADIMO_REGION_MASK;
    s.region.mask = s.mask.data();
    return s;
}
// The region's pointers follow its storage when a Shape is copied.
Shape fixed(Shape s) {
    s.region.vertices = s.vertices.empty() ? nullptr : s.vertices.data();
    s.region.mask = s.mask.empty() ? nullptr : s.mask.data();
    return s;
}

// Random regions of every kind, reaching past every border now and then:
// rectangles, ellipses (half-integer centres and radii too), polygons with
// random (often concave or self-intersecting) or integer vertices, masks.
Shape random_region(int w, int h) {
    switch (pick(0, 5)) {
        case 0:
            return rect(pick(-3, w - 1), pick(-3, h - 1), pick(1, w), pick(1, h));
        case 1:
            return ellipse(pick(0, 1) ? uniform(-2, w + 2) : pick(0, 2 * w) / 2.0,
                           pick(0, 1) ? uniform(-2, h + 2) : pick(0, 2 * h) / 2.0,
                           pick(0, 1) ? uniform(0.3, w / 1.5) : pick(1, 2 * w) / 2.0,
                           pick(0, 1) ? uniform(0.3, h / 1.5) : pick(1, 2 * h) / 2.0);
        case 2:
        case 3: {
            std::vector<double> xy;
            const bool integral = pick(0, 1);
            for (int k = pick(3, 9); k > 0; --k) {
                xy.push_back(integral ? pick(-2, w + 2) : uniform(-3, w + 3));
                xy.push_back(integral ? pick(-2, h + 2) : uniform(-3, h + 3));
            }
            return polygon(xy);
        }
        default: {
            std::vector<uint8_t> m(size_t(w) * h);
            const int density = pick(1, 100);
            for (auto &b : m) b = pick(1, 100) <= density ? uint8_t(pick(1, 255)) : 0;
            return mask(m);
        }
    }
}

std::string describe(const radimo_region_stats_t &s) {
    return "max " + std::to_string(s.max) + " (" + std::to_string(s.max_point.x) + "," +
           std::to_string(s.max_point.y) + ") min " + std::to_string(s.min) + " (" +
           std::to_string(s.min_point.x) + "," + std::to_string(s.min_point.y) + ") n " +
           std::to_string(s.count) + " sum " + std::to_string(s.sum) + " sq " + std::to_string(s.sum_squares);
}

void expect_same(const radimo_region_stats_t &got, const radimo_region_stats_t &want,
                 const std::string &what) {
    EXPECT_EQ(describe(got), describe(want)) << what;
    EXPECT_EQ(got.mean, want.mean) << what;
    EXPECT_NEAR(got.stddev, want.stddev, 1e-9 * (1 + want.stddev)) << what;
}

TestFrame test_frame(int kind, uint16_t w, uint16_t h) {
    TestFrame f = TestFrame::random(w, h, rng());
    for (auto &p : f.pixels) {
        if (kind == 1) p = pick(0, 2) == 0 ? 9000 : 5000;  // ties everywhere
        if (kind == 2) p = pick(0, 1) ? 65535 : 0;         // the extremes
    }
    return f;
}

TEST(RegionDifferential, EveryShapeMatchesTheBruteForceReference) {
    for (int round = 0; round < 600; ++round) {
        // Every 50th frame has rows longer than a kernel's run, so its lane sums reach their bounds.
        const bool wide = round % 50 == 49;
        const TestFrame f = test_frame(round % 3, uint16_t(wide ? pick(1025, 2100) : pick(1, 40)),
                                       uint16_t(wide ? pick(1, 3) : pick(1, 30)));
        const Shape s = fixed(random_region(f.width, f.height));
        const uint32_t sampling = round % 2 ? RADIMO_SAMPLE_MEAN3 : RADIMO_SAMPLE_PIXEL;
        const std::vector<ref::Sample> all = ref::samples(f, s.region, sampling, 0, f.height);
        const std::string what = "round " + std::to_string(round);
        radimo_region_stats_t got{};
        std::vector<uint32_t> counts(65536, 0);
        if (all.empty()) {
            radimo::test::LogCapture log;
            EXPECT_EQ(radimo_region_stats(f.data(), f.resolution(), &s.region, sampling, 0, f.height, &got),
                      RADIMO_ERR_PARAM);
            EXPECT_THAT(log.error_texts(), ElementsAre("region has no pixel inside the frame\n")) << what;
            continue;
        }
        ASSERT_EQ(radimo_region_stats(f.data(), f.resolution(), &s.region, sampling, 0, f.height, &got), 0);
        expect_same(got, ref::stats(all), what);

        // The bounding box and pixel count.
        point_t origin;
        rect_size_t size;
        uint64_t n = 0;
        ASSERT_EQ(radimo_region_bounds(f.resolution(), &s.region, &origin, &size, &n), 0);
        EXPECT_EQ(n, all.size()) << what;
        for (const auto &x : all) {
            EXPECT_TRUE(x.at.x >= origin.x && x.at.x < origin.x + size.w && x.at.y >= origin.y &&
                        x.at.y < origin.y + size.h);
        }
        EXPECT_EQ(origin.y, all.front().at.y);
        EXPECT_EQ(origin.y + size.h - 1, all.back().at.y);

        // Random bands, merged in order, give the whole; their counts add up.
        radimo_region_stats_t merged{0, 0xFFFF, {-1, -1}, {-1, -1}, 0, 0, 0, 0, 0};
        for (int row = 0; row < f.height;) {
            const int rows = pick(0, f.height - row);
            radimo_region_stats_t band{};
            ASSERT_EQ(radimo_region_stats(f.data(), f.resolution(), &s.region, sampling, row, rows, &band),
                      0);
            expect_same(band, ref::stats(ref::samples(f, s.region, sampling, row, rows)), what + " band");
            ASSERT_EQ(radimo_region_stats_merge(&merged, &band), 0);
            ASSERT_EQ(
                radimo_region_counts(f.data(), f.resolution(), &s.region, sampling, row, rows, counts.data()),
                0);
            row += rows;
        }
        expect_same(merged, got, what + " merged");

        // The distribution: percentiles, a histogram and the isotherm areas.
        std::vector<double> sorted;
        for (const auto &x : all) sorted.push_back(x.value);
        std::sort(sorted.begin(), sorted.end());
        for (double p : {0.0, 5.0, 33.3, 50.0, 95.0, 100.0, uniform(0, 100)}) {
            double value = -1;
            ASSERT_EQ(radimo_counts_percentile(counts.data(), p, &value), 0);
            EXPECT_EQ(value, ref::percentile(sorted, p)) << what << " P" << p;
        }
        const double lo = sorted.front() - 1, hi = sorted.back() + pick(0, 1);
        std::vector<double> edges{lo, lo + (hi - lo) / 3, lo + (hi - lo) / 2, hi};
        std::vector<uint64_t> bins(3, 99), want(3, 0);
        ASSERT_EQ(radimo_counts_histogram(counts.data(), edges.data(), 3, bins.data()), 0);
        for (double v : sorted)
            if (v <= hi) ++want[v >= edges[2] ? 2 : v >= edges[1] ? 1 : 0];
        EXPECT_EQ(bins, want) << what;
        const threshold_t t{int32_t(sorted[sorted.size() / 2]), int32_t(sorted[sorted.size() / 4])};
        uint64_t above = 0, below = 0;
        ASSERT_EQ(radimo_counts_threshold(counts.data(), t, &above, &below), 0);
        EXPECT_EQ(above, uint64_t(std::count_if(sorted.begin(), sorted.end(),
                                                [&](double v) { return v > t.high; })));
        EXPECT_EQ(below,
                  uint64_t(std::count_if(sorted.begin(), sorted.end(), [&](double v) { return v < t.low; })));
    }
}

// Rows longer than one reduction run, every tie and extreme: the vector
// paths against the reference and against radimo_frame_stats.
TEST(RegionDifferential, LongRowsAndTheRectangleStatistics) {
    for (int kind = 0; kind < 3; ++kind) {
        const TestFrame f = test_frame(kind, 2600, 5);
        const Shape whole = polygon({-0.5, -0.5, 2600, -0.5, 2600, 5, -0.5, 5});
        for (uint32_t sampling : {RADIMO_SAMPLE_PIXEL, RADIMO_SAMPLE_MEAN3}) {
            radimo_region_stats_t got{};
            ASSERT_EQ(radimo_region_stats(f.data(), f.resolution(), &whole.region, sampling, 0, 5, &got), 0);
            expect_same(got, ref::stats(ref::samples(f, whole.region, sampling, 0, 5)),
                        "kind " + std::to_string(kind));
        }
        const Shape r = rect(3, 1, 2590, 3);
        radimo_region_stats_t got{};
        radimo_frame_stats_t want{};
        ASSERT_EQ(radimo_region_stats(f.data(), f.resolution(), &r.region, RADIMO_SAMPLE_MEAN3, 0, 5, &got),
                  0);
        ASSERT_EQ(radimo_frame_stats(f.data(), f.resolution(), {3, 1}, {2590, 3}, &want), 0);
        EXPECT_EQ(got.max, want.max);
        EXPECT_EQ(got.min, want.min);
        EXPECT_EQ(std::tie(got.max_point.x, got.max_point.y, got.min_point.x, got.min_point.y),
                  std::tie(want.max_point.x, want.max_point.y, want.min_point.x, want.min_point.y));
        EXPECT_EQ(got.sum, want.sum);
        EXPECT_EQ(got.count, want.count);
    }
}

uint64_t pixels_of(const Shape &s, uint32_t resolution) {
    point_t origin;
    rect_size_t size;
    uint64_t n = 0;
    EXPECT_EQ(radimo_region_bounds(resolution, &s.region, &origin, &size, &n), 0);
    return n;
}

TEST(RegionShapes, EdgeRules) {
    const uint32_t res = 20 | (20u << 16);
    // Left and top edges in, right and bottom out: the area in pixels.
    EXPECT_EQ(pixels_of(polygon({0, 0, 4, 0, 4, 3, 0, 3}), res), 12u);
    EXPECT_EQ(pixels_of(polygon({0, 3, 4, 3, 4, 0, 0, 0}), res), 12u);  // either orientation
    // Two polygons tiling a square share no pixel and miss none.
    EXPECT_EQ(pixels_of(polygon({2, 2, 10, 2, 2, 10}), res) + pixels_of(polygon({10, 2, 10, 10, 2, 10}), res),
              64u);
    // Even-odd: a bow tie's two triangles, and a pentagram's centre left out.
    EXPECT_EQ(pixels_of(polygon({0, 0, 8, 8, 8, 0, 0, 8}), res),
              pixels_of(polygon({0, 0, 4, 4, 0, 8}), res) + pixels_of(polygon({8, 0, 8, 8, 4, 4}), res));
    const Shape star = polygon({10, 1, 15.9, 19, 0.5, 7.9, 19.5, 7.9, 4.1, 19});
    EXPECT_FALSE(ref::holds(star.region, 10, 11));
    point_t o;
    rect_size_t sz;
    EXPECT_EQ(radimo_region_bounds(res, &star.region, &o, &sz, nullptr), 0);
    // One pixel: an ellipse of radii 0.5, a 1x1 rectangle, a one-byte mask, at a corner.
    std::vector<uint8_t> m(400, 0);
    m[399] = 1;
    for (const Shape &s : {ellipse(19, 19, 0.5, 0.5), rect(19, 19, 1, 1), fixed(mask(m))}) {
        uint64_t n = 0;
        ASSERT_EQ(radimo_region_bounds(res, &s.region, &o, &sz, &n), 0);
        EXPECT_EQ(std::tie(n, o.x, o.y, sz.w, sz.h), std::make_tuple(uint64_t{1}, 19, 19, 1, 1));
    }
    // Beyond the frame only the pixels inside count.
    EXPECT_EQ(pixels_of(rect(-5, -5, 7, 8), res), 6u);
    EXPECT_EQ(pixels_of(ellipse(0, 0, 1, 1), res), 3u);
}

TEST(RegionDistribution, KnownValues) {
    std::vector<uint32_t> counts(65536, 0);
    counts[1] = counts[2] = counts[3] = counts[4] = 1;
    double v = 0;
    const struct { double percent, want; } cases[] = {{0, 1}, {50, 2.5}, {100, 4}, {25, 1.75}, {90, 3.7}};
    for (const auto &c : cases) {
        ASSERT_EQ(radimo_counts_percentile(counts.data(), c.percent, &v), 0);
        EXPECT_DOUBLE_EQ(v, c.want) << c.percent;
    }
    // Samples in the first and the last of the blocks the counts are summed in.
    std::vector<uint32_t> ends(65536, 0);
    ends[70] = 1, ends[65535] = 2;
    const std::pair<double, double> end_cases[] = {{0, 70}, {50, 65535}, {100, 65535}};
    for (const auto &[percent, want] : end_cases) {
        ASSERT_EQ(radimo_counts_percentile(ends.data(), percent, &v), 0);
        EXPECT_DOUBLE_EQ(v, want) << percent;
    }
    const double edges[] = {1, 2, 4};
    uint64_t bins[2];
    ASSERT_EQ(radimo_counts_histogram(counts.data(), edges, 2, bins), 0);
    EXPECT_EQ(std::vector<uint64_t>(bins, bins + 2), (std::vector<uint64_t>{1, 3}));  // 4 is in the last bin
    uint64_t above = 0, below = 0;
    ASSERT_EQ(radimo_counts_threshold(counts.data(), {3, 2}, &above, &below), 0);
    EXPECT_EQ(std::tie(above, below), std::make_tuple(uint64_t{1}, uint64_t{1}));
}

// The per-region scene: the object temperatures of radimo_frame_scene_correct
// over the region's pixels, their statistics taken by brute force.
TEST(RegionDifferential, ObjectStatisticsUnderTheRegionsScene) {
    const std::vector<uint16_t> table =
        radimo::test::raw_table(radimo::tau_model::TargetLayout::kV3, {0, 272, 1, 3, 0, 0, 0, 0, 1, 1});
    const env_correct_param_t scene{25.0f, 0.93f, 0.7f, 22.0f, 35.0f};
    for (int round = 0; round < 40; ++round) {
        TestFrame f = TestFrame::random(31, 17, rng(), 4000, 6500);
        if (round % 4 == 0)
            for (auto &p : f.pixels) p = pick(0, 1) ? 4800 : 5200;  // ties at both extremes
        const Shape s = fixed(random_region(f.width, f.height));
        const uint32_t sampling = round % 2 ? RADIMO_SAMPLE_MEAN3 : RADIMO_SAMPLE_PIXEL;
        const std::vector<ref::Sample> all = ref::samples(f, s.region, sampling, 0, f.height);
        if (all.empty()) continue;
        // Each sample's object temperature: the whole-frame correction of a frame of that sample.
        std::vector<double> object;
        std::vector<float> one(1);
        float max = -INFINITY, min = INFINITY;
        point_t max_at{}, min_at{};
        double sum = 0;
        for (const auto &x : all) {
            ASSERT_EQ(
                radimo_frame_scene_correct(&scene, table.data(), &x.value, 1 | (1u << 16), 0, 1, one.data()),
                0);
            if (one[0] >= max) max = one[0], max_at = x.at;
            if (one[0] <= min) min = one[0], min_at = x.at;
            object.push_back(one[0]);
            sum += one[0];
        }
        std::sort(object.begin(), object.end());
        const double percents[] = {0, 5, 50, 95, 100};
        double got_p[5];
        radimo_region_object_stats_t got{};
        ASSERT_EQ(radimo_region_object_stats(&scene, table.data(), f.data(), f.resolution(), &s.region,
                                             sampling, percents, 5, got_p, &got),
                  0);
        EXPECT_EQ(got.count, all.size());
        EXPECT_EQ(got.max, max);
        EXPECT_EQ(got.min, min);
        EXPECT_EQ(std::tie(got.max_point.x, got.max_point.y), std::tie(max_at.x, max_at.y)) << round;
        EXPECT_EQ(std::tie(got.min_point.x, got.min_point.y), std::tie(min_at.x, min_at.y)) << round;
        EXPECT_NEAR(got.mean, sum / all.size(), 1e-9);
        double spread = 0;
        for (double o : object) spread += (o - got.mean) * (o - got.mean);
        EXPECT_NEAR(got.stddev, std::sqrt(spread / all.size()), 1e-9);
        for (int i = 0; i < 5; ++i) EXPECT_NEAR(got_p[i], ref::percentile(object, percents[i]), 1e-5);
        EXPECT_EQ(got_p[0], min);
        EXPECT_EQ(got_p[4], max);
    }
}

class RegionRefusals : public radimo::test::LoggedTest {};

TEST_F(RegionRefusals, EveryBadRegionIsNamed) {
    const TestFrame f(8, 6, 5000);
    const uint32_t res = f.resolution();
    radimo_region_stats_t st{};
    const auto stats = [&](const Shape &s, uint32_t sampling = RADIMO_SAMPLE_PIXEL) {
        return radimo_region_stats(f.data(), res, &s.region, sampling, 0, 6, &st);
    };
    Shape unknown = rect(0, 0, 1, 1);
    unknown.region.shape = 9;
    Shape no_vertices = polygon({0, 0, 1, 0, 1, 1});
    no_vertices.region.vertices = nullptr;
    Shape too_many = polygon({0, 0, 4, 0, 4, 4});
    too_many.region.vertex_count = RADIMO_REGION_MAX_VERTICES + 1;
    Shape no_mask = mask({});
    no_mask.region.mask = nullptr;
    const std::vector<uint8_t> empty_mask(48, 0);
    const Shape good = rect(0, 0, 2, 2);
    std::vector<uint32_t> counts(65536, 0);
    const double nan = NAN, inf = INFINITY;
    const double bad_edges[] = {1, 1, 2};
    uint64_t bins[2], a, b;
    double v;
    const struct {
        int rc;
        const char *text;
    } cases[] = {
        {radimo_region_stats(nullptr, res, &good.region, 0, 0, 6, &st), "data is NULL\n"},
        {radimo_region_stats(f.data(), res, nullptr, 0, 0, 6, &st), "data is NULL\n"},
        {radimo_region_stats(f.data(), 8, &good.region, 0, 0, 0, &st), "resolution is invalid\n"},
        {radimo_region_stats(f.data(), res, &good.region, 0, 4, 3, &st), "row range is invalid\n"},
        {stats(good, 2), "sampling is invalid\n"},
        {stats(unknown), "region shape is invalid\n"},
        {stats(rect(0, 0, 0, 3)), "region size is invalid\n"},
        {stats(rect(2000000, 0, 1, 1)), "region coordinates are invalid\n"},
        {stats(ellipse(nan, 2, 1, 1)), "region coordinates are invalid\n"},
        {stats(ellipse(2, 2, inf, 1)), "region coordinates are invalid\n"},
        {stats(ellipse(2, 2, 1, 0)), "region size is invalid\n"},
        {stats(ellipse(2, 2, -1, 1)), "region size is invalid\n"},
        {stats(no_vertices), "data is NULL\n"},
        {stats(polygon({0, 0, 4, 4})), "region vertex count is invalid\n"},
        {stats(too_many), "region vertex count is invalid\n"},
        {stats(polygon({0, 0, 4, nan, 4, 4})), "region coordinates are invalid\n"},
        {stats(polygon({0, 0, 4, 0, 4, -1e9})), "region coordinates are invalid\n"},
        {stats(no_mask), "data is NULL\n"},
        {stats(fixed(mask(empty_mask))), "region has no pixel inside the frame\n"},
        {stats(polygon({0, 0, 4, 4, 8, 8})), "region has no pixel inside the frame\n"},  // collinear
        {stats(polygon({100, 100, 140, 100, 140, 140})), "region has no pixel inside the frame\n"},
        {stats(ellipse(-3, -3, 1, 1)), "region has no pixel inside the frame\n"},
        {stats(rect(8, 0, 4, 4)), "region has no pixel inside the frame\n"},
        {radimo_region_counts(f.data(), res, &good.region, 0, 0, 6, nullptr), "data is NULL\n"},
        {radimo_counts_percentile(counts.data(), 50, &v), "counts are empty\n"},
        {radimo_counts_percentile(counts.data(), nan, &v), "percent is invalid\n"},
        {radimo_counts_percentile(counts.data(), 100.5, &v), "percent is invalid\n"},
        {radimo_counts_histogram(counts.data(), bad_edges, 0, bins), "bin count is invalid\n"},
        {radimo_counts_histogram(counts.data(), bad_edges, 2, bins), "bin edges are invalid\n"},
        {radimo_counts_threshold(counts.data(), {1, 2}, &a, &b), "threshold is invalid\n"},
        {radimo_region_stats_merge(&st, nullptr), "data is NULL\n"},
        {radimo_region_bounds(res, &good.region, nullptr, nullptr, nullptr), "data is NULL\n"},
    };
    std::vector<std::string> texts;
    for (const auto &c : cases) {
        EXPECT_EQ(c.rc, RADIMO_ERR_PARAM) << c.text;
        texts.push_back(c.text);
    }
    EXPECT_EQ(log.error_texts(), texts);
    EXPECT_EQ(st.count, 0u);  // nothing written
    EXPECT_THAT(counts, Each(0u));
}

}  // namespace
