#include "formats/frame_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "core/errors.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

uint16_t swapped(uint16_t v) {
    return static_cast<uint16_t>((v >> 8) | (v << 8));
}

float swapped(float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, 4);
    bits = __builtin_bswap32(bits);
    std::memcpy(&v, &bits, 4);
    return v;
}

// A format's reader, with the byte order and unit of its frames settled and
// each frame looked at for doubts.
class SettledReader final : public FrameReader {
public:
    SettledReader(std::unique_ptr<FrameReader> reader, std::string name, const FrameInput &input,
                  ByteOrder stored)
        : reader_(std::move(reader)),
          name_(std::move(name)),
          input_(input),
          order_(input.byte_order.value_or(stored)),
          swap_(order_ != stored) {}

    bool next(Frame &frame) override {
        if (!reader_->next(frame)) return false;
        if (swap_) {
            for (uint16_t &v : frame.samples) v = swapped(v);
            for (float &v : frame.floats) v = swapped(v);
        }
        settle_unit(frame);
        check_frame(frame, name_, index_++, order_);
        return true;
    }
    std::size_t frame_count() const override { return reader_->frame_count(); }

private:
    void settle_unit(Frame &frame) const {
        const bool floats = !frame.floats.empty();
        if (frame.unit_source == UnitSource::kFile) {
            if (input_.unit && *input_.unit != frame.unit)
                fail_usage(name_ + ": the file declares its samples " + unit_name(frame.unit) + "; --unit " +
                           unit_name(*input_.unit) + " contradicts it");
            if (is_float_unit(frame.unit) != floats)
                fail_usage(name_ + ": holds " + (floats ? "float" : "16-bit") +
                           " samples but declares them " + unit_name(frame.unit));
            return;
        }
        if (input_.unit) {
            if (is_float_unit(*input_.unit) != floats)
                fail_usage(name_ + ": holds " + (floats ? "float32" : "16-bit") + " samples; --unit " +
                           unit_name(*input_.unit) + " is a unit of " + (floats ? "16-bit" : "float") +
                           " samples (" +
                           (floats ? "celsius or kelvin"
                                   : "nuc, kelvin16, centikelvin, "
                                     "decikelvin or millikelvin") +
                           " fit)");
            frame.unit = *input_.unit;
            frame.unit_source = UnitSource::kOption;
            return;
        }
        frame.unit = floats ? Unit::kCelsius : input_.assumed;
        frame.unit_source = UnitSource::kAssumed;
    }

    std::unique_ptr<FrameReader> reader_;
    std::string name_;
    FrameInput input_;
    ByteOrder order_;
    bool swap_;
    std::size_t index_ = 0;
};

}  // namespace

std::unique_ptr<FrameReader> open_frame_file(const fs::path &path, const FrameInput &input) {
    const std::string name = path.string();
    const auto settled = [&](std::unique_ptr<FrameReader> reader,
                             ByteOrder stored) -> std::unique_ptr<FrameReader> {
        return std::make_unique<SettledReader>(std::move(reader), name, input, stored);
    };
    std::error_code ec;
    if (!fs::exists(path, ec)) fail_usage(path.string() + ": no such file");
    if (fs::is_directory(path, ec)) fail_usage(path.string() + ": is a directory, not a frame file");
    std::ifstream in(path, std::ios::binary);
    if (!in) fail_io(path.string() + ": cannot read: " + std::strerror(errno));
    std::array<unsigned char, 8> magic{};
    in.read(reinterpret_cast<char *>(magic.data()), magic.size());
    const std::size_t got = static_cast<std::size_t>(in.gcount());
    const auto starts = [&](std::initializer_list<unsigned char> m) {
        return got >= m.size() && std::equal(m.begin(), m.end(), magic.begin());
    };
    if (starts({'I', 'I', 42, 0}) || starts({'I', 'I', 43, 0}))
        return settled(open_tiff(path), ByteOrder::kLittle);
    if (starts({'M', 'M', 0, 42}) || starts({'M', 'M', 0, 43}))
        return settled(open_tiff(path), ByteOrder::kBig);
    if (starts({0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}))
        return settled(open_png(path), ByteOrder::kBig);
    if (starts({'P', '5'})) return settled(open_pgm(path), ByteOrder::kBig);
    if (starts({'P'}) && got >= 2 && magic[1] >= '1' && magic[1] <= '7')
        fail_usage(path.string() + ": a PNM file that is not binary greyscale (P5)");
    if (!input.raw_size)
        fail_usage(name + ": not a TIFF, PNG or PGM file; give --size WxH to read it as raw u16 frames");
    const bool floats = input.unit && is_float_unit(*input.unit);
    const ByteOrder order = input.byte_order.value_or(ByteOrder::kLittle);
    return settled(open_raw(path, *input.raw_size, floats ? 4 : 2, order), order);
}

const char *format_name(FileFormat format) {
    switch (format) {
        case FileFormat::kTiff:
            return "TIFF";
        case FileFormat::kPng:
            return "PNG";
        case FileFormat::kPgm:
            return "PGM";
        case FileFormat::kCsv:
            return "CSV";
    }
    return "TIFF";
}

FileFormat format_of_path(const fs::path &path) {
    std::string ext = path.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    if (ext == ".tif" || ext == ".tiff") return FileFormat::kTiff;
    if (ext == ".png") return FileFormat::kPng;
    if (ext == ".pgm") return FileFormat::kPgm;
    if (ext == ".csv") return FileFormat::kCsv;
    fail_usage(path.string() + ": unknown output format (use .tiff, .png, .pgm or .csv)");
}

bool format_holds(FileFormat format, Unit unit) {
    return !is_float_unit(unit) || format == FileFormat::kTiff || format == FileFormat::kCsv;
}

bool format_holds_many(FileFormat format) {
    return format != FileFormat::kPng;
}

StreamFrameWriter::StreamFrameWriter(const fs::path &path, std::string shown, const char *mode)
    : shown_(std::move(shown)), file_(std::fopen(path.c_str(), mode)) {
    if (file_ == nullptr) fail_io("cannot write " + shown_ + ": " + std::strerror(errno));
}

StreamFrameWriter::~StreamFrameWriter() {
    if (file_ != nullptr) std::fclose(file_);
}

void StreamFrameWriter::check_stream() const {
    if (std::ferror(file_) != 0) fail_io("cannot write " + shown_ + ": " + std::strerror(errno));
}

void StreamFrameWriter::close() {
    check_stream();
    std::FILE *f = file_;
    file_ = nullptr;
    if (std::fclose(f) != 0) fail_io("cannot write " + shown_ + ": " + std::strerror(errno));
}

std::unique_ptr<FrameWriter> create_frame_writer(FileFormat format, const fs::path &path,
                                                 const std::string &shown) {
    switch (format) {
        case FileFormat::kTiff:
            return create_tiff(path, shown);
        case FileFormat::kPng:
            return create_png(path, shown);
        case FileFormat::kPgm:
            return create_pgm(path, shown);
        case FileFormat::kCsv:
            return create_csv(path, shown);
    }
    return create_tiff(path, shown);
}

}  // namespace radimo::cli
