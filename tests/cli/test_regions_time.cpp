// Regions, time series, differences and videos of the radimo program, against the library and
// against the program's own per-frame output.
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli_fixture.h"
#include "formats/frame_file.h"
#include "libradimo.h"

namespace radimo::cli::test {
namespace {
namespace fs = std::filesystem;
using nlohmann::json;
using ::testing::HasSubstr;

using RegionsAndTime = CliTest;

std::vector<Frame> kelvin16_frames(int n, int width, int height) {
    std::vector<Frame> frames;
    for (int i = 0; i < n; ++i) {
        frames.push_back(raw_frame(width, height, 10 + static_cast<unsigned>(i)));
        frames.back().unit = Unit::kKelvin16;
    }
    return frames;
}

TEST_F(RegionsAndTime, RegionStatisticsAreTheLibrarys) {
    const Frame frame = kelvin16_frames(1, 24, 18)[0];
    write_frames("t.png", {frame});
    {
        std::ofstream mask(path("mask.pgm"), std::ios::binary);
        mask << "P5\n24 18\n255\n";
        for (int i = 0; i < 24 * 18; ++i) mask.put(static_cast<char>(i % 7 == 0 ? 255 : 0));
    }
    std::ofstream(path("regions.json")) << R"({"radimo_regions": 1, "regions": [
        {"name": "hot", "shape": "polygon", "points": [[2, 2], [20, 3], [12, 15]]},
        {"name": "dots", "shape": "mask", "file": "mask.pgm"}]})";
    const RunResult r = radimo("measure t.png --ellipse 12,9,6.5,4 --regions regions.json --json");
    ASSERT_EQ(r.exit_code, 0) << r.err;
    const json m = json::parse(r.out)["frames"][0]["measurements"];
    ASSERT_EQ(m.size(), 3u);
    const double vertices[] = {2, 2, 20, 3, 12, 15};
    radimo_region_t polygon{};
    polygon.shape = RADIMO_REGION_POLYGON;
    polygon.vertices = vertices;
    polygon.vertex_count = 3;
    radimo_region_stats_t s{};
    ASSERT_EQ(radimo_region_stats(frame.samples.data(), frame.resolution(), &polygon, RADIMO_SAMPLE_PIXEL, 0,
                                  18, &s),
              RADIMO_SUCCESS);
    EXPECT_EQ(m[1]["label"], "hot");
    const json &p = m[1]["pixels"];
    EXPECT_EQ(m[1]["unit"], "kelvin16");
    EXPECT_EQ(p["count"], s.count);
    EXPECT_EQ(p["hottest"]["value"], s.max);
    EXPECT_EQ(p["hottest"]["x"], s.max_point.x);
    EXPECT_EQ(p["hottest"]["y"], s.max_point.y);
    EXPECT_NEAR(p["stddev_k"].get<double>(), s.stddev / 16.0, 1e-4);
    EXPECT_EQ(m[2]["pixels"]["count"], (24 * 18 + 6) / 7);
    EXPECT_EQ(json::parse(r.out)["frames"][0]["delta_t"].size(), 2u);

    EXPECT_EQ(radimo("measure t.png --ellipse -9,-9,2,2").exit_code, 2);  // no pixel inside
    EXPECT_THAT(radimo("measure t.png --ellipse -9,-9,2,2").err,
                HasSubstr("region has no pixel inside the frame"));
    EXPECT_EQ(radimo("measure t.png --polygon 1,1,5,5").exit_code, 2);
}

TEST_F(RegionsAndTime, TimeSeriesEqualsPerFrameMeasurementsAndIsCharted) {
    write_frames("seq.tiff", kelvin16_frames(4, 20, 16));
    const std::string regions = " --polygon 1,1,18,2,9,14 --rect 3,3,6,5";
    const RunResult series =
        radimo("measure seq.tiff" + regions + " --every-frame --fps 10 -o s.json --plot s.png");
    ASSERT_EQ(series.exit_code, 0) << series.err;
    EXPECT_THAT(series.out, HasSubstr("summary over 4 frame(s)"));
    const json rows = json::parse(std::ifstream(path("s.json")));
    const json frames = json::parse(radimo("measure seq.tiff" + regions + " --json").out)["frames"];
    ASSERT_EQ(rows.size(), 4u);
    for (int i = 0; i < 4; ++i) {
        EXPECT_DOUBLE_EQ(rows[i]["time_s"].get<double>(), i / 10.0);
        const json &g = frames[i]["measurements"][1];  // the rectangle comes first, as R1
        EXPECT_EQ(rows[i]["unit"], g["unit"]);
        EXPECT_NEAR(rows[i]["regions"]["G1"]["max_c"].get<double>(),
                    g["pixels"]["hottest"]["celsius"].get<double>(), 1e-4);
        EXPECT_NEAR(rows[i]["regions"]["G1"]["mean_c"].get<double>(),
                    g["pixels"]["mean"]["celsius"].get<double>(), 1e-4);
        EXPECT_EQ(rows[i]["regions"]["G1"]["pixels"], g["pixels"]["count"]);
    }
    EXPECT_GT(fs::file_size(path("s.png")), 1000u);
    ASSERT_EQ(radimo("measure seq.tiff --every-frame -o s.csv").exit_code, 0);
    std::ifstream csv(path("s.csv"));
    std::string header;
    std::getline(csv, header);
    EXPECT_EQ(header.rfind("frame,unit,unit_source,frame.max_c,frame.max_x", 0), 0u) << header;
}

