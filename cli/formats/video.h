// Videos of rendered pictures: MP4 (H.264) and GIF through FFmpeg's libraries, built when they
// are found (RADIMO_HAVE_VIDEO). Frames are 8-bit RGB pictures of one size.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace radimo::cli {

// Whether this build writes videos.
bool video_supported();

class VideoWriter {
public:
    virtual ~VideoWriter() = default;
    // rgb: height rows of width * 3 bytes.
    virtual void write(const uint8_t *rgb) = 0;
    // Flushes the encoder and finishes the file; an error here is an I/O error.
    virtual void close() = 0;
};

// A writer of `path` (normally an AtomicFile's temporary) in the container of `format` ("mp4" or
// "gif"); `shown` names the output in errors. width and height are even for MP4 (the picture is
// padded by one pixel when odd).
std::unique_ptr<VideoWriter> create_video_writer(const std::filesystem::path &path, const std::string &format,
                                                 int width, int height, double fps, const std::string &shown);

}  // namespace radimo::cli
