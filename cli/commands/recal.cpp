// radimo recal: the library's recalibrations on a camera profile, written
// as a new profile (the input is never modified), with the readings of the
// references before and after.
//
// Correction modes (--mode) as the library defines them: 0-3 take the scene
// out through the environment factor (needs env_tau_table), 4-7 through the
// enhanced-distance correction (needs correct_table), 8 and above apply no
// scene correction.
//
// After a lens change (--lens-change) the readings are apparent temperatures
// (no scene correction, no mode): double-point rewrites the KT/BT arrays so
// that both blackbodies read true through the new lens; multi-point then
// takes points read with the arrays the camera held and rebuilds the NUC
// table by a least-squares fit, into the lens-change profile.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "commands/command.h"
#include "core/arguments.h"
#include "core/atomic_output.h"
#include "core/camera_options.h"
#include "core/errors.h"
#include "core/frame.h"
#include "formats/frame_file.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

struct RecalOptions {
    std::string output;
    unsigned mode = 8;
    CameraOptions camera;
};

struct DoublePointOptions : RecalOptions {
    std::string high, low;
    std::string at;  // where reference frames are sampled
    bool lens_change = false;
};

struct MultiPointOptions : RecalOptions {
    std::vector<std::string> points;
    std::string lens_change;  // the profile double-point --lens-change wrote from --camera
};

// The mode in which the readings of a lens-change recalibration are made.
constexpr unsigned kNoSceneCorrection = 8;

bool environment_factor_mode(unsigned mode) {
    return mode <= 3;
}
bool enhanced_mode(unsigned mode) {
    return mode >= 4 && mode <= 7;
}

// The correction table the recalibration reads in a mode (never NULL: the
// library requires one even when the mode does not read it).
uint16_t *correct_table_for(CameraProfile &camera, unsigned mode) {
    static uint16_t unused = 0;
    if (environment_factor_mode(mode)) {
        if (camera.env_tau.empty())
            fail_usage("--mode " + std::to_string(mode) + " needs a camera with an env_tau_table");
        return camera.env_tau.data();
    }
    if (enhanced_mode(mode)) {
        if (camera.correct_table.empty())
            fail_usage("--mode " + std::to_string(mode) + " needs a camera with a correct_table");
        return camera.correct_table.data();
    }
    if (!camera.correct_table.empty()) return camera.correct_table.data();
    return camera.env_tau.empty() ? &unused : camera.env_tau.data();
}

// The temperature (degC) the camera reports for a corrected NUC value in a mode.
float reading_of_nuc(const CameraProfile &camera, uint16_t nuc, unsigned mode) {
    uint16_t temp = 0;
    if (environment_factor_mode(mode)) {
        env_factor_t factor{};
        check_library(calc_env_factor_with_dist_and_env_temp(&camera.scene, camera.env_tau.data(),
                                                             camera.nuc_table.data(), &factor),
                      "calc_env_factor_with_dist_and_env_temp");
        uint16_t object = 0;
        check_library(recalc_NUC_with_env_correct(&factor, nuc, &object), "recalc_NUC_with_env_correct");
        check_library(remap_temp(camera.nuc_table.data(), object, &temp), "remap_temp");
        return celsius_of_kelvin16(temp);
    }
    check_library(remap_temp(camera.nuc_table.data(), nuc, &temp), "remap_temp");
    const float apparent = celsius_of_kelvin16(temp);
    if (!enhanced_mode(mode)) return apparent;
    float object = 0.0f;
    check_library(
        enhance_distance_temp_correct(&camera.scene, camera.correct_table.data(), 0, &object, apparent),
        "enhance_distance_temp_correct");
    return object;
}

// The KT/BT correction of a raw response, in the form of the camera's arrays.
uint16_t corrected_nuc(const CameraProfile &camera, uint16_t raw, uint16_t vtemp) {
    const ktbt_correct_param_t k = camera.ktbt_param(vtemp);
    uint16_t nuc = 0;
    if (camera.long_ktbt())
        check_library(ktbt_correct_process_with_version3(&k, raw, &nuc),
                      "ktbt_correct_process_with_version3");
    else
        check_library(ktbt_correct_process(&k, raw, &nuc), "ktbt_correct_process");
    return nuc;
}

