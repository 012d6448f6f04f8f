// The choice of a V4L2 device's pixel format and the refusal naming what it offers instead.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace radimo::cli::view {

struct PixelFormat {
    uint32_t fourcc;
    std::string description;  // the driver's own name of the format
};

// Y16 (16-bit greyscale, little-endian), else its big-endian form; nullopt when neither is offered.
std::optional<uint32_t> choose_y16(const std::vector<PixelFormat> &offered);
// "offers no 16-bit greyscale (Y16) format; its formats: YUYV (YUYV 4:2:2), MJPG (Motion-JPEG)".
std::string no_y16_message(const std::vector<PixelFormat> &offered);

}  // namespace radimo::cli::view
