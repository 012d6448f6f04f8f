// What the viewer shows: frames of a source converted to temperatures through the camera (with the
// scene the page may change), measured through the library like `radimo measure` and drawn like
// `radimo render`. Every request of the page is answered from here; the session holds no state of
// the page (its tools, palette and range come with each request) besides the scene.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/conversion.h"
#include "core/picture_output.h"
#include "core/profile.h"
#include "core/regions.h"
#include "core/shape_regions.h"
#include "core/statistics.h"
#include "view/frame_source.h"

namespace radimo::cli::view {

// The command line's choices for the frames and the page's first settings.
struct SessionSettings {
    std::optional<CameraProfile> camera;
    std::optional<uint16_t> vtemp;  // --vtemp: forced for every raw frame
    std::optional<Unit> unit;       // --unit: what the samples of live frames mean (files are read with it)
    bool scene_correct = false;
    std::string palette = "ironbow";
    std::optional<std::pair<float, float>> range, isotherm;
    double fps = 10;  // playback of sequences
};

// A frame as shown and measured.
struct ShownFrame {
    SourceFramePtr source;
    Frame input;                    // the source frame's size, unit (settled) and vtemp, without samples
    bool scene_corrected = false;   // converted through the scene correction
    std::optional<uint16_t> vtemp;  // raw frames: the focal-plane reading used
    Frame celsius;                  // the temperatures shown, degC
    Frame temperatures;             // the same temperatures in their own unit
    MeasuredFrame measured;         // what is measured, as `radimo measure` measures it
    std::pair<float, float> automatic{};  // the automatic scale of the picture
    PixelStatistics extremes;             // the hottest and coldest pixel of the whole frame
    // The samples the page receives: u16 values v that give the shown degC exactly as
    // float(v / divisor - 273.15), else the degC floats themselves (divisor 0).
    const std::vector<uint16_t> *wire_u16 = nullptr;
    int divisor = 0;
};
using ShownFramePtr = std::shared_ptr<const ShownFrame>;

// A request the page made wrongly (HTTP 400) or for something that is not there (404, 410).
struct RequestError : std::runtime_error {
    RequestError(int status, const std::string &message) : std::runtime_error(message), status(status) {}
    int status;
};

// JSON as text; bytes that are not UTF-8 (in a request's words, a file's name) become U+FFFD.
std::string json_text(const nlohmann::ordered_json &j, int indent = -1);

// The tools of a request: "point", "line", "rect", "polygon" and "ellipse" values as --point,
// --line, --rect, --polygon and --ellipse take them.
struct ToolTexts {
    std::vector<std::string> points, lines, rects, polygons, ellipses;
    std::size_t count() const {
        return points.size() + lines.size() + rects.size() + polygons.size() + ellipses.size();
    }
};

// The tools measured on a frame, in `radimo measure` order: points, lines and rectangles, then
// polygons and ellipses (with their results, index for index).
struct MeasuredTools {
    std::vector<RegionResult> regions;
    std::vector<ShapeRegion> shapes;
    std::vector<ShapeResult> shape_results;
};

// The display settings of a picture export.
struct PictureSettings {
    std::string palette;
    std::optional<std::pair<float, float>> range, isotherm;
    bool colour_bar = true, crosshairs = true;
};

class Session {
public:
    Session(std::unique_ptr<FrameSource> source, SessionSettings settings);

    FrameSource &source() { return *source_; }
    // The page's start-up data: source, frame size and count, camera, scene fields, palettes, settings.
    nlohmann::ordered_json info() const;

    // Frame `index` as shown (RequestError 404/410 when it is not there).
    ShownFramePtr frame(uint64_t index);
    // The next frame after `after` (live: the newest once it is newer); nullptr when none came in time.
    ShownFramePtr next(std::optional<uint64_t> after, std::chrono::milliseconds wait);

    // The tools measured on a shown frame, as `radimo measure` measures them.
    MeasuredTools measure(const ShownFrame &frame, const ToolTexts &tools) const;
    // The report of `radimo measure --json` for this frame and these tools.
    nlohmann::ordered_json report(const ShownFrame &frame, const MeasuredTools &measured) const;
    // The message the page reads a frame from: a little-endian u32 length, that many bytes of JSON
    // (index, size, units, scale, extremes and the measurements), zero bytes up to a multiple of 4,
    // then the samples row by row (u16 or float32, little-endian).
    std::string frame_message(const ShownFrame &frame, const MeasuredTools &measured) const;
    // The PNG of `radimo render` with these settings.
    Picture picture(const ShownFrame &frame, const MeasuredTools &measured,
                    const PictureSettings &settings) const;

    // The scene as the page edits it, and its change (RequestError 400 for a refused value).
    nlohmann::ordered_json scene() const;
    nlohmann::ordered_json set_scene(const nlohmann::json &changes);

private:
    struct Conversion {
        std::shared_ptr<const CameraProfile> camera;
        bool scene_correct = false;
        uint64_t generation = 0;
    };
    Conversion conversion() const;
    // The converter a shown frame was converted with (for what the reports say about it).
    FrameConverter converter_of(const ShownFrame &frame) const;
    // The frame of this index kept for this scene, else nullptr; keeping a converted frame.
    ShownFramePtr kept(uint64_t index, uint64_t generation) const;
    ShownFramePtr keep(ShownFramePtr frame, uint64_t generation);
    ShownFramePtr convert(const SourceFramePtr &source, const Conversion &c) const;

    std::unique_ptr<FrameSource> source_;
    SessionSettings settings_;
    mutable std::mutex mutex_;
    Conversion conversion_;
    // The latest frames shown, newest last, for the requests that follow a frame (tools, exports).
    std::vector<std::pair<uint64_t, ShownFramePtr>> cache_;
    static constexpr std::size_t kCached = 6;
};

}  // namespace radimo::cli::view
