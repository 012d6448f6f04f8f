// TIFF frames through libtiff: one page per frame, 16-bit unsigned or
// 32-bit float greyscale, the unit in the ImageDescription tag.
#include <tiffio.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/errors.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

// libtiff reports through process-wide handlers: keep its last message for
// our own one-line error instead of letting it print. Readers also keep the
// first problem libtiff reports without failing the call (a tag cut off by
// the end of the file, a page chain that breaks off, a count that disagrees
// with the data): such a file is refused, not read as far as it goes.
std::string g_tiff_message;
std::string g_tiff_problem;

std::string format_tiff_message(const char *module, const char *format, va_list args) {
    char buffer[512];
    std::vsnprintf(buffer, sizeof buffer, format, args);
    return module != nullptr ? std::string(module) + ": " + buffer : buffer;
}

void keep_tiff_message(const char *module, const char *format, va_list args) {
    g_tiff_message = format_tiff_message(module, format, args);
    if (g_tiff_problem.empty()) g_tiff_problem = g_tiff_message;
}

// Warnings are problems too, except the notice of a tag this reader does not
// know (private tags of other software are common and harmless).
void keep_tiff_warning(const char *module, const char *format, va_list args) {
    const std::string text = format_tiff_message(module, format, args);
    if (g_tiff_problem.empty() && text.find("Unknown field with tag") == std::string::npos)
        g_tiff_problem = text;
}

void quiet_libtiff() {
    TIFFSetErrorHandler(keep_tiff_message);
    TIFFSetWarningHandler(keep_tiff_warning);
}

// Largest factor by which a compression can expand its data: a page whose
// samples need more than its strips times this cannot come from them.
// Codecs without such a bound are not read.
std::optional<uint64_t> largest_expansion(uint16_t compression) {
    switch (compression) {
        case COMPRESSION_NONE:
            return 1;
        case COMPRESSION_PACKBITS:  // 2 bytes repeat one byte up to 128 times
            return 64;
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_DEFLATE:  // deflate's longest match is 258 bytes for 2 bits
            return 1032;
        case COMPRESSION_LZW:  // a code of at least 9 bits gives at most 4096 bytes
            return 4096 * 8 / 9 + 1;
        default:
            return std::nullopt;
    }
}

std::string tiff_reason() {
    return g_tiff_message.empty() ? std::string("libtiff error") : g_tiff_message;
}

class TiffReader final : public FrameReader {
public:
    explicit TiffReader(const fs::path &path) : name_(path.string()) {
        quiet_libtiff();
        g_tiff_problem.clear();
        std::error_code ec;
        file_bytes_ = fs::file_size(path, ec);
        if (ec) fail_io(name_ + ": cannot read: " + ec.message());
        handle_.reset(TIFFOpen(path.c_str(), "r"));
        tiff_ = handle_.get();
        if (tiff_ == nullptr) fail_usage(name_ + ": not a readable TIFF file (" + tiff_reason() + ")");
        check_problems();
        count_ = TIFFNumberOfDirectories(tiff_);
        // The page after the last one counted is the one whose directory broke off.
        if (!g_tiff_problem.empty())
            fail_usage(name_ + ": page " + std::to_string(count_) + ": " + g_tiff_problem);
    }

