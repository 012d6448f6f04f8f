#include "core/profile.h"

#include <endian.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include "core/atomic_output.h"
#include "core/errors.h"
#include "tau_model.h"

namespace radimo::cli {
namespace fs = std::filesystem;
using json = nlohmann::json;
using ordered_json = nlohmann::ordered_json;

namespace {

constexpr const char *kJsonName = "camera.json";

// Whether JSON text nests arrays and objects deeper than a profile may,
// counted on the text itself (brackets outside string literals), so that a
// document too deep to handle is refused before it is parsed. Malformed text
// is counted as well; the parser refuses it afterwards. The Python binding
// counts the same way (python/radimo/_profile.py).
bool nested_too_deep(std::string_view text) {
    int depth = 0;
    bool in_string = false, escaped = false;
    for (const char c : text) {
        if (in_string) {
            if (escaped)
                escaped = false;
            else if (c == '\\')
                escaped = true;
            else if (c == '"')
                in_string = false;
        } else if (c == '"') {
            in_string = true;
        } else if (c == '[' || c == '{') {
            if (++depth > CameraProfile::kMaxJsonDepth) return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

std::string too_deep() {
    return "nested deeper than " + std::to_string(CameraProfile::kMaxJsonDepth) + " levels";
}

// Parses camera.json, refusing a key repeated in one object (which value
// counts would be a guess). The first object to close with a repeated key is
// named, its first repeated key; a document that is not valid JSON is
// reported as that, whatever it repeats.
ordered_json parse_profile_text(const std::string &text, const std::string &file) {
    using Event = ordered_json::parse_event_t;
    std::vector<std::set<std::string>> keys;  // of each open array or object (arrays hold none)
    std::vector<std::string> repeated;        // of each: its first repeated key
    std::optional<std::string> first_repeated;
    const auto track = [&](int, Event event, ordered_json &parsed) {
        if (event == Event::object_start || event == Event::array_start) {
            keys.emplace_back();
            repeated.emplace_back();
        } else if (event == Event::key) {
            const std::string key = parsed.get<std::string>();
            if (!keys.back().insert(key).second && repeated.back().empty()) repeated.back() = key;
        } else if (event == Event::object_end || event == Event::array_end) {
            if (!repeated.back().empty() && !first_repeated) first_repeated = repeated.back();
            keys.pop_back();
            repeated.pop_back();
        }
        return true;
    };
    ordered_json root = ordered_json::parse(text, track, false);
    if (root.is_discarded()) fail_usage(file + ": not valid JSON");
    if (first_repeated) fail_usage(file + ": duplicate key \"" + *first_repeated + "\"");
    return root;
}

// Checks the fields of one camera.json, naming the file or the flag that
// set a field in its one-line error.
class Checker {
public:
    Checker(std::string file, std::map<std::string, std::string> origins)
        : file_(std::move(file)), origins_(std::move(origins)) {}

    [[noreturn]] void fail(const std::string &field, const std::string &problem) const {
        const auto o = origins_.find(field);
        const std::string where = o != origins_.end() ? o->second + " (" + field + ")" : file_ + ": " + field;
        fail_usage(where + ": " + problem);
    }

    const json &object(const json &parent, const std::string &path, const char *key, bool required,
                       std::initializer_list<const char *> allowed) const {
        static const json kNull;
        const std::string field = join(path, key);
        if (!parent.contains(key)) {
            if (required) fail(field, "missing");
            return kNull;
        }
        const json &o = parent.at(key);
        if (!o.is_object()) fail(field, "must be an object");
        known_keys(o, field, allowed);
        return o;
    }

    void known_keys(const json &o, const std::string &path,
                    std::initializer_list<const char *> allowed) const {
        for (const auto &item : o.items()) {
            if (std::none_of(allowed.begin(), allowed.end(), [&](const char *a) { return item.key() == a; }))
                fail(join(path, item.key().c_str()), "unknown key");
        }
    }

    long integer(const json &o, const std::string &path, const char *key, long lo, long hi,
                 std::optional<long> fallback = std::nullopt) const {
        const std::string field = join(path, key);
        if (!o.contains(key)) {
            if (fallback) return *fallback;
            fail(field, "missing");
        }
        const json &v = o.at(key);
        if (!v.is_number_integer()) fail(field, "must be an integer");
        // Non-negative JSON integers are held unsigned (up to UINT64_MAX): each
        // kind is compared as it is held, never converted first.
        const bool in_range = v.is_number_unsigned()
                                  ? v.get<uint64_t>() <= static_cast<uint64_t>(hi) &&
                                        (lo <= 0 || v.get<uint64_t>() >= static_cast<uint64_t>(lo))
                                  : v.get<int64_t>() >= lo && v.get<int64_t>() <= hi;
        if (!in_range)
            fail(field, (v.is_number_unsigned() ? std::to_string(v.get<uint64_t>())
                                                : std::to_string(v.get<int64_t>())) +
                            " is outside " + std::to_string(lo) + ".." + std::to_string(hi));
        return static_cast<long>(v.get<int64_t>());
    }

    double number(const json &o, const std::string &path, const char *key, double lo, double hi) const {
        const std::string field = join(path, key);
        if (!o.contains(key)) fail(field, "missing");
        const json &v = o.at(key);
        if (!v.is_number()) fail(field, "must be a number");
        const double value = v.get<double>();
        if (!(value >= lo && value <= hi)) {
            char text[128];
            std::snprintf(text, sizeof text, "%g is outside %g..%g", value, lo, hi);
            fail(field, text);
        }
        return value;
    }

    std::string string(const json &o, const std::string &path, const char *key,
                       std::optional<std::string> fallback = std::nullopt) const {
        const std::string field = join(path, key);
        if (!o.contains(key)) {
            if (fallback) return *fallback;
            fail(field, "missing");
        }
        if (!o.at(key).is_string()) fail(field, "must be a string");
        return o.at(key).get<std::string>();
    }

    bool boolean(const json &o, const std::string &path, const char *key) const {
        const std::string field = join(path, key);
        if (!o.contains(key)) fail(field, "missing");
        if (!o.at(key).is_boolean()) fail(field, "must be true or false");
        return o.at(key).get<bool>();
    }

    // A table file named by a field: a plain name inside the profile directory.
    std::string file_name(const json &o, const std::string &path, const char *key,
                          const std::string &fallback) const {
        const std::string name = string(o, path, key, fallback);
        const fs::path p(name);
        if (name.empty() || p.is_absolute() || p.has_parent_path() || name == "." || name == "..")
            fail(join(path, key), "must be a file name inside the camera directory");
        return name;
    }

    static std::string join(const std::string &path, const char *key) {
        return path.empty() ? std::string(key) : path + "." + key;
    }

private:
    std::string file_;
    std::map<std::string, std::string> origins_;
};

// Reads a table of exactly `entries` u16 values, checking the file size first.
std::vector<uint16_t> read_table(const Checker &check, const fs::path &dir, const std::string &name,
                                 const std::string &field, std::size_t entries) {
    const fs::path path = dir / name;
    std::error_code ec;
    if (!fs::is_regular_file(path, ec)) check.fail(field, path.string() + ": no such file");
    const uintmax_t size = fs::file_size(path, ec);
    if (ec || size != entries * 2)
        check.fail(field, path.string() + " is " + std::to_string(size) + " bytes; " +
                              std::to_string(entries) + " entries need " + std::to_string(entries * 2));
    return read_u16_file(path);
}

void apply_override(ordered_json &root, const ProfileOverride &o, const std::string &file) {
    ordered_json *node = &root;
    std::size_t start = 0;
    while (true) {
        const std::size_t dot = o.field.find('.', start);
        const std::string key = o.field.substr(start, dot - start);
        if (key.empty()) fail_usage(o.flag + ": bad field name '" + o.field + "'");
        if (dot == std::string::npos) {
            (*node)[key] = o.value;
            return;
        }
        ordered_json &next = (*node)[key];
        if (next.is_null()) next = ordered_json::object();
        if (!next.is_object())
            fail_usage(o.flag + ": " + file + " field " + o.field.substr(0, dot) + " is not an object");
        node = &next;
        start = dot + 1;
    }
}

void set_switch(std::vector<uint16_t> &raw, std::size_t word, const CorrectionSwitch &s) {
    raw[word - 1] = s.enable ? 1 : 0;
    raw[word] = s.version;
}

CorrectionSwitch read_switch(const Checker &check, const json &o, const std::string &path, const char *key) {
    const json &s = check.object(o, path, key, true, {"enable", "version"});
    const std::string field = Checker::join(path, key);
    return {check.boolean(s, field, "enable"),
            static_cast<uint16_t>(check.integer(s, field, "version", 0, 65535))};
}

ordered_json switch_json(const CorrectionSwitch &s) {
    return {{"enable", s.enable}, {"version", s.version}};
}

}  // namespace

ktbt_correct_param_t CameraProfile::ktbt_param(uint16_t frame_vtemp) const {
    return {k_temp, b_temp, address_ca, kt.data(), bt.data(), frame_vtemp};
}

second_calib_param_t CameraProfile::second_calib_param() const {
    second_calib_param_t p{};
    p.K_Temp = k_temp;
    p.B_Temp = b_temp;
    p.Address_CA = address_ca;
    p.ktbt_array_len = static_cast<uint16_t>(kt.size());
    p.ktbt_index_len = static_cast<uint16_t>(kt.size());
    p.nuc_table_len = static_cast<uint16_t>(nuc_table.size());
    p.cur_vtemp = vtemp;
    return p;
}

int CameraProfile::ktbt_index(uint16_t frame_vtemp) const {
    const ktbt_correct_param_t param = ktbt_param(frame_vtemp);
    int32_t index = 0;
    check_library(radimo_ktbt_index(&param, static_cast<uint32_t>(kt.size()), &index), "radimo_ktbt_index");
    return index;
}

std::span<const SceneField> scene_fields() {
    static constexpr SceneField kFields[] = {
        {"emissivity", 0.01, 1.0, "", &env_correct_param_t::ems},
        {"distance_m", 0.0, 1000.0, "m", &env_correct_param_t::dist},
        {"humidity", 0.0, 1.0, "", &env_correct_param_t::hum},
        {"ambient_c", -273.15, 100.0, "\u00b0C", &env_correct_param_t::ta},
        {"reflected_c", -273.15, 100.0, "\u00b0C", &env_correct_param_t::tu},
    };
    return kFields;
}

ProfileOverride parse_set_option(const std::string &text) {
    // Long values are shown cut short in messages.
    const std::string flag = "--set " + (text.size() > 80 ? text.substr(0, 77) + "..." : text);
    const std::size_t eq = text.find('=');
    if (eq == std::string::npos || eq == 0) fail_usage(flag + ": expected FIELD=VALUE");
    const std::string value = text.substr(eq + 1);
    if (std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(eq), '.') >=
        CameraProfile::kMaxJsonDepth)
        fail_usage(flag + ": FIELD is " + too_deep());
    if (nested_too_deep(value)) fail_usage(flag + ": VALUE is " + too_deep());
    ProfileOverride o{text.substr(0, eq), json::parse(value, nullptr, false), flag};
    if (o.value.is_discarded()) o.value = value;
    return o;
}

CameraProfile load_profile(const fs::path &dir, const std::vector<ProfileOverride> &overrides) {
    const fs::path json_path = dir / kJsonName;
    const std::string file = json_path.string();
    std::error_code ec;
    if (!fs::is_directory(dir, ec)) fail_usage(dir.string() + ": no such camera directory");
    if (!fs::is_regular_file(json_path, ec))
        fail_usage(file + ": no such file (a camera directory holds camera.json and its tables)");
    // Size and nesting are bounded before the text is parsed.
    const uintmax_t bytes = fs::file_size(json_path, ec);
    if (!ec && bytes > CameraProfile::kMaxJsonBytes)
        fail_usage(file + ": " + std::to_string(bytes) + " bytes is more than a camera profile may hold (" +
                   std::to_string(CameraProfile::kMaxJsonBytes) + ")");
    std::ifstream in(json_path, std::ios::binary);
    if (ec || !in) fail_io(file + ": cannot read: " + std::strerror(errno));
    const std::string text(std::istreambuf_iterator<char>(in), {});
    if (nested_too_deep(text)) fail_usage(file + ": " + too_deep());
    ordered_json root = parse_profile_text(text, file);
    if (!root.is_object()) fail_usage(file + ": must hold a JSON object");
    std::map<std::string, std::string> origins;
    for (const ProfileOverride &o : overrides) {
        apply_override(root, o, file);
        origins[o.field] = o.flag;
    }
    const json j = root;  // plain json for lookups
    const Checker check(file, origins);
    check.known_keys(j, "",
                     {"format_version", "name", "resolution", "gain", "nuc_factor", "vtemp", "ktbt",
                      "nuc_table", "correct_table", "env_tau_table", "scene"});
    const long version = check.integer(j, "", "format_version", 0, 1000000);
    if (version != CameraProfile::kFormatVersion)
        check.fail("format_version", std::to_string(version) +
                                         " is not supported (this radimo reads version " +
                                         std::to_string(CameraProfile::kFormatVersion) + ")");

    CameraProfile p;
    p.name = check.string(j, "", "name", std::string());
    const json &res = check.object(j, "", "resolution", true, {"width", "height"});
    p.width = static_cast<int>(check.integer(res, "resolution", "width", 1, 65535));
    p.height = static_cast<int>(check.integer(res, "resolution", "height", 1, 65535));
    const std::string gain = check.string(j, "", "gain");
    if (gain != "high" && gain != "low") check.fail("gain", "'" + gain + "' must be \"high\" or \"low\"");
    p.high_gain = gain == "high";
    if (j.contains("nuc_factor")) {
        const json &f = check.object(j, "", "nuc_factor", true, {"c0", "c1", "c2"});
        constexpr long kMax = 2147483647L, kMin = -2147483648L;
        p.nuc_factor = nuc_factor_t{static_cast<int32_t>(check.integer(f, "nuc_factor", "c0", kMin, kMax)),
                                    static_cast<int32_t>(check.integer(f, "nuc_factor", "c1", kMin, kMax)),
                                    static_cast<int32_t>(check.integer(f, "nuc_factor", "c2", kMin, kMax))};
    }
    p.vtemp = static_cast<uint16_t>(check.integer(j, "", "vtemp", 0, 65535));

    const json &k = check.object(j, "", "ktbt", true,
                                 {"K_Temp", "B_Temp", "Address_CA", "entries", "kt_file", "bt_file"});
    p.k_temp = static_cast<int16_t>(check.integer(k, "ktbt", "K_Temp", -32768, 32767));
    p.b_temp = static_cast<int16_t>(check.integer(k, "ktbt", "B_Temp", -32768, 32767));
    p.address_ca = static_cast<uint16_t>(check.integer(k, "ktbt", "Address_CA", 0, 65535));
    const long entries = check.integer(k, "ktbt", "entries", 1201, 3601);
    if (entries != 1201 && entries != 3601)
        check.fail("ktbt.entries", std::to_string(entries) + " must be 1201 or 3601");
    p.kt_file = check.file_name(k, "ktbt", "kt_file", p.kt_file);
    p.bt_file = check.file_name(k, "ktbt", "bt_file", p.bt_file);

    const json &n = check.object(j, "", "nuc_table", true, {"file", "entries"});
    p.nuc_table_file = check.file_name(n, "nuc_table", "file", p.nuc_table_file);
    const long nuc_entries = check.integer(n, "nuc_table", "entries", 8192, 8192, 8192);

    std::optional<CorrectionSwitch> ems, hum, reflected;
    std::optional<uint16_t> format;
    long correct_words = 0;
    if (j.contains("correct_table")) {
        const json &c = check.object(
            j, "", "correct_table", true,
            {"file", "words", "format", "ems_correction", "humidity_correction", "reflected_temperature"});
        p.correct_table_file = check.file_name(c, "correct_table", "file", p.correct_table_file);
        correct_words = check.integer(c, "correct_table", "words", 1, 1 << 20);
        if (c.contains("format"))
            format = static_cast<uint16_t>(check.integer(c, "correct_table", "format", 0, 65535));
        if (c.contains("ems_correction")) ems = read_switch(check, c, "correct_table", "ems_correction");
        if (c.contains("humidity_correction"))
            hum = read_switch(check, c, "correct_table", "humidity_correction");
        if (c.contains("reflected_temperature"))
            reflected = read_switch(check, c, "correct_table", "reflected_temperature");
    }
    long env_entries = 0;
    if (j.contains("env_tau_table")) {
        const json &e = check.object(j, "", "env_tau_table", true, {"file", "entries"});
        p.env_tau_file = check.file_name(e, "env_tau_table", "file", p.env_tau_file);
        env_entries = check.integer(e, "env_tau_table", "entries", 3584, 3584, 3584);
    }

    const json &s = check.object(j, "", "scene", true,
                                 {"emissivity", "distance_m", "humidity", "ambient_c", "reflected_c"});
    for (const SceneField &f : scene_fields())
        p.scene.*f.member = static_cast<float>(check.number(s, "scene", f.key, f.lo, f.hi));

    // The tables, their sizes checked against the fields before reading.
    p.nuc_table =
        read_table(check, dir, p.nuc_table_file, "nuc_table.file", static_cast<std::size_t>(nuc_entries));
    p.kt = read_table(check, dir, p.kt_file, "ktbt.kt_file", static_cast<std::size_t>(entries));
    const std::vector<uint16_t> bt =
        read_table(check, dir, p.bt_file, "ktbt.bt_file", static_cast<std::size_t>(entries));
    p.bt.assign(bt.begin(), bt.end());
    if (correct_words > 0) {
        p.correct_table = read_table(check, dir, p.correct_table_file, "correct_table.file",
                                     static_cast<std::size_t>(correct_words));
        if (!p.has_header() && (format || ems || hum || reflected))
            check.fail("correct_table", p.correct_table_file +
                                            " has no 256-byte header (words 3 and 4 are not 0xFFFF), so it "
                                            "cannot carry a format or switches");
        if (format) p.correct_table[1] = *format;
        if (ems) set_switch(p.correct_table, 5, *ems);
        if (hum) set_switch(p.correct_table, 7, *hum);
        if (reflected) set_switch(p.correct_table, 11, *reflected);
        // The tau readers index the grid the format selects: the table must hold all of it.
        const std::size_t needed = correct_table_words_needed(p.correct_table);
        if (p.correct_table.size() < needed)
            check.fail("correct_table.words", std::to_string(p.correct_table.size()) +
                                                  " words are too few: format " +
                                                  std::to_string(correct_table_format(p.correct_table)) +
                                                  " needs " + std::to_string(needed));
    }
    if (env_entries > 0)
        p.env_tau = read_table(check, dir, p.env_tau_file, "env_tau_table.file",
                               static_cast<std::size_t>(env_entries));
    return p;
}

uint16_t correct_table_format(const std::vector<uint16_t> &raw) {
    return raw.size() >= 128 && raw[2] == 0xFFFF && raw[3] == 0xFFFF ? raw[1] : 0;
}

std::size_t correct_table_words_needed(const std::vector<uint16_t> &raw) {
    namespace model = radimo::tau_model;
    const uint16_t format = correct_table_format(raw);
    const model::TargetLayout layout = format < 64     ? model::TargetLayout::kStandard
                                       : format <= 256 ? model::TargetLayout::kNew
                                                       : model::TargetLayout::kV3;
    const bool header = raw.size() >= 128 && raw[2] == 0xFFFF && raw[3] == 0xFFFF;
    return (header ? model::kRawHeaderWords : 0) + model::target_table_size(layout);
}
CorrectionSwitch ems_switch(const std::vector<uint16_t> &raw) {
    return {raw[4] == 1, raw[5]};
}
CorrectionSwitch hum_switch(const std::vector<uint16_t> &raw) {
    return {raw[6] == 1, raw[7]};
}
CorrectionSwitch reflected_switch(const std::vector<uint16_t> &raw) {
    return {raw[10] == 1, raw[11]};
}

ordered_json profile_json(const CameraProfile &p) {
    ordered_json j;
    j["format_version"] = CameraProfile::kFormatVersion;
    if (!p.name.empty()) j["name"] = p.name;
    j["resolution"] = {{"width", p.width}, {"height", p.height}};
    j["gain"] = p.high_gain ? "high" : "low";
    if (p.nuc_factor)
        j["nuc_factor"] = {{"c0", p.nuc_factor->c0}, {"c1", p.nuc_factor->c1}, {"c2", p.nuc_factor->c2}};
    j["vtemp"] = p.vtemp;
    j["ktbt"] = {{"K_Temp", p.k_temp},     {"B_Temp", p.b_temp},   {"Address_CA", p.address_ca},
                 {"entries", p.kt.size()}, {"kt_file", p.kt_file}, {"bt_file", p.bt_file}};
    j["nuc_table"] = {{"file", p.nuc_table_file}, {"entries", p.nuc_table.size()}};
    if (!p.correct_table.empty()) {
        ordered_json c = {{"file", p.correct_table_file}, {"words", p.correct_table.size()}};
        if (p.has_header()) {
            c["format"] = correct_table_format(p.correct_table);
            c["ems_correction"] = switch_json(ems_switch(p.correct_table));
            c["humidity_correction"] = switch_json(hum_switch(p.correct_table));
            c["reflected_temperature"] = switch_json(reflected_switch(p.correct_table));
        }
        j["correct_table"] = c;
    }
    if (!p.env_tau.empty()) j["env_tau_table"] = {{"file", p.env_tau_file}, {"entries", p.env_tau.size()}};
    // Floats widened through their shortest decimal form, so 0.95f is written as 0.95.
    const auto decimal = [](float v) {
        char text[32];
        std::snprintf(text, sizeof text, "%.7g", static_cast<double>(v));
        return std::strtod(text, nullptr);
    };
    j["scene"] = {{"emissivity", decimal(p.scene.ems)},
                  {"distance_m", decimal(p.scene.dist)},
                  {"humidity", decimal(p.scene.hum)},
                  {"ambient_c", decimal(p.scene.ta)},
                  {"reflected_c", decimal(p.scene.tu)}};
    return j;
}

void write_profile(const CameraProfile &p, AtomicDirectory &dir) {
    const std::string text = profile_json(p).dump(2) + "\n";
    {
        const fs::path path = dir.file(kJsonName);
        std::ofstream out(path);
        out << text;
        out.close();
        if (!out) fail_io("cannot write " + path.string());
    }
    write_u16_file(dir.file(p.nuc_table_file), p.nuc_table.data(), p.nuc_table.size());
    write_u16_file(dir.file(p.kt_file), p.kt.data(), p.kt.size());
    write_u16_file(dir.file(p.bt_file), reinterpret_cast<const uint16_t *>(p.bt.data()), p.bt.size());
    if (!p.correct_table.empty())
        write_u16_file(dir.file(p.correct_table_file), p.correct_table.data(), p.correct_table.size());
    if (!p.env_tau.empty()) write_u16_file(dir.file(p.env_tau_file), p.env_tau.data(), p.env_tau.size());
}

std::vector<uint16_t> read_u16_file(const fs::path &path) {
    std::FILE *f = std::fopen(path.c_str(), "rb");
    if (f == nullptr) fail_io(path.string() + ": cannot read: " + std::strerror(errno));
    std::vector<uint16_t> values;
    uint16_t buffer[4096];
    std::size_t got;
    while ((got = std::fread(buffer, 2, 4096, f)) > 0)
        for (std::size_t i = 0; i < got; ++i) values.push_back(le16toh(buffer[i]));
    const bool failed = std::ferror(f) != 0;
    std::fclose(f);
    if (failed) fail_io(path.string() + ": read error");
    return values;
}

void write_u16_file(const fs::path &path, const uint16_t *data, std::size_t count) {
    std::FILE *f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) fail_io("cannot write " + path.string() + ": " + std::strerror(errno));
    std::vector<uint16_t> le(data, data + count);
    for (uint16_t &v : le) v = htole16(v);
    const bool written = std::fwrite(le.data(), 2, count, f) == count;
    if (std::fclose(f) != 0 || !written)
        fail_io("cannot write " + path.string() + ": " + std::strerror(errno));
}

}  // namespace radimo::cli