// The apparent temperature (no scene correction) of a raw response.
float apparent_reading(const CameraProfile &camera, uint16_t raw, uint16_t vtemp) {
    return reading_of_nuc(camera, corrected_nuc(camera, raw, vtemp), kNoSceneCorrection);
}

// The user points of the multi-point calibration go through the 1201-entry
// form of the KT/BT correction.
void check_ktbt_length(const CameraProfile &camera) {
    if (camera.long_ktbt())
        fail_usage(
            "recal multi-point works on cameras with 1201-entry KT/BT arrays (this camera's have 3601); "
            "double-point and --lens-change take either");
}

// A blackbody reference: true temperature, vtemp, and the raw response
// (a NUC value, or the trimmed 5x5 mean of a raw frame at FILE,X,Y, at
// --at, or at the frame's centre).
struct Reference {
    float celsius = 0.0f;
    uint16_t vtemp = 0;
    uint16_t raw = 0;
    std::string file;  // the raw frame it was sampled from, if any
};

Reference parse_reference(const std::string &option, const std::string &text, const std::string &at) {
    const std::size_t c1 = text.find(','), c2 = c1 == std::string::npos ? c1 : text.find(',', c1 + 1);
    if (c2 == std::string::npos) fail_usage(option + " " + text + ": expected T,VTEMP,RAWFRAME_OR_NUC");
    const double t = parse_temperatures(option, text.substr(0, c1), 1)[0];
    const long vtemp = parse_integers(option, text.substr(c1 + 1, c2 - c1 - 1), 1)[0];
    if (vtemp < 0 || vtemp > 65535) fail_usage(option + " " + text + ": VTEMP must be 0..65535");
    Reference r{static_cast<float>(t), static_cast<uint16_t>(vtemp), 0, {}};
    std::string source = text.substr(c2 + 1);
    std::string position = at;  // FILE,X,Y samples that reference at X,Y
    if (const std::size_t y = source.rfind(','); y != std::string::npos && y > 0) {
        const std::size_t x = source.rfind(',', y - 1);
        const std::string xy = x == std::string::npos ? "" : source.substr(x + 1);
        if (!xy.empty() && xy.find_first_not_of("0123456789,") == std::string::npos) {
            position = xy;
            source.erase(x);
        }
    }
    if (!source.empty() && source.find_first_not_of("0123456789") == std::string::npos) {
        const long nuc = parse_integers(option, source, 1)[0];
        if (nuc > 16383) fail_usage(option + " " + text + ": a NUC value is 0..16383");
        r.raw = static_cast<uint16_t>(nuc);
        return r;
    }
    auto reader = open_frame_file(source, FrameInput{std::nullopt, std::nullopt, std::nullopt, Unit::kNuc});
    r.file = source;
    Frame frame;
    reader->next(frame);
    if (frame.unit != Unit::kNuc)
        fail_usage(source + ": holds " + std::string(unit_name(frame.unit)) + " frames, not raw NUC values");
    point_t p{frame.width / 2, frame.height / 2};
    if (!position.empty()) {
        const std::vector<long> xy = parse_integers(option, position, 2);
        if (xy[0] < 0 || xy[1] < 0 || xy[0] >= frame.width || xy[1] >= frame.height)
            fail_usage(option + " " + text + ": " + position + " is outside the " +
                       std::to_string(frame.width) + "x" + std::to_string(frame.height) + " frame of " +
                       source);
        p = {static_cast<int32_t>(xy[0]), static_cast<int32_t>(xy[1])};
    }
    check_library(get_NUC_value(frame.samples.data(), frame.resolution(), p, &r.raw), "get_NUC_value");
    return r;
}

// Writes the new profile; the inputs (the camera and lens-change profiles,
// reference frames) may be neither the output nor inside it.
void write_new_profile(const CameraProfile &camera, const std::string &output, std::vector<fs::path> inputs) {
    refuse_input_as_output("-o", output, inputs);
    AtomicDirectory dir(output);
    write_profile(camera, dir);
    dir.commit();
}

