// The command-line tool's frame readers on random file contents: TIFF
// (16-bit and float32, any number of pages), PNG, PGM and raw frames,
// recognised by their content as the tool recognises them. A reader may
// refuse a file with the tool's usage or I/O error; anything else (another
// exception, a crash, a leak, a read out of bounds) is a finding.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/errors.h"
#include "formats/frame_file.h"

namespace {

// One temporary file per process, rewritten for every input.
const std::string &scratch_path() {
    static const std::string path = [] {
        std::string p = (std::filesystem::temp_directory_path() / "radimo-fuzz-frames-XXXXXX").string();
        const int fd = mkstemp(p.data());
        if (fd < 0) std::abort();
        close(fd);
        std::atexit([] { std::remove(scratch_path().c_str()); });
        return p;
    }();
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    const std::string &path = scratch_path();
    std::FILE *f = std::fopen(path.c_str(), "wb");
    if (f == nullptr || std::fwrite(data, 1, size, f) != size || std::fclose(f) != 0) std::abort();
    // Raw files need a frame size from the user: one that depends on the input.
    const radimo::cli::FrameSize raw_size{1 + static_cast<int>(size % 5), 1 + static_cast<int>(size / 5 % 3)};
    try {
        const auto reader = radimo::cli::open_frame_file(path, raw_size);
        radimo::cli::Frame frame;
        std::size_t frames = 0;
        while (frames < 64 && reader->next(frame)) {
            ++frames;
            const std::size_t expected = frame.pixels();
            const std::size_t held =
                radimo::cli::is_float_unit(frame.unit) ? frame.floats.size() : frame.samples.size();
            if (frame.width <= 0 || frame.height <= 0 || held != expected) std::abort();
        }
        if (frames > reader->frame_count()) std::abort();
    } catch (const radimo::cli::Error &e) {
        if (std::getenv("RADIMO_FUZZ_SHOW")) std::fprintf(stderr, "refused: %s\n", e.what());
    }
    return 0;
}
