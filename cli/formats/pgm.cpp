// PGM frames: binary greyscale (P5) with a maxval above 255, so 16-bit
// big-endian samples; several images may follow one another in a file.
// The unit is stored in a "# radimo {...}" comment of each header.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "core/errors.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

constexpr const char *kCommentTag = "radimo ";

class PgmReader final : public FrameReader {
public:
    explicit PgmReader(const fs::path &path) : name_(path.string()) {
        stream_.reset(std::fopen(path.c_str(), "rb"));
        file_ = stream_.get();
        if (file_ == nullptr) fail_io(name_ + ": cannot read: " + std::strerror(errno));
        // Count the images by walking their headers. Seeking past the end
        // succeeds, so each image is checked against the file size: a header
        // must not make the reader allocate more than the file holds.
        std::error_code ec;
        const uintmax_t size = fs::file_size(path, ec);
        if (ec) fail_io(name_ + ": cannot read: " + ec.message());
        Frame header;
        while (read_header(header)) {
            if (std::fseek(file_, static_cast<long>(header.pixels() * 2), SEEK_CUR) != 0 ||
                static_cast<uintmax_t>(std::ftell(file_)) > size)
                fail_usage(name_ + ": image " + std::to_string(count_) + " is truncated");
            ++count_;
            skip_space();
            if (peek() == EOF) break;
        }
        std::rewind(file_);
    }

    bool next(Frame &frame) override {
        if (read_ == count_) return false;
        frame = Frame{};
        read_header(frame);
        frame.samples.resize(frame.pixels());
        if (std::fread(frame.samples.data(), 2, frame.pixels(), file_) != frame.pixels())
            fail_usage(name_ + ": image " + std::to_string(read_) + " is truncated");
        for (uint16_t &v : frame.samples) v = static_cast<uint16_t>((v >> 8) | (v << 8));
        skip_space();
        ++read_;
        return true;
    }
    std::size_t frame_count() const override { return count_; }

private:
    int peek() {
        const int c = std::fgetc(file_);
        if (c != EOF) std::ungetc(c, file_);
        return c;
    }
    void skip_space() {
        int c;
        while ((c = std::fgetc(file_)) != EOF && std::isspace(c)) {
        }
        if (c != EOF) std::ungetc(c, file_);
    }
    // Skips white space and comments (reading ours into `frame`), then reads a number.
    long header_number(Frame &frame) {
        while (true) {
            skip_space();
            if (peek() != '#') break;
            std::string comment;
            for (int c = std::fgetc(file_); c != EOF && c != '\n'; c = std::fgetc(file_))
                comment += static_cast<char>(c);
            if (comment.rfind(std::string("# ") + kCommentTag, 0) == 0)
                read_frame_metadata(comment.substr(2 + std::strlen(kCommentTag)), frame);
        }
        long value = 0;
        int digits = 0;
        for (int c = std::fgetc(file_); c != EOF && std::isdigit(c) && digits < 9;
             c = std::fgetc(file_), ++digits)
            value = value * 10 + (c - '0');
        if (digits == 0) fail_usage(name_ + ": not a PGM header");
        return value;
    }
    bool read_header(Frame &frame) {
        char magic[2] = {};
        if (std::fread(magic, 1, 2, file_) != 2) return false;
        if (magic[0] != 'P' || magic[1] != '5') fail_usage(name_ + ": not a binary greyscale PGM (P5) image");
        frame.width = static_cast<int>(header_number(frame));
        frame.height = static_cast<int>(header_number(frame));
        const long maxval = header_number(frame);  // the single white-space byte after it is consumed
        if (frame.width <= 0 || frame.height <= 0 || frame.width > 65535 || frame.height > 65535)
            fail_usage(name_ + ": PGM image has an unusable size");
        if (maxval < 256 || maxval > 65535)
            fail_usage(name_ + ": PGM maxval " + std::to_string(maxval) + " is not 16-bit (256..65535)");
        if (is_float_unit(frame.unit))
            fail_usage(name_ + ": 16-bit samples cannot be " + unit_name(frame.unit));
        return true;
    }

    std::string name_;
    // Closed however the reader ends, a refusal in the constructor included.
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> stream_{nullptr, std::fclose};
    std::FILE *file_ = nullptr;
    std::size_t count_ = 0;
    std::size_t read_ = 0;
};

class PgmWriter final : public StreamFrameWriter {
public:
    PgmWriter(const fs::path &path, const std::string &shown) : StreamFrameWriter(path, shown, "wb") {}

    void write(const Frame &frame) override {
        std::fprintf(file_, "P5\n# %s%s\n%d %d\n65535\n", kCommentTag, frame_metadata(frame).c_str(),
                     frame.width, frame.height);
        std::vector<uint16_t> row(frame.width);
        for (int y = 0; y < frame.height; ++y) {
            for (int x = 0; x < frame.width; ++x) {
                const uint16_t v = frame.samples[static_cast<std::size_t>(y) * frame.width + x];
                row[x] = static_cast<uint16_t>((v >> 8) | (v << 8));
            }
            std::fwrite(row.data(), 2, row.size(), file_);
        }
        check_stream();
    }
};

}  // namespace

std::unique_ptr<FrameReader> open_pgm(const fs::path &path) {
    return std::make_unique<PgmReader>(path);
}

std::unique_ptr<FrameWriter> create_pgm(const fs::path &path, const std::string &shown) {
    return std::make_unique<PgmWriter>(path, shown);
}

}  // namespace radimo::cli
