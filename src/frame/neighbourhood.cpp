// The four neighbourhood extractors.
//
// A neighbourhood holds 2*half+1 samples per axis. A position outside the
// frame is neither skipped nor clamped: its slot receives the centre value, so
// the trimmed mean always divides by the same count. The centre itself must
// lie inside the frame; every read is checked against the frame first, and a
// failing call writes nothing.
#include <cstdint>

#include "core/fixed_point.h"
#include "core/message.h"
#include "frame/frame_geometry.h"
#include "libradimo.h"

namespace {

constexpr const char *kLogModule = radimo::kModuleLibradimo;

using radimo::frame::decode;
using radimo::frame::Geometry;
using radimo::frame::half_of;

// Coordinates the extractors work with: the low 16 bits of a field, signed.
using radimo::fx::low16s;

// In-frame test of a position already reduced to its low 16 bits.
constexpr bool inside(const Geometry &g, int32_t x, int32_t y) {
    return x >= 0 && y >= 0 && x < g.width_s16 && y < g.height_s16;
}

constexpr uint32_t offset_of(const Geometry &g, int32_t x, int32_t y) {
    return static_cast<uint32_t>(y) * g.width + static_cast<uint32_t>(x);
}

// The centre of a square, horizontal or vertical neighbourhood.
struct Centre {
    int32_t x;
    int32_t y;
    uint16_t value;
};

// Checks the buffers and the centre for the extractor named `caller` and
// reads the centre value; reports a failure under the caller's name.
bool locate_centre(const char *caller, const uint16_t *frame, const uint16_t *out, const Geometry &g,
                   point_t centre, Centre *c) {
    if (frame == nullptr || out == nullptr) {
        RADIMO_ERROR_FOR(caller, "data is NULL\n");
        return false;
    }
    c->x = low16s(centre.x);
    c->y = low16s(centre.y);
    if (!inside(g, c->x, c->y)) {
        RADIMO_ERROR_FOR(caller, "the point is invalid\n");
        return false;
    }
    c->value = frame[offset_of(g, c->x, c->y)];
    return true;
}

}  // namespace

extern "C" {

int get_pixel_square_array(const uint16_t *frame, uint32_t resolution, point_t centre, uint32_t size,
                           uint16_t *out) {
    const Geometry g = decode(resolution);
    Centre c;
    if (!locate_centre(__func__, frame, out, g, centre, &c)) return RADIMO_ERR_PARAM;
    const int32_t half = half_of(size);
    for (int32_t r = c.y - half; r <= c.y + half; ++r) {
        const bool row_inside = r >= 0 && r < g.height_s16;
        for (int32_t x = c.x - half; x <= c.x + half; ++x)
            *out++ = (row_inside && x >= 0 && x < g.width_s16) ? frame[offset_of(g, x, r)] : c.value;
    }
    return RADIMO_SUCCESS;
}

int get_pixel_horz_neighb_array(const uint16_t *frame, uint32_t resolution, point_t centre, uint32_t size,
                                uint16_t *out) {
    const Geometry g = decode(resolution);
    Centre c;
    if (!locate_centre(__func__, frame, out, g, centre, &c)) return RADIMO_ERR_PARAM;
    const int32_t half = half_of(size);
    for (int32_t x = c.x - half; x <= c.x + half; ++x)
        *out++ = (x >= 0 && x < g.width_s16) ? frame[offset_of(g, x, c.y)] : c.value;
    return RADIMO_SUCCESS;
}

int get_pixel_vert_neighb_array(const uint16_t *frame, uint32_t resolution, point_t centre, uint32_t size,
                                uint16_t *out) {
    const Geometry g = decode(resolution);
    Centre c;
    if (!locate_centre(__func__, frame, out, g, centre, &c)) return RADIMO_ERR_PARAM;
    const int32_t half = half_of(size);
    for (int32_t r = c.y - half; r <= c.y + half; ++r)
        *out++ = (r >= 0 && r < g.height_s16) ? frame[offset_of(g, c.x, r)] : c.value;
    return RADIMO_SUCCESS;
}

// The neighbours are neighbours in the point list. A list position i is used
// only when half <= i < point_num - half, so every slot of a neighbourhood
// centred within half of either end of the list gets the centre value. The
// list lies inside the frame when it comes from get_point_set; points of a
// caller's own list are checked before anything is written.
int get_pixel_slope_neighb_array(const uint16_t *frame, const point_t *points, uint32_t resolution, int index,
                                 uint32_t size, uint32_t point_num, uint16_t *out) {
    if (frame == nullptr || points == nullptr || out == nullptr) {
        RADIMO_ERROR("data is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    if (index < 0 || static_cast<uint32_t>(index) >= point_num) {
        RADIMO_ERROR("the point is invalid\n");
        return RADIMO_ERR_PARAM;
    }
    const Geometry g = decode(resolution);
    const int32_t half = half_of(size);
    const int64_t first_used = half;
    const int64_t end_used = static_cast<int64_t>(point_num) - half;
    auto used = [&](int64_t i) { return i >= first_used && i < end_used; };
    auto point_inside = [&](const point_t &p) { return inside(g, low16s(p.x), low16s(p.y)); };

    const point_t &centre = points[index];
    bool all_inside = point_inside(centre);
    for (int64_t i = static_cast<int64_t>(index) - half; all_inside && i <= index + half; ++i)
        if (used(i)) all_inside = point_inside(points[i]);
    if (!all_inside) {
        RADIMO_ERROR("the point is invalid\n");
        return RADIMO_ERR_PARAM;
    }

    auto sample = [&](const point_t &p) { return frame[offset_of(g, low16s(p.x), low16s(p.y))]; };
    const uint16_t centre_value = sample(centre);
    for (int64_t i = static_cast<int64_t>(index) - half; i <= index + half; ++i)
        *out++ = used(i) ? sample(points[i]) : centre_value;
    return RADIMO_SUCCESS;
}

}  // extern "C"
