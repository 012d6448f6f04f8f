// PNG frames through libpng: one 16-bit greyscale image, the unit in a
// tEXt chunk keyed "radimo".
#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "core/errors.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

constexpr const char *kTextKey = "radimo";

// libpng reports errors by longjmp; keep its message for our own line.
// A warning (a damaged ancillary chunk such as our metadata, dropped with a
// warning) is kept as well: the reader refuses the file rather than read it
// without what it lost.
struct PngMessage {
    char text[256] = {};
    char warning[256] = {};
};

void png_error_handler(png_structp png, png_const_charp message) {
    auto *m = static_cast<PngMessage *>(png_get_error_ptr(png));
    std::snprintf(m->text, sizeof m->text, "%s", message);
    png_longjmp(png, 1);
}

void png_warning_handler(png_structp png, png_const_charp message) {
    auto *m = static_cast<PngMessage *>(png_get_error_ptr(png));
    if (m->warning[0] == '\0') std::snprintf(m->warning, sizeof m->warning, "%s", message);
}

class PngReader final : public FrameReader {
public:
    explicit PngReader(const fs::path &path) : path_(path) {}

    bool next(Frame &frame) override {
        if (done_) return false;
        done_ = true;
        frame = read();
        return true;
    }
    std::size_t frame_count() const override { return 1; }

private:
    Frame read() const {
        const std::string name = path_.string();
        std::FILE *file = std::fopen(path_.c_str(), "rb");
        if (file == nullptr) fail_io(name + ": cannot read: " + std::strerror(errno));
        PngMessage message;
        png_structp png =
            png_create_read_struct(PNG_LIBPNG_VER_STRING, &message, png_error_handler, png_warning_handler);
        png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
        Frame frame;
        std::string problem;
        volatile bool io_problem = false;
        std::vector<png_bytep> rows;
        if (png == nullptr || info == nullptr) {
            problem = "out of memory";
            io_problem = true;
        } else if (setjmp(png_jmpbuf(png)) != 0) {
            problem = std::string("not a readable PNG file (") + message.text + ")";
        } else {
            png_init_io(png, file);
            png_set_user_limits(png, 65535, 65535);
            png_read_info(png, info);
            const int bits = png_get_bit_depth(png, info);
            const int colour = png_get_color_type(png, info);
            if (bits != 16 || colour != PNG_COLOR_TYPE_GRAY) {
                problem = "is " + std::to_string(bits) + "-bit " +
                          (colour == PNG_COLOR_TYPE_GRAY ? "greyscale" : "colour") +
                          "; expected 16-bit greyscale";
            } else {
                frame.width = static_cast<int>(png_get_image_width(png, info));
                frame.height = static_cast<int>(png_get_image_height(png, info));
            }
            // Deflate expands at most 1032-fold: a file too short for its
            // header's image is refused before the image is allocated.
            std::error_code ec;
            const uintmax_t bytes = fs::file_size(path_, ec);
            if (problem.empty() && (ec || 2 * static_cast<uintmax_t>(frame.pixels()) > 1032 * bytes)) {
                problem = "is truncated";
            } else if (problem.empty()) {
                png_set_swap(png);  // PNG stores big-endian samples
                png_set_interlace_handling(png);
                frame.samples.resize(frame.pixels());
                rows.resize(frame.height);
                for (int y = 0; y < frame.height; ++y)
                    rows[y] = reinterpret_cast<png_bytep>(frame.samples.data() +
                                                          static_cast<std::size_t>(y) * frame.width);
                png_read_image(png, rows.data());
                png_read_end(png, info);
                png_textp text = nullptr;
                int count = 0;
                png_get_text(png, info, &text, &count);
                for (int i = 0; i < count; ++i)
                    if (std::strcmp(text[i].key, kTextKey) == 0) read_frame_metadata(text[i].text, frame);
                if (message.warning[0] != '\0') problem = std::string("is damaged (") + message.warning + ")";
            }
        }
        png_destroy_read_struct(png != nullptr ? &png : nullptr, info != nullptr ? &info : nullptr, nullptr);
        std::fclose(file);
        if (!problem.empty()) {
            if (io_problem) fail_io(name + ": " + problem);
            fail_usage(name + ": " + problem);
        }
        if (is_float_unit(frame.unit))
            fail_usage(name + ": 16-bit samples cannot be " + unit_name(frame.unit));
        return frame;
    }

    fs::path path_;
    bool done_ = false;
};

class PngWriter final : public FrameWriter {
public:
    PngWriter(const fs::path &path, std::string shown) : path_(path), shown_(std::move(shown)) {}

    void write(const Frame &frame) override {
        if (written_)
            fail_usage(shown_ + ": a PNG file holds one frame; write several frames to TIFF or PGM");
        written_ = true;
        std::FILE *file = std::fopen(path_.c_str(), "wb");
        if (file == nullptr) fail_io("cannot write " + shown_ + ": " + std::strerror(errno));
        PngMessage message;
        png_structp png =
            png_create_write_struct(PNG_LIBPNG_VER_STRING, &message, png_error_handler, png_warning_handler);
        png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
        bool ok = png != nullptr && info != nullptr;
        const std::string metadata = frame_metadata(frame);
        std::vector<png_bytep> rows(frame.height);
        for (int y = 0; y < frame.height; ++y)
            rows[y] = reinterpret_cast<png_bytep>(const_cast<uint16_t *>(frame.samples.data()) +
                                                  static_cast<std::size_t>(y) * frame.width);
        if (ok && setjmp(png_jmpbuf(png)) != 0) {
            ok = false;
        } else if (ok) {
            png_init_io(png, file);
            png_set_IHDR(png, info, static_cast<png_uint_32>(frame.width),
                         static_cast<png_uint_32>(frame.height), 16, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                         PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
            png_text text{};
            text.compression = PNG_TEXT_COMPRESSION_NONE;
            text.key = const_cast<char *>(kTextKey);
            text.text = const_cast<char *>(metadata.c_str());
            png_set_text(png, info, &text, 1);
            png_write_info(png, info);
            png_set_swap(png);
            png_write_image(png, rows.data());
            png_write_end(png, info);
        }
        png_destroy_write_struct(png != nullptr ? &png : nullptr, info != nullptr ? &info : nullptr);
        const bool closed = std::fclose(file) == 0;
        if (!ok || !closed)
            fail_io("cannot write " + shown_ +
                    (message.text[0] ? std::string(" (") + message.text + ")" : ""));
    }

    void close() override {}

private:
    fs::path path_;
    std::string shown_;
    bool written_ = false;
};

}  // namespace

std::unique_ptr<FrameReader> open_png(const fs::path &path) {
    return std::make_unique<PngReader>(path);
}

std::unique_ptr<FrameWriter> create_png(const fs::path &path, const std::string &shown) {
    return std::make_unique<PngWriter>(path, shown);
}

}  // namespace radimo::cli
