#include "view/session.h"

#include <cmath>
#include <cstring>

#include "core/errors.h"
#include "core/measure_report.h"
#include "core/warnings.h"
#include "libradimo.h"
#include "picture/scale.h"

namespace radimo::cli::view {
namespace {

using ordered_json = nlohmann::ordered_json;

constexpr std::size_t kMaxTools = 64;

// Whether every shown temperature is float(v / divisor - 273.15) of its u16 sample: then the page
// gets the 16-bit samples and computes the same temperatures itself, bit for bit.
bool exact_from_u16(const std::vector<uint16_t> &samples, int divisor, const std::vector<float> &celsius) {
    if (samples.size() != celsius.size()) return false;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const float v = static_cast<float>(static_cast<double>(samples[i]) / divisor - 273.15);
        if (std::memcmp(&v, &celsius[i], sizeof v) != 0) return false;
    }
    return true;
}

ordered_json reading_at(const Frame &celsius, point_t at) {
    const float v = celsius.floats[static_cast<std::size_t>(at.y) * celsius.width + at.x];
    return {{"x", at.x}, {"y", at.y}, {"celsius", v}};
}

std::string hex_colour(Rgb c) {
    char text[8];
    std::snprintf(text, sizeof text, "%02x%02x%02x", c.r, c.g, c.b);
    return text;
}

ordered_json palettes_json() {
    ordered_json list = ordered_json::array();
    for (std::string_view name : palette_names()) {
        const Palette *p = find_palette(name);
        std::string colours;
        colours.reserve(Palette::levels * 6);
        for (int i = 0; i < Palette::levels; ++i)
            colours += hex_colour(p->at(static_cast<double>(i) / (Palette::levels - 1)));
        list.push_back({{"name", name}, {"colours", colours}, {"highlight", hex_colour(p->highlight())}});
    }
    return list;
}

ordered_json band_json(const std::optional<std::pair<float, float>> &band) {
    if (!band) return nullptr;
    return {band->first, band->second};
}

}  // namespace