    bool next(Frame &frame) override {
        if (page_ == count_) return false;
        if (page_ > 0 && TIFFReadDirectory(tiff_) != 1) fail_io(name_ + ": cannot read page " + page());
        check_problems();
        frame = Frame{};
        uint32_t width = 0, height = 0;
        uint16_t bits = 0, samples = 1, format = SAMPLEFORMAT_UINT, planar = PLANARCONFIG_CONTIG;
        TIFFGetField(tiff_, TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(tiff_, TIFFTAG_IMAGELENGTH, &height);
        TIFFGetFieldDefaulted(tiff_, TIFFTAG_BITSPERSAMPLE, &bits);
        TIFFGetFieldDefaulted(tiff_, TIFFTAG_SAMPLESPERPIXEL, &samples);
        TIFFGetFieldDefaulted(tiff_, TIFFTAG_SAMPLEFORMAT, &format);
        TIFFGetFieldDefaulted(tiff_, TIFFTAG_PLANARCONFIG, &planar);
        const bool u16 = bits == 16 && format == SAMPLEFORMAT_UINT;
        const bool f32 = bits == 32 && format == SAMPLEFORMAT_IEEEFP;
        if (samples != 1 || !(u16 || f32))
            fail_usage(name_ + ": page " + page() + " is " + std::to_string(samples) + " x " +
                       std::to_string(bits) +
                       "-bit samples; expected 16-bit greyscale (or float32 temperatures)");
        if (width == 0 || height == 0 || width > 65535 || height > 65535)
            fail_usage(name_ + ": page " + page() + " has an unusable size");
        if (TIFFIsTiled(tiff_)) fail_usage(name_ + ": tiled TIFF files are not supported; use strips");
        frame.width = static_cast<int>(width);
        frame.height = static_cast<int>(height);
        if (char *description = nullptr; TIFFGetField(tiff_, TIFFTAG_IMAGEDESCRIPTION, &description) == 1)
            read_frame_metadata(description, frame);
        check_problems();
        check_strips(width, height, f32 ? sizeof(float) : sizeof(uint16_t));
        const bool declared = frame.unit_source == UnitSource::kFile;
        if (f32) {
            if (declared && !is_float_unit(frame.unit))
                fail_usage(name_ + ": page " + page() + " holds float samples but says they are " +
                           unit_name(frame.unit));
            read_rows(frame.floats, width, height);
        } else {
            if (declared && is_float_unit(frame.unit))
                fail_usage(name_ + ": page " + page() + " holds 16-bit samples but says they are " +
                           unit_name(frame.unit));
            read_rows(frame.samples, width, height);
        }
        ++page_;
        return true;
    }
    std::size_t frame_count() const override { return count_; }

private:
    // The page grows row by row: a header claiming a huge page costs memory
    // only for the rows the file really holds.
    template <typename T>
    void read_rows(std::vector<T> &data, uint32_t width, uint32_t height) {
        if (TIFFScanlineSize64(tiff_) != static_cast<uint64_t>(width) * sizeof(T))
            fail_usage(name_ + ": page " + page() + " has an unusable row layout");
        std::vector<T> row(width);
        for (uint32_t y = 0; y < height; ++y) {
            if (TIFFReadScanline(tiff_, row.data(), y) != 1)
                fail_io(name_ + ": cannot read page " + page() + " (" + tiff_reason() + ")");
            check_problems();
            data.insert(data.end(), row.begin(), row.end());
        }
    }
    std::string page() const { return std::to_string(page_); }

    void check_problems() const {
        if (!g_tiff_problem.empty()) fail_usage(name_ + ": page " + page() + ": " + g_tiff_problem);
    }

    // The page's samples must come from bytes the file holds: every strip
    // inside the file, no byte shared by two strips, and no more samples than
    // the strips' bytes can expand to. So a forged header or strip table
    // costs at most what the file holds, times the codec's expansion.
    void check_strips(uint32_t width, uint32_t height, std::size_t sample_bytes) const {
        uint16_t compression = COMPRESSION_NONE;
        TIFFGetFieldDefaulted(tiff_, TIFFTAG_COMPRESSION, &compression);
        const std::optional<uint64_t> expansion = largest_expansion(compression);
        if (!expansion)
            fail_usage(name_ + ": page " + page() + " uses compression " + std::to_string(compression) +
                       "; radimo reads uncompressed, LZW, deflate and PackBits pages");
        uint64_t stored = 0;
        for (uint32_t s = 0, n = TIFFNumberOfStrips(tiff_); s < n; ++s) {
            const uint64_t offset = TIFFGetStrileOffset(tiff_, s), bytes = TIFFGetStrileByteCount(tiff_, s);
            if (offset > file_bytes_ || bytes > file_bytes_ - offset)
                fail_usage(name_ + ": page " + page() + ": strip " + std::to_string(s) +
                           " lies beyond the end of the file (truncated?)");
            stored += bytes;
        }
        check_problems();
        const uint64_t samples = static_cast<uint64_t>(width) * height * sample_bytes;
        if (stored > file_bytes_ || samples > stored * *expansion)
            fail_usage(name_ + ": page " + page() + " claims " + std::to_string(width) + "x" +
                       std::to_string(height) + " samples, more than its strips (" + std::to_string(stored) +
                       " bytes in a " + std::to_string(file_bytes_) + "-byte file) can hold");
    }

    std::string name_;
    uintmax_t file_bytes_ = 0;
    // Closed however the reader ends, a refusal in the constructor included.
    std::unique_ptr<TIFF, void (*)(TIFF *)> handle_{nullptr, TIFFClose};
    TIFF *tiff_ = nullptr;
    std::size_t count_ = 0;
    std::size_t page_ = 0;
};

class TiffWriter final : public FrameWriter {
public:
    TiffWriter(const fs::path &path, std::string shown) : shown_(std::move(shown)) {
        quiet_libtiff();
        tiff_ = TIFFOpen(path.c_str(), "w");
        if (tiff_ == nullptr) fail_io("cannot write " + shown_ + " (" + tiff_reason() + ")");
    }
    ~TiffWriter() override {
        if (tiff_ != nullptr) TIFFClose(tiff_);
    }

