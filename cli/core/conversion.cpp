#include "core/conversion.h"

#include <algorithm>

#include "core/errors.h"
#include "core/warnings.h"
#include "libradimo.h"

namespace radimo::cli {

namespace {

// An empty frame of the size of `source`, in `unit`.
Frame frame_like(const Frame &source, Unit unit) {
    Frame out;
    out.width = source.width;
    out.height = source.height;
    out.unit = unit;
    out.unit_source = source.unit_source;
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

uint16_t FrameConverter::vtemp_of(const Frame &frame) const {
    if (settings_.vtemp) return *settings_.vtemp;
    if (frame.vtemp) return *frame.vtemp;
    return settings_.camera != nullptr ? settings_.camera->vtemp : 0;
}

bool FrameConverter::quantises(Unit unit) const {
    return settings_.scene_correct && unit != Unit::kNuc && unit != Unit::kKelvin16;
}

Frame FrameConverter::apparent(const Frame &raw, const std::string &name, std::size_t index) const {
    if (settings_.camera == nullptr) fail_usage(name + ": raw NUC frames need a camera (--camera DIR)");
    const CameraProfile &camera = *settings_.camera;
    if (raw.width != camera.width || raw.height != camera.height)
        fail_usage(name + ": a " + std::to_string(raw.width) + "x" + std::to_string(raw.height) +
                   " frame does not fit the camera's " + std::to_string(camera.width) + "x" +
                   std::to_string(camera.height) + " sensor");
    check_nuc_range(raw, name, index);
    Frame out = frame_like(raw, Unit::kKelvin16);
    out.unit_source = UnitSource::kCamera;
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
    out.unit_source = UnitSource::kCamera;
    out.floats.resize(kelvin16.pixels());
    for_each_run(kelvin16, [&](std::size_t offset, uint32_t resolution, uint32_t rows) {
        check_library(radimo_frame_scene_correct(&camera.scene, camera.correct_table.data(),
                                                 kelvin16.samples.data() + offset, resolution, 0, rows,
                                                 out.floats.data() + offset),
                      "radimo_frame_scene_correct");
    });
    return out;
}

Frame FrameConverter::temperatures(const Frame &frame, const std::string &name, std::size_t index) const {
    Frame source = frame.unit == Unit::kNuc ? apparent(frame, name, index) : frame;
    if (!settings_.scene_correct) return source;
    // The correction takes 1/16 K: other units are rounded to it first.
    if (source.unit != Unit::kKelvin16) source = to_unit(source, Unit::kKelvin16);
    return corrected(source);
}

Frame FrameConverter::convert(const Frame &frame, Unit unit, const std::string &name,
                              std::size_t index) const {
    if (!is_temperature(unit)) fail_usage(name + ": frames can only be converted to temperatures");
    const Frame source = temperatures(frame, name, index);
    std::size_t clamped = 0;
    Frame out = to_unit(source, unit, &clamped);
    if (clamped > 0)
        warnings().add(name + ":clamped:" + unit_name(unit),
                       name + (index > 0 ? " frame " + std::to_string(index) : "") + ": " +
                           std::to_string(clamped) + " of " + std::to_string(out.pixels()) +
                           " temperatures lie outside what " + unit_name(unit) + " holds (" +
                           std::string(unit_symbol(unit)) + " counts 0..65535) and were limited to its ends");
    return out;
}

Frame to_unit(const Frame &source, Unit unit, std::size_t *clamped) {
    if (source.unit == unit) return source;
    Frame out = frame_like(source, unit);
    const std::size_t n = source.pixels();
    const bool from_floats = is_float_unit(source.unit);
    const auto value = [&](std::size_t i) -> double {
        return from_floats ? static_cast<double>(source.floats[i]) : static_cast<double>(source.samples[i]);
    };
    if (unit == Unit::kCelsius && source.unit == Unit::kKelvin16) {
        out.floats.resize(n);
        for_each_run(source, [&](std::size_t offset, uint32_t resolution, uint32_t rows) {
            check_library(radimo_frame_to_celsius(nullptr, 0, source.samples.data() + offset, resolution, 0,
                                                  rows, out.floats.data() + offset),
                          "radimo_frame_to_celsius");
        });
    } else if (is_float_unit(unit)) {
        out.floats.resize(n);
        for (std::size_t i = 0; i < n; ++i)
            out.floats[i] = static_cast<float>(unit == Unit::kCelsius ? celsius_of(source.unit, value(i))
                                                                      : kelvin_of(source.unit, value(i)));
    } else {
        out.samples.resize(n);
        std::size_t limited = 0;
        for (std::size_t i = 0; i < n; ++i) {
            bool c = false;
            out.samples[i] = count_of(source.unit, value(i), unit, &c);
            limited += c ? 1 : 0;
        }
        if (clamped != nullptr) *clamped = limited;
    }
    return out;
}

}  // namespace radimo::cli
