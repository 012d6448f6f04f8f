// Small frames for the measurement tests.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "libradimo.h"

namespace radimo::test {

struct TestFrame {
    uint16_t width;
    uint16_t height;
    std::vector<uint16_t> pixels;

    TestFrame(uint16_t w, uint16_t h, uint16_t fill = 0) : width(w), height(h), pixels(size_t{w} * h, fill) {}

    uint32_t resolution() const { return uint32_t{width} | (uint32_t{height} << 16); }
    uint16_t &at(int x, int y) { return pixels[static_cast<size_t>(y) * width + x]; }
    uint16_t at(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x]; }
    const uint16_t *data() const { return pixels.data(); }

    // value = base + 100 * y + x: every pixel distinct and easy to read in a failure message.
    static TestFrame ramp(uint16_t w, uint16_t h, uint16_t base = 1000) {
        TestFrame f(w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) f.at(x, y) = static_cast<uint16_t>(base + 100 * y + x);
        return f;
    }

    static TestFrame random(uint16_t w, uint16_t h, std::mt19937 &rng, uint16_t lo = 3000,
                            uint16_t hi = 9000) {
        TestFrame f(w, h);
        std::uniform_int_distribution<int> d(lo, hi);
        for (auto &p : f.pixels) p = static_cast<uint16_t>(d(rng));
        return f;
    }
};

// "max <v> at (x,y), min <v> at (x,y), avg <v>": a whole result in one comparison.
inline std::string summary(const temp_result_t &r) {
    const auto at = [](point_t p) { return " at (" + std::to_string(p.x) + "," + std::to_string(p.y) + ")"; };
    return "max " + std::to_string(r.max_temp) + at(r.max_temp_point) + ", min " +
           std::to_string(r.min_temp) + at(r.min_temp_point) + ", avg " + std::to_string(r.avg_temp);
}

}  // namespace radimo::test
