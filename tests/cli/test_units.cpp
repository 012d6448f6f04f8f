// Units in and out of the tool, honest statistics and warnings: the built
// program on generated frames, against direct computation.
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli_fixture.h"
#include "core/statistics.h"
#include "core/warnings.h"
#include "formats/frame_file.h"
#include "libradimo.h"

namespace radimo::cli::test {
namespace {
namespace fs = std::filesystem;
using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr int kW = 40, kH = 30;

// The frame of a unit the tests measure: the room, or for millikelvin (at most 65.5 K) a cold gas.
Frame scene_in(Unit unit) {
    Frame f = room_frame(kW, kH, unit == Unit::kMillikelvin ? Unit::kKelvin16 : unit);
    if (unit == Unit::kMillikelvin) {
        f.unit = unit;
        for (uint16_t &v : f.samples) v = static_cast<uint16_t>(20000 + (v - 4500) * 37);
    }
    return f;
}

// A sample converted between units as the tool documents it, written out independently.
double expected_in(Unit from, double v, Unit to) {
    if (from == to) return v;
    const double kelvin = from == Unit::kCelsius  ? v + 273.15
                          : from == Unit::kKelvin ? v
                                                  : v / counts_per_kelvin(from);
    if (to == Unit::kCelsius)
        return from == Unit::kKelvin16 ? celsius_of_kelvin16(static_cast<uint16_t>(v))
                                       : static_cast<float>(kelvin - 273.15);
    if (to == Unit::kKelvin) return static_cast<float>(kelvin);
    const double count = counts_per_kelvin(from) > 0 ? v * counts_per_kelvin(to) / counts_per_kelvin(from)
                                                     : kelvin * counts_per_kelvin(to);
    return std::clamp(std::floor(count + 0.5), 0.0, 65535.0);
}

std::vector<Frame> read_all(const fs::path &p) {
    auto reader = open_frame_file(p, std::nullopt);
    std::vector<Frame> frames;
    for (Frame f; reader->next(f);) frames.push_back(f);
    return frames;
}

using Units = CliTest;

TEST_F(Units, EveryUnitRoundTripsThroughConvertAndMeasuresBitForBit) {
    const std::string size = " --size " + std::to_string(kW) + "x" + std::to_string(kH);
    for (Unit from : kUnits) {
        if (!is_temperature(from)) continue;
        const Frame in = scene_in(from);
        write_raw("in.raw", {in});
        for (Unit to : kUnits) {
            if (!is_temperature(to)) continue;
            const std::string what = std::string(unit_name(from)) + " -> " + unit_name(to);
            const RunResult r = radimo("convert in.raw" + size + " --unit " + unit_name(from) + " --to " +
                                       unit_name(to) + " -o out.tiff");
            ASSERT_EQ(r.exit_code, 0) << what << "\n" << r.err;
            EXPECT_THAT(r.out, HasSubstr(std::string("from ") + unit_name(from) + " (")) << what;
            const Frame out = read_all(path("out.tiff")).at(0);
            ASSERT_EQ(out.unit, to) << what;
            for (std::size_t i = 0; i < in.pixels(); ++i) {
                const double v = is_float_unit(from) ? in.floats[i] : in.samples[i];
                const double got = is_float_unit(to) ? out.floats[i] : out.samples[i];
                ASSERT_EQ(got, expected_in(from, v, to)) << what << " at " << i;
            }
        }
        // Measured in its own unit: the rectangle's trimmed statistics are the library's on the same
        // samples (a float frame's on its grid), the pixels' the samples' own.
        const RunResult m =
            radimo("measure in.raw" + size + " --unit " + unit_name(from) + " --rect 3,2,30,20 --json");
        ASSERT_EQ(m.exit_code, 0) << unit_name(from) << "\n" << m.err;
        const json report = json::parse(m.out);
        // 1/1000 K holds at most 65.5 K: always implausible for a scene.
        EXPECT_EQ(report["warnings"].empty(), from != Unit::kMillikelvin) << report["warnings"];
        const json &rect = report["frames"][0]["measurements"][0];
        EXPECT_EQ(rect["unit"], unit_name(from));
        EXPECT_EQ(rect["unit_source"], "option");
        const MeasuredFrame measured = measured_frame(in);
        radimo_frame_stats_t stats{};
        ASSERT_EQ(radimo_frame_stats(measured.values.data(), measured.resolution(), {3, 2}, {30, 20}, &stats),
                  RADIMO_SUCCESS);
        const auto value = [&](uint16_t v) -> json {
            return is_float_unit(from) ? json(std::round(measured.in_unit(v) * 1e6) / 1e6) : json(v);
        };
        EXPECT_EQ(rect["trimmed"]["max"]["value"], value(stats.max)) << unit_name(from);
        EXPECT_EQ(rect["trimmed"]["min"]["value"], value(stats.min)) << unit_name(from);
        EXPECT_EQ(rect["trimmed"]["avg"]["value"], value(stats.avg)) << unit_name(from);
        double hottest = -1e9;
        for (int y = 2; y < 22; ++y)
            for (int x = 3; x < 33; ++x) {
                const std::size_t i = static_cast<std::size_t>(y) * kW + x;
                hottest = std::max(hottest, is_float_unit(from) ? celsius_of(from, in.floats[i])
                                                                : celsius_of(from, in.samples[i]));
            }
        // A float frame is measured on a grid at least as fine as 1/100 K.
        EXPECT_NEAR(rect["pixels"]["hottest"]["celsius"].get<double>(), hottest,
                    is_float_unit(from) ? 0.005 : 1e-4)
            << unit_name(from);
    }
}

TEST_F(Units, TheUnitComesFromTheFileElseTheOptionElseIsAssumedAndIsAlwaysSaid) {
    write_frames("ck.png", {room_frame(kW, kH, Unit::kCentikelvin)});
    const RunResult declared = radimo("measure ck.png");
    ASSERT_EQ(declared.exit_code, 0) << declared.err;
    EXPECT_THAT(declared.out, HasSubstr("centikelvin (1/100 K, declared by the file)"));
    const RunResult contradicted = radimo("measure ck.png --unit kelvin16");
    EXPECT_EQ(contradicted.exit_code, 2);
    EXPECT_THAT(contradicted.err,
                HasSubstr("the file declares its samples centikelvin; --unit kelvin16 contradicts it"));
    write_raw("k16.raw", {room_frame(kW, kH, Unit::kKelvin16)});
    const RunResult assumed = radimo("measure k16.raw --size 40x30");
    EXPECT_THAT(assumed.out, HasSubstr("kelvin16 (1/16 K, assumed)"));
    EXPECT_EQ(assumed.err, "");
    EXPECT_EQ(radimo("measure k16.raw --size 40x30 --unit celsius").exit_code,
              2);  // 2400 bytes: no float frame
    // Temperatures convert without a camera; CSV says its unit.
    ASSERT_EQ(radimo("convert ck.png --to decikelvin -o dk.csv -q").exit_code, 0);
    std::ifstream csv(path("dk.csv"));
    std::string header;
    std::getline(csv, header);
    EXPECT_THAT(header, HasSubstr("\"unit\":\"decikelvin\""));
}

TEST_F(Units, LargeHotFramesAverageRightAndOneHotPixelIsReported) {
    Frame hot;
    hot.width = 1280, hot.height = 1024;
    hot.samples.assign(hot.pixels(), count_of_celsius(Unit::kKelvin16, 100.0));  // 32-bit sums wrap here
    hot.samples[500 * 1280 + 700] = count_of_celsius(Unit::kKelvin16, 400.0);
    write_raw("hot.raw", {hot});
    const RunResult r = radimo("measure hot.raw --size 1280x1024 --json");
    ASSERT_EQ(r.exit_code, 0) << r.err;
    const json all = json::parse(r.out)["frames"][0]["measurements"][0];
    const uint16_t warm = hot.samples[0], spot = hot.samples[500 * 1280 + 700];
    EXPECT_EQ(all["trimmed"]["avg"]["value"], warm);
    EXPECT_EQ(all["trimmed"]["max"]["value"], warm);  // the rule drops a single pixel
    EXPECT_EQ(all["pixels"]["hottest"]["value"], spot);
    EXPECT_EQ(all["pixels"]["hottest"]["x"], 700);
    EXPECT_EQ(all["pixels"]["hottest"]["y"], 500);
    EXPECT_NEAR(all["pixels"]["mean"]["value"].get<double>(),
                warm + static_cast<double>(spot - warm) / hot.pixels(), 1e-6);
    temp_result_t wrapped{};
    ASSERT_EQ(get_rect_temp(hot.samples.data(), hot.resolution(), {0, 0}, {1280, 1024}, &wrapped),
              RADIMO_SUCCESS);
    EXPECT_NE(wrapped.avg_temp, warm);  // what the 32-bit sum of the per-call rule gives
}

TEST_F(Units, AnAlarmReportsAboveAndBelowWhenBothHold) {
    const Frame room = room_frame(kW, kH, Unit::kKelvin16);  // 18 .. 30 degC with a 65 degC object
    write_frames("room.tiff", {room});
    const json m =
        json::parse(radimo("measure room.tiff --alarm 60,20 --json").out)["frames"][0]["measurements"][0];
    EXPECT_EQ(m["alarm"], "above and below");
    const json &trimmed = m["trimmed"];
    const temp_result_t t{trimmed["max"]["value"].get<uint16_t>(),
                          trimmed["min"]["value"].get<uint16_t>(),
                          trimmed["avg"]["value"].get<uint16_t>(),
                          {},
                          {}};
    EXPECT_EQ(line_rect_over_threshold_alarm({kelvin16_of_celsius(60), kelvin16_of_celsius(20)}, &t), 1);
    EXPECT_EQ(
        json::parse(
            radimo("measure room.tiff --alarm 70,20 --json").out)["frames"][0]["measurements"][0]["alarm"],
        "below");
}

TEST_F(Units, EachDoubtWarnsOnceAndGoodFramesStaySilent) {
    CameraProfile camera = write_small_camera(kW, kH);
    write_raw("ck.raw", {room_frame(kW, kH, Unit::kCentikelvin)});  // a centikelvin room read as 1/16 K
    write_raw("swapped.raw", {room_frame(kW, kH, Unit::kKelvin16)}, true);
    Frame agc = room_frame(kW, kH, Unit::kKelvin16);
    for (uint16_t &v : agc.samples) v = static_cast<uint16_t>((v - 4600) / 4);  // 8-bit display data
    agc.unit_source = UnitSource::kAssumed;
    write_raw("agc.raw", {agc});
    Frame bright = raw_frame(kW, kH, 3);
    for (std::size_t i = 0; i < 10; ++i) bright.samples[i] = 20000;
    write_frames("bright.pgm", {bright});
    write_raw("wide.raw", {room_frame(640, 512, Unit::kKelvin16)});
    Frame hot = raw_frame(16, 12, 7);  // 1/16 K of a hot scene, as the other tests write them
    hot.unit = Unit::kKelvin16;
    write_frames("hot.pgm", {hot});
    const struct {
        const char *args;
        const char *warning;
    } cases[] = {
        {"measure ck.raw --size 40x30", "as centikelvin they read 18.3 .. 65.0 \u00b0C"},
        {"measure swapped.raw --size 40x30", "look byte-swapped"},
        {"measure agc.raw --size 40x30", "8-bit display data"},
        {"measure bright.pgm --camera camera", "10 of 1200 raw values exceed the 14-bit NUC range"},
        {"measure wide.raw --size 320x256", "line up far better as 640x512 (1 frame) than as --size 320x256"},
        {"convert ck.raw --size 40x30 --to celsius -o c.tiff", "as centikelvin they read"},
    };
    for (const auto &c : cases) {
        const RunResult r = radimo(c.args);
        EXPECT_EQ(r.exit_code, 0) << c.args << "\n" << r.err;
        EXPECT_THAT(r.err, HasSubstr(c.warning)) << c.args;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << c.args << "\n" << r.err;
        const RunResult strict = radimo(std::string(c.args) + " --strict");
        EXPECT_EQ(strict.exit_code, 2) << c.args;
    }
    EXPECT_THAT(
        json::parse(radimo("measure swapped.raw --size 40x30 --json").out)["warnings"][0].get<std::string>(),
        HasSubstr("--byte-order big"));
    EXPECT_EQ(radimo("measure swapped.raw --size 40x30 --byte-order big --strict").exit_code, 0);
    EXPECT_EQ(radimo("measure ck.raw --size 40x30 --unit centikelvin --strict").exit_code, 0);

    // The demo and plausible scenes in every unit raise no doubt.
    ASSERT_EQ(radimo("demo --out d").exit_code, 0);
    for (const std::string args :
         {"measure d/raw.tiff --camera d/camera --strict", "measure d/celsius.tiff --strict",
          "render d/celsius.tiff -o d.png --strict",
          "convert d/raw.tiff --camera d/camera --scene-correct -o s.tiff --strict",
          "measure hot.pgm --strict"}) {
        const RunResult r = radimo(args);
        EXPECT_EQ(r.exit_code, 0) << args << "\n" << r.err;
        EXPECT_EQ(r.err, "") << args;
    }
    for (Unit u : kUnits) {
        if (!is_temperature(u) || u == Unit::kMillikelvin) continue;
        Frame f = room_frame(kW, kH, u);
        f.unit_source = UnitSource::kOption;
        write_raw("good.raw", {f});
        const RunResult r =
            radimo(std::string("measure good.raw --size 40x30 --strict --unit ") + unit_name(u));
        EXPECT_EQ(r.exit_code, 0) << unit_name(u) << "\n" << r.err;
    }
}

TEST(Statistics, LinesCountTheirOwnPixelsAndFloatGridsAreFine) {
    MeasuredFrame f = measured_frame(room_frame(kW, kH, Unit::kKelvin16));
    const Region line{Region::Kind::kLine, {2, 3}, {35, 20}, "L1"};
    const RegionStatistics s = region_statistics(f, line);
    temp_result_t t{};
    ASSERT_EQ(get_line_temp(f.values.data(), f.resolution(), line.a, line.b, &t), RADIMO_SUCCESS);
    EXPECT_EQ(s.trimmed.max.value, t.max_temp);
    EXPECT_EQ(s.trimmed.avg, t.avg_temp);
    EXPECT_EQ(s.pixels.count, static_cast<uint64_t>(get_point_num(line.a, line.b)));
    // Float grids: 1/1000 K while the range fits, coarser steps only for wider ranges, values on whole steps.
    EXPECT_EQ(float_grid(290.0, 350.0).per_kelvin, 1000);
    EXPECT_EQ(float_grid(250.0, 1000.0).per_kelvin, 50);
    for (const auto &[lo, hi] : {std::pair{250.0, 1000.0}, {0.5, 60.0}, {273.15, 6000.0}}) {
        const ValueScale g = float_grid(lo, hi);
        EXPECT_LE(g.value_of_celsius(hi - 273.15), 65535.0);
        EXPECT_GE(g.value_of_celsius(lo - 273.15), 0.0);
        EXPECT_EQ(g.offset, std::floor(g.offset));
    }
}

}  // namespace
}  // namespace radimo::cli::test
