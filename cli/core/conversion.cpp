#include "core/conversion.h"

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
    const uint16_t *table = camera.nuc_table.data();
    if (camera.long_ktbt()) {
        for (std::size_t i = 0; i < raw.pixels(); ++i) {
            uint16_t nuc = 0;
            check_library(ktbt_correct_process_with_version3(&ktbt, raw.samples[i], &nuc),
                          "ktbt_correct_process_with_version3");
            check_library(remap_temp(table, nuc, &out.samples[i]), "remap_temp");
        }
    } else {
        for (std::size_t i = 0; i < raw.pixels(); ++i) {
            const int rc = temp_measure_with_NUC_value(&ktbt, table, raw.samples[i], &out.samples[i]);
            if (rc != RADIMO_SUCCESS) check_library(rc, "temp_measure_with_NUC_value");
        }
    }
    return out;
}

Frame FrameConverter::corrected(const Frame &kelvin16) const {
    const CameraProfile &camera = *settings_.camera;
    Frame out = frame_like(kelvin16, Unit::kCelsius);
    out.celsius.resize(kelvin16.pixels());
    check_library(enhance_distance_raw_temp_correct_lattice(
                      &camera.scene, camera.correct_table.data(), 0, kelvin16.samples.data(),
                      static_cast<uint32_t>(kelvin16.pixels()), out.celsius.data()),
                  "enhance_distance_raw_temp_correct_lattice");
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
    if (unit == Unit::kCelsius) {
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
