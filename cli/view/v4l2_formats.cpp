#include "view/v4l2_formats.h"

#include <linux/videodev2.h>

namespace radimo::cli::view {
namespace {

// The four characters of a fourcc ("YUYV"), trailing spaces dropped and "-BE" for the big-endian flag.
std::string fourcc_text(uint32_t fourcc) {
    std::string text;
    for (int i = 0; i < 4; ++i) {
        const char c = static_cast<char>((fourcc >> (8 * i)) & 0x7F);
        text += c >= 32 && c < 127 ? c : '?';
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return (fourcc & (1u << 31)) ? text + "-BE" : text;
}

}  // namespace

std::optional<uint32_t> choose_y16(const std::vector<PixelFormat> &offered) {
    for (uint32_t wanted : {V4L2_PIX_FMT_Y16, V4L2_PIX_FMT_Y16_BE})
        for (const PixelFormat &f : offered)
            if (f.fourcc == wanted) return wanted;
    return std::nullopt;
}

std::string no_y16_message(const std::vector<PixelFormat> &offered) {
    std::string message = "offers no 16-bit greyscale (Y16) format";
    if (offered.empty()) return message + " (it lists no capture format at all)";
    message += "; its formats: ";
    for (std::size_t i = 0; i < offered.size(); ++i) {
        message += (i ? ", " : "") + fourcc_text(offered[i].fourcc);
        if (!offered[i].description.empty()) message += " (" + offered[i].description + ")";
    }
    return message;
}

}  // namespace radimo::cli::view
