// The one place where frames change unit: raw NUC frames become
// temperatures through the camera (KT/BT correction at the frame's vtemp and
// the NUC table), apparent temperatures become object temperatures through
// the scene correction, and temperatures move between 1/16 K, 1/100 K and
// degC.
#pragma once

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

    // The unit a frame read from a file stands for: what the file says,
    // else raw NUC values when a camera is given, else 1/16 K.
    Unit source_unit(const Frame &frame) const;
    // The focal-plane reading used for a raw frame.
    uint16_t vtemp_of(const Frame &frame) const;

    // The frame in `unit` (kNuc is refused). `name` names the file in errors.
    Frame convert(const Frame &frame, Unit unit, const std::string &name) const;

private:
    // Apparent temperatures in 1/16 K of a raw frame.
    Frame apparent(const Frame &raw, const std::string &name) const;
    // Object temperatures in degC of an apparent 1/16 K frame.
    Frame corrected(const Frame &kelvin16) const;

    ConversionSettings settings_;
};

}  // namespace radimo::cli
