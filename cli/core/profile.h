// A camera in a folder: camera.json beside its binary tables.
//
//     DIR/camera.json         format version, resolution, gain, KT/BT mapping,
//                             vtemp, NUC factor, table files, scene defaults
//     DIR/nuc_table.bin       8192 u16 LE, temperatures in 1/16 K by NUC / 2
//     DIR/kt.bin, bt.bin      1201 or 3601 u16 / i16 LE, the KT/BT arrays
//     DIR/correct_table.bin   optional: raw correction (tau) table with its header
//     DIR/env_tau.bin         optional: environment tau table (3584 u16 LE)
//
// Loading checks everything before anything is used and reports the first
// problem as one line naming the file (or flag) and the field; see
// docs/formats.md for the fields.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "libradimo.h"

namespace radimo::cli {

class AtomicDirectory;

// An enable/version pair of the correction table's header.
struct CorrectionSwitch {
    bool enable = false;
    uint16_t version = 0;
};

struct CameraProfile {
    static constexpr int kFormatVersion = 1;
    // Bounds checked before camera.json is parsed: its size, and how deeply its
    // arrays and objects may nest (a profile needs 3 levels).
    static constexpr std::size_t kMaxJsonBytes = 1 << 20;
    static constexpr int kMaxJsonDepth = 16;
    static constexpr std::size_t kNucTableEntries = 8192;
    static constexpr std::size_t kEnvTauEntries = 3584;

    std::string name;
    int width = 0;
    int height = 0;
    bool high_gain = true;
    std::optional<nuc_factor_t> nuc_factor;
    uint16_t vtemp = 0;  // focal-plane reading of frames that do not carry their own
    int16_t k_temp = 0;
    int16_t b_temp = 0;
    uint16_t address_ca = 0;
    std::vector<uint16_t> nuc_table;
    std::vector<uint16_t> kt;
    std::vector<int16_t> bt;
    std::vector<uint16_t> correct_table;  // raw words; empty when the camera has none
    std::vector<uint16_t> env_tau;        // empty when the camera has none
    env_correct_param_t scene{};

    // File names of the tables, kept when a profile is rewritten.
    std::string nuc_table_file = "nuc_table.bin";
    std::string kt_file = "kt.bin";
    std::string bt_file = "bt.bin";
    std::string correct_table_file = "correct_table.bin";
    std::string env_tau_file = "env_tau.bin";

    // 3601-entry arrays use the version-3 correction.
    bool long_ktbt() const { return kt.size() == 3601; }
    bool has_header() const {
        return correct_table.size() >= 128 && correct_table[2] == 0xFFFF && correct_table[3] == 0xFFFF;
    }
    ktbt_correct_param_t ktbt_param(uint16_t frame_vtemp) const;
    second_calib_param_t second_calib_param() const;
    // KT/BT index of a vtemp (the forward correction's mapping, clamped to the arrays).
    int ktbt_index(uint16_t frame_vtemp) const;
};

// Changes to a loaded camera.json, applied before it is checked: each is a
// dotted field path ("scene.emissivity"), a JSON value and the flag that
// set it (named in error messages).
struct ProfileOverride {
    std::string field;
    nlohmann::json value;
    std::string flag;
};
// Parses "FIELD=VALUE" of --set (VALUE as JSON, else as a string; JSON nested
// deeper than a profile may be is refused).
ProfileOverride parse_set_option(const std::string &text);

// The fields of camera.json's "scene": key, the range the loader accepts, unit ("" for a
// fraction) and the member of env_correct_param_t it sets. The viewer offers the same fields.
struct SceneField {
    const char *key;
    double lo, hi;
    const char *unit;
    float env_correct_param_t::*member;
};
std::span<const SceneField> scene_fields();

CameraProfile load_profile(const std::filesystem::path &dir,
                           const std::vector<ProfileOverride> &overrides = {});
nlohmann::ordered_json profile_json(const CameraProfile &profile);
// Writes camera.json and the tables into a directory being created.
void write_profile(const CameraProfile &profile, AtomicDirectory &dir);

// Header switches of a raw correction table (words 2, 5-8, 11-12 counted from 1);
// a table without the header has format 0.
uint16_t correct_table_format(const std::vector<uint16_t> &raw);
// Words a raw correction table needs for the tau grid of its format (and its header).
std::size_t correct_table_words_needed(const std::vector<uint16_t> &raw);
CorrectionSwitch ems_switch(const std::vector<uint16_t> &raw);
CorrectionSwitch hum_switch(const std::vector<uint16_t> &raw);
CorrectionSwitch reflected_switch(const std::vector<uint16_t> &raw);

// Little-endian u16 tables.
std::vector<uint16_t> read_u16_file(const std::filesystem::path &path);
void write_u16_file(const std::filesystem::path &path, const uint16_t *data, std::size_t count);

}  // namespace radimo::cli
