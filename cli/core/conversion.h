// The one place where frames change unit: raw NUC frames become
// temperatures through the camera (KT/BT correction at the frame's vtemp and
// the NUC table), apparent temperatures become object temperatures through
// the scene correction, and temperatures move between every temperature
// unit (1/16 K, 1/100 K, 1/10 K, 1/1000 K, degC, K).
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "core/frame.h"
#include "core/profile.h"

namespace radimo::cli {

struct ConversionSettings {
    const CameraProfile *camera = nullptr;  // needed for raw frames and the scene correction
    std::optional<uint16_t> vtemp;          // forced for every frame (else the frame's, else the camera's)
    bool scene_correct = false;             // emissivity, distance, humidity, ambient, reflected
};

class FrameConverter {
public:
    explicit FrameConverter(ConversionSettings settings);

    // The focal-plane reading used for a raw frame.
    uint16_t vtemp_of(const Frame &frame) const;
    // Whether the scene correction, which takes 1/16 K, quantises frames of `unit` to it first.
    bool quantises(Unit unit) const;
    bool scene_corrects() const { return settings_.scene_correct; }

    // The temperatures a frame stands for, at the precision they come in:
    // a temperature frame as it is; a raw NUC frame as apparent temperatures
    // in 1/16 K; with the scene correction, object temperatures in degC
    // (float). `name` and `index` name the file and frame in messages.
    Frame temperatures(const Frame &frame, const std::string &name, std::size_t index = 0) const;
    // The same temperatures in `unit` (kNuc is refused); values a 16-bit
    // unit cannot hold are limited to its ends, with a warning.
    Frame convert(const Frame &frame, Unit unit, const std::string &name, std::size_t index = 0) const;

private:
    // Apparent temperatures in 1/16 K of a raw frame.
    Frame apparent(const Frame &raw, const std::string &name, std::size_t index) const;
    // Object temperatures in degC of an apparent 1/16 K frame.
    Frame corrected(const Frame &kelvin16) const;

    ConversionSettings settings_;
};

// A temperature frame in another temperature unit: float results rounded
// to float32, 16-bit ones to the nearest count and limited to 0..65535
// (`clamped` counts the values that were). 1/16 K to degC is the library's
// radimo_frame_to_celsius.
Frame to_unit(const Frame &temperatures, Unit unit, std::size_t *clamped = nullptr);

}  // namespace radimo::cli
