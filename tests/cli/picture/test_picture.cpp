#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

#include "picture/canvas.h"
#include "picture/picture.h"

namespace radimo::cli {
namespace {

// The PNG decoded back into an image surface.
struct Decoded {
    detail::SurfacePtr surface;
    int width() const { return cairo_image_surface_get_width(surface.get()); }
    int height() const { return cairo_image_surface_get_height(surface.get()); }
    Rgb pixel(int x, int y) const {
        const unsigned char *row =
            cairo_image_surface_get_data(surface.get()) + y * cairo_image_surface_get_stride(surface.get());
        uint32_t v;
        std::memcpy(&v, row + 4 * x, 4);
        return {static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 8), static_cast<uint8_t>(v)};
    }
};

Decoded decode(const Picture &picture) {
    struct Reader {
        const std::vector<unsigned char> &png;
        size_t at = 0;
    } reader{picture.png};
    auto read = [](void *closure, unsigned char *data, unsigned int length) {
        auto *r = static_cast<Reader *>(closure);
        if (r->png.size() - r->at < length) return CAIRO_STATUS_READ_ERROR;
        std::memcpy(data, r->png.data() + r->at, length);
        r->at += length;
        return CAIRO_STATUS_SUCCESS;
    };
    Decoded d{detail::SurfacePtr(cairo_image_surface_create_from_png_stream(read, &reader))};
    EXPECT_EQ(cairo_surface_status(d.surface.get()), CAIRO_STATUS_SUCCESS);
    return d;
}

PictureSpec frame_request(int w, int h, const float *celsius) {
    PictureSpec request;
    request.width = w, request.height = h, request.celsius = celsius;
    return request;
}

// A frame whose pixel (x, y) reads x + 100 * y / height degC.
std::vector<float> gradient(int w, int h) {
    std::vector<float> v(static_cast<size_t>(w) * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) v[y * w + x] = static_cast<float>(x + 100.0 * y / h);
    return v;
}

TEST(RenderPicture, SizeFollowsTheUpscaleRule) {
    struct Case {
        int w, h, upscale, png_w, png_h;
    };
    for (const Case &c : {Case{640, 512, 0, 640, 512}, Case{80, 60, 0, 800, 600}, Case{160, 120, 0, 800, 600},
                          Case{384, 288, 0, 768, 576}, Case{7, 5, 3, 21, 15}}) {
        const std::vector<float> frame = gradient(c.w, c.h);
        PictureSpec request = frame_request(c.w, c.h, frame.data());
        request.colour_bar = false;
        request.upscale = c.upscale;
        const Picture picture = render_picture(request);
        const Decoded image = decode(picture);
        EXPECT_EQ(picture.width, c.png_w);
        EXPECT_EQ(picture.height, c.png_h);
        EXPECT_EQ(image.width(), c.png_w);
        EXPECT_EQ(image.height(), c.png_h);
    }
}

TEST(RenderPicture, FalseColourFollowsTheLockedRange) {
    std::vector<float> frame = gradient(40, 30);
    frame[5] = NAN;
    const Palette &lava = *find_palette("lava");
    PictureSpec request = frame_request(40, 30, frame.data());
    request.palette = &lava;
    request.range = {10.0f, 90.0f};
    request.isotherm = {50.0f, 52.0f};
    request.upscale = 4;
    request.caption = "gradient";
    request.crosshairs = {{39, 29, "138.2 °C", true}};
    const Picture picture = render_picture(request);
    EXPECT_EQ(picture.lo, 10.0f);
    EXPECT_EQ(picture.hi, 90.0f);
    EXPECT_GT(picture.width, 160);  // room for the colour bar
    const Decoded image = decode(picture);
    for (auto [x, y] : {std::pair{0, 0}, {12, 3}, {20, 9}, {30, 20}, {3, 27}}) {
        const double celsius = frame[y * 40 + x];
        const Rgb expected = celsius >= 50 && celsius <= 52 ? lava.highlight() : lava.at((celsius - 10) / 80);
        EXPECT_EQ(image.pixel(picture.image_x + 4 * x + 2, picture.image_y + 4 * y + 2), expected)
            << x << "," << y;
    }
    const Rgb no_data = image.pixel(picture.image_x + 5 * 4 + 1, picture.image_y + 1);
    EXPECT_TRUE(no_data.r == no_data.g && no_data.r > 40 &&
                no_data.r < 160);                         // neutral grey, not a palette colour
    EXPECT_EQ(render_picture(request).png, picture.png);  // same input, same bytes
}

TEST(RenderPicture, AutomaticRangeAndAllMissingData) {
    std::vector<float> frame(20 * 10, 30.0f);
    frame[7] = 5000.0f;  // one bad pixel does not flatten the picture
    const PictureSpec request = frame_request(20, 10, frame.data());
    Picture picture = render_picture(request);
    EXPECT_EQ(picture.lo, 29.0f);
    EXPECT_EQ(picture.hi, 31.0f);

    frame.assign(frame.size(), NAN);
    picture = render_picture(request);
    EXPECT_EQ(decode(picture).width(), picture.width);
}

TEST(RenderPicture, BadRequestsThrow) {
    const std::vector<float> frame(8 * 6, 20.0f);
    std::vector<PictureSpec> bad(10, frame_request(8, 6, frame.data()));
    bad[0].width = 0;
    bad[1].height = -6;
    bad[2].celsius = nullptr;
    bad[3].range = std::pair{30.0f, 20.0f};
    bad[4].range = std::pair{NAN, 20.0f};
    bad[5].isotherm = std::pair{40.0f, 39.0f};
    bad[6].points = {{8, 0, "P"}};
    bad[7].rects = {{4, 4, 5, 1, "R"}};
    bad[8].lines = {{0, 0, 0, -1, "L"}};
    bad[9].upscale = 17;
    for (size_t i = 0; i < bad.size(); ++i)
        EXPECT_THROW(render_picture(bad[i]), std::runtime_error) << "case " << i;
}

TEST(LabelPlacement, StaysInsideTheImageAndAvoidsEarlierLabels) {
    const detail::Box area{0, 0, 640, 512};
    for (auto [x, y] : {std::pair{0.0, 0.0}, {639.0, 0.0}, {0.0, 511.0}, {639.0, 511.0}, {320.0, 2.0}}) {
        const auto box = detail::choose_label_box(detail::around_point(90, 18, x, y, 16), area, {});
        ASSERT_TRUE(box) << x << "," << y;
        EXPECT_TRUE(box->inside(area)) << x << "," << y;
    }
    const auto first = detail::choose_label_box(detail::around_point(90, 18, 320, 256, 16), area, {});
    const auto second =
        detail::choose_label_box(detail::around_point(90, 18, 322, 258, 16), area, std::span(&*first, 1));
    EXPECT_FALSE(second->overlaps(*first));
}

// Crowded labels never overlap each other; those without a place are told in the caption.
TEST(LabelPlacement, CrowdedLabelsNeverOverlap) {
    const std::vector<float> frame = gradient(60, 40);
    PictureSpec request = frame_request(60, 40, frame.data());
    for (int i = 0; i < 40; ++i)
        request.points.push_back({20 + i % 8, 15 + i / 8, "P" + std::to_string(i) + " 20.0 \u00b0C"});
    request.upscale = 4;
    detail::SurfacePtr scratch(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1));
    detail::CairoPtr cr(cairo_create(scratch.get()));
    detail::Layout layout;
    layout.factor = 4;
    layout.margin = 16;
    layout.image = {16, 16, 240, 160};
    layout.marked = {0, 0, 272, 192};
    const detail::LabelPlan plan = detail::plan_labels(cr.get(), request, layout);
    EXPECT_EQ(plan.placed.size() + plan.unplaced.size(), 40u);
    EXPECT_FALSE(plan.unplaced.empty());  // 40 labels do not fit in 272 x 192 pixels
    for (std::size_t i = 0; i < plan.placed.size(); ++i) {
        EXPECT_TRUE(plan.placed[i].box.inside(layout.marked));
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_FALSE(plan.placed[i].box.overlaps(plan.placed[j].box)) << i << " " << j;
    }
    const Picture picture = render_picture(request);
    EXPECT_GT(picture.height, 40 * 4 + 32);  // the caption strip holds the rest
}

