// Raw frames: headerless little-endian u16 samples, frame after frame.
#include <endian.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "core/errors.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

class RawReader final : public FrameReader {
public:
    RawReader(const fs::path &path, FrameSize size) : name_(path.string()), size_(size) {
        std::error_code ec;
        const uintmax_t bytes = fs::file_size(path, ec);
        if (ec) fail_io(name_ + ": cannot read: " + ec.message());
        const uintmax_t frame_bytes = 2ull * static_cast<uintmax_t>(size.width) * size.height;
        if (bytes == 0 || bytes % frame_bytes != 0)
            fail_usage(name_ + ": " + std::to_string(bytes) + " bytes is not a whole number of " +
                       std::to_string(size.width) + "x" + std::to_string(size.height) + " u16 frames (" +
                       std::to_string(frame_bytes) + " bytes each)");
        count_ = static_cast<std::size_t>(bytes / frame_bytes);
        file_ = std::fopen(path.c_str(), "rb");
        if (file_ == nullptr) fail_io(name_ + ": cannot read: " + std::strerror(errno));
    }
    ~RawReader() override { std::fclose(file_); }

    bool next(Frame &frame) override {
        if (read_ == count_) return false;
        frame = Frame{};
        frame.width = size_.width;
        frame.height = size_.height;
        frame.samples.resize(frame.pixels());
        if (std::fread(frame.samples.data(), 2, frame.pixels(), file_) != frame.pixels())
            fail_io(name_ + ": read error in frame " + std::to_string(read_));
        for (uint16_t &v : frame.samples) v = le16toh(v);
        ++read_;
        return true;
    }
    std::size_t frame_count() const override { return count_; }

private:
    std::string name_;
    FrameSize size_;
    std::FILE *file_ = nullptr;
    std::size_t count_ = 0;
    std::size_t read_ = 0;
};

}  // namespace

std::unique_ptr<FrameReader> open_raw(const fs::path &path, FrameSize size) {
    return std::make_unique<RawReader>(path, size);
}

}  // namespace radimo::cli
