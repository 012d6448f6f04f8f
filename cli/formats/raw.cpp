// Raw frames: headerless samples, frame after frame: u16, or float32 for the
// float units, little-endian unless the user says otherwise.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "core/errors.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

// Samples read per frame to judge the frame shape (rows line up with rows).
constexpr std::size_t kShapeSamples = 1u << 21;

constexpr ByteOrder kHostOrder =
    __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ByteOrder::kLittle : ByteOrder::kBig;

template <typename Word>
Word swapped(Word w) {
    if constexpr (sizeof(Word) == 2)
        return static_cast<Word>(__builtin_bswap16(w));
    else
        return static_cast<Word>(__builtin_bswap32(w));
}

class RawReader final : public FrameReader {
public:
    RawReader(const fs::path &path, FrameSize size, std::size_t sample_bytes, ByteOrder order)
        : name_(path.string()), size_(size), sample_bytes_(sample_bytes), order_(order) {
        std::error_code ec;
        const uintmax_t bytes = fs::file_size(path, ec);
        if (ec) fail_io(name_ + ": cannot read: " + ec.message());
        const char *kind = sample_bytes == 2 ? "u16" : "float32";
        const uintmax_t frame_bytes = sample_bytes * static_cast<uintmax_t>(size.width) * size.height;
        if (bytes == 0 || bytes % frame_bytes != 0) {
            const std::string fitting = raw_shapes_fitting(bytes, sample_bytes);
            fail_usage(name_ + ": " + std::to_string(bytes) + " bytes is not a whole number of " +
                       std::to_string(size.width) + "x" + std::to_string(size.height) + " " + kind +
                       " frames (" + std::to_string(frame_bytes) + " bytes each)" +
                       (fitting.empty() ? "" : "; it fits " + fitting));
        }
        count_ = static_cast<std::size_t>(bytes / frame_bytes);
        file_ = std::fopen(path.c_str(), "rb");
        if (file_ == nullptr) fail_io(name_ + ": cannot read: " + std::strerror(errno));
        if (sample_bytes == 2) check_shape(bytes);
    }
    ~RawReader() override { std::fclose(file_); }

    bool next(Frame &frame) override {
        if (read_ == count_) return false;
        frame = Frame{};
        frame.width = size_.width;
        frame.height = size_.height;
        if (sample_bytes_ == 2) {
            read(frame.samples, frame.pixels());
        } else {
            std::vector<uint32_t> words;
            read(words, frame.pixels());
            frame.floats.resize(words.size());
            std::memcpy(frame.floats.data(), words.data(), words.size() * 4);
        }
        ++read_;
        return true;
    }
    std::size_t frame_count() const override { return count_; }

private:
    template <typename Word>
    void read(std::vector<Word> &words, std::size_t count) {
        words.resize(count);
        if (std::fread(words.data(), sizeof(Word), count, file_) != count)
            fail_io(name_ + ": read error in frame " + std::to_string(read_));
        if (order_ != kHostOrder)
            for (Word &w : words) w = swapped(w);
    }

    // Warns when the first samples line up row on row better at another width.
    void check_shape(uintmax_t bytes) {
        std::vector<uint16_t> head;
        read(head, static_cast<std::size_t>(std::min<uintmax_t>(bytes / 2, kShapeSamples)));
        std::rewind(file_);
        check_raw_shape(name_, bytes, size_, head);
    }

    std::string name_;
    FrameSize size_;
    std::size_t sample_bytes_;
    ByteOrder order_;
    std::FILE *file_ = nullptr;
    std::size_t count_ = 0;
    std::size_t read_ = 0;
};

}  // namespace

std::unique_ptr<FrameReader> open_raw(const fs::path &path, FrameSize size, std::size_t sample_bytes,
                                      ByteOrder order) {
    return std::make_unique<RawReader>(path, size, sample_bytes, order);
}

}  // namespace radimo::cli