void run_double_point(const DoublePointOptions &o) {
    refuse_input_as_output("-o", o.output, {o.camera.dir});
    CameraProfile camera = *o.camera.load();
    const Reference high = parse_reference("--high", o.high, o.at);
    const Reference low = parse_reference("--low", o.low, o.at);
    // Two lines are fitted through the references: they must be two distinct points.
    if (!(high.celsius > low.celsius)) fail_usage("--high must be hotter than --low");
    if (high.raw == low.raw)
        fail_usage("--high and --low have the same raw response (" + std::to_string(high.raw) +
                   "); sample each blackbody where it is seen");

    second_cal_param_t param{camera.scene, camera.second_calib_param()};
    second_calib_param_t &p = param.second_calib_param;
    p.high_vtemp = high.vtemp;
    p.low_vtemp = low.vtemp;
    p.actual_high_celsius = apparent_reading(camera, high.raw, high.vtemp);
    p.actual_low_celsius = apparent_reading(camera, low.raw, low.vtemp);
    p.target_high_celsius = high.celsius;
    p.target_low_celsius = low.celsius;
    const unsigned mode = o.lens_change ? kNoSceneCorrection : o.mode;
    const multi_point_calib_array_t arrays{camera.kt.data(), camera.bt.data(), camera.nuc_table.data(),
                                           correct_table_for(camera, mode), 0};
    std::vector<uint16_t> kt(camera.kt.size());
    std::vector<int16_t> bt(camera.bt.size());
    two_point_calib_result_t result{kt.data(), bt.data()};
    if (o.lens_change)
        check_library(new_ktbt_recal_double_point_calculate_in_change_lens(&param, &arrays, &result),
                      "new_ktbt_recal_double_point_calculate_in_change_lens");
    else
        check_library(new_ktbt_recal_double_point_calculate(&param, mode, &arrays, &result),
                      "new_ktbt_recal_double_point_calculate");

    CameraProfile recalibrated = camera;
    recalibrated.kt = kt;
    recalibrated.bt = bt;
    if (o.lens_change)
        std::printf("double-point recalibration after a lens change (apparent temperatures)\n");
    else
        std::printf("double-point recalibration, mode %u\n", mode);
    std::printf("%-6s %8s %6s %6s %10s %10s\n", "source", "true", "vtemp", "raw", "before", "after");
    for (const auto &[name, r] : {std::pair{"high", high}, std::pair{"low", low}}) {
        const float before = reading_of_nuc(camera, corrected_nuc(camera, r.raw, r.vtemp), mode);
        const float after = reading_of_nuc(recalibrated, corrected_nuc(recalibrated, r.raw, r.vtemp), mode);
        std::printf("%-6s %8.2f %6u %6u %10.2f %10.2f\n", name, static_cast<double>(r.celsius), r.vtemp,
                    r.raw, static_cast<double>(before), static_cast<double>(after));
    }
    write_new_profile(recalibrated, o.output, {o.camera.dir, high.file, low.file});
    std::printf("wrote %s (new %s and %s)\n", o.output.c_str(), camera.kt_file.c_str(),
                camera.bt_file.c_str());
}

// The profile `recal double-point --lens-change` wrote from `camera`: its
// KT/BT arrays are the new ones, everything the points are read through is
// the camera's.
CameraProfile load_lens_change_profile(const std::string &dir, const CameraProfile &camera) {
    CameraProfile lens = load_profile(dir);
    if (lens.kt.size() != camera.kt.size() || lens.nuc_table != camera.nuc_table ||
        lens.k_temp != camera.k_temp || lens.b_temp != camera.b_temp || lens.address_ca != camera.address_ca)
        fail_usage("--lens-change " + dir +
                   ": not a lens-change recalibration of --camera (its NUC table, KT/BT length or mapping "
                   "differ)");
    return lens;
}

