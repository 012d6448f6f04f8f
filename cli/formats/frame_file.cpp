#include "formats/frame_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "core/errors.h"

namespace radimo::cli {
namespace fs = std::filesystem;

std::unique_ptr<FrameReader> open_frame_file(const fs::path &path, std::optional<FrameSize> raw_size) {
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
    if (starts({'I', 'I', 42, 0}) || starts({'M', 'M', 0, 42}) || starts({'I', 'I', 43, 0}) ||
        starts({'M', 'M', 0, 43}))
        return open_tiff(path);
    if (starts({0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'})) return open_png(path);
    if (starts({'P', '5'})) return open_pgm(path);
    if (starts({'P'}) && got >= 2 && magic[1] >= '1' && magic[1] <= '7')
        fail_usage(path.string() + ": a PNM file that is not binary greyscale (P5)");
    if (!raw_size)
        fail_usage(path.string() +
                   ": not a TIFF, PNG or PGM file; give --size WxH to read it as raw u16 frames");
    return open_raw(path, *raw_size);
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
    return unit != Unit::kCelsius || format == FileFormat::kTiff || format == FileFormat::kCsv;
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
