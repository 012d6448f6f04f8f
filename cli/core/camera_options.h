// The options every command that uses a camera shares: --camera DIR, the
// overrides of its fields (--set FIELD=VALUE and the scene and vtemp
// shorthands) and --scene-correct.
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "core/conversion.h"
#include "core/profile.h"

namespace radimo::cli {

struct CameraOptions {
    std::string dir;
    std::vector<std::string> set;
    std::optional<double> vtemp, ems, dist, hum, ta, tu;
    bool scene_correct = false;

    // Adds the options to a command; `with_scene_correct` adds --scene-correct,
    // `with_vtemp` --vtemp (for commands whose frames take a focal-plane reading).
    void add_to(CLI::App &command, bool required, bool with_scene_correct, bool with_vtemp = true);
    bool given() const { return !dir.empty(); }
    // The profile with its overrides applied and checked; nullopt without --camera.
    std::optional<CameraProfile> load() const;
    // The files of the loaded camera (camera.json and its tables): inputs no output may replace.
    std::vector<std::filesystem::path> files(const std::optional<CameraProfile> &camera) const;
    // The vtemp forced on every frame by --vtemp.
    std::optional<uint16_t> forced_vtemp() const;
    ConversionSettings settings(const CameraProfile *camera) const {
        return {camera, forced_vtemp(), scene_correct};
    }
};

}  // namespace radimo::cli
