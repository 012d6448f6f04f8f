// Frame resolution decoding and the in-frame test shared by the measurement code.
#pragma once

#include <cstdint>

#include "core/fixed_point.h"
#include "libradimo.h"

namespace radimo::frame {

// resolution = width | height << 16.
struct Geometry {
    uint32_t width;   // low 16 bits, unsigned
    uint32_t height;  // high 16 bits, unsigned
    // The neighbourhood extractors compare positions with the halves read as
    // signed 16-bit numbers; for frames narrower than 32768 both agree.
    int32_t width_s16;
    int32_t height_s16;
};

constexpr Geometry decode(uint32_t resolution) {
    return Geometry{fx::low16(resolution), resolution >> 16, fx::low16s(resolution),
                    fx::low16s(resolution >> 16)};
}

// Unsigned comparison of the whole coordinates: a negative coordinate is outside.
constexpr bool contains(const Geometry &g, point_t p) {
    return static_cast<uint32_t>(p.x) < g.width && static_cast<uint32_t>(p.y) < g.height;
}

// Neighbourhood half-width: only the low 8 bits of the size count, so an even
// size behaves like the next odd one.
constexpr int32_t half_of(uint32_t size) {
    return static_cast<int32_t>((size & 0xFFu) / 2u);
}

}  // namespace radimo::frame
