#include "core/camera_options.h"

#include <cmath>
#include <cstdio>

#include "core/errors.h"

namespace radimo::cli {

void CameraOptions::add_to(CLI::App &command, bool required, bool with_scene_correct, bool with_vtemp) {
    auto *camera =
        command.add_option("--camera", dir, "Camera profile directory (camera.json and its tables)");
    if (required) camera->required();
    command.add_option("--set", set,
                       "Override a camera.json field, e.g. --set ktbt.K_Temp=4100 (repeatable)");
    if (with_vtemp)
        command.add_option("--vtemp", vtemp,
                           "Focal-plane reading for every frame (overrides the frames' and camera.json)");
    command.add_option("--ems", ems, "Emissivity 0..1 (camera.json scene.emissivity)");
    command.add_option("--dist", dist, "Object distance in metres (scene.distance_m)");
    command.add_option("--hum", hum, "Relative humidity 0..1 (scene.humidity)");
    command.add_option("--ta", ta, "Ambient (air) temperature in degC (scene.ambient_c)");
    command.add_option("--tu", tu, "Reflected temperature in degC (scene.reflected_c)");
    if (with_scene_correct)
        command.add_flag("--scene-correct", scene_correct,
                         "Correct for emissivity, distance, humidity, ambient and reflected temperature");
}

std::optional<CameraProfile> CameraOptions::load() const {
    std::vector<ProfileOverride> overrides;
    for (const std::string &s : set) overrides.push_back(parse_set_option(s));
    const auto add = [&](const std::optional<double> &v, const char *field, const char *flag) {
        if (!v) return;
        char text[64];
        std::snprintf(text, sizeof text, "%s %g", flag, *v);
        overrides.push_back({field, *v, text});
    };
    add(ems, "scene.emissivity", "--ems");
    add(dist, "scene.distance_m", "--dist");
    add(hum, "scene.humidity", "--hum");
    add(ta, "scene.ambient_c", "--ta");
    add(tu, "scene.reflected_c", "--tu");
    if (!given()) {
        if (!overrides.empty() || vtemp) fail_usage("camera overrides need a camera: add --camera DIR");
        return std::nullopt;
    }
    return load_profile(dir, overrides);
}

std::vector<std::filesystem::path> CameraOptions::files(const std::optional<CameraProfile> &camera) const {
    if (!camera) return {};
    const std::filesystem::path d(dir);
    std::vector<std::filesystem::path> files{d / "camera.json", d / camera->nuc_table_file,
                                             d / camera->kt_file, d / camera->bt_file};
    if (!camera->correct_table.empty()) files.push_back(d / camera->correct_table_file);
    if (!camera->env_tau.empty()) files.push_back(d / camera->env_tau_file);
    return files;
}

std::optional<uint16_t> CameraOptions::forced_vtemp() const {
    if (!vtemp) return std::nullopt;
    if (!std::isfinite(*vtemp) || *vtemp < 0 || *vtemp > 65535 || *vtemp != std::floor(*vtemp))
        fail_usage("--vtemp: must be an integer 0..65535");
    return static_cast<uint16_t>(*vtemp);
}

}  // namespace radimo::cli
