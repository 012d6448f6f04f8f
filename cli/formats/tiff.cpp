// TIFF frames through libtiff: one page per frame, 16-bit unsigned or
// 32-bit float greyscale, the unit in the ImageDescription tag.
#include <tiffio.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "core/errors.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

// libtiff reports through process-wide handlers: keep its last message for
// our own one-line error instead of letting it print.
std::string g_tiff_message;

void keep_tiff_message(const char *module, const char *format, va_list args) {
    char buffer[512];
    std::vsnprintf(buffer, sizeof buffer, format, args);
    g_tiff_message = module != nullptr ? std::string(module) + ": " + buffer : buffer;
}

void ignore_tiff_warning(const char *, const char *, va_list) {}

void quiet_libtiff() {
    TIFFSetErrorHandler(keep_tiff_message);
    TIFFSetWarningHandler(ignore_tiff_warning);
}

std::string tiff_reason() {
    return g_tiff_message.empty() ? std::string("libtiff error") : g_tiff_message;
}

class TiffReader final : public FrameReader {
public:
    explicit TiffReader(const fs::path &path) : name_(path.string()) {
        quiet_libtiff();
        tiff_ = TIFFOpen(path.c_str(), "r");
        if (tiff_ == nullptr) fail_usage(name_ + ": not a readable TIFF file (" + tiff_reason() + ")");
        count_ = TIFFNumberOfDirectories(tiff_);
    }
    ~TiffReader() override { TIFFClose(tiff_); }

    bool next(Frame &frame) override {
        if (page_ == count_) return false;
        if (page_ > 0 && TIFFReadDirectory(tiff_) != 1) fail_io(name_ + ": cannot read page " + page());
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
            data.insert(data.end(), row.begin(), row.end());
        }
    }
    std::string page() const { return std::to_string(page_); }

    std::string name_;
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