void run_multi_point(const MultiPointOptions &o) {
    const bool lens_change = !o.lens_change.empty();
    refuse_input_as_output("-o", o.output, {o.camera.dir, o.lens_change});
    // The least-squares rebuild fits a quadratic: three points at least.
    const std::size_t fewest = lens_change ? 3 : 2;
    if (o.points.size() < fewest)
        fail_usage("--point: give at least " + std::string(lens_change ? "three" : "two") +
                   " calibration points READ,TRUE");
    CameraProfile camera = *o.camera.load();
    if (!lens_change) check_ktbt_length(camera);
    const std::optional<CameraProfile> lens =
        lens_change ? std::optional(load_lens_change_profile(o.lens_change, camera)) : std::nullopt;
    const unsigned mode = lens_change ? kNoSceneCorrection : o.mode;
    const uint16_t vtemp = o.camera.forced_vtemp().value_or(camera.vtemp);
    second_cal_param_t param{camera.scene, camera.second_calib_param()};
    param.second_calib_param.cur_vtemp = vtemp;
    const multi_point_calib_array_t arrays{camera.kt.data(), camera.bt.data(), camera.nuc_table.data(),
                                           correct_table_for(camera, mode), 0};
    // Without a lens change the arrays stay as they are: the points only rebuild the NUC table.
    CameraProfile installed = lens ? *lens : camera;
    const two_point_calib_result_t fresh{installed.kt.data(), installed.bt.data()};

    std::vector<multi_point_temp_t> temps;
    std::vector<multi_point_nuc_t> points;
    for (const std::string &text : o.points) {
        const std::vector<double> v = parse_temperatures("--point", text, 2);
        multi_point_temp_t t{static_cast<float>(v[0]), static_cast<float>(v[1])};
        // The table is interpolated between the points: each must stand on its own.
        for (const multi_point_temp_t &other : temps)
            if (other.output_temp == t.output_temp || other.setting_temp == t.setting_temp)
                fail_usage("--point " + text +
                           ": repeats the reading or the true temperature of another point");
        temps.push_back(t);
        multi_point_nuc_t n{};
        if (lens_change)
            check_library(multi_point_calc_user_defined_nuc_in_change_lens(&param, &arrays, &fresh, &t, &n),
                          "multi_point_calc_user_defined_nuc_in_change_lens");
        else
            check_library(multi_point_calc_user_defined_nuc(&param, mode, &arrays, &fresh, &t, &n),
                          "multi_point_calc_user_defined_nuc");
        points.push_back(n);
    }
    // The rebuild works on 16384 entries: the table continued flat, then its first 8192 entries kept.
    std::vector<uint16_t> old(16384, camera.nuc_table.back()), rebuilt(16384);
    std::copy(camera.nuc_table.begin(), camera.nuc_table.end(), old.begin());
    std::vector<multi_point_nuc_t> sorted = points;
    const auto count = static_cast<uint32_t>(sorted.size());
    if (lens_change)
        check_library(
            multi_point_calc_new_nuc_table_in_change_lens(old.data(), sorted.data(), count, rebuilt.data()),
            "multi_point_calc_new_nuc_table_in_change_lens");
    else
        check_library(multi_point_calc_new_nuc_table(old.data(), sorted.data(), count, rebuilt.data()),
                      "multi_point_calc_new_nuc_table");
    CameraProfile recalibrated = installed;
    recalibrated.nuc_table.assign(rebuilt.begin(), rebuilt.begin() + 8192);

    if (lens_change)
        std::printf("multi-point calibration after a lens change (least-squares table), vtemp %u\n", vtemp);
    else
        std::printf("multi-point calibration, mode %u, vtemp %u\n", mode, vtemp);
    std::printf("%-6s %10s %10s %10s %10s\n", "point", "reading", "true", "NUC", "after");
    for (std::size_t i = 0; i < points.size(); ++i) {
        const float after = reading_of_nuc(recalibrated, points[i].output_nuc, mode);
        std::printf("%-6zu %10.2f %10.2f %10u %10.2f\n", i + 1, static_cast<double>(temps[i].output_temp),
                    parse_numbers("--point", o.points[i], 2)[1], points[i].output_nuc,
                    static_cast<double>(after));
    }
    write_new_profile(recalibrated, o.output, {o.camera.dir, o.lens_change});
    if (lens_change)
        std::printf("wrote %s (%s and %s of %s, new %s)\n", o.output.c_str(), installed.kt_file.c_str(),
                    installed.bt_file.c_str(), o.lens_change.c_str(), installed.nuc_table_file.c_str());
    else
        std::printf("wrote %s (new %s)\n", o.output.c_str(), camera.nuc_table_file.c_str());
}

