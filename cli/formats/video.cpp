#include "formats/video.h"

#include "core/errors.h"

#ifdef RADIMO_HAVE_VIDEO
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}
#include <cmath>
#include <cstring>
#include <vector>
#endif

namespace radimo::cli {

#ifndef RADIMO_HAVE_VIDEO

bool video_supported() {
    return false;
}

std::unique_ptr<VideoWriter> create_video_writer(const std::filesystem::path &, const std::string &, int, int,
                                                 double, const std::string &shown) {
    fail_usage(shown +
               ": this radimo was built without FFmpeg's libraries (libavcodec-dev libavformat-dev "
               "libswscale-dev): write PNG frames instead (frames/%04d.png)");
}

#else

bool video_supported() {
    return true;
}

namespace {

std::string av_error(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

class FfmpegWriter : public VideoWriter {
public:
    FfmpegWriter(const std::filesystem::path &path, const std::string &format, int width, int height,
                 double fps, std::string shown)
        : shown_(std::move(shown)), width_(width), height_(height) {
        const bool gif = format == "gif";
        av_log_set_level(AV_LOG_ERROR);  // the encoders' statistics are not the tool's output
        // H.264 in 4:2:0 needs even sides: odd pictures get one more row or column (background).
        const int w = gif ? width : (width + 1) / 2 * 2, h = gif ? height : (height + 1) / 2 * 2;
        check(avformat_alloc_output_context2(&format_, nullptr, format.c_str(), path.c_str()),
              "the container");
        const AVCodec *codec = avcodec_find_encoder_by_name(gif ? "gif" : "libx264");
        if (codec == nullptr && !gif) codec = avcodec_find_encoder(AV_CODEC_ID_MPEG4);
        if (codec == nullptr) fail_io(shown_ + ": FFmpeg has no encoder for " + format);
        stream_ = avformat_new_stream(format_, nullptr);
        codec_ = avcodec_alloc_context3(codec);
        if (stream_ == nullptr || codec_ == nullptr) fail_io(shown_ + ": out of memory");
        const int rate = static_cast<int>(std::lround(fps * 1000));
        codec_->width = w;
        codec_->height = h;
        codec_->time_base = AVRational{1000, rate};
        codec_->framerate = AVRational{rate, 1000};
        codec_->pix_fmt = gif ? AV_PIX_FMT_RGB8 : AV_PIX_FMT_YUV420P;
        codec_->gop_size = 50;
        codec_->max_b_frames = 0;  // every frame decodes on its own order: players and counters agree
        if (format_->oformat->flags & AVFMT_GLOBALHEADER) codec_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        AVDictionary *options = nullptr;
        if (!gif && std::strcmp(codec->name, "libx264") == 0) {
            // Fast enough for long recordings on one core, sharp enough for text and crosshairs.
            av_dict_set(&options, "preset", "veryfast", 0);
            // Trellis quantisation off: the largest cost of encoding, no visible gain on these pictures.
            av_dict_set(&options, "x264-params", "trellis=0", 0);
            av_dict_set(&options, "crf", "18", 0);
            av_dict_set(&options, "threads", "1", 0);
        }
        const int opened = avcodec_open2(codec_, codec, &options);
        av_dict_free(&options);
        check(opened, "the encoder");
        check(avcodec_parameters_from_context(stream_->codecpar, codec_), "the stream");
        stream_->time_base = codec_->time_base;
        check(avio_open(&format_->pb, path.c_str(), AVIO_FLAG_WRITE), "the file");
        check(avformat_write_header(format_, nullptr), "the header");
        frame_ = av_frame_alloc();
        packet_ = av_packet_alloc();
        if (frame_ == nullptr || packet_ == nullptr) fail_io(shown_ + ": out of memory");
        frame_->format = codec_->pix_fmt;
        frame_->width = w;
        frame_->height = h;
        check(av_frame_get_buffer(frame_, 0), "a frame");
        scaler_ = sws_getContext(w, h, AV_PIX_FMT_RGB24, w, h, codec_->pix_fmt, SWS_POINT, nullptr, nullptr,
                                 nullptr);
        if (scaler_ == nullptr) fail_io(shown_ + ": no colour conversion to the encoder's format");
        padded_.assign(static_cast<std::size_t>(w) * h * 3, 28);  // the pictures' background grey
    }

    ~FfmpegWriter() override {
        sws_freeContext(scaler_);
        av_packet_free(&packet_);
        av_frame_free(&frame_);
        avcodec_free_context(&codec_);
        if (format_ != nullptr) {
            if (format_->pb != nullptr) avio_closep(&format_->pb);
            avformat_free_context(format_);
        }
    }

    void write(const uint8_t *rgb) override {
        const int w = codec_->width, h = codec_->height;
        for (int y = 0; y < height_; ++y)
            std::memcpy(&padded_[static_cast<std::size_t>(y) * w * 3],
                        rgb + static_cast<std::size_t>(y) * width_ * 3, static_cast<std::size_t>(width_) * 3);
        check(av_frame_make_writable(frame_), "a frame");
        const uint8_t *source[1] = {padded_.data()};
        const int stride[1] = {w * 3};
        sws_scale(scaler_, source, stride, 0, h, frame_->data, frame_->linesize);
        frame_->pts = next_pts_++;
        send(frame_);
    }

    void close() override {
        send(nullptr);
        check(av_write_trailer(format_), "the trailer");
        check(avio_closep(&format_->pb), "the file");
    }

private:
    void check(int code, const char *what) {
        if (code < 0) fail_io(shown_ + ": cannot write " + what + " of the video (" + av_error(code) + ")");
    }

    void send(AVFrame *frame) {
        check(avcodec_send_frame(codec_, frame), "a frame");
        for (;;) {
            const int got = avcodec_receive_packet(codec_, packet_);
            if (got == AVERROR(EAGAIN) || got == AVERROR_EOF) return;
            check(got, "a frame");
            // Each picture lasts one frame period; without a duration the container's edit list
            // would end at the last picture's start and players would drop that picture.
            if (packet_->duration <= 0) packet_->duration = 1;
            av_packet_rescale_ts(packet_, codec_->time_base, stream_->time_base);
            packet_->stream_index = stream_->index;
            check(av_interleaved_write_frame(format_, packet_), "a frame");
        }
    }

    std::string shown_;
    int width_, height_;
    AVFormatContext *format_ = nullptr;
    AVStream *stream_ = nullptr;
    AVCodecContext *codec_ = nullptr;
    AVFrame *frame_ = nullptr;
    AVPacket *packet_ = nullptr;
    SwsContext *scaler_ = nullptr;
    std::vector<uint8_t> padded_;
    int64_t next_pts_ = 0;
};

}  // namespace

std::unique_ptr<VideoWriter> create_video_writer(const std::filesystem::path &path, const std::string &format,
                                                 int width, int height, double fps,
                                                 const std::string &shown) {
    return std::make_unique<FfmpegWriter>(path, format, width, height, fps, shown);
}

#endif

}  // namespace radimo::cli
