// The command-line tool's frame readers on random file contents: TIFF
// (16-bit and float32, any number of pages), PNG, PGM and raw frames,
// recognised by their content as the tool recognises them. A reader may
// refuse a file with the tool's usage or I/O error; anything else (another
// exception, a crash, a leak, a read out of bounds) is a finding.
//
// An input starting with 'G' is not a file but the recipe of one: a
// multi-page TIFF written with libtiff (sizes, sample types, compressions,
// strips per page, units and vtemps from the input), then forged: cut short,
// its strip tables pointed at one place or given other byte counts, its
// page sizes enlarged, a byte changed. Read back, an unforged file must give
// exactly the frames written, and a cut one either those frames or a
// refusal (never fewer pages, never a page without its metadata). Whatever
// is read from a forged one must fit in what the file can hold.
#include <fuzzer/FuzzedDataProvider.h>
#include <tiffio.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "core/errors.h"
#include "formats/frame_file.h"

namespace cli = radimo::cli;

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

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

void write_scratch(const uint8_t *data, std::size_t size) {
    std::FILE *f = std::fopen(scratch_path().c_str(), "wb");
    if (f == nullptr || std::fwrite(data, 1, size, f) != size || std::fclose(f) != 0) std::abort();
}

// Reads every frame the tool would read (at most 64).
std::vector<cli::Frame> read_frames(std::size_t file_size, std::optional<cli::FrameSize> raw_size) {
    const auto reader = cli::open_frame_file(scratch_path(), raw_size);
    std::vector<cli::Frame> frames;
    cli::Frame frame;
    while (frames.size() < 64 && reader->next(frame)) {
        const std::size_t held = cli::is_float_unit(frame.unit) ? frame.floats.size() : frame.samples.size();
        check(frame.width > 0 && frame.height > 0 && held == frame.pixels());
        // A header costs no more than the file holds, times deflate's or LZW's expansion.
        check(held * 4 <= 4096 * file_size + 4096);
        frames.push_back(frame);
    }
    check(frames.size() <= reader->frame_count());
    return frames;
}

// ---- Recipes: a TIFF written with libtiff, then forged ------------------------------------

uint16_t le16(const std::vector<uint8_t> &b, std::size_t at) {
    return static_cast<uint16_t>(b[at] | b[at + 1] << 8);
}
uint32_t le32(const std::vector<uint8_t> &b, std::size_t at) {
    return static_cast<uint32_t>(b[at] | b[at + 1] << 8 | b[at + 2] << 16) | static_cast<uint32_t>(b[at + 3])
                                                                                 << 24;
}
void put32(std::vector<uint8_t> &b, std::size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}
void put16(std::vector<uint8_t> &b, std::size_t at, uint16_t v) {
    b[at] = static_cast<uint8_t>(v);
    b[at + 1] = static_cast<uint8_t>(v >> 8);
}

// Where an IFD entry's values are, and how many (a classic little-endian TIFF).
struct Entry {
    std::size_t at = 0;  // of the entry
    uint16_t type = 0;
    uint32_t count = 0;
    std::size_t values = 0;  // of the first value
};

// The entries of `tag`, one per page, of a file libtiff wrote.
std::vector<Entry> entries(const std::vector<uint8_t> &b, uint16_t tag) {
    std::vector<Entry> found;
    if (b.size() < 8) return found;
    // Offsets are widened before any arithmetic: a forged offset near 4 GiB must not wrap.
    std::size_t ifd = le32(b, 4);
    for (int page = 0; page < 16 && ifd != 0 && ifd + 2 <= b.size(); ++page) {
        const uint16_t n = le16(b, ifd);
        for (uint16_t i = 0; i < n && ifd + 2 + 12 * (i + 1) <= b.size(); ++i) {
            const std::size_t at = ifd + 2 + 12 * i;
            if (le16(b, at) != tag) continue;
            Entry e{at, le16(b, at + 2), le32(b, at + 4), at + 8};
            const std::size_t bytes = (e.type == TIFF_SHORT ? 2 : 4) * std::size_t{e.count};
            if (bytes > 4) e.values = le32(b, at + 8);
            found.push_back(e);
        }
        if (ifd + 2 + 12 * std::size_t{n} + 4 > b.size()) break;
        ifd = le32(b, ifd + 2 + 12 * n);
    }
    return found;
}

void set_values(std::vector<uint8_t> &b, const Entry &e, uint32_t value) {
    for (uint32_t i = 0; i < e.count; ++i) {
        const std::size_t at = e.values + (e.type == TIFF_SHORT ? 2 : 4) * std::size_t{i};
        if (at + 4 > b.size()) return;
        if (e.type == TIFF_SHORT)
            put16(b, at, static_cast<uint16_t>(value));
        else
            put32(b, at, value);
    }
}

