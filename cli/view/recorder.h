// --record OUT.tiff: every frame a live source receives, as read (raw NUC values or temperatures,
// with their unit), into a multi-page TIFF that appears whole when recording ends.
// Frames are written by a thread of their own through a bounded queue: a disk slower than the
// stream drops frames (counted and reported) instead of holding the stream up or filling memory.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "view/frame_source.h"

namespace radimo::cli {
class AtomicFile;
class FrameWriter;
}  // namespace radimo::cli

namespace radimo::cli::view {

class Recorder {
public:
    // Creates the temporary beside `target` (a .tif/.tiff path); errors are usage or I/O errors.
    // Frames are stored with the unit the viewer reads them in, and a forced vtemp, so the recording
    // reads back as it was shown.
    Recorder(const std::filesystem::path &target, Unit unit, std::optional<uint16_t> vtemp);
    ~Recorder();
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

    // Queues a frame (from the live source's thread); drops it when the queue is full or after an error.
    void add(const SourceFramePtr &frame);
    // Writes what is queued, closes the file and puts it in place; returns one line for the user
    // ("OUT.tiff: 300 frames recorded, 0 dropped"). A write error is thrown here.
    std::string finish();
    uint64_t written() const;
    uint64_t dropped() const;

private:
    void run();

    static constexpr std::size_t kQueued = 32;
    Unit unit_;
    std::optional<uint16_t> vtemp_;
    std::unique_ptr<AtomicFile> file_;
    std::unique_ptr<FrameWriter> writer_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<SourceFramePtr> queue_;
    bool closing_ = false;
    uint64_t written_ = 0, dropped_ = 0;
    std::optional<std::string> error_;
    std::thread thread_;
};

}  // namespace radimo::cli::view