// A crosshair on an edge pixel is drawn whole; pixels beyond a locked scale give the bar a cap.
TEST(RenderPicture, EdgeCrosshairsStayInsideAndClippingShows) {
    std::vector<float> frame = gradient(40, 30);
    frame[0] = 500.0f;  // the hottest pixel, at the top-left corner
    PictureSpec request = frame_request(40, 30, frame.data());
    request.upscale = 4;
    request.range = {0.0f, 140.0f};
    request.crosshairs = {{0, 0, "500.0 \u00b0C", true}, {39, 29, "-1.0 \u00b0C", false}};
    const Picture picture = render_picture(request);
    EXPECT_EQ(picture.above, 1u);
    EXPECT_EQ(picture.below, 0u);
    ASSERT_GT(picture.image_x, 13);
    const Decoded image = decode(picture);
    const auto hot = [](Rgb c) { return c.r > 200 && c.g < 140 && c.b < 120; };
    const auto cold = [](Rgb c) { return c.b > 200 && c.r < 140; };
    int hot_left = 0, hot_above = 0, cold_right = 0;
    const int cx = picture.image_x + 2, cy = picture.image_y + 2;  // the centre of pixel (0, 0)
    for (int d = 4; d <= 12; ++d) {
        hot_left += hot(image.pixel(cx - d, cy)) ? 1 : 0;  // the arms reach into the margin
        hot_above += hot(image.pixel(cx, cy - d)) ? 1 : 0;
        cold_right +=
            cold(image.pixel(picture.image_x + 39 * 4 + 2 + d, picture.image_y + 29 * 4 + 2)) ? 1 : 0;
    }
    EXPECT_GT(hot_left, 3);
    EXPECT_GT(hot_above, 3);
    EXPECT_GT(cold_right, 3);
    // The cap above the bar takes the palette's hot end.
    const Rgb top = find_palette("ironbow")->at(1.0);
    bool capped = false;
    for (int x = picture.image_x + 160 + 16; x < picture.width && !capped; ++x)
        for (int y = 25; y < 39 && !capped; ++y) capped = image.pixel(x, y) == top;  // above the bar
    EXPECT_TRUE(capped);
}

}  // namespace
}  // namespace radimo::cli
