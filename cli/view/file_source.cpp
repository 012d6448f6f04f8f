// The frames of the files named on the command line, as one sequence. Each file keeps a reader
// open at its last position: stepping forward reads on, stepping back opens the file again.
#include <mutex>

#include "core/errors.h"
#include "view/frame_source.h"

namespace radimo::cli::view {
namespace fs = std::filesystem;
namespace {

class FileSource final : public FrameSource {
public:
    FileSource(const std::vector<fs::path> &paths, const FrameInput &input) : input_(input) {
        for (const fs::path &path : paths) {
            File f{path, open_frame_file(path, input), 0, 0};
            f.count = f.reader->frame_count();
            if (f.count == 0) fail_usage(path.string() + ": holds no frame");
            total_ += f.count;
            files_.push_back(std::move(f));
        }
    }

    bool live() const override { return false; }
    uint64_t count() const override { return total_; }

    SourceFramePtr at(uint64_t index) override {
        if (index >= total_) return nullptr;
        std::lock_guard lock(mutex_);
        uint64_t first = 0;
        for (File &f : files_) {
            if (index < first + f.count) return read(f, index - first, index);
            first += f.count;
        }
        return nullptr;
    }

    SourceFramePtr next(std::optional<uint64_t> after, std::chrono::milliseconds) override {
        return at(after ? *after + 1 : 0);
    }

    std::string description() const override {
        std::string text;
        for (const File &f : files_) text += (text.empty() ? "" : ", ") + f.path.filename().string();
        return text + " (" + std::to_string(total_) + (total_ == 1 ? " frame)" : " frames)");
    }

private:
    struct File {
        fs::path path;
        std::unique_ptr<FrameReader> reader;
        uint64_t count;
        uint64_t position;  // index of the frame the reader reads next
    };

    SourceFramePtr read(File &f, uint64_t local, uint64_t index) {
        if (local < f.position) {
            f.reader = open_frame_file(f.path, input_);
            f.position = 0;
        }
        auto shown = std::make_shared<SourceFrame>();
        shown->index = index;
        shown->file_index = local;
        shown->origin = f.path.string();
        try {
            while (f.position <= local) {
                if (!f.reader->next(shown->frame))
                    fail_usage(f.path.string() + ": ends before frame " + std::to_string(local));
                ++f.position;
            }
        } catch (...) {
            f.position = UINT64_MAX;  // the reader's state is unknown: open the file again next time
            throw;
        }
        return shown;
    }

    FrameInput input_;
    std::vector<File> files_;
    uint64_t total_ = 0;
    std::mutex mutex_;
};

}  // namespace

std::unique_ptr<FrameSource> open_file_source(const std::vector<fs::path> &paths, const FrameInput &input) {
    return std::make_unique<FileSource>(paths, input);
}

}  // namespace radimo::cli::view
