// The command-line tool's camera-profile loader on random camera.json text,
// random --set overrides and table files that are missing, valid, resized
// or random, in a temporary camera directory. A profile may be refused with
// the tool's usage or I/O error; one that loads must be usable as loaded.
//
// The text may be long (past the loader's 1 MiB bound) and deep: besides
// libFuzzer's own mutations (and the dictionary of camera.json's tokens
// that fuzz/run gives), a mutator of this harness repeats a piece of the
// input many times over, which turns one '[' or '{"x":' into a deep nest
// and one field into a long document.
#include <fuzzer/FuzzedDataProvider.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "core/errors.h"
#include "core/profile.h"
#include "fuzz_input.h"

namespace fs = std::filesystem;
namespace cli = radimo::cli;

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

const fs::path &camera_dir() {
    static const fs::path dir = [] {
        std::string p = (fs::temp_directory_path() / "radimo-fuzz-profile-XXXXXX").string();
        if (mkdtemp(p.data()) == nullptr) std::abort();
        std::atexit([] {
            std::error_code ec;
            fs::remove_all(camera_dir(), ec);
        });
        return fs::path(p);
    }();
    return dir;
}

void write_file(const fs::path &path, const void *data, std::size_t bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(static_cast<const char *>(data), static_cast<std::streamsize>(bytes));
    check(static_cast<bool>(out));
}

// A table file: missing, valid, valid but a few words short or long, or random bytes.
template <typename T>
void table_file(FuzzedDataProvider &p, const fs::path &path, std::vector<T> valid) {
    switch (p.ConsumeIntegralInRange<int>(0, 7)) {
        case 0:
            return;
        case 1: {
            const std::vector<uint8_t> bytes = p.ConsumeBytes<uint8_t>(p.ConsumeIntegralInRange<int>(0, 64));
            write_file(path, bytes.data(), bytes.size());
            return;
        }
        case 2:
            valid.resize(valid.size() + p.ConsumeIntegralInRange<int>(-3, 3));
            break;
        case 3:
            if (!valid.empty())
                valid[p.ConsumeIntegralInRange<std::size_t>(0, valid.size() - 1)] = p.ConsumeIntegral<T>();
            break;
        default:
            break;
    }
    write_file(path, valid.data(), valid.size() * sizeof(T));
}

}  // namespace

// Repeats a random piece of the input up to thousands of times in place,
// else leaves the mutation to libFuzzer.
extern "C" std::size_t LLVMFuzzerMutate(uint8_t *data, std::size_t size, std::size_t max_size);
extern "C" std::size_t LLVMFuzzerCustomMutator(uint8_t *data, std::size_t size, std::size_t max_size,
                                               unsigned int seed) {
    std::minstd_rand random(seed);
    if (size == 0 || random() % 8 != 0) return LLVMFuzzerMutate(data, size, max_size);
    const std::size_t start = random() % size;
    const std::size_t length = 1 + random() % std::min<std::size_t>(size - start, 8);
    std::size_t times = 1 + random() % 4096;
    times = std::min(times, (max_size - size) / length);
    if (times == 0) return LLVMFuzzerMutate(data, size, max_size);
    const std::vector<uint8_t> piece(data + start, data + start + length);
    std::memmove(data + start + length * (times + 1), data + start + length, size - start - length);
    for (std::size_t k = 1; k <= times; ++k) std::memcpy(data + start + length * k, piece.data(), length);
    return size + length * times;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    FuzzedDataProvider p(data, size);
    const auto &camera = radimo::fuzz::Camera::get();
    const fs::path &dir = camera_dir();
    for (const auto &entry : fs::directory_iterator(dir)) fs::remove(entry.path());

    const std::string json = p.ConsumeRandomLengthString(cli::CameraProfile::kMaxJsonBytes + 4096);
    write_file(dir / "camera.json", json.data(), json.size());
    const std::size_t ktbt_entries = p.ConsumeBool() ? 3601 : 1201;
    table_file(p, dir / "nuc_table.bin", camera.nuc_table);
    table_file(p, dir / "kt.bin", std::vector<uint16_t>(camera.kt.begin(), camera.kt.begin() + ktbt_entries));
    table_file(p, dir / "bt.bin", std::vector<int16_t>(camera.bt.begin(), camera.bt.begin() + ktbt_entries));
    table_file(p, dir / "correct_table.bin", camera.raw[p.ConsumeIntegralInRange<std::size_t>(0, 2)]);
    table_file(p, dir / "env_tau.bin", camera.env_tau);

    std::vector<cli::ProfileOverride> overrides;
    try {
        for (int n = p.ConsumeIntegralInRange<int>(0, 3); n > 0; --n)
            overrides.push_back(cli::parse_set_option(p.ConsumeRandomLengthString(4096)));
        const cli::CameraProfile profile = cli::load_profile(dir, overrides);
        check(profile.width >= 1 && profile.height >= 1 && profile.nuc_table.size() == 8192);
        check((profile.kt.size() == 1201 || profile.kt.size() == 3601) &&
              profile.bt.size() == profile.kt.size());
        check(profile.env_tau.empty() || profile.env_tau.size() == cli::CameraProfile::kEnvTauEntries);
        if (!profile.correct_table.empty())
            check(profile.correct_table.size() >= cli::correct_table_words_needed(profile.correct_table));
        const uint16_t vtemp = p.ConsumeIntegral<uint16_t>();
        const int index = profile.ktbt_index(vtemp);
        check(index >= 0 && static_cast<std::size_t>(index) < profile.kt.size());
        (void)profile.ktbt_param(vtemp);
        (void)profile.second_calib_param();
        (void)cli::profile_json(profile).dump();
    } catch (const cli::Error &e) {
        if (std::getenv("RADIMO_FUZZ_SHOW")) std::fprintf(stderr, "refused: %s\n", e.what());
    }
    return 0;
}