std::string json_text(const nlohmann::ordered_json &j, int indent) {
    // Texts from a request or a file name need not be UTF-8: shown with U+FFFD, never refused.
    return j.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

Session::Session(std::unique_ptr<FrameSource> source, SessionSettings settings)
    : source_(std::move(source)), settings_(std::move(settings)) {
    if (settings_.camera) conversion_.camera = std::make_shared<const CameraProfile>(*settings_.camera);
    conversion_.scene_correct = settings_.scene_correct;
    // Checks the settings against the frames before the page is offered: a file's first frame now,
    // a stream's as it arrives.
    FrameConverter(ConversionSettings{conversion_.camera.get(), settings_.vtemp, settings_.scene_correct});
    if (!source_->live()) {
        try {
            frame(0);
        } catch (const RequestError &e) {
            fail_usage(e.what());
        }
    }
}

FrameConverter Session::converter_of(const ShownFrame &frame) const {
    // The command line's camera: the page changes only the scene, which these reports do not read.
    return FrameConverter(
        {settings_.camera ? &*settings_.camera : nullptr, settings_.vtemp, frame.scene_corrected});
}

Session::Conversion Session::conversion() const {
    std::lock_guard lock(mutex_);
    return conversion_;
}

ShownFramePtr Session::convert(const SourceFramePtr &source, const Conversion &c) const {
    auto shown = std::make_shared<ShownFrame>();
    shown->source = source;
    Frame frame = source->frame;
    if (source_->live()) {  // files settle their unit as they are read; a stream says nothing
        frame.unit = settings_.unit.value_or(c.camera ? Unit::kNuc : Unit::kKelvin16);
        frame.unit_source = settings_.unit ? UnitSource::kOption : UnitSource::kAssumed;
    }
    shown->input = Frame{frame.width, frame.height, frame.unit, frame.unit_source, frame.vtemp, {}, {}};
    shown->scene_corrected = c.scene_correct;
    try {
        // Measured in their own unit like `measure`, shown in degC like `render`.
        const FrameConverter converter({c.camera.get(), settings_.vtemp, c.scene_correct});
        if (frame.unit == Unit::kNuc) shown->vtemp = converter.vtemp_of(frame);
        shown->temperatures = converter.temperatures(frame, source->origin, source->file_index);
        shown->celsius = to_unit(shown->temperatures, Unit::kCelsius);
        shown->measured = measured_frame(shown->temperatures);
        const int divisor = counts_per_kelvin(shown->temperatures.unit);
        if (divisor > 0 && exact_from_u16(shown->temperatures.samples, divisor, shown->celsius.floats))
            shown->wire_u16 = &shown->temperatures.samples, shown->divisor = divisor;
        shown->automatic = automatic_range(shown->celsius.floats);
        const Region whole{Region::Kind::kRect, {0, 0}, {frame.width, frame.height}, "frame"};
        shown->extremes = region_statistics(shown->measured, whole).pixels;
    } catch (const Error &e) {
        throw RequestError(400, e.what());
    }
    return shown;
}

ShownFramePtr Session::kept(uint64_t index, uint64_t generation) const {
    std::lock_guard lock(mutex_);
    if (generation != conversion_.generation) return nullptr;
    for (const auto &[key, frame] : cache_)
        if (key == index) return frame;
    return nullptr;
}

ShownFramePtr Session::keep(ShownFramePtr frame, uint64_t generation) {
    std::lock_guard lock(mutex_);
    if (generation != conversion_.generation) return frame;  // the scene changed meanwhile: not kept
    const uint64_t index = frame->source->index;
    std::erase_if(cache_, [&](const auto &entry) { return entry.first == index; });
    if (cache_.size() == kCached) cache_.erase(cache_.begin());
    cache_.emplace_back(index, frame);
    return frame;
}

ShownFramePtr Session::frame(uint64_t index) {
    const Conversion c = conversion();
    if (ShownFramePtr f = kept(index, c.generation)) return f;
    const SourceFramePtr source = source_->at(index);
    if (!source) {
        if (source_->live()) throw RequestError(410, "frame " + std::to_string(index) + " is no longer kept");
        throw RequestError(404, "frame " + std::to_string(index) + " is outside the " +
                                    std::to_string(source_->count()) + " frames");
    }
    return keep(convert(source, c), c.generation);
}

ShownFramePtr Session::next(std::optional<uint64_t> after, std::chrono::milliseconds wait) {
    const SourceFramePtr source = source_->next(after, wait);
    if (!source) return nullptr;
    const Conversion c = conversion();
    if (ShownFramePtr f = kept(source->index, c.generation)) return f;
    return keep(convert(source, c), c.generation);
}

MeasuredTools Session::measure(const ShownFrame &frame, const ToolTexts &tools) const {
    if (tools.count() > kMaxTools)
        throw RequestError(400, "at most " + std::to_string(kMaxTools) + " tools are measured at once");
    MeasuredTools measured;
    try {
        for (const Region &r : parse_regions(tools.points, tools.lines, tools.rects)) {
            check_inside(r, frame.measured.width, frame.measured.height);
            measured.regions.push_back(measure_region(frame.measured, r, std::nullopt));
        }
        // No mask and no regions file: nothing of a request reaches the file system.
        measured.shapes = parse_shape_regions(tools.polygons, tools.ellipses, {}, {});
        for (ShapeRegion &g : measured.shapes)
            measured.shape_results.push_back(measure_shape(frame.measured, g, nullptr));
    } catch (const Error &e) {
        throw RequestError(400, e.what());
    }
    return measured;
}

ordered_json Session::report(const ShownFrame &frame, const MeasuredTools &measured) const {
    ordered_json record =
        measured_frame_json(frame.source->file_index, converter_of(frame), frame.input, frame.measured);
    record["measurements"] = ordered_json::array();
    for (const RegionResult &m : measured.regions)
        record["measurements"].push_back(region_json(frame.measured, m));
    for (std::size_t k = 0; k < measured.shapes.size(); ++k)
        record["measurements"].push_back(
            shape_json(frame.measured, measured.shapes[k], measured.shape_results[k]));
    if (measured.shape_results.size() > 1) record["delta_t"] = delta_t_json(measured.shape_results);
    ordered_json report = {{"file", frame.source->origin}};
    report["frames"] = ordered_json::array({record});
    // The doubts about the input seen so far (every frame converted, by any request), as measure
    // reports them.
    report["warnings"] = warnings().json();
    return report;
}

std::string Session::frame_message(const ShownFrame &frame, const MeasuredTools &measured) const {
    const Frame &c = frame.celsius;
    ordered_json j = {{"index", frame.source->index},
                      {"count", source_->count()},
                      {"live", source_->live()},
                      {"file", frame.source->origin},
                      {"file_frame", frame.source->file_index},
                      {"width", c.width},
                      {"height", c.height},
                      {"unit", unit_name(frame.input.unit)}};
    if (frame.vtemp) j["vtemp"] = *frame.vtemp;
    j["scene_correct"] = conversion().scene_correct;
    j["samples"] = frame.wire_u16 != nullptr ? "u16" : "f32";
    if (frame.wire_u16 != nullptr) j["divisor"] = frame.divisor;
    j["automatic"] = {frame.automatic.first, frame.automatic.second};
    j["hottest"] = reading_at(c, frame.extremes.hottest.at);
    j["coldest"] = reading_at(c, frame.extremes.coldest.at);
    if (frame.source->received_ms > 0) j["received_ms"] = frame.source->received_ms;
    if (const auto why = source_->ended()) j["ended"] = *why;
    j["report"] = report(frame, measured);

    const std::string header = json_text(j);
    const std::size_t start = (4 + header.size() + 3) / 4 * 4;
    const std::size_t bytes = frame.wire_u16 != nullptr ? c.pixels() * 2 : c.pixels() * 4;
    std::string message(start + bytes, '\0');
    const auto length = static_cast<uint32_t>(header.size());
    for (int i = 0; i < 4; ++i)
        message[static_cast<std::size_t>(i)] = static_cast<char>((length >> (8 * i)) & 0xFF);
    std::memcpy(message.data() + 4, header.data(), header.size());
    // Samples in the machine's order: little-endian on every host this runs on.
    static_assert(std::endian::native == std::endian::little, "the page reads little-endian samples");
    if (frame.wire_u16 != nullptr)
        std::memcpy(message.data() + start, frame.wire_u16->data(), bytes);
    else
        std::memcpy(message.data() + start, c.floats.data(), bytes);
    return message;
}

Picture Session::picture(const ShownFrame &frame, const MeasuredTools &measured,
                         const PictureSettings &settings) const {
    PictureRequest request;
    request.celsius = &frame.celsius;
    request.measured = &frame.measured;
    request.unit = temperatures_from(frame.input, converter_of(frame));
    request.regions = measured.regions;
    for (std::size_t k = 0; k < measured.shapes.size(); ++k)
        request.outlines.push_back(shape_mark(measured.shapes[k], measured.shape_results[k]));
    request.palette = find_palette(settings.palette);
    if (request.palette == nullptr) throw RequestError(400, "unknown palette '" + settings.palette + "'");
    request.range = settings.range;
    request.isotherm = settings.isotherm;
    request.colour_bar = settings.colour_bar;
    request.crosshairs = settings.crosshairs;
    try {
        return draw_picture(request);
    } catch (const Error &e) {
        throw RequestError(400, e.what());
    }
}

ordered_json Session::scene() const {
    const Conversion c = conversion();
    const bool available = c.camera && !c.camera->correct_table.empty();
    ordered_json j = {{"available", available}, {"scene_correct", c.scene_correct}};
    if (!c.camera) {
        j["reason"] = "the scene correction needs a camera (--camera DIR)";
    } else if (!available) {
        j["reason"] = "the camera has no correct_table, which the scene correction needs";
    }
    j["fields"] = ordered_json::array();
    for (const SceneField &f : scene_fields()) {
        ordered_json field = {{"key", f.key}, {"lo", f.lo}, {"hi", f.hi}, {"unit", f.unit}};
        if (c.camera) field["value"] = c.camera->scene.*f.member;
        j["fields"].push_back(field);
    }
    return j;
}

ordered_json Session::set_scene(const nlohmann::json &changes) {
    if (!changes.is_object()) throw RequestError(400, "the scene is a JSON object");
    Conversion c = conversion();
    CameraProfile camera = c.camera ? *c.camera : CameraProfile{};
    for (const auto &item : changes.items()) {
        const std::string &key = item.key();
        const nlohmann::json &value = item.value();
        if (key == "scene_correct") {
            if (!value.is_boolean()) throw RequestError(400, "scene_correct must be true or false");
            c.scene_correct = value.get<bool>();
            continue;
        }
        const SceneField *field = nullptr;
        for (const SceneField &f : scene_fields())
            if (key == f.key) field = &f;
        if (field == nullptr) throw RequestError(400, "unknown scene field '" + key + "'");
        if (!c.camera) throw RequestError(400, "the scene needs a camera (--camera DIR)");
        if (!value.is_number()) throw RequestError(400, key + " must be a number");
        const double v = value.get<double>();
        if (!(v >= field->lo && v <= field->hi)) {
            char text[160];
            std::snprintf(text, sizeof text, "%s %g is outside %g..%g", field->key, v, field->lo, field->hi);
            throw RequestError(400, text);
        }
        camera.scene.*field->member = static_cast<float>(v);
    }
    if (c.scene_correct && (!c.camera || camera.correct_table.empty()))
        throw RequestError(400, c.camera ? "the camera has no correct_table, which the scene correction needs"
                                         : "the scene correction needs a camera (--camera DIR)");
    if (c.camera) c.camera = std::make_shared<const CameraProfile>(std::move(camera));
    // The newest frame converted with the new scene first: a scene the frames refuse is not taken.
    const uint64_t count = source_->count();
    if (count > 0) {
        const SourceFramePtr probe = source_->live() ? source_->next(std::nullopt, {}) : source_->at(0);
        if (probe) convert(probe, c);
    }
    {
        std::lock_guard lock(mutex_);
        c.generation = conversion_.generation + 1;
        conversion_ = c;
        cache_.clear();
    }
    return scene();
}

ordered_json Session::info() const {
    ordered_json j = {{"version", std::string("radimo " RADIMO_CLI_VERSION " (") + radimo_version() + ")"}};
    j["source"] = {
        {"live", source_->live()}, {"description", source_->description()}, {"count", source_->count()}};
    j["camera"] = settings_.camera ? ordered_json(settings_.camera->name) : ordered_json(nullptr);
    j["palettes"] = palettes_json();
    j["settings"] = {{"palette", settings_.palette},
                     {"range", band_json(settings_.range)},
                     {"isotherm", band_json(settings_.isotherm)},
                     {"fps", settings_.fps}};
    j["scene"] = scene();
    return j;
}

}  // namespace radimo::cli::view
