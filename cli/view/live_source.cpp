// Live sources: the reader thread keeping the newest frames, and raw u16 frames from a pipe.
#include <endian.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/errors.h"
#include "view/frame_source.h"

namespace radimo::cli::view {
namespace {

using Clock = std::chrono::steady_clock;

// How often a blocked read looks at its stop flag.
constexpr int kPollMilliseconds = 100;

class StreamReader final : public LiveReader {
public:
    StreamReader(int fd, std::string name, FrameSize size, std::optional<double> fps)
        : fd_(fd), name_(std::move(name)), size_(size) {
        if (fps)
            period_ = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / *fps));
    }

    bool read(Frame &frame, std::string &why, const std::atomic<bool> &stop) override {
        frame = Frame{};
        frame.width = size_.width;
        frame.height = size_.height;
        frame.samples.resize(frame.pixels());
        auto *bytes = reinterpret_cast<unsigned char *>(frame.samples.data());
        const std::size_t total = frame.pixels() * sizeof(uint16_t);
        std::size_t got = 0;
        while (got < total) {
            if (stop) return false;
            pollfd p{fd_, POLLIN, 0};
            const int ready = ::poll(&p, 1, kPollMilliseconds);
            if (ready < 0 && errno != EINTR) return failed(why);
            if (ready <= 0) continue;
            const ssize_t n = ::read(fd_, bytes + got, total - got);
            if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
            if (n < 0) return failed(why);
            if (n == 0) {
                why = got == 0 ? "end of stream"
                               : "end of stream inside a frame (" + std::to_string(got) + " of " +
                                     std::to_string(total) + " bytes)";
                return false;
            }
            got += static_cast<std::size_t>(n);
        }
        for (uint16_t &v : frame.samples) v = le16toh(v);
        pace(stop);
        return true;
    }

    std::string description() const override {
        return name_ + ", " + std::to_string(size_.width) + "x" + std::to_string(size_.height) + " raw u16";
    }

private:
    bool failed(std::string &why) const {
        why = "cannot read " + name_ + ": " + std::strerror(errno);
        return false;
    }

    // With --fps, waits until the frame's time has come (the frames of a file piped in arrive at once).
    void pace(const std::atomic<bool> &stop) {
        if (!period_) return;
        const Clock::time_point now = Clock::now();
        due_ = due_ == Clock::time_point{} || due_ + *period_ < now ? now : due_ + *period_;
        while (!stop && Clock::now() < due_)
            std::this_thread::sleep_for(
                std::min<Clock::duration>(due_ - Clock::now(), std::chrono::milliseconds(kPollMilliseconds)));
    }

    int fd_;
    std::string name_;
    FrameSize size_;
    std::optional<Clock::duration> period_;
    Clock::time_point due_{};
};

}  // namespace

std::unique_ptr<LiveReader> open_stream_reader(int fd, std::string name, FrameSize size,
                                               std::optional<double> fps) {
    if (size.width <= 0 || size.height <= 0) fail_usage(name + ": the frame size must be positive");
    return std::make_unique<StreamReader>(fd, std::move(name), size, fps);
}

LiveSource::LiveSource(std::unique_ptr<LiveReader> reader, FrameHook on_frame)
    : reader_(std::move(reader)), description_(reader_->description()), on_frame_(std::move(on_frame)) {
    thread_ = std::thread([this] { run(); });
}

LiveSource::~LiveSource() {
    stop();
}

void LiveSource::stop() {
    stop_ = true;
    std::lock_guard lock(stopping_);  // stop() may come from the signal thread and the main thread
    if (thread_.joinable()) thread_.join();
}

void LiveSource::run() {
    std::string why;
    for (;;) {
        auto shown = std::make_shared<SourceFrame>();
        shown->origin = description_;
        bool ok = false;
        try {
            ok = reader_->read(shown->frame, why, stop_);
        } catch (const std::exception &e) {
            why = e.what();
        }
        if (!ok) break;
        shown->received_ms =
            std::chrono::duration<double, std::milli>(std::chrono::system_clock::now().time_since_epoch())
                .count();
        {
            std::lock_guard lock(mutex_);
            shown->index = shown->file_index = received_++;
            if (recent_.size() == kKept) recent_.erase(recent_.begin());
            recent_.push_back(shown);
        }
        arrived_.notify_all();
        if (on_frame_) on_frame_(shown);
    }
    {
        std::lock_guard lock(mutex_);
        ended_ = stop_ ? "stopped" : why;
    }
    arrived_.notify_all();
}

uint64_t LiveSource::count() const {
    std::lock_guard lock(mutex_);
    return received_;
}

SourceFramePtr LiveSource::at(uint64_t index) {
    std::lock_guard lock(mutex_);
    for (const SourceFramePtr &f : recent_)
        if (f->index == index) return f;
    return nullptr;
}

SourceFramePtr LiveSource::next(std::optional<uint64_t> after, std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    const auto fresh = [&] { return !recent_.empty() && (!after || recent_.back()->index > *after); };
    arrived_.wait_for(lock, timeout, [&] { return fresh() || ended_.has_value(); });
    if (!fresh()) return nullptr;
    // The oldest kept frame not yet sent that came in less than kCatchUpMilliseconds ago: a
    // short hiccup of the sender or the page costs no frame. Older ones are passed over for the
    // newest, so a page that cannot keep up drops frames instead of falling behind.
    const double now =
        std::chrono::duration<double, std::milli>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    for (const SourceFramePtr &f : recent_)
        if ((!after || f->index > *after) && now - f->received_ms < kCatchUpMilliseconds) return f;
    return recent_.back();
}

std::optional<std::string> LiveSource::ended() const {
    std::lock_guard lock(mutex_);
    return ended_;
}

}  // namespace radimo::cli::view