void recipe(FuzzedDataProvider &p) {
    static const uint16_t kCompressions[] = {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE,
                                             COMPRESSION_PACKBITS};
    std::vector<cli::Frame> written;
    TIFF *tiff = TIFFOpen(scratch_path().c_str(), "w");
    check(tiff != nullptr);
    for (int page = 0, pages = p.ConsumeIntegralInRange(1, 3); page < pages; ++page) {
        cli::Frame f;
        f.width = p.ConsumeIntegralInRange(1, 16);
        f.height = p.ConsumeIntegralInRange(1, 16);
        const bool f32 = p.ConsumeIntegralInRange(0, 3) == 0;
        f.unit = f32 ? cli::Unit::kCelsius : p.ConsumeBool() ? cli::Unit::kNuc : cli::Unit::kKelvin16;
        f.unit_source = cli::UnitSource::kFile;
        if (f.unit == cli::Unit::kNuc && p.ConsumeBool()) f.vtemp = p.ConsumeIntegral<uint16_t>();
        for (std::size_t i = 0; i < f.pixels(); ++i) {
            if (f32)
                f.floats.push_back(static_cast<float>(p.ConsumeIntegralInRange(-400, 4000)) / 8.0f);
            else
                f.samples.push_back(p.ConsumeIntegral<uint16_t>());
        }
        const std::string description = cli::frame_metadata(f);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(f.width));
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(f.height));
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, f32 ? 32 : 16);
        TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, f32 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, kCompressions[p.ConsumeIntegralInRange(0, 3)]);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, p.ConsumeIntegralInRange<uint32_t>(1, f.height));
        TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, description.c_str());
        for (int y = 0; y < f.height; ++y) {
            const std::size_t offset = static_cast<std::size_t>(y) * f.width;
            void *row = f32 ? static_cast<void *>(f.floats.data() + offset)
                            : static_cast<void *>(f.samples.data() + offset);
            check(TIFFWriteScanline(tiff, row, static_cast<uint32_t>(y), 0) == 1);
        }
        check(TIFFWriteDirectory(tiff) == 1);
        written.push_back(f);
    }
    TIFFClose(tiff);
    std::ifstream in(scratch_path(), std::ios::binary);
    std::vector<uint8_t> file{std::istreambuf_iterator<char>(in), {}};

    // Forgeries, at most three: the file cut short, one of these tags of a
    // page set to one value throughout (every strip at one place, one byte
    // count for all, a page far larger), or one byte changed.
    static const uint16_t kTags[] = {TIFFTAG_STRIPOFFSETS, TIFFTAG_STRIPBYTECOUNTS, TIFFTAG_IMAGEWIDTH,
                                     TIFFTAG_IMAGELENGTH, TIFFTAG_ROWSPERSTRIP};
    bool cut = false, forged = false;
    for (int n = p.ConsumeIntegralInRange(0, 3); n > 0 && !file.empty(); --n) {
        const int kind = p.ConsumeIntegralInRange(0, 6);
        if (kind == 0) {
            file.resize(p.ConsumeIntegralInRange<std::size_t>(0, file.size() - 1));
            cut = true;
            continue;
        }
        forged = true;
        const std::vector<Entry> found = kind <= 5 ? entries(file, kTags[kind - 1]) : std::vector<Entry>{};
        if (found.empty()) {
            file[p.ConsumeIntegralInRange<std::size_t>(0, file.size() - 1)] = p.ConsumeIntegral<uint8_t>();
            continue;
        }
        const Entry &e = found[p.ConsumeIntegralInRange<std::size_t>(0, found.size() - 1)];
        const uint32_t value = kind <= 2
                                   ? p.ConsumeIntegralInRange<uint32_t>(0, static_cast<uint32_t>(file.size()))
                               : p.ConsumeBool() ? 65535u
                                                 : p.ConsumeIntegral<uint32_t>();
        set_values(file, e, value);
    }
    write_scratch(file.data(), file.size());
    try {
        const std::vector<cli::Frame> frames = read_frames(file.size(), std::nullopt);
        if (forged) return;
        // Read as written, or (cut short) refused: never fewer pages or a page without its metadata.
        check(frames.size() == written.size());
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const cli::Frame &a = written[i], &b = frames[i];
            check(a.width == b.width && a.height == b.height && a.unit == b.unit &&
                  b.unit_source == cli::UnitSource::kFile && a.vtemp == b.vtemp && a.samples == b.samples &&
                  a.floats == b.floats);
        }
    } catch (const cli::Error &e) {
        check(cut || forged);  // an unforged file is read
        if (std::getenv("RADIMO_FUZZ_SHOW")) std::fprintf(stderr, "refused: %s\n", e.what());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    if (size > 0 && data[0] == 'G') {
        FuzzedDataProvider p(data + 1, size - 1);
        recipe(p);
        return 0;
    }
    write_scratch(data, size);
    // Raw files need a frame size from the user: one that depends on the input.
    const cli::FrameSize raw_size{1 + static_cast<int>(size % 5), 1 + static_cast<int>(size / 5 % 3)};
    try {
        read_frames(size, raw_size);
    } catch (const cli::Error &e) {
        if (std::getenv("RADIMO_FUZZ_SHOW")) std::fprintf(stderr, "refused: %s\n", e.what());
    }
    return 0;
}
