// Frame files, camera profiles and atomic outputs, called directly.
#include <png.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>

#include "cli_fixture.h"
#include "core/atomic_output.h"
#include "core/errors.h"
#include "demo/demo_camera.h"
#include "formats/frame_file.h"

namespace radimo::cli::test {
namespace {
namespace fs = std::filesystem;

Frame frame_of(Unit unit, int width, int height, unsigned seed,
               std::optional<uint16_t> vtemp = std::nullopt) {
    Frame f = raw_frame(width, height, seed);
    f.unit = unit;
    f.unit_source = UnitSource::kFile;
    f.vtemp = vtemp;
    if (unit == Unit::kCelsius) {
        for (uint16_t v : f.samples) f.floats.push_back(celsius_of_kelvin16(v) + 0.001f * (v % 7));
        f.samples.clear();
    }
    return f;
}

void expect_same(const Frame &a, const Frame &b, const std::string &what) {
    EXPECT_EQ(a.width, b.width) << what;
    EXPECT_EQ(a.height, b.height) << what;
    EXPECT_EQ(a.unit, b.unit) << what;
    EXPECT_EQ(b.unit_source, UnitSource::kFile) << what;
    EXPECT_EQ(a.vtemp, b.vtemp) << what;
    EXPECT_EQ(a.samples, b.samples) << what;
    EXPECT_EQ(a.floats, b.floats) << what;
}

// The exit code and message of a failing call.
std::pair<Exit, std::string> failure(const std::function<void()> &f) {
    try {
        f();
    } catch (const Error &e) {
        return {e.exit(), e.what()};
    }
    return {Exit::kOk, ""};
}

using FrameFiles = CliTest;

TEST_F(FrameFiles, WriteThenReadGivesTheSamePixelsAndUnit) {
    const struct {
        const char *name;
        Unit unit;
        int frames;
    } cases[] = {
        {"nuc.tiff", Unit::kNuc, 3},   {"k16.tiff", Unit::kKelvin16, 1}, {"ck.tiff", Unit::kCentikelvin, 2},
        {"c.tiff", Unit::kCelsius, 2}, {"k16.png", Unit::kKelvin16, 1},  {"ck.png", Unit::kCentikelvin, 1},
        {"nuc.pgm", Unit::kNuc, 2},    {"k16.pgm", Unit::kKelvin16, 1},
    };
    for (const auto &c : cases) {
        std::vector<Frame> frames;
        for (int i = 0; i < c.frames; ++i)
            frames.push_back(
                frame_of(c.unit, 7 + i, 5, 11u * i + 1,
                         c.unit == Unit::kNuc ? std::optional<uint16_t>(7000 + i) : std::nullopt));
        write_frames(c.name, frames);
        auto reader = open_frame_file(path(c.name), std::nullopt);
        ASSERT_EQ(reader->frame_count(), frames.size()) << c.name;
        Frame back;
        for (const Frame &f : frames) {
            ASSERT_TRUE(reader->next(back)) << c.name;
            expect_same(f, back, c.name);
        }
        EXPECT_FALSE(reader->next(back)) << c.name;
    }
}

TEST_F(FrameFiles, RawFramesAndCsv) {
    const Frame a = raw_frame(6, 4, 1), b = raw_frame(6, 4, 2);
    {
        std::ofstream out(path("two.raw"), std::ios::binary);
        for (const Frame *f : {&a, &b})
            for (uint16_t v : f->samples) out.put(static_cast<char>(v & 0xFF)).put(static_cast<char>(v >> 8));
    }
    auto reader = open_frame_file(path("two.raw"), FrameSize{6, 4});
    Frame back;
    ASSERT_EQ(reader->frame_count(), 2u);
    for (const Frame *f : {&a, &b}) {
        ASSERT_TRUE(reader->next(back));
        EXPECT_EQ(back.samples, f->samples);
        EXPECT_EQ(back.unit_source, UnitSource::kAssumed);
    }
    const auto [exit, message] = failure([&] { open_frame_file(path("two.raw"), FrameSize{5, 4}); });
    EXPECT_EQ(exit, Exit::kUsage);
    EXPECT_THAT(message, ::testing::HasSubstr("not a whole number of 5x4 u16 frames"));

    write_frames("two.csv", {frame_of(Unit::kCelsius, 3, 2, 5), frame_of(Unit::kCelsius, 3, 2, 6)});
    std::ifstream csv(path("two.csv"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(csv, line);) lines.push_back(line);
    ASSERT_EQ(lines.size(), 7u);  // per frame: metadata line and 2 rows; one empty line between
    EXPECT_THAT(lines[0], ::testing::HasSubstr("\"unit\":\"celsius\""));
    EXPECT_EQ(std::count(lines[1].begin(), lines[1].end(), ','), 2);
}

TEST_F(FrameFiles, OnlySixteenBitGreyscaleIsRead) {
    std::ofstream(path("grey8.pgm"), std::ios::binary) << "P5\n2 2\n255\n" << std::string(4, '\x10');
    std::ofstream(path("ascii.pgm")) << "P2\n2 2\n65535\n1 2 3 4\n";
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = png.height = 2;
    png.format = PNG_FORMAT_RGB;
    const unsigned char rgb[12] = {};
    ASSERT_TRUE(png_image_write_to_file(&png, path("rgb.png").c_str(), 0, rgb, 0, nullptr));
    TIFF *tiff = TIFFOpen(path("grey8.tiff").c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 2);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    unsigned char row[2] = {1, 2};
    TIFFWriteScanline(tiff, row, 0, 0);
    TIFFClose(tiff);
    for (const char *name : {"grey8.pgm", "ascii.pgm", "rgb.png", "grey8.tiff"}) {
        const auto [exit, message] = failure([&] {
            Frame f;
            open_frame_file(path(name), std::nullopt)->next(f);
        });
        EXPECT_EQ(exit, Exit::kUsage) << name << ": " << message;
    }
}

TEST_F(FrameFiles, HeaderLargerThanTheFileIsRefusedBeforeAllocating) {
    // 24 bytes claiming a 7.2 GB image: refused when the file is opened.
    std::ofstream(path("huge.pgm"), std::ios::binary) << "P5 60000 60000 65535\n" << std::string(2, '\0');
    const auto [exit, message] = failure([&] { open_frame_file(path("huge.pgm"), std::nullopt); });
    EXPECT_EQ(exit, Exit::kUsage);
    EXPECT_NE(message.find("image 0 is truncated"), std::string::npos) << message;
}

using Profiles = CliTest;

TEST_F(Profiles, WrittenProfileLoadsAsIt) {
    const CameraProfile written = write_small_camera(20, 10);
    const CameraProfile loaded = load_profile(path("camera"));
    EXPECT_EQ(profile_json(loaded), profile_json(written));
    EXPECT_EQ(loaded.nuc_table, written.nuc_table);
    EXPECT_EQ(loaded.kt, written.kt);
    EXPECT_EQ(loaded.bt, written.bt);
    EXPECT_EQ(loaded.correct_table, written.correct_table);
    EXPECT_EQ(loaded.env_tau, written.env_tau);

    // Overrides replace fields before the checks; the header switches follow camera.json.
    const CameraProfile changed = load_profile(
        path("camera"),
        {parse_set_option("scene.emissivity=0.8"), parse_set_option("vtemp=8000"),
         parse_set_option("correct_table.humidity_correction={\"enable\":false,\"version\":2}")});
    EXPECT_FLOAT_EQ(changed.scene.ems, 0.8f);
    EXPECT_EQ(changed.vtemp, 8000);
    EXPECT_EQ(changed.correct_table[6], 0);
    EXPECT_EQ(changed.correct_table[7], 2);
}

TEST_F(Profiles, EveryBadFieldIsOneUsageErrorNamingIt) {
    using Edit = std::function<void(nlohmann::json &, const fs::path &)>;
    const auto set = [](const char *pointer, nlohmann::json value) -> Edit {
        return [=](nlohmann::json &j, const fs::path &) { j[nlohmann::json::json_pointer(pointer)] = value; };
    };
    const struct {
        Edit edit;
        const char *message;
    } cases[] = {
        {set("/format_version", 2), "format_version: 2 is not supported"},
        {set("/extra", 1), "extra: unknown key"},
        {set("/scene/emisivity", 0.9), "scene.emisivity: unknown key"},
        {set("/resolution/width", "640"), "resolution.width: must be an integer"},
        {set("/gain", "medium"), "gain: 'medium' must be"},
        {set("/ktbt/entries", 2000), "ktbt.entries: 2000 must be 1201 or 3601"},
        {set("/ktbt/K_Temp", 40000), "ktbt.K_Temp: 40000 is outside"},
        {set("/scene/humidity", 1.5), "scene.humidity: 1.5 is outside 0..1"},
        {set("/correct_table/file", "../x.bin"), "correct_table.file: must be a file name"},
        {[](nlohmann::json &, const fs::path &d) { fs::resize_file(d / "kt.bin", 2400); },
         "ktbt.kt_file: " /* ... */},
        {[](nlohmann::json &j, const fs::path &) { j.erase("vtemp"); }, "vtemp: missing"},
        {[](nlohmann::json &j, const fs::path &d) {
             j["correct_table"]["words"] = 3000;
             fs::resize_file(d / "correct_table.bin", 6000);
         },
         "correct_table.words: 3000 words are too few: format 300 needs 4088"},
    };
    for (const auto &c : cases) {
        write_small_camera();
        const fs::path json_path = path("camera") / "camera.json";
        nlohmann::json j = nlohmann::json::parse(std::ifstream(json_path));
        c.edit(j, path("camera"));
        std::ofstream(json_path) << j.dump();
        const auto [exit, message] = failure([&] { load_profile(path("camera")); });
        EXPECT_EQ(exit, Exit::kUsage) << c.message;
        EXPECT_THAT(message, ::testing::HasSubstr(c.message));
        EXPECT_THAT(message, ::testing::HasSubstr("camera.json"));
        fs::remove_all(path("camera"));
    }
    std::ofstream(path("broken.json")) << "{";
    fs::create_directory(path("broken"));
    fs::rename(path("broken.json"), path("broken") / "camera.json");
    EXPECT_THAT(failure([&] { load_profile(path("broken")); }).second,
                ::testing::HasSubstr("not valid JSON"));
    EXPECT_THAT(failure([&] { load_profile(path("none")); }).second,
                ::testing::HasSubstr("no such camera directory"));
}

using AtomicOutputs = CliTest;

TEST_F(AtomicOutputs, NothingIsLeftAfterAFailureOrAnInterrupt) {
    {
        AtomicFile file(path("abandoned.tiff"));
        std::ofstream(file.temp_path()) << "half";
    }
    EXPECT_EQ(listing(), std::vector<std::string>{});

    const pid_t child = fork();
    if (child == 0) {
        install_interrupt_cleanup();
        AtomicDirectory dir(path("profile"));
        std::ofstream(dir.file("camera.json")) << "{";
        AtomicFile file(path("frames.tiff"));
        std::ofstream(file.temp_path()) << "half";
        std::raise(SIGINT);
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT);
    EXPECT_EQ(listing(), std::vector<std::string>{});

    AtomicFile kept(path("kept.png"));
    kept.commit();
    EXPECT_EQ(listing(), std::vector<std::string>{"kept.png"});
}

}  // namespace
}  // namespace radimo::cli::test
