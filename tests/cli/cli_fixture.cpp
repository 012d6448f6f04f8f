#include "cli_fixture.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>

#include "core/atomic_output.h"
#include "demo/demo_camera.h"
#include "formats/frame_file.h"

namespace radimo::cli::test {
namespace fs = std::filesystem;

namespace {
std::string slurp(const fs::path &p) {
    std::ifstream in(p);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}
}  // namespace

void CliTest::SetUp() {
    const auto *info = ::testing::UnitTest::GetInstance()->current_test_info();
    dir_ = fs::temp_directory_path() /
           ("radimo_cli_" + std::string(info->name()) + "_" + std::to_string(getpid()));
    fs::remove_all(dir_);
    fs::create_directories(dir_);
}

void CliTest::TearDown() {
    fs::remove_all(dir_);
}

RunResult CliTest::radimo(const std::string &args) const {
    const std::string command =
        "cd '" + dir_.string() + "' && '" RADIMO_EXE "' " + args + " > .stdout 2> .stderr";
    const int status = std::system(command.c_str());
    RunResult r;
    r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = slurp(dir_ / ".stdout");
    r.err = slurp(dir_ / ".stderr");
    fs::remove(dir_ / ".stdout");
    fs::remove(dir_ / ".stderr");
    return r;
}

std::vector<std::string> CliTest::listing() const {
    std::vector<std::string> names;
    for (const auto &e : fs::directory_iterator(dir_)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

CameraProfile CliTest::write_small_camera(int width, int height) const {
    CameraProfile camera = demo::demo_camera();
    camera.width = width;
    camera.height = height;
    write_camera(camera, "camera");
    return camera;
}

void CliTest::write_camera(const CameraProfile &camera, const std::string &name) const {
    AtomicDirectory out(dir_ / name);
    write_profile(camera, out);
    out.commit();
}

Frame raw_frame(int width, int height, unsigned seed) {
    std::mt19937 random(seed);
    Frame f;
    f.width = width;
    f.height = height;
    f.samples.resize(f.pixels());
    for (uint16_t &v : f.samples) v = static_cast<uint16_t>(5500 + random() % 4500);
    return f;
}

Frame room_frame(int width, int height, Unit unit) {
    std::mt19937 random(7);
    Frame f;
    f.width = width;
    f.height = height;
    f.unit = unit;
    f.unit_source = UnitSource::kFile;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double dx = x - 0.7 * width, dy = y - 0.4 * height, r = 0.1 * std::min(width, height);
            double c = 18 + 8.0 * x / width + 4.0 * y / height + 0.05 * static_cast<double>(random() % 5);
            if (dx * dx + dy * dy < r * r) c = 65;
            if (is_float_unit(unit))
                f.floats.push_back(static_cast<float>(unit == Unit::kCelsius ? c : c + 273.15));
            else
                f.samples.push_back(count_of_celsius(unit, c));
        }
    return f;
}

void CliTest::write_raw(const std::string &name, const std::vector<Frame> &frames, bool big_endian) const {
    std::ofstream out(dir_ / name, std::ios::binary);
    const auto put = [&](uint32_t word, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            const int shift = 8 * (big_endian ? bytes - 1 - i : i);
            out.put(static_cast<char>((word >> shift) & 0xFF));
        }
    };
    for (const Frame &f : frames) {
        for (uint16_t v : f.samples) put(v, 2);
        for (float v : f.floats) {
            uint32_t bits;
            std::memcpy(&bits, &v, 4);
            put(bits, 4);
        }
    }
}

void CliTest::write_frames(const std::string &name, const std::vector<Frame> &frames) const {
    const fs::path p = dir_ / name;
    auto writer = create_frame_writer(format_of_path(p), p, name);
    for (const Frame &f : frames) writer->write(f);
    writer->close();
}

}  // namespace radimo::cli::test
