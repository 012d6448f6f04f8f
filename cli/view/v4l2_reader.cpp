// Live frames from a V4L2 capture device delivering 16-bit greyscale (Y16), through memory-mapped
// streaming buffers.
#include <endian.h>
#include <fcntl.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/errors.h"
#include "view/frame_source.h"
#include "view/v4l2_formats.h"

namespace radimo::cli::view {
namespace fs = std::filesystem;
namespace {

constexpr int kPollMilliseconds = 100;
constexpr unsigned kBuffers = 4;

int xioctl(int fd, unsigned long request, void *arg) {
    int r;
    do r = ::ioctl(fd, request, arg);
    while (r < 0 && errno == EINTR);
    return r;
}

class V4l2Reader final : public LiveReader {
public:
    explicit V4l2Reader(const fs::path &device) : name_(device.string()) {
        fd_ = ::open(name_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (fd_ < 0) {
            if (errno == ENOENT) fail_usage(name_ + ": no such device");
            fail_io("cannot open " + name_ + ": " + std::strerror(errno));
        }
        try {
            configure();
        } catch (...) {
            release();
            throw;
        }
    }
    ~V4l2Reader() override { release(); }
    V4l2Reader(const V4l2Reader &) = delete;
    V4l2Reader &operator=(const V4l2Reader &) = delete;

    bool read(Frame &frame, std::string &why, const std::atomic<bool> &stop) override {
        for (;;) {
            if (stop) return false;
            pollfd p{fd_, POLLIN, 0};
            const int ready = ::poll(&p, 1, kPollMilliseconds);
            if (ready < 0 && errno != EINTR) return failed(why, "poll");
            if (ready <= 0) continue;
            v4l2_buffer b{};
            b.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
            b.memory = V4L2_MEMORY_MMAP;
            if (xioctl(fd_, VIDIOC_DQBUF, &b) < 0) {
                if (errno == EAGAIN) continue;
                return failed(why, "VIDIOC_DQBUF");
            }
            const bool whole = b.index < buffers_.size() && !(b.flags & V4L2_BUF_FLAG_ERROR) &&
                               b.bytesused >= static_cast<std::size_t>(stride_) * (height_ - 1) + width_ * 2u;
            if (whole) copy(buffers_[b.index], frame);
            if (xioctl(fd_, VIDIOC_QBUF, &b) < 0) return failed(why, "VIDIOC_QBUF");
            if (whole) return true;  // a short or damaged buffer is skipped
        }
    }

    std::string description() const override {
        return name_ + ", " + std::to_string(width_) + "x" + std::to_string(height_) + " Y16";
    }

private:
    struct Buffer {
        void *start = MAP_FAILED;
        std::size_t length = 0;
    };

    [[noreturn]] void refuse(const std::string &problem) const { fail_usage(name_ + ": " + problem); }

    void configure() {
        v4l2_capability cap{};
        if (xioctl(fd_, VIDIOC_QUERYCAP, &cap) < 0) refuse("not a V4L2 video device");
        const uint32_t caps = (cap.capabilities & V4L2_CAP_DEVICE_CAPS) ? cap.device_caps : cap.capabilities;
        if (!(caps & V4L2_CAP_VIDEO_CAPTURE)) refuse("not a video capture device");
        if (!(caps & V4L2_CAP_STREAMING)) refuse("does not support streaming capture");

        std::vector<PixelFormat> offered;
        v4l2_fmtdesc desc{};
        desc.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        for (desc.index = 0; xioctl(fd_, VIDIOC_ENUM_FMT, &desc) == 0; ++desc.index)
            offered.push_back(
                {desc.pixelformat, std::string(reinterpret_cast<const char *>(desc.description),
                                               strnlen(reinterpret_cast<const char *>(desc.description),
                                                       sizeof desc.description))});
        const std::optional<uint32_t> chosen = choose_y16(offered);
        if (!chosen) refuse(no_y16_message(offered));

        v4l2_format fmt{};
        fmt.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (xioctl(fd_, VIDIOC_G_FMT, &fmt) < 0) refuse(std::string("VIDIOC_G_FMT: ") + std::strerror(errno));
        fmt.fmt.pix.pixelformat = *chosen;
        fmt.fmt.pix.field = V4L2_FIELD_NONE;
        if (xioctl(fd_, VIDIOC_S_FMT, &fmt) < 0) refuse(std::string("VIDIOC_S_FMT: ") + std::strerror(errno));
        if (fmt.fmt.pix.pixelformat != *chosen) refuse("refused to deliver 16-bit greyscale (Y16) frames");
        big_endian_ = *chosen == V4L2_PIX_FMT_Y16_BE;
        width_ = fmt.fmt.pix.width;
        height_ = fmt.fmt.pix.height;
        stride_ = std::max<uint32_t>(fmt.fmt.pix.bytesperline, width_ * 2);
        if (width_ == 0 || height_ == 0 || width_ > 65535 || height_ > 65535)
            refuse("reports a frame size of " + std::to_string(width_) + "x" + std::to_string(height_));

        v4l2_requestbuffers req{};
        req.count = kBuffers;
        req.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        req.memory = V4L2_MEMORY_MMAP;
        if (xioctl(fd_, VIDIOC_REQBUFS, &req) < 0 || req.count == 0)
            refuse("cannot allocate capture buffers (memory-mapped streaming)");
        for (uint32_t i = 0; i < req.count; ++i) {
            v4l2_buffer b{};
            b.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
            b.memory = V4L2_MEMORY_MMAP;
            b.index = i;
            if (xioctl(fd_, VIDIOC_QUERYBUF, &b) < 0)
                refuse(std::string("VIDIOC_QUERYBUF: ") + std::strerror(errno));
            Buffer buffer;
            buffer.length = b.length;
            buffer.start = ::mmap(nullptr, b.length, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, b.m.offset);
            if (buffer.start == MAP_FAILED) refuse(std::string("mmap: ") + std::strerror(errno));
            buffers_.push_back(buffer);
            if (xioctl(fd_, VIDIOC_QBUF, &b) < 0) refuse(std::string("VIDIOC_QBUF: ") + std::strerror(errno));
        }
        v4l2_buf_type type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (xioctl(fd_, VIDIOC_STREAMON, &type) < 0)
            refuse(std::string("VIDIOC_STREAMON: ") + std::strerror(errno));
        streaming_ = true;
    }

    void copy(const Buffer &buffer, Frame &frame) const {
        frame = Frame{};
        frame.width = static_cast<int>(width_);
        frame.height = static_cast<int>(height_);
        frame.samples.resize(frame.pixels());
        const auto *base = static_cast<const unsigned char *>(buffer.start);
        for (uint32_t y = 0; y < height_; ++y)
            std::memcpy(frame.samples.data() + static_cast<std::size_t>(y) * width_,
                        base + static_cast<std::size_t>(y) * stride_, width_ * 2u);
        for (uint16_t &v : frame.samples) v = big_endian_ ? be16toh(v) : le16toh(v);
    }

    bool failed(std::string &why, const char *call) const {
        why = name_ + ": " + call + ": " + std::strerror(errno);
        return false;
    }

    void release() {
        if (fd_ < 0) return;
        if (streaming_) {
            v4l2_buf_type type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
            xioctl(fd_, VIDIOC_STREAMOFF, &type);
        }
        for (const Buffer &b : buffers_) ::munmap(b.start, b.length);
        buffers_.clear();
        ::close(fd_);
        fd_ = -1;
    }

    std::string name_;
    int fd_ = -1;
    uint32_t width_ = 0, height_ = 0, stride_ = 0;
    bool big_endian_ = false;
    bool streaming_ = false;
    std::vector<Buffer> buffers_;
};

}  // namespace

std::unique_ptr<LiveReader> open_v4l2_reader(const fs::path &device) {
    return std::make_unique<V4l2Reader>(device);
}

}  // namespace radimo::cli::view
