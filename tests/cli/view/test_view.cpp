// The viewer's pieces without a browser: who may ask, the V4L2 refusal, and the frame message
// the page decodes (its temperatures exactly the library's).
#include <linux/videodev2.h>

#include <cstring>

#include "cli_fixture.h"
#include "view/access.h"
#include "view/session.h"
#include "view/v4l2_formats.h"

namespace radimo::cli::test {
namespace {
using nlohmann::json;
using ::testing::HasSubstr;

TEST(ViewAccess, HostHeaderMustNameTheListeningAddress) {
    const view::Access loopback("0123456789abcdef0123456789abcdef", "127.0.0.1", 8080);
    const view::Access everywhere("t", "0.0.0.0", 8080);
    const view::Access v6("t", "::1", 8080);
    struct Case {
        const view::Access &access;
        const char *host;
        bool allowed;
    };
    const Case cases[] = {
        {loopback, "127.0.0.1:8080", true},
        {loopback, "localhost:8080", true},
        {loopback, "LOCALHOST:8080", true},
        {loopback, "127.0.0.1:8081", false},
        {loopback, "127.0.0.1", false},
        {loopback, "evil.example:8080", false},
        {loopback, "192.168.1.4:8080", false},
        {loopback, "", false},
        {loopback, ":8080", false},
        {loopback, "127.0.0.1:", false},
        {loopback, "127.0.0.1:8080x", false},
        {loopback, "127.0.0.1:+8080", false},
        {everywhere, "192.168.1.4:8080", true},
        {everywhere, "[fe80::1]:8080", true},
        {everywhere, "evil.example:8080", false},
        {v6, "[::1]:8080", true},
        {v6, "[::1]", false},
        {v6, "::1:8080", false},
        {v6, "[::1:8080", false},
    };
    for (const Case &c : cases) EXPECT_EQ(c.access.host_allowed(c.host), c.allowed) << c.host;

    EXPECT_TRUE(loopback.token_matches("0123456789abcdef0123456789abcdef"));
    for (const char *wrong : {"", "0123456789abcdef0123456789abcdeF", "0123456789abcdef0123456789abcdef0",
                              "0123456789abcdef0123456789abcde"})
        EXPECT_FALSE(loopback.token_matches(wrong)) << wrong;
    const std::string a = view::random_token(), b = view::random_token();
    EXPECT_EQ(a.size(), 32u);
    EXPECT_NE(a, b);
}

TEST(ViewV4l2, TakesY16AndNamesWhatADeviceOffersInstead) {
    const std::vector<view::PixelFormat> webcam = {{V4L2_PIX_FMT_YUYV, "YUYV 4:2:2"},
                                                   {V4L2_PIX_FMT_MJPEG, "Motion-JPEG"}};
    EXPECT_EQ(view::choose_y16(webcam), std::nullopt);
    EXPECT_EQ(view::no_y16_message(webcam),
              "offers no 16-bit greyscale (Y16) format; its formats: YUYV (YUYV 4:2:2), MJPG (Motion-JPEG)");
    EXPECT_THAT(view::no_y16_message({}), HasSubstr("no capture format at all"));
    std::vector<view::PixelFormat> thermal = webcam;
    thermal.push_back({V4L2_PIX_FMT_Y16_BE, ""});
    EXPECT_EQ(view::choose_y16(thermal), V4L2_PIX_FMT_Y16_BE);
    thermal.push_back({V4L2_PIX_FMT_Y16, "16-bit Greyscale"});
    EXPECT_EQ(view::choose_y16(thermal), V4L2_PIX_FMT_Y16);
}

// The header and samples of a frame message.
std::pair<json, std::string> decode(const std::string &message) {
    uint32_t length = 0;
    std::memcpy(&length, message.data(), 4);
    const std::size_t start = (4 + length + 3) / 4 * 4;
    return {json::parse(message.substr(4, length)), message.substr(start)};
}

class ViewSession : public CliTest {};

TEST_F(ViewSession, FramesReachThePageAsTheLibrarysExactTemperatures) {
    const CameraProfile camera = write_small_camera();
    Frame raw = raw_frame(16, 12, 5);
    raw.vtemp = 7100;
    Frame centi = raw_frame(16, 12, 6);
    centi.unit = Unit::kCentikelvin;
    for (uint16_t &v : centi.samples) v = static_cast<uint16_t>(29000 + v % 4000);
    write_frames("raw.tiff", {raw});
    write_frames("centi.tiff", {centi});

    view::SessionSettings settings;
    settings.camera = camera;
    view::Session session(view::open_file_source({path("raw.tiff"), path("centi.tiff")}, FrameInput{}),
                          settings);
    EXPECT_EQ(session.info()["source"]["count"], 2);

    struct Expected {
        uint64_t index;
        const char *unit;
        int divisor;
    };
    for (const Expected &e : {Expected{0, "nuc", 16}, Expected{1, "centikelvin", 100}}) {
        const view::ShownFramePtr frame = session.frame(e.index);
        const auto [header, samples] = decode(session.frame_message(*frame, {}));
        EXPECT_EQ(header["unit"], e.unit);
        EXPECT_EQ(header["samples"], "u16");
        EXPECT_EQ(header["divisor"], e.divisor);
        ASSERT_EQ(samples.size(), 16u * 12u * 2u);
        for (std::size_t i = 0; i < 16 * 12; ++i) {
            uint16_t v = 0;
            std::memcpy(&v, samples.data() + 2 * i, 2);
            const float shown = static_cast<float>(static_cast<double>(v) / e.divisor - 273.15);
            ASSERT_EQ(shown, frame->celsius.floats[i]) << e.unit << " " << i;
        }
    }
    EXPECT_EQ(decode(session.frame_message(*session.frame(0), {})).first["vtemp"], 7100);

    // Scene-corrected frames are floats; a bad scene is refused and changes nothing.
    EXPECT_THROW(session.set_scene({{"emissivity", 0.0}}), view::RequestError);
    EXPECT_THROW(session.set_scene({{"scene_correct", 1}}), view::RequestError);
    EXPECT_THROW(session.set_scene({{"colour", 1}}), view::RequestError);
    const json scene = session.set_scene({{"scene_correct", true}, {"emissivity", 0.9}});
    EXPECT_TRUE(scene["scene_correct"]);
    const auto [header, samples] = decode(session.frame_message(*session.frame(0), {}));
    EXPECT_EQ(header["samples"], "f32");
    EXPECT_EQ(samples.size(), 16u * 12u * 4u);
    EXPECT_THROW(session.frame(2), view::RequestError);
}

TEST_F(ViewSession, ToolsAreMeasuredAndRefusedLikeMeasureDoesIt) {
    Frame k16 = raw_frame(16, 12, 7);
    k16.unit = Unit::kKelvin16;
    write_frames("k16.png", {k16});
    view::Session session(view::open_file_source({path("k16.png")}, FrameInput{}), {});
    const view::ShownFramePtr frame = session.frame(0);
    const view::ToolTexts tools{{"3,4"}, {"1,1,10,8"}, {"2,2,6,5"}, {"1,1,9,2,5,9"}, {"8,6,3,2.5"}};
    const view::MeasuredTools measured = session.measure(*frame, tools);
    ASSERT_EQ(measured.regions.size(), 3u);
    temp_result_t rect{};
    ASSERT_EQ(get_rect_temp(k16.samples.data(), k16.resolution(), {2, 2}, {6, 5}, &rect), RADIMO_SUCCESS);
    EXPECT_EQ(measured.regions[2].stats.trimmed.avg, rect.avg_temp);
    const json report = session.report(*frame, measured)["frames"][0]["measurements"];
    std::vector<std::string> labels;
    for (const json &m : report) labels.push_back(m["label"]);
    EXPECT_EQ(labels, (std::vector<std::string>{"P1", "L1", "R1", "G1", "E1"}));
    for (const view::ToolTexts &bad :
         {view::ToolTexts{{"16,0"}, {}, {}, {}, {}}, view::ToolTexts{{}, {"1,1,1,1"}, {}, {}, {}},
          view::ToolTexts{{}, {}, {"0,0,0,1"}, {}, {}}, view::ToolTexts{{"1"}, {}, {}, {}, {}},
          view::ToolTexts{{}, {}, {}, {"1,1,5,5"}, {}}, view::ToolTexts{{}, {}, {}, {}, {"40,40,2,2"}},
          view::ToolTexts{std::vector<std::string>(65, "1,1"), {}, {}, {}, {}}})
        EXPECT_THROW(session.measure(*frame, bad), view::RequestError);
}

}  // namespace
}  // namespace radimo::cli::test
