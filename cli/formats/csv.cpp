// CSV frames for spreadsheets and scripts: one line per row, values
// separated by commas, a "# radimo {...}" line before each frame and an
// empty line between frames. Float temperatures (degC or K) keep every digit of the
// float (%.9g), so nothing is lost.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "core/errors.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

class CsvWriter final : public StreamFrameWriter {
public:
    CsvWriter(const fs::path &path, const std::string &shown) : StreamFrameWriter(path, shown, "w") {}

    void write(const Frame &frame) override {
        if (frames_++ > 0) std::fputc('\n', file_);
        std::fprintf(file_, "# radimo %s\n", frame_metadata(frame).c_str());
        for (int y = 0; y < frame.height; ++y) {
            for (int x = 0; x < frame.width; ++x) {
                const std::size_t i = static_cast<std::size_t>(y) * frame.width + x;
                if (x > 0) std::fputc(',', file_);
                if (is_float_unit(frame.unit))
                    std::fprintf(file_, "%.9g", static_cast<double>(frame.floats[i]));
                else
                    std::fprintf(file_, "%u", static_cast<unsigned>(frame.samples[i]));
            }
            std::fputc('\n', file_);
        }
        check_stream();
    }

private:
    int frames_ = 0;
};

}  // namespace

std::unique_ptr<FrameWriter> create_csv(const fs::path &path, const std::string &shown) {
    return std::make_unique<CsvWriter>(path, shown);
}

}  // namespace radimo::cli
