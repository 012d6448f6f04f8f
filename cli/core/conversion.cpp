#include "core/conversion.h"

#include <algorithm>

#include "core/errors.h"
#include "libradimo.h"

namespace radimo::cli {

namespace {

// An empty frame of the size of `source`, in `unit`.
Frame frame_like(const Frame &source, Unit unit) {
    Frame out;
    out.width = source.width;
    out.height = source.height;
    out.unit = unit;
    out.unit_from_file = true;
    return out;
}

// The whole-frame functions take sides of 1 .. 32767 pixels. Every
// conversion here is pixel by pixel, so a frame with a longer side is
// handed over as rows of kMaxSide pixels (and a shorter last row): calls
// `run(offset, resolution, rows)` over all of the frame's pixels.
constexpr uint32_t kMaxSide = 32767;

template <class Run>
void for_each_run(const Frame &frame, Run run) {
    if (frame.pixels() == 0) return;
    if (static_cast<uint32_t>(frame.width) <= kMaxSide && static_cast<uint32_t>(frame.height) <= kMaxSide) {
        run(0, frame.resolution(), static_cast<uint32_t>(frame.height));
        return;
    }
    for (std::size_t offset = 0; offset < frame.pixels();) {
        const std::size_t left = frame.pixels() - offset;
        const std::size_t rows = std::min<std::size_t>(left / kMaxSide, kMaxSide);
        const uint32_t width = rows > 0 ? kMaxSide : static_cast<uint32_t>(left);
        const uint32_t height = rows > 0 ? static_cast<uint32_t>(rows) : 1;
        run(offset, width | height << 16, height);
        offset += std::size_t{width} * height;
    }
}

}  // namespace

FrameConverter::FrameConverter(ConversionSettings settings) : settings_(settings) {
    if (settings_.scene_correct && (settings_.camera == nullptr || settings_.camera->correct_table.empty()))
        fail_usage("--scene-correct needs a camera (--camera DIR) with a correct_table");
}

Unit FrameConverter::source_unit(const Frame &frame) const {
    if (frame.unit_from_file || frame.unit == Unit::kCelsius) return frame.unit;
    return settings_.camera != nullptr ? Unit::kNuc : Unit::kKelvin16;
}

uint16_t FrameConverter::vtemp_of(const Frame &frame) const {
    if (settings_.vtemp) return *settings_.vtemp;
    if (frame.vtemp) return *frame.vtemp;
    return settings_.camera != nullptr ? settings_.camera->vtemp : 0;
}

Frame FrameConverter::apparent(const Frame &raw, const std::string &name) const {
    if (settings_.camera == nullptr) fail_usage(name + ": raw NUC frames need a camera (--camera DIR)");
    const CameraProfile &camera = *settings_.camera;
    if (raw.width != camera.width || raw.height != camera.height)
        fail_usage(name + ": a " + std::to_string(raw.width) + "x" + std::to_string(raw.height) +
                   " frame does not fit the camera's " + std::to_string(camera.width) + "x" +
                   std::to_string(camera.height) + " sensor");
    Frame out = frame_like(raw, Unit::kKelvin16);
    out.samples.resize(raw.pixels());
    const ktbt_correct_param_t ktbt = camera.ktbt_param(vtemp_of(raw));
    for_each_run(raw, [&](std::size_t offset, uint32_t resolution, uint32_t rows) {
        check_library(radimo_frame_temp_measure(
                          &ktbt, static_cast<uint32_t>(camera.kt.size()), camera.nuc_table.data(),
                          static_cast<uint32_t>(camera.nuc_table.size()), raw.samples.data() + offset,
                          resolution, 0, rows, out.samples.data() + offset),
                      "radimo_frame_temp_measure");
    });
    return out;
}

Frame FrameConverter::corrected(const Frame &kelvin16) const {
    const CameraProfile &camera = *settings_.camera;
    Frame out = frame_like(kelvin16, Unit::kCelsius);
    out.celsius.resize(kelvin16.pixels());
    for_each_run(kelvin16, [&](std::size_t offset, uint32_t resolution, uint32_t rows) {
        check_library(radimo_frame_scene_correct(&camera.scene, camera.correct_table.data(),
                                                 kelvin16.samples.data() + offset, resolution, 0, rows,
                                                 out.celsius.data() + offset),
                      "radimo_frame_scene_correct");
    });
    return out;
}

Frame FrameConverter::convert(const Frame &frame, Unit unit, const std::string &name) const {
    if (unit == Unit::kNuc) fail_usage(name + ": frames can only be converted to temperatures");
    const Unit from = source_unit(frame);
    if (settings_.scene_correct && from != Unit::kNuc && from != Unit::kKelvin16)
        fail_usage(name + ": holds " + unit_name(from) +
                   " frames; the scene correction needs raw NUC or apparent 1/16 K frames");

    // Everything goes through degC unless the frame already is in the unit asked for.
    Frame source = frame;
    source.unit = from;
    if (from == Unit::kNuc) source = apparent(frame, name);
    if (settings_.scene_correct) source = corrected(source);
    if (source.unit == unit) return source;

    Frame out = frame_like(source, unit);
    const std::size_t n = source.pixels();
    const auto celsius_at = [&](std::size_t i) -> double {
        switch (source.unit) {
            case Unit::kKelvin16:
                return celsius_of_kelvin16(source.samples[i]);
            case Unit::kCentikelvin:
                return celsius_of_centikelvin(source.samples[i]);
            default:
                return source.celsius[i];
        }
    };
    if (unit == Unit::kCelsius && source.unit == Unit::kKelvin16) {
        out.celsius.resize(n);
        for_each_run(source, [&](std::size_t offset, uint32_t resolution, uint32_t rows) {
            check_library(radimo_frame_to_celsius(nullptr, 0, source.samples.data() + offset, resolution, 0,
                                                  rows, out.celsius.data() + offset),
                          "radimo_frame_to_celsius");
        });
    } else if (unit == Unit::kCelsius) {
        out.celsius.resize(n);
        for (std::size_t i = 0; i < n; ++i) out.celsius[i] = static_cast<float>(celsius_at(i));
    } else {
        out.samples.resize(n);
        for (std::size_t i = 0; i < n; ++i)
            out.samples[i] = unit == Unit::kKelvin16 ? kelvin16_of_celsius(celsius_at(i))
                                                     : centikelvin_of_celsius(celsius_at(i));
    }
    return out;
}

}  // namespace radimo::cli
