// Frame files, camera profiles and atomic outputs, called directly.
#include <png.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <iterator>
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

// Two raw frames with their vtemps, as raw.tiff of `radimo demo` holds them; the file's bytes.
std::vector<uint8_t> two_page_tiff(const fs::path &p) {
    Frame a = raw_frame(8, 6, 1), b = raw_frame(8, 6, 2);
    a.vtemp = 7200;
    b.vtemp = 9600;
    auto writer = create_frame_writer(FileFormat::kTiff, p, p.string());
    writer->write(a);
    writer->write(b);
    writer->close();
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// A page of `rows` one-row strips that all point at the same row: a small
// file claiming a large page.
std::vector<uint8_t> shared_strip_tiff(uint32_t width, uint32_t rows) {
    std::vector<uint8_t> b = {'I', 'I', 42, 0};
    const auto u16 = [&](uint32_t v) { b.push_back(v & 0xFF), b.push_back((v >> 8) & 0xFF); };
    const auto u32 = [&](uint32_t v) { u16(v & 0xFFFF), u16(v >> 16); };
    const uint32_t offsets = 8 + 2 * width, counts = offsets + 4 * rows;
    u32(counts + 4 * rows);  // the directory, after the row and the two strip tables
    for (uint32_t x = 0; x < width; ++x) u16(1000 + x);
    for (uint32_t s = 0; s < rows; ++s) u32(8);
    for (uint32_t s = 0; s < rows; ++s) u32(2 * width);
    const uint32_t entries[][4] = {{256, 4, 1, width}, {257, 4, 1, rows}, {258, 3, 1, 16},
                                   {259, 3, 1, 1},     {262, 3, 1, 1},    {273, 4, rows, offsets},
                                   {277, 3, 1, 1},     {278, 4, 1, 1},    {279, 4, rows, counts}};
    u16(9);
    for (const auto &e : entries) u16(e[0]), u16(e[1]), u32(e[2]), u32(e[3]);
    u32(0);
    return b;
}

void write_bytes(const fs::path &p, const std::vector<uint8_t> &bytes) {
    std::ofstream(p, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// Reads every frame of a file; the refusal, if any.
std::pair<Exit, std::string> read_everything(const fs::path &p) {
    return failure([&] {
        auto reader = open_frame_file(p, std::nullopt);
        for (Frame f; reader->next(f);) {
        }
    });
}

TEST_F(FrameFiles, TruncatedOrForgedFilesAreRefusedNamingThePage) {
    const std::vector<uint8_t> whole = two_page_tiff(path("two.tiff"));
    EXPECT_EQ(read_everything(path("two.tiff")).first, Exit::kOk);
    // Cut short: the second page's metadata (its vtemp) lost at the end of the file, or the
    // file ending where the second page begins. Neither is read as far as it goes.
    TIFF *tiff = TIFFOpen(path("two.tiff").c_str(), "r");
    TIFFSetDirectory(tiff, 1);
    const auto second = static_cast<std::ptrdiff_t>(TIFFGetStrileOffset(tiff, 0));
    TIFFClose(tiff);
    write_bytes(path("cut.tiff"), {whole.begin(), whole.end() - 9});
    write_bytes(path("first.tiff"), {whole.begin(), whole.begin() + second});
    // 4096 strips all pointing at one row: a 32 KB file claiming a 512 KB page (the 655 KB
    // original claimed 65535 x 65535 and needed more than 3 GB).
    write_bytes(path("shared.tiff"), shared_strip_tiff(64, 4096));
    // A PNG whose metadata chunk is damaged (libpng drops it with a warning, and with it the unit).
    Frame k16 = raw_frame(4, 3, 3);
    k16.unit = Unit::kKelvin16;
    write_frames("damaged.png", {k16});
    std::ifstream in(path("damaged.png"), std::ios::binary);
    std::string png{std::istreambuf_iterator<char>(in), {}};
    png[png.find("kelvin16")] ^= 1;
    std::ofstream(path("damaged.png"), std::ios::binary) << png;
    const std::pair<const char *, const char *> cases[] = {
        {"damaged.png", ": is damaged ("},
        {"cut.tiff", ": page 1: "},
        {"first.tiff", ": page 1: "},
        {"shared.tiff", ": page 0 claims 64x4096 samples, more than its strips (524288 bytes in a "}};
    for (const auto &[name, message] : cases) {
        const auto [exit, text] = read_everything(path(name));
        EXPECT_EQ(exit, Exit::kUsage) << name;
        EXPECT_THAT(text, ::testing::HasSubstr(path(name).string() + message)) << text;
    }
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

// A camera directory holding camera.json and the tables tests/data/profiles/verdicts.txt describes.
void camera_directory(const fs::path &dir, const std::string &camera_json) {
    fs::create_directories(dir);
    const std::pair<const char *, std::size_t> tables[] = {{"nuc_table.bin", 8192},
                                                           {"kt.bin", 1201},
                                                           {"bt.bin", 1201},
                                                           {"kt_long.bin", 3601},
                                                           {"bt_long.bin", 3601},
                                                           {"correct_table.bin", 4088},
                                                           {"correct_short.bin", 3000},
                                                           {"correct_plain.bin", 3584},
                                                           {"env_tau.bin", 3584}};
    for (const auto &[name, words] : tables) {
        std::vector<uint16_t> table(words);
        if (std::string(name).rfind("correct_", 0) == 0 && std::string(name) != "correct_plain.bin")
            table[1] = 300, table[2] = table[3] = 0xFFFF;
        write_u16_file(dir / name, table.data(), table.size());
    }
    std::ofstream(dir / "camera.json", std::ios::binary) << camera_json;
}

// "accepted", or the message after "<dir>/camera.json: ".
std::string verdict(const fs::path &dir, const std::vector<ProfileOverride> &overrides = {}) {
    const auto [exit, message] = failure([&] { load_profile(dir, overrides); });
    if (exit == Exit::kOk) return "accepted";
    EXPECT_EQ(exit, Exit::kUsage) << message;
    const std::string prefix = (dir / "camera.json").string() + ": ";
    return message.rfind(prefix, 0) == 0 ? message.substr(prefix.size()) : message;
}

std::string slurp(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST_F(Profiles, EachSharedFixtureGetsItsVerdict) {
    const fs::path fixtures = RADIMO_PROFILE_FIXTURES;
    std::ifstream list(fixtures / "verdicts.txt");
    int count = 0;
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line[0] == '#') continue;
        const std::size_t tab = line.find('\t');
        const std::string name = line.substr(0, tab);
        std::string expected = line.substr(tab + 1);
        const fs::path dir = path("cam-" + std::to_string(++count));
        camera_directory(dir, slurp(fixtures / name));
        if (const std::size_t at = expected.find("{dir}"); at != std::string::npos)
            expected.replace(at, 5, dir.string());
        EXPECT_EQ(verdict(dir), expected) << name;
    }
    EXPECT_GT(count, 40);
}

TEST_F(Profiles, DocumentsTooDeepOrTooLargeAreRefusedBeforeParsing) {
    // 300,000 open brackets (600 KB with their closing ones) once overflowed the stack.
    camera_directory(path("deep"), "{\"x\":" + std::string(300000, '[') + std::string(300000, ']') + "}");
    EXPECT_EQ(verdict(path("deep")), "nested deeper than 16 levels");
    const std::string full = slurp(fs::path(RADIMO_PROFILE_FIXTURES) / "good_full.json");
    const auto padded = [&](std::size_t size) {
        return full.substr(0, full.size() - 2) + std::string(size - full.size(), ' ') +
               full.substr(full.size() - 2);
    };
    camera_directory(path("large"), padded(CameraProfile::kMaxJsonBytes + 1));
    EXPECT_EQ(verdict(path("large")), "1048577 bytes is more than a camera profile may hold (1048576)");
    camera_directory(path("large"), padded(CameraProfile::kMaxJsonBytes));
    EXPECT_EQ(verdict(path("large")), "accepted");

    // --set: a deep VALUE or FIELD is refused when the option is read, its text shown cut short.
    for (const std::string &set : {"x=" + std::string(60000, '['), "a" + std::string(40, '.') + "b=1"}) {
        const auto [exit, message] = failure([&] { parse_set_option(set); });
        EXPECT_EQ(exit, Exit::kUsage);
        EXPECT_THAT(message, ::testing::HasSubstr("is nested deeper than 16 levels"));
        EXPECT_LT(message.size(), 160u);
    }
    EXPECT_EQ(verdict(path("large"), {parse_set_option("x=" + std::string(16, '[') + std::string(16, ']'))}),
              "--set x=[[[[[[[[[[[[[[[[]]]]]]]]]]]]]]]] (x): unknown key");
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
