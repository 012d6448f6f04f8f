// Region statistics on small random frames: every shape with plausible and
// extreme coordinates (NaN, infinities, huge values, degenerate polygons,
// too many vertices), both samplings, bands inside and beyond the frame,
// random distributions and scenes. Every successful call is checked against
// the others: the two halves of a band merge into the whole, the count table
// holds as many samples as the statistics, the bounds hold every sample, and
// percentiles lie between the extremes.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"

using radimo::fuzz::Input;

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

double coordinate(Input &in, int extent) {
    if (in.chance(90)) return in.in<int>(-4 * 4, extent * 4 + 16) / 4.0;
    static constexpr double kOdd[] = {NAN, INFINITY, -INFINITY, 1e300, -2e6, 1048576.0, 0.0};
    return kOdd[in.pick(std::size(kOdd))];
}

struct Shape {
    radimo_region_t region{};
    std::vector<double> vertices;
    std::vector<uint8_t> mask;
};

Shape shape(Input &in, uint16_t w, uint16_t h, std::size_t pixels) {
    Shape s;
    s.region.shape = in.chance(95) ? in.in<uint32_t>(1, 4) : in.any<uint32_t>();
    s.region.origin = {in.mostly<int32_t>(-3, w), in.mostly<int32_t>(-3, h)};
    s.region.size = {in.mostly<int32_t>(-1, w + 2), in.mostly<int32_t>(-1, h + 2)};
    s.region.cx = coordinate(in, w);
    s.region.cy = coordinate(in, h);
    s.region.rx = coordinate(in, w);
    s.region.ry = coordinate(in, h);
    const uint32_t n =
        in.chance(97) ? in.in<uint32_t>(0, 12) : RADIMO_REGION_MAX_VERTICES + in.in<uint32_t>(0, 1);
    s.vertices.resize(2 * std::size_t{n});
    for (std::size_t i = 0; i < s.vertices.size() && i < 24; ++i)
        s.vertices[i] = coordinate(in, i % 2 ? h : w);
    for (std::size_t i = 24; i < s.vertices.size(); ++i) s.vertices[i] = s.vertices[i % 24];
    s.region.vertices = in.ptr(s.vertices.data());
    s.region.vertex_count = n;
    s.mask = in.values<uint8_t>(pixels);
    s.region.mask = in.ptr(s.mask.data());
    return s;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    Input in(data, size);
    radimo::fuzz::set_up_logging(in);
    const uint16_t w = in.chance(97) ? in.in<uint16_t>(1, 20) : in.any<uint16_t>();
    const uint16_t h = in.chance(97) ? in.in<uint16_t>(1, 20) : in.any<uint16_t>();
    const bool valid = w >= 1 && h >= 1 && w <= 32767 && h <= 32767;
    const std::size_t pixels = valid ? std::size_t{w} * h : 1;
    if (valid && pixels > 4096) return 0;  // large frames add nothing but time
    const uint32_t resolution = w | static_cast<uint32_t>(h) << 16;
    const std::vector<uint16_t> frame = in.values<uint16_t>(pixels);
    const Shape s = shape(in, w, h, valid ? pixels : 1);
    const uint32_t sampling = in.chance(95) ? in.in<uint32_t>(0, 1) : in.any<uint32_t>();
    const uint32_t split = in.in<uint32_t>(0, h);

    radimo_region_stats_t whole{}, top{}, bottom{};
    const int rc = radimo_region_stats(frame.data(), resolution, &s.region, sampling, 0, h, &whole);
    if (rc != RADIMO_SUCCESS) return 0;
    check(whole.count >= 1 && whole.min <= whole.max && whole.mean >= whole.min && whole.mean <= whole.max);
    point_t origin;
    rect_size_t box;
    uint64_t n = 0;
    check(radimo_region_bounds(resolution, &s.region, &origin, &box, &n) == RADIMO_SUCCESS &&
          n == whole.count);
    for (const point_t p : {whole.max_point, whole.min_point})
        check(p.x >= origin.x && p.x < origin.x + box.w && p.y >= origin.y && p.y < origin.y + box.h);

    check(radimo_region_stats(frame.data(), resolution, &s.region, sampling, 0, split, &top) ==
          RADIMO_SUCCESS);
    check(radimo_region_stats(frame.data(), resolution, &s.region, sampling, split, h - split, &bottom) ==
          RADIMO_SUCCESS);
    check(radimo_region_stats_merge(&top, &bottom) == RADIMO_SUCCESS);
    check(std::memcmp(&top, &whole, sizeof top) == 0);

    std::vector<uint32_t> counts(65536, 0);
    check(radimo_region_counts(frame.data(), resolution, &s.region, sampling, 0, h, counts.data()) ==
          RADIMO_SUCCESS);
    uint64_t total = 0;
    for (uint32_t c : counts) total += c;
    check(total == whole.count);
    double value = 0;
    const double percent = in.chance(90) ? in.in<int>(0, 1000) / 10.0 : static_cast<double>(in.bits());
    if (radimo_counts_percentile(counts.data(), percent, &value) == RADIMO_SUCCESS)
        check(value >= whole.min && value <= whole.max);
    const double edges[] = {static_cast<double>(whole.min), coordinate(in, 65535),
                            static_cast<double>(whole.max) + 1};
    uint64_t bins[2];
    if (radimo_counts_histogram(counts.data(), edges, 2, bins) == RADIMO_SUCCESS)
        check(bins[0] + bins[1] == total);
    uint64_t above = 0, below = 0;
    const threshold_t t{in.mostly<int32_t>(0, 65535), in.mostly<int32_t>(0, 65535)};
    if (radimo_counts_threshold(counts.data(), t, &above, &below) == RADIMO_SUCCESS)
        check(above + below <= total);

    if (in.chance(30)) {
        const env_correct_param_t scene = radimo::fuzz::scene(in);
        const std::vector<uint16_t> table = radimo::fuzz::raw_table(in);
        const double percents[] = {0, percent, 100};
        double got[3];
        radimo_region_object_stats_t o{};
        if (radimo_region_object_stats(&scene, table.data(), frame.data(), resolution, &s.region, sampling,
                                       percents, 3, got, &o) == RADIMO_SUCCESS) {
            check(o.count == whole.count && got[0] == o.min && got[2] == o.max);
            check(!(o.mean < o.min) && !(o.mean > o.max));
        }
    }
    return 0;
}