    void write(const Frame &frame) override {
        const bool f32 = is_float_unit(frame.unit);
        const std::string description = frame_metadata(frame);
        TIFFSetField(tiff_, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(frame.width));
        TIFFSetField(tiff_, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(frame.height));
        TIFFSetField(tiff_, TIFFTAG_BITSPERSAMPLE, f32 ? 32 : 16);
        TIFFSetField(tiff_, TIFFTAG_SAMPLEFORMAT, f32 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
        TIFFSetField(tiff_, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tiff_, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff_, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff_, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
        TIFFSetField(tiff_, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff_, 0));
        TIFFSetField(tiff_, TIFFTAG_IMAGEDESCRIPTION, description.c_str());
        TIFFSetField(tiff_, TIFFTAG_SOFTWARE, "radimo");
        for (int y = 0; y < frame.height; ++y) {
            const std::size_t offset = static_cast<std::size_t>(y) * frame.width;
            void *row = f32 ? static_cast<void *>(const_cast<float *>(frame.floats.data() + offset))
                            : static_cast<void *>(const_cast<uint16_t *>(frame.samples.data() + offset));
            if (TIFFWriteScanline(tiff_, row, static_cast<uint32_t>(y), 0) != 1)
                fail_io("cannot write " + shown_ + " (" + tiff_reason() + ")");
        }
        if (TIFFWriteDirectory(tiff_) != 1) fail_io("cannot write " + shown_ + " (" + tiff_reason() + ")");
    }

    void close() override {
        TIFF *t = tiff_;
        tiff_ = nullptr;
        const bool flushed = TIFFFlush(t) == 1;
        TIFFClose(t);
        if (!flushed) fail_io("cannot write " + shown_ + " (" + tiff_reason() + ")");
    }

private:
    std::string shown_;
    TIFF *tiff_ = nullptr;
};

}  // namespace

std::unique_ptr<FrameReader> open_tiff(const fs::path &path) {
    return std::make_unique<TiffReader>(path);
}

std::unique_ptr<FrameWriter> create_tiff(const fs::path &path, const std::string &shown) {
    return std::make_unique<TiffWriter>(path, shown);
}

}  // namespace radimo::cli
