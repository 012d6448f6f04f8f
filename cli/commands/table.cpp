// radimo table: NUC tables from a factor, lookups forward and back, and
// correction tables from the physical tau model.
#include <cstdio>
#include <memory>

#include "commands/command.h"
#include "core/arguments.h"
#include "core/atomic_output.h"
#include "core/camera_options.h"
#include "core/errors.h"
#include "core/frame.h"
#include "tau_model.h"

namespace radimo::cli {
namespace {

namespace model = radimo::tau_model;

struct GenerateOptions {
    std::string factor;
    std::string gain = "high";
    std::string output;
};

struct LookupOptions {
    std::optional<long> nuc;
    std::optional<double> temp;
    CameraOptions camera;
};

struct TauOptions {
    std::string output;
    std::string format = "v3";
    double hum = 0.5;
    double air = 25.0;
    int ems_correction = 0;
    int hum_correction = 1;
    bool reflected = true;
    bool no_header = false;
};

void run_generate(const GenerateOptions &o) {
    const std::vector<long> c = parse_integers("--nuc-factor", o.factor, 3);
    for (long v : c)
        if (v < INT32_MIN || v > INT32_MAX)
            fail_usage("--nuc-factor " + o.factor + ": each value must fit 32 bits");
    const nuc_factor_t factor{static_cast<int32_t>(c[0]), static_cast<int32_t>(c[1]),
                              static_cast<int32_t>(c[2])};
    std::vector<uint16_t> table(8192);
    if (o.gain == "high")
        check_library(generate_high_gain_nuc_t(&factor, table.data()), "generate_high_gain_nuc_t");
    else if (o.gain == "low")
        check_library(generate_low_gain_nuc_t(&factor, table.data()), "generate_low_gain_nuc_t");
    else
        fail_usage("--gain " + o.gain + ": expected high or low");
    AtomicFile file(o.output);
    write_u16_file(file.temp_path(), table.data(), table.size());
    file.commit();
    std::fprintf(report_stream(), "%s: 8192 entries, %s gain, %.2f .. %.2f \u00b0C\n", o.output.c_str(),
                 o.gain.c_str(), static_cast<double>(celsius_of_kelvin16(table.front())),
                 static_cast<double>(celsius_of_kelvin16(table.back())));
}

void run_lookup(const LookupOptions &o) {
    if (o.nuc.has_value() == o.temp.has_value()) fail_usage("give exactly one of --nuc N and --temp T");
    const CameraProfile camera = *o.camera.load();
    const uint16_t vtemp = o.camera.forced_vtemp().value_or(camera.vtemp);
    const ktbt_correct_param_t ktbt = camera.ktbt_param(vtemp);
    const second_calib_param_t calib = camera.second_calib_param();
    const uint16_t *table = camera.nuc_table.data();
    if (o.nuc) {
        if (*o.nuc < 0 || *o.nuc > 16383)
            fail_usage("--nuc " + std::to_string(*o.nuc) + ": must be 0..16383");
        const auto n = static_cast<uint32_t>(*o.nuc);
        float plain = 0.0f;
        check_library(calc_temperature_with_nuc_t_table_len(table, n, 8192, &plain),
                      "calc_temperature_with_nuc_t_table_len");
        uint16_t corrected = 0, measured = 0;
        if (camera.long_ktbt())
            check_library(ktbt_correct_process_with_version3(&ktbt, n, &corrected),
                          "ktbt_correct_process_with_version3");
        else
            check_library(ktbt_correct_process(&ktbt, n, &corrected), "ktbt_correct_process");
        check_library(remap_temp(table, corrected, &measured), "remap_temp");
        std::printf("NUC %u in the table:              %.2f \u00b0C (entry %u, %u/16 K)\n", n,
                    static_cast<double>(plain), n >> 1, table[n >> 1]);
        std::printf("raw NUC %u at vtemp %u (KT/BT index %d): corrected NUC %u, %.2f \u00b0C\n", n, vtemp,
                    camera.ktbt_index(vtemp), corrected, static_cast<double>(celsius_of_kelvin16(measured)));
        return;
    }
    const auto t =
        static_cast<float>(checked_number("--temp", *o.temp, kColdestCelsius, kHottestCelsius, " degC"));
    uint16_t nuc = 0, raw = 0;
    check_library(reverse_calc_NUC_with_nuc_t(table, &nuc, t), "reverse_calc_NUC_with_nuc_t");
    if (camera.long_ktbt())
        check_library(reverse_ktbt_correct_with_version3(&calib, camera.kt.data(), camera.bt.data(), table,
                                                         vtemp, nuc, &raw),
                      "reverse_ktbt_correct_with_version3");
    else
        check_library(
            reverse_ktbt_correct(&calib, camera.kt.data(), camera.bt.data(), table, vtemp, nuc, &raw),
            "reverse_ktbt_correct");
    std::printf("%.2f \u00b0C in the table:            NUC %u (entry %u: %.2f \u00b0C)\n",
                static_cast<double>(t), nuc, nuc >> 1,
                static_cast<double>(celsius_of_kelvin16(table[nuc >> 1])));
    std::printf("raw NUC at vtemp %u (KT/BT index %d): %u\n", vtemp, camera.ktbt_index(vtemp), raw);
}

void run_tau(const TauOptions &o) {
    model::TargetLayout layout;
    model::RawHeader header;
    if (o.format == "standard") {
        layout = model::TargetLayout::kStandard;
        header.format = 0;
    } else if (o.format == "new") {
        layout = model::TargetLayout::kNew;
        header.format = 128;
    } else if (o.format == "v3") {
        layout = model::TargetLayout::kV3;
        header.format = 300;
    } else {
        fail_usage("--format " + o.format + ": expected standard, new or v3");
    }
    checked_number("--air-humidity", o.hum, 0.0, 1.0);
    checked_number("--air-temp", o.air, -40.0, 60.0, " degC");
    if (o.ems_correction < 0 || o.ems_correction > 3) fail_usage("--ems-correction: must be 0 (off) or 1..3");
    if (o.hum_correction < 0 || o.hum_correction > 3) fail_usage("--hum-correction: must be 0 (off) or 1..3");
    header.ems_enable = o.ems_correction > 0 ? 1 : 0;
    header.ems_version = static_cast<uint16_t>(o.ems_correction);
    header.hum_enable = o.hum_correction > 0 ? 1 : 0;
    header.hum_version = static_cast<uint16_t>(o.hum_correction);
    header.reflected_enable = o.reflected ? 1 : 0;
    header.reflected_version = o.reflected ? 1 : 0;
    std::vector<uint16_t> raw(model::raw_table_size(layout));
    model::fill_raw_correction_table(layout, header, raw.data(), {o.hum, o.air});
    std::size_t skip = o.no_header ? model::kRawHeaderWords : 0;
    AtomicFile file(o.output);
    write_u16_file(file.temp_path(), raw.data() + skip, raw.size() - skip);
    file.commit();
    std::fprintf(report_stream(), "%s: %zu words (%s grid%s), tau at 1 m %.4f, at 50 m %.4f\n",
                 o.output.c_str(), raw.size() - skip, o.format.c_str(),
                 o.no_header ? ", no header" : ", 256-byte header", model::transmittance(1.0, o.hum, o.air),
                 model::transmittance(50.0, o.hum, o.air));
}

}  // namespace

void add_table_command(CLI::App &program, Commands &commands) {
    CLI::App *table = program.add_subcommand("table", "NUC and correction tables");
    table->require_subcommand(1, 1);
    table->footer(
        example({"radimo table generate --nuc-factor -5645,9300000,104858 --gain high -o nuc_table.bin"}));

    auto g = std::make_shared<GenerateOptions>();
    CLI::App *gen =
        table->add_subcommand("generate", "Generate an 8192-entry NUC table from a quadratic NUC factor");
    gen->add_option("--nuc-factor", g->factor, "C0,C1,C2: NUC(T) = C0 + (C2 T^2 + C1 T) / 2^20, T in K")
        ->required();
    gen->add_option("--gain", g->gain, "high (-20..150 degC) or low (0..550 degC)")->capture_default_str();
    gen->add_option("-o,--output", g->output, "Output table (u16 LE; - for standard output)")->required();
    gen->footer(
        example({"radimo table generate --nuc-factor -5645,9300000,104858 --gain high -o nuc_table.bin"}));
    commands.push_back({gen, [g] { run_generate(*g); }});

    auto l = std::make_shared<LookupOptions>();
    CLI::App *look = table->add_subcommand(
        "lookup",
        "Temperature of a NUC value, or NUC value of a temperature, plain and through KT/BT at a vtemp");
    look->add_option("--nuc", l->nuc, "NUC value 0..16383 (forward)");
    look->add_option("--temp", l->temp, "Temperature in degC (reverse)");
    l->camera.add_to(*look, true, false);
    look->footer(example({"radimo table lookup --camera demo/camera --nuc 8000 --vtemp 9600",
                          "radimo table lookup --camera demo/camera --temp 36.6"}));
    commands.push_back({look, [l] { run_lookup(*l); }});

    auto t = std::make_shared<TauOptions>();
    CLI::App *tau =
        table->add_subcommand("tau", "Write a correction (tau) table from the physical transmittance model");
    tau->add_option("-o,--output", t->output, "Output table (u16 LE; - for standard output)")->required();
    tau->add_option("--format", t->format, "Grid: standard (56x64), new (42x88) or v3 (45x88)")
        ->capture_default_str();
    tau->add_option("--air-humidity", t->hum, "Relative humidity 0..1 of the air the table describes")
        ->capture_default_str();
    tau->add_option("--air-temp", t->air, "Temperature of that air in degC")->capture_default_str();
    tau->add_option("--ems-correction", t->ems_correction,
                    "Emissivity compatibility tables: 0 off, or version 1..3")
        ->capture_default_str();
    tau->add_option("--hum-correction", t->hum_correction,
                    "Humidity recalculation of tau: 0 off, or version 1..3")
        ->capture_default_str();
    tau->add_option("--reflected", t->reflected, "Use the separate reflected temperature (true/false)")
        ->capture_default_str();
    tau->add_flag("--no-header", t->no_header, "Write the tau values only, without the 256-byte header");
    tau->footer(
        example({"radimo table tau -o correct_table.bin --format v3 --air-humidity 0.6 --air-temp 20"}));
    commands.push_back({tau, [t] { run_tau(*t); }});
}

}  // namespace radimo::cli