// Adds -o, --mode and the camera options; returns --mode.
CLI::Option *add_common(CLI::App &cmd, RecalOptions &o, bool with_vtemp) {
    cmd.add_option("-o,--output", o.output, "New profile directory (the input is never modified)")
        ->required();
    CLI::Option *mode =
        cmd.add_option("--mode", o.mode,
                       "Correction mode: 0-3 environment factor, 4-7 enhanced distance, 8+ none")
            ->capture_default_str();
    o.camera.add_to(cmd, true, false, with_vtemp);
    return mode;
}

}  // namespace

void add_recal_command(CLI::App &program, Commands &commands) {
    CLI::App *recal =
        program.add_subcommand("recal", "Recalibrate a camera profile from reference measurements");
    recal->require_subcommand(1, 1);
    recal->footer(
        example({"radimo recal double-point --camera cam --high 90,9600,hot.tiff --low 30,7200,cold.tiff "
                 "-o cam-recal"}));

    auto d = std::make_shared<DoublePointOptions>();
    CLI::App *dp = recal->add_subcommand(
        "double-point", "Rewrite the KT/BT arrays from a high and a low blackbody (new kt.bin, bt.bin)");
    dp->add_option(
          "--high", d->high,
          "T,VTEMP,RAW: true degC, focal-plane reading, and a NUC value or a raw frame (FILE or FILE,X,Y)")
        ->required();
    dp->add_option("--low", d->low, "T,VTEMP,RAW of the low blackbody")->required();
    dp->add_option("--at", d->at,
                   "X,Y where reference frames without their own X,Y are sampled (5x5 trimmed mean); "
                   "default: the centre");
    CLI::Option *dp_mode = add_common(*dp, *d, false);
    dp->add_flag(
          "--lens-change", d->lens_change,
          "After a lens change: the readings are apparent temperatures, no scene correction, no --mode")
        ->excludes(dp_mode);
    dp->footer(
        example({"radimo recal double-point --camera cam --high 90,9600,hot.tiff --low 30,7200,6140 "
                 "--mode 5 -o cam-recal",
                 "radimo recal double-point --lens-change --camera cam --high 90,8100,hot.tiff "
                 "--low 30,7800,cold.tiff -o cam-lens"}));
    commands.push_back({dp, [d] { run_double_point(*d); }});

    auto m = std::make_shared<MultiPointOptions>();
    CLI::App *mp = recal->add_subcommand(
        "multi-point", "Rebuild the NUC table from user calibration points (new nuc_table.bin)");
    mp->add_option("--point", m->points,
                   "READ,TRUE: what the camera reads (degC, before scene correction) and what it should read "
                   "(repeatable, at least two; three with --lens-change)")
        ->required();
    CLI::Option *mp_mode = add_common(*mp, *m, true);
    mp->add_option("--lens-change", m->lens_change,
                   "DIR written by `recal double-point --lens-change` from --camera: the points are read "
                   "with --camera's arrays, the new table is fitted by least squares and written with DIR's "
                   "KT/BT arrays")
        ->excludes(mp_mode);
    mp->footer(example(
        {"radimo recal multi-point --camera cam --point 40.6,40 --point 71.2,70 --vtemp 8000 -o cam-user",
         "radimo recal multi-point --camera cam --lens-change cam-lens --point 26.1,25 --point 46.3,45 "
         "--point 66.8,65 --vtemp 7950 -o cam-lens-user"}));
    commands.push_back({mp, [m] { run_multi_point(*m); }});
}

}  // namespace radimo::cli
