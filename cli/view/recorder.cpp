#include "view/recorder.h"

#include "core/atomic_output.h"
#include "core/errors.h"
#include "formats/frame_file.h"

namespace radimo::cli::view {

Recorder::Recorder(const std::filesystem::path &target, Unit unit, std::optional<uint16_t> vtemp)
    : unit_(unit), vtemp_(vtemp) {
    if (format_of_path(target) != FileFormat::kTiff)
        fail_usage("--record " + target.string() + ": recordings are written as multi-page .tiff");
    file_ = std::make_unique<AtomicFile>(target);
    writer_ = create_frame_writer(FileFormat::kTiff, file_->temp_path(), target.string());
    thread_ = std::thread([this] { run(); });
}

Recorder::~Recorder() {
    {
        std::lock_guard lock(mutex_);
        closing_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) thread_.join();
}

void Recorder::add(const SourceFramePtr &frame) {
    {
        std::lock_guard lock(mutex_);
        if (closing_ || error_ || queue_.size() >= kQueued) {
            ++dropped_;
            return;
        }
        queue_.push_back(frame);
    }
    changed_.notify_all();
}

void Recorder::run() {
    for (;;) {
        SourceFramePtr frame;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [&] { return closing_ || !queue_.empty(); });
            if (queue_.empty()) return;  // closing, all written
            frame = queue_.front();
        }
        try {
            Frame stored = frame->frame;
            stored.unit = unit_;
            stored.unit_source = UnitSource::kFile;
            if (vtemp_) stored.vtemp = vtemp_;
            writer_->write(stored);
        } catch (const std::exception &e) {
            std::lock_guard lock(mutex_);
            error_ = e.what();
            dropped_ += queue_.size();
            queue_.clear();
            continue;
        }
        std::lock_guard lock(mutex_);
        queue_.pop_front();
        ++written_;
    }
}

std::string Recorder::finish() {
    {
        std::lock_guard lock(mutex_);
        closing_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) thread_.join();
    if (error_) throw Error(Exit::kIo, *error_);
    writer_->close();
    if (written_ == 0) return file_->target().string() + ": no frame received, nothing recorded";
    file_->commit();
    return file_->target().string() + ": " + std::to_string(written_) +
           (written_ == 1 ? " frame" : " frames") + " recorded, " + std::to_string(dropped_) + " dropped";
}

uint64_t Recorder::written() const {
    std::lock_guard lock(mutex_);
    return written_;
}

uint64_t Recorder::dropped() const {
    std::lock_guard lock(mutex_);
    return dropped_;
}

}  // namespace radimo::cli::view
