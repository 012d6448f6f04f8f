// Where the viewer's frames come from: the frame files named on the command line (a sequence the
// page steps through), or a live stream (a V4L2 device or raw u16 frames on standard input) of
// which only the newest frame is kept.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/arguments.h"
#include "core/frame.h"
#include "formats/frame_file.h"

namespace radimo::cli::view {

// One frame as read, raw or temperatures, and where it is in its source.
struct SourceFrame {
    Frame frame;
    uint64_t index = 0;       // files: position in the sequence; live: frames received before it
    uint64_t file_index = 0;  // position in its file (live: the same as index)
    std::string origin;       // the file it came from, or the stream's description
    double received_ms = 0;   // live: when it arrived, in milliseconds since 1970 (system clock)
};
using SourceFramePtr = std::shared_ptr<const SourceFrame>;

class FrameSource {
public:
    virtual ~FrameSource() = default;
    virtual bool live() const = 0;
    // Files: frames in the sequence. Live: frames received so far.
    virtual uint64_t count() const = 0;
    // Files: frame `index` (0 .. count() - 1). Live: the newest frame if its index is `index`, else
    // an older one still kept, else nullptr.
    virtual SourceFramePtr at(uint64_t index) = 0;
    // Live: the newest frame once one newer than `after` (or any, when `after` is nullopt) has
    // arrived, waiting at most `timeout`; nullptr on time-out or when the stream has ended. Files:
    // frame after + 1 (0 for nullopt) when there is one.
    virtual SourceFramePtr next(std::optional<uint64_t> after, std::chrono::milliseconds timeout) = 0;
    // Live: why the stream stopped ("end of stream"), once it has.
    virtual std::optional<std::string> ended() const { return std::nullopt; }
    // One line for the page's title bar: the files, or the stream and its frame size.
    virtual std::string description() const = 0;
    // Stops a live source's reader (also done by the destructor).
    virtual void stop() {}
};

// The frames of `paths` in order, as one sequence. Every file is opened (and so checked) here; a
// frame is read when asked for. `raw_size` is the size of raw files.
std::unique_ptr<FrameSource> open_file_source(const std::vector<std::filesystem::path> &paths,
                                              const FrameInput &input);

// Reads the frames of a live stream, one at a time, in the live source's reader thread.
class LiveReader {
public:
    virtual ~LiveReader() = default;
    // Reads the next frame into `frame` (its size and unit set by the reader). Returns false at the end
    // of the stream, with `why` set, or soon after `stop` turns true.
    virtual bool read(Frame &frame, std::string &why, const std::atomic<bool> &stop) = 0;
    // "stdin, 640x512 raw u16" and the like.
    virtual std::string description() const = 0;
};

// Raw little-endian u16 frames of `size` from a file descriptor (standard input), paced to at most
// `fps` frames per second when given (so a recording piped in plays in real time).
std::unique_ptr<LiveReader> open_stream_reader(int fd, std::string name, FrameSize size,
                                               std::optional<double> fps);
// A V4L2 capture device delivering 16-bit greyscale (Y16) frames. A device without that format is
// refused with a usage error listing the formats it offers.
std::unique_ptr<LiveReader> open_v4l2_reader(const std::filesystem::path &device);

// A live stream read by a thread of its own: the newest frames are kept for the page and each
// frame is handed to `on_frame` (the recorder) as it arrives. Memory stays bounded whatever the
// stream does: a few frames of the stream's fixed size.
class LiveSource final : public FrameSource {
public:
    using FrameHook = std::function<void(const SourceFramePtr &)>;
    LiveSource(std::unique_ptr<LiveReader> reader, FrameHook on_frame);
    ~LiveSource() override;
    LiveSource(const LiveSource &) = delete;
    LiveSource &operator=(const LiveSource &) = delete;

    bool live() const override { return true; }
    uint64_t count() const override;
    SourceFramePtr at(uint64_t index) override;
    SourceFramePtr next(std::optional<uint64_t> after, std::chrono::milliseconds timeout) override;
    std::optional<std::string> ended() const override;
    std::string description() const override { return description_; }
    void stop() override;

private:
    void run();

    static constexpr std::size_t kKept = 4;  // recent frames, for measurements of the one on screen
    // How long a frame waits to be sent before the newest one is sent in its place: two frame
    // periods at 30 frames/s, well inside the 100 ms a live picture may lag.
    static constexpr double kCatchUpMilliseconds = 70;
    std::unique_ptr<LiveReader> reader_;
    std::string description_;
    FrameHook on_frame_;
    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<SourceFramePtr> recent_;  // oldest first
    uint64_t received_ = 0;
    std::optional<std::string> ended_;
    std::atomic<bool> stop_{false};
    std::mutex stopping_;
    std::thread thread_;
};

}  // namespace radimo::cli::view