TEST_F(RegionsAndTime, DiffOfAFrameWithItselfIsZeroAndReadsBackAsADifference) {
    write_frames("seq.tiff", kelvin16_frames(3, 20, 16));
    ASSERT_EQ(radimo("diff seq.tiff seq.tiff -o zero.tiff").exit_code, 0);
    auto reader = open_frame_file(path("zero.tiff"), std::nullopt);
    int n = 0;
    for (Frame f; reader->next(f); ++n)
        for (float v : f.floats) ASSERT_EQ(v, 0.0f);
    EXPECT_EQ(n, 3);
    const RunResult r = radimo("diff seq.tiff --reference 0 -o d.tiff --picture d.png --json");
    ASSERT_EQ(r.exit_code, 0) << r.err;
    const json j = json::parse(r.out);
    EXPECT_EQ(j["frames"][0]["max"]["kelvin"], 0.0);
    EXPECT_GT(j["frames"][1]["max"]["kelvin"].get<double>(), 0.0);
    EXPECT_GT(fs::file_size(path("d.png")), 1000u);
    EXPECT_EQ(radimo("diff seq.tiff").exit_code, 2);

    // The difference file reads back as the same numbers, in K, never offset by 273.15.
    const RunResult back = radimo("measure d.tiff --json");
    ASSERT_EQ(back.exit_code, 0) << back.err;
    const json f1 = json::parse(back.out)["frames"][1];
    EXPECT_EQ(f1["unit"], "kelvin-difference");
    for (const char *end : {"max", "min"}) {
        const json &pixel =
            f1["measurements"][0]["pixels"][end == std::string("max") ? "hottest" : "coldest"];
        EXPECT_NEAR(pixel["delta_k"].get<double>(), j["frames"][1][end]["kelvin"].get<double>(),
                    f1["grid_step_k"].get<double>() / 2 + 1e-6);
        EXPECT_EQ(pixel["x"], j["frames"][1][end]["x"]);
    }
    const RunResult text = radimo("measure d.tiff --point 3,3 --rect 1,1,5,5");
    EXPECT_THAT(text.out, HasSubstr("kelvin-difference (\u0394T in K, declared by the file)"));
    EXPECT_THAT(text.out, ::testing::Not(HasSubstr("\u00b0C")));
    EXPECT_THAT(text.out, HasSubstr("\u0394T R1 - P1"));
    // The summary of a series of differences signs them as the measurements do.
    const RunResult series = radimo("measure d.tiff --rect 1,1,5,5 --every-frame -o d.csv");
    EXPECT_THAT(series.out, ::testing::ContainsRegex("max +[-+][0-9]+\\.[0-9]+ K \\(frame"));
    const RunResult shown = radimo("render d.tiff -o back.png --frame 1");
    ASSERT_EQ(shown.exit_code, 0) << shown.err;
    EXPECT_THAT(shown.out, HasSubstr(" K; differences: kelvin-difference"));
    EXPECT_EQ(radimo("convert d.tiff --to celsius -o c.tiff").exit_code, 2);
}

TEST_F(RegionsAndTime, SequencesRenderAsVideosAndFrames) {
    write_frames("seq.tiff", kelvin16_frames(5, 40, 30));
    ASSERT_EQ(radimo("render seq.tiff -o frames/f%03d.png --rect 2,2,8,8 --polygon 3,3,30,5,20,25 "
                     "--ellipse 20,15,6,4 --histogram")
                  .exit_code,
              0);
    EXPECT_TRUE(fs::exists(path("frames/f004.png")));
    EXPECT_FALSE(fs::exists(path("frames/f005.png")));
    const RunResult mp4 = radimo("render seq.tiff -o v.mp4 --fps 10 --range 10,90");
    if (mp4.exit_code == 2 && mp4.err.find("without FFmpeg") != std::string::npos) GTEST_SKIP() << mp4.err;
    ASSERT_EQ(mp4.exit_code, 0) << mp4.err;
    ASSERT_EQ(radimo("render seq.tiff -o v.gif").exit_code, 0);
    if (std::system("command -v ffprobe >/dev/null") != 0) GTEST_SKIP() << "ffprobe is not installed";
    for (const char *name : {"v.mp4", "v.gif"}) {
        const std::string command =
            "ffprobe -v error -count_frames -select_streams v:0 -show_entries "
            "stream=nb_read_frames,width,height -of csv=p=0 " +
            path(name).string();
        std::FILE *p = popen(command.c_str(), "r");
        char text[128] = {};
        ASSERT_NE(std::fgets(text, sizeof text, p), nullptr);
        pclose(p);
        int w = 0, h = 0, frames = 0;
        ASSERT_EQ(std::sscanf(text, "%d,%d,%d", &w, &h, &frames), 3) << text;
        EXPECT_EQ(frames, 5) << name;
        EXPECT_GE(w, 40 * 16);  // the pictures of a 40x30 frame, upscaled
    }
}

}  // namespace
}  // namespace radimo::cli::test
