// The radimo program on small generated files: its numbers against direct
// library calls on the same data, and every failure's exit code.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "cli_fixture.h"
#include "core/atomic_output.h"
#include "formats/frame_file.h"
#include "libradimo.h"

namespace radimo::cli::test {
namespace {
namespace fs = std::filesystem;
using nlohmann::json;
using ::testing::HasSubstr;

std::vector<Frame> read_all(const fs::path &p) {
    auto reader = open_frame_file(p, std::nullopt);
    std::vector<Frame> frames;
    for (Frame f; reader->next(f);) frames.push_back(f);
    return frames;
}

// Width and height from a PNG file's header.
std::pair<int, int> png_size(const fs::path &p) {
    std::ifstream in(p, std::ios::binary);
    unsigned char h[24] = {};
    in.read(reinterpret_cast<char *>(h), 24);
    const auto be = [&](int at) { return (h[at] << 24) | (h[at + 1] << 16) | (h[at + 2] << 8) | h[at + 3]; };
    return {be(16), be(20)};
}

uint16_t kelvin16_of_raw(const CameraProfile &camera, uint16_t raw, uint16_t vtemp) {
    const ktbt_correct_param_t k = camera.ktbt_param(vtemp);
    uint16_t t = 0;
    EXPECT_EQ(temp_measure_with_NUC_value(&k, camera.nuc_table.data(), raw, &t), RADIMO_SUCCESS);
    return t;
}

// The double-point record of blackbodies at 90 degC (vtemp 9600) and 30 degC
// (vtemp 7200) with these raw responses, as the recal commands are given them.
second_cal_param_t blackbodies_record(const CameraProfile &camera, uint16_t high_raw, uint16_t low_raw) {
    second_cal_param_t param{camera.scene, camera.second_calib_param()};
    second_calib_param_t &p = param.second_calib_param;
    p.high_vtemp = 9600;
    p.low_vtemp = 7200;
    p.actual_high_celsius = celsius_of_kelvin16(kelvin16_of_raw(camera, high_raw, 9600));
    p.actual_low_celsius = celsius_of_kelvin16(kelvin16_of_raw(camera, low_raw, 7200));
    p.target_high_celsius = 90.0f;
    p.target_low_celsius = 30.0f;
    return param;
}

using Commands = CliTest;

// The demo the fixture radimo_demo wrote, with its --json report beside it.
TEST_F(Commands, DemoReadsTheSceneWithinHalfAKelvinAndMarksTheMug) {
    const fs::path d = RADIMO_DEMO;
    std::ifstream report_file(RADIMO_DEMO ".json");
    const json report = json::parse(report_file);
    ASSERT_EQ(report["objects"].size(), 5u);
    for (const json &object : report["objects"]) {
        ASSERT_EQ(object["frames"].size(), 2u);
        for (const json &f : object["frames"])
            EXPECT_NEAR(f["measured_c"].get<double>(), object["true_c"].get<double>(), 0.5)
                << object["object"];
    }
    for (const json &f : report["frames"]) {  // the hottest point lies on the mug (body, handle, coffee)
        const int x = f["hottest_at"][0], y = f["hottest_at"][1];
        EXPECT_TRUE(x >= 415 && x <= 530 && y >= 300 && y <= 395) << x << "," << y;
    }
    const auto [w, h] = png_size(d / "demo.png");
    EXPECT_EQ(w, report["picture"]["width"]);
    EXPECT_EQ(h, report["picture"]["height"]);
    EXPECT_GE(w, 640);
    EXPECT_GE(h, 512);
    EXPECT_EQ(read_all(d / "raw.tiff").size(), 2u);
    EXPECT_EQ(read_all(d / "celsius.tiff")[1].unit, Unit::kCelsius);
    EXPECT_EQ(load_profile(d / "camera").width, 640);
}

TEST_F(Commands, ConvertMatchesTheLibraryBitForBit) {
    const CameraProfile camera = write_small_camera();
    std::vector<Frame> raw = {raw_frame(16, 12, 1), raw_frame(16, 12, 2)};
    raw[0].vtemp = 7000;  // the second frame takes the camera's vtemp
    write_frames("raw.tiff", raw);
    ASSERT_EQ(radimo("convert raw.tiff --camera camera --to kelvin16 -o k16.png -q").exit_code,
              2);  // 2 frames
    ASSERT_EQ(radimo("convert raw.tiff --camera camera --to kelvin16 -o k16.pgm -q").exit_code, 0);
    ASSERT_EQ(
        radimo("convert raw.tiff --camera camera --to kelvin16 --vtemp 9600 -o forced.pgm -q").exit_code, 0);
    ASSERT_EQ(radimo("convert raw.tiff --camera camera --scene-correct --ems 0.9 -q").exit_code, 0);
    const std::vector<Frame> k16 = read_all(path("k16.pgm")), celsius = read_all(path("raw.celsius.tiff"));
    const std::vector<Frame> forced = read_all(path("forced.pgm"));  // --vtemp wins over every frame's own
    ASSERT_EQ(k16.size(), 2u);
    ASSERT_EQ(celsius.size(), 2u);
    ASSERT_EQ(forced.size(), 2u);
    env_correct_param_t scene = camera.scene;
    scene.ems = 0.9f;
    for (int f = 0; f < 2; ++f) {
        const uint16_t vtemp = raw[f].vtemp.value_or(camera.vtemp);
        for (std::size_t i = 0; i < raw[f].pixels(); ++i) {
            const uint16_t t = kelvin16_of_raw(camera, raw[f].samples[i], vtemp);
            ASSERT_EQ(k16[f].samples[i], t) << f << " " << i;
            ASSERT_EQ(forced[f].samples[i], kelvin16_of_raw(camera, raw[f].samples[i], 9600))
                << f << " " << i;
            float expected = 0.0f;
            ASSERT_EQ(enhance_distance_temp_correct(&scene, camera.correct_table.data(), 0, &expected,
                                                    celsius_of_kelvin16(t)),
                      RADIMO_SUCCESS);
            ASSERT_EQ(celsius[f].floats[i], expected) << f << " " << i;
        }
    }
}

TEST_F(Commands, ConvertWithLongKtbtArraysUsesTheirCorrection) {
    CameraProfile camera = write_small_camera();
    camera.kt.resize(3601,
                     static_cast<uint16_t>(camera.kt.back() + 900));  // entries the short form never reads
    camera.bt.resize(3601, static_cast<int16_t>(camera.bt.back() - 70));
    camera.vtemp = 30000;  // an index beyond the 1201 entries of the short arrays
    write_camera(camera, "long");
    const Frame raw = raw_frame(16, 12, 9);
    write_frames("raw.pgm", {raw});
    ASSERT_EQ(radimo("convert raw.pgm --camera long --to kelvin16 -o k16.tiff").exit_code, 0);
    const Frame k16 = read_all(path("k16.tiff")).at(0);
    const ktbt_correct_param_t k = camera.ktbt_param(camera.vtemp);
    for (std::size_t i = 0; i < raw.pixels(); ++i) {
        uint16_t nuc = 0, t = 0;
        ASSERT_EQ(ktbt_correct_process_with_version3(&k, raw.samples[i], &nuc), RADIMO_SUCCESS);
        ASSERT_EQ(remap_temp(camera.nuc_table.data(), nuc, &t), RADIMO_SUCCESS);
        ASSERT_EQ(k16.samples[i], t) << i;
    }
}

TEST_F(Commands, MeasureJsonMatchesTheLibrary) {
    Frame frame = raw_frame(16, 12, 3);
    frame.unit = Unit::kKelvin16;
    frame.samples[4 * 16 + 12] =
        12000;  // a one-pixel hot spot inside the rectangle: its trimmed mean drops it
    write_frames("t.png", {frame});
    const RunResult r =
        radimo("measure t.png --point 3,4 --line 1,1,10,8 --rect 2,2,12,5 --alarm 40,10 --json");
    ASSERT_EQ(r.exit_code, 0) << r.err;
    const json report = json::parse(r.out);
    const json m = report["frames"][0]["measurements"];
    ASSERT_EQ(m.size(), 3u);
    EXPECT_EQ(report["warnings"].size(), 0u);
    const uint32_t res = frame.resolution();
    const auto pixel = [&](int x, int y) { return frame.samples[static_cast<std::size_t>(y) * 16 + x]; };
    uint16_t point = 0;
    ASSERT_EQ(get_point_temp(frame.samples.data(), res, {3, 4}, &point), RADIMO_SUCCESS);
    EXPECT_EQ(m[0]["unit"], "kelvin16");
    EXPECT_EQ(m[0]["unit_source"], "file");
    EXPECT_EQ(m[0]["trimmed"]["value"]["value"], point);
    EXPECT_EQ(m[0]["pixels"]["hottest"]["value"], pixel(3, 4));
    EXPECT_DOUBLE_EQ(m[0]["trimmed"]["value"]["celsius"].get<double>(),
                     std::round((point / 16.0 - 273.15) * 1e4) / 1e4);
    const threshold_t alarm{kelvin16_of_celsius(40), kelvin16_of_celsius(10)};
    EXPECT_EQ(m[0]["alarm"], std::string(point_over_threshold_alarm(alarm, point) == 1 ? "above" : "ok"));
    temp_result_t line{}, rect{};
    ASSERT_EQ(get_line_temp(frame.samples.data(), res, {1, 1}, {10, 8}, &line), RADIMO_SUCCESS);
    ASSERT_EQ(get_rect_temp(frame.samples.data(), res, {2, 2}, {12, 5}, &rect), RADIMO_SUCCESS);
    for (const auto &[j, t] : {std::pair{m[1], line}, std::pair{m[2], rect}}) {
        const json &trimmed = j["trimmed"];
        EXPECT_EQ(trimmed["max"]["value"], t.max_temp);
        EXPECT_EQ(trimmed["max"]["x"], t.max_temp_point.x);
        EXPECT_EQ(trimmed["max"]["y"], t.max_temp_point.y);
        EXPECT_EQ(trimmed["min"]["value"], t.min_temp);
        EXPECT_EQ(trimmed["min"]["y"], t.min_temp_point.y);
        EXPECT_EQ(trimmed["avg"]["value"], t.avg_temp);
        EXPECT_EQ(j["alarm"], "above");  // the generated frame runs up to about 90 degC
    }
    // The rectangle's own pixels: the hot spot is its hottest, beside the trimmed maximum.
    const json &p = m[2]["pixels"];
    double sum = 0, squares = 0;
    uint16_t coldest = 65535;
    for (int y = 2; y < 7; ++y)
        for (int x = 2; x < 14; ++x) sum += pixel(x, y), coldest = std::min(coldest, pixel(x, y));
    const double mean = sum / 60;
    for (int y = 2; y < 7; ++y)
        for (int x = 2; x < 14; ++x) squares += (pixel(x, y) - mean) * (pixel(x, y) - mean);
    EXPECT_EQ(p["count"], 60);
    EXPECT_EQ(p["hottest"]["value"], 12000);
    EXPECT_EQ(p["hottest"]["x"], 12);
    EXPECT_EQ(p["hottest"]["y"], 4);
    EXPECT_LT(rect.max_temp, 12000);
    EXPECT_EQ(p["coldest"]["value"], coldest);
    EXPECT_NEAR(p["mean"]["value"].get<double>(), mean, 1e-6);
    EXPECT_NEAR(p["stddev_k"].get<double>(), std::sqrt(squares / 60) / 16, 1e-3);
    // --csv: the same records, one row per frame and region, absent fields empty.
    const RunResult csv = radimo("measure t.png --point 3,4 --rect 2,2,12,5 --csv");
    ASSERT_EQ(csv.exit_code, 0) << csv.err;
    EXPECT_THAT(csv.out,
                ::testing::StartsWith("frame,width,height,input_unit,input_unit_source,unit,derivation,"
                                      "label,kind,x,y,unit_source,trimmed.rule,trimmed.value.value,"));
    EXPECT_THAT(csv.out, HasSubstr(",P1,point,3,4,file,3x3 trimmed mean," + std::to_string(point) + ","));
    EXPECT_THAT(csv.out, HasSubstr(",R1,rect,2,2,file,3x3 trimmed means,"));
    EXPECT_THAT(csv.out.substr(0, csv.out.find('\n')), HasSubstr(",trimmed.max.value,"));
}

TEST_F(Commands, RenderAndTables) {
    Frame frame = raw_frame(40, 30, 4);
    frame.unit = Unit::kKelvin16;
    write_frames("t.tiff", {frame});
    const RunResult r =
        radimo("render t.tiff -o t.png --palette arctic --range 10,80 --isotherm 30,40 --rect 2,2,8,8");
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_GE(png_size(path("t.png")).first, 40);

    ASSERT_EQ(radimo("table generate --nuc-factor -5645,9300000,104858 --gain low -o low.bin").exit_code, 0);
    const nuc_factor_t factor{-5645, 9300000, 104858};
    std::vector<uint16_t> expected(8192);
    ASSERT_EQ(generate_low_gain_nuc_t(&factor, expected.data()), RADIMO_SUCCESS);
    EXPECT_EQ(read_u16_file(path("low.bin")), expected);
    ASSERT_EQ(radimo("table tau -o tau.bin --format standard --no-header").exit_code, 0);
    EXPECT_EQ(fs::file_size(path("tau.bin")), 56u * 64u * 2u);
    const RunResult lookup = radimo("table lookup --camera camera --temp 36.6");
    EXPECT_EQ(lookup.exit_code, 2);  // no camera yet
    write_small_camera();
    EXPECT_THAT(radimo("table lookup --camera camera --temp 36.6").out,
                HasSubstr("36.60 \u00b0C in the table"));
    write_frames("raw.pgm", {raw_frame(16, 12, 8)});
    EXPECT_EQ(radimo("render raw.pgm --camera camera --scene-correct -o raw.png --no-bar").exit_code, 0);
}

TEST_F(Commands, RecalibrationsMatchTheLibraryAndKeepTheInput) {
    CameraProfile camera = write_small_camera();
    const std::vector<uint16_t> input_kt = read_u16_file(path("camera/kt.bin"));
    ASSERT_EQ(
        radimo("recal double-point --camera camera --high 90,9600,10450 --low 30,7200,6700 --mode 5 -o new")
            .exit_code,
        0);
    second_cal_param_t param = blackbodies_record(camera, 10450, 6700);
    const multi_point_calib_array_t arrays{camera.kt.data(), camera.bt.data(), camera.nuc_table.data(),
                                           camera.correct_table.data(), 0};
    std::vector<uint16_t> kt(1201);
    std::vector<int16_t> bt(1201);
    two_point_calib_result_t result{kt.data(), bt.data()};
    ASSERT_EQ(new_ktbt_recal_double_point_calculate(&param, 5, &arrays, &result), RADIMO_SUCCESS);
    const CameraProfile recalibrated = load_profile(path("new"));
    EXPECT_EQ(recalibrated.kt, kt);
    EXPECT_EQ(recalibrated.bt, bt);
    EXPECT_EQ(recalibrated.nuc_table, camera.nuc_table);
    EXPECT_EQ(read_u16_file(path("camera/kt.bin")), input_kt);

    ASSERT_EQ(radimo("recal multi-point --camera camera --point 40,41 --point 70,69 -o user").exit_code, 0);
    second_cal_param_t user{camera.scene, camera.second_calib_param()};
    two_point_calib_result_t same{camera.kt.data(), camera.bt.data()};
    std::vector<multi_point_nuc_t> points(2);
    multi_point_temp_t temps[2] = {{40.0f, 41.0f}, {70.0f, 69.0f}};
    for (int i = 0; i < 2; ++i)
        ASSERT_EQ(multi_point_calc_user_defined_nuc(&user, 8, &arrays, &same, &temps[i], &points[i]),
                  RADIMO_SUCCESS);
    std::vector<uint16_t> old(16384, camera.nuc_table.back()), table(16384);
    std::copy(camera.nuc_table.begin(), camera.nuc_table.end(), old.begin());
    ASSERT_EQ(multi_point_calc_new_nuc_table(old.data(), points.data(), 2, table.data()), RADIMO_SUCCESS);
    table.resize(8192);
    EXPECT_EQ(load_profile(path("user")).nuc_table, table);
}

// For both lengths of KT/BT arrays.
TEST_F(Commands, LensChangeChainMatchesTheLibraryAndReadsTheBlackbodiesTrue) {
    const CameraProfile small = write_small_camera();
    for (const std::size_t entries : {1201, 3601}) {
        CameraProfile camera = small;
        camera.kt.resize(entries, camera.kt.back());
        camera.bt.resize(entries, camera.bt.back());
        const std::string n = std::to_string(entries);
        write_camera(camera, "camera" + n);
        // Raw responses of the 90 and 30 degC blackbodies through a lens of less transmission.
        const RunResult dp = radimo("recal double-point --lens-change --camera camera" + n +
                                    " --high 90,9600,10112 --low 30,7200,6512 -o lens" + n);
        ASSERT_EQ(dp.exit_code, 0) << dp.err;
        second_cal_param_t param = blackbodies_record(camera, 10112, 6512);
        uint16_t unused = 0;
        const multi_point_calib_array_t held{camera.kt.data(), camera.bt.data(), camera.nuc_table.data(),
                                             &unused, 0};
        std::vector<uint16_t> kt(entries);
        std::vector<int16_t> bt(entries);
        two_point_calib_result_t fresh{kt.data(), bt.data()};
        ASSERT_EQ(new_ktbt_recal_double_point_calculate_in_change_lens(&param, &held, &fresh),
                  RADIMO_SUCCESS);
        const CameraProfile lens = load_profile(path("lens" + n));
        EXPECT_EQ(lens.kt, kt);
        EXPECT_EQ(lens.bt, bt);
        // The report's last column: what the camera reads after, within 0.1 K of the truth.
        for (const char *source : {"high ", "low "}) {
            const std::size_t at = dp.out.find(source);
            ASSERT_NE(at, std::string::npos) << dp.out;
            float truth = 0.0f, after = 0.0f;
            ASSERT_EQ(std::sscanf(dp.out.c_str() + at + 4, "%f %*u %*u %*f %f", &truth, &after), 2) << dp.out;
            EXPECT_NEAR(after, truth, 0.1f) << dp.out;
        }

        ASSERT_EQ(radimo("recal multi-point --camera camera" + n + " --lens-change lens" + n +
                         " --point 24.3,25 --point 44,45 --point 63.4,65 -o user" + n)
                      .exit_code,
                  0);
        multi_point_temp_t temps[3] = {{24.3f, 25.0f}, {44.0f, 45.0f}, {63.4f, 65.0f}};
        std::vector<multi_point_nuc_t> points(3);
        param.second_calib_param.cur_vtemp = camera.vtemp;
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(multi_point_calc_user_defined_nuc_in_change_lens(&param, &held, &fresh, &temps[i],
                                                                       &points[i]),
                      RADIMO_SUCCESS);
        std::vector<uint16_t> old(16384, camera.nuc_table.back()), table(16384);
        std::copy(camera.nuc_table.begin(), camera.nuc_table.end(), old.begin());
        ASSERT_EQ(multi_point_calc_new_nuc_table_in_change_lens(old.data(), points.data(), 3, table.data()),
                  RADIMO_SUCCESS);
        table.resize(8192);
        const CameraProfile user = load_profile(path("user" + n));
        EXPECT_EQ(user.nuc_table, table);
        EXPECT_EQ(user.kt, kt);
        EXPECT_EQ(load_profile(path("camera" + n)).kt, camera.kt);
    }
}

TEST_F(Commands, EveryFailureIsOneLineWithItsExitCodeAndLeavesNoFile) {
    CameraProfile camera = write_small_camera();
    write_frames("raw.tiff", {raw_frame(16, 12, 5)});
    write_frames("small.pgm", {raw_frame(8, 8, 6)});
    Frame k16 = raw_frame(16, 12, 7);
    k16.unit = Unit::kKelvin16;
    write_frames("k16.tiff", {k16});
    std::ofstream(path("odd.raw"), std::ios::binary) << std::string(16 * 12 * 2 + 1, '\0');
    camera.nuc_table.assign(8192, 0);  // a table the reverse lookup cannot search
    fs::create_directory(path("zero"));
    for (const auto &e : fs::directory_iterator(path("camera"))) fs::copy(e.path(), path("zero"));
    write_u16_file(path("zero/nuc_table.bin"), camera.nuc_table.data(), 8192);
    write_frames("k16.png", {k16});
    fs::create_symlink("k16.png", path("linked.png"));
    fs::create_hard_link(path("k16.png"), path("hard.png"));
    write_frames("two.tiff", {k16, k16});
    std::string two;
    {
        std::ifstream in(path("two.tiff"), std::ios::binary);
        two.assign(std::istreambuf_iterator<char>(in), {});
    }
    std::ofstream(path("cut.tiff"), std::ios::binary) << two.substr(0, two.size() - 9);
    const auto before = listing();

    const struct {
        const char *args;
        int exit_code;
        const char *message;
    } cases[] = {
        {"measure missing.tiff", 2, "missing.tiff: no such file"},
        {"convert odd.raw --size 16x12 --camera camera -o x.tiff", 2, "not a whole number"},
        {"convert odd.raw --camera camera -o x.tiff", 2, "give --size WxH"},
        {"measure k16.tiff --point 16,0", 2, "outside the 16x12 frame"},
        {"measure k16.tiff --line 1,1,1,1", 2, "two different points"},
        {"measure k16.tiff --rect 10,10,7,2", 2, "outside the 16x12 frame"},
        {"measure k16.tiff --alarm 10,40", 2, "HIGH must not be below LOW"},
        {"render k16.tiff -o p.png --palette sepia", 2, "unknown palette"},
        {"render k16.tiff -o nowhere/p.png", 4, "cannot write nowhere/p.png"},
        {"measure raw.tiff --camera camera --set scene.ems=1", 2,
         "--set scene.ems=1 (scene.ems): unknown key"},
        {"measure raw.tiff --camera camera --hum 2", 2, "--hum 2 (scene.humidity)"},
        {"convert raw.tiff small.pgm --camera camera -o x.tiff", 2, "does not fit the camera's 16x12 sensor"},
        {"table lookup --camera zero --temp 30", 3,
         "reverse_calc_NUC_with_nuc_t failed: RADIMO_ERR_PARAM (-1100)"},
        {"recal double-point --camera camera --high 90,9600,1 --low 30,7200,2 -o camera", 2,
         "-o camera: the output would overwrite the input camera"},
        {"recal multi-point --camera camera --point 40,41 --point 70,69 -o .", 2,
         "-o .: the output would replace the directory holding the input camera"},
        {"render k16.png -o k16.png", 2, "-o k16.png: the output would overwrite the input k16.png"},
        {"render k16.png -o linked.png", 2, "-o linked.png: the output would overwrite the input k16.png"},
        {"render k16.png -o hard.png", 2, "-o hard.png: the output would overwrite the input k16.png"},
        {"convert raw.tiff --camera camera --format csv -o camera/camera.json", 2,
         "the output would overwrite the input camera/camera.json"},
        {"convert raw.tiff --camera camera -o -", 2, "-: give --format (tiff, png, pgm or csv)"},
        {"demo --out -", 2, "--out -: the demo writes a directory of files, not standard output"},
        {"table generate --nuc-factor -5645,9300000,104858 -o /dev/full", 4,
         "cannot write /dev/full: No space left on device"},
        {"measure cut.tiff", 2, "cut.tiff: page 1: "},
        {"recal multi-point --camera camera --point 40,41 -o x", 2, "at least two"},
        {"recal double-point --camera camera --high 90,9600,100 --low 30,7200,100 -o x", 2,
         "same raw response"},
        {"convert raw.tiff --camera camera --to fahrenheit", 2,
         "expected a temperature unit: kelvin16, centikelvin, decikelvin, millikelvin, celsius, kelvin"},
        {"recal multi-point --camera camera --lens-change camera --point 40,41 --point 70,69 -o x", 2,
         "at least three"},
        {"recal multi-point --camera camera --lens-change zero --point 30,31 --point 40,41 --point 70,69 -o "
         "x",
         2, "not a lens-change recalibration of --camera"},
        {"recal double-point --lens-change --mode 5 --camera camera --high 90,9600,1 --low 30,7200,2 -o x", 2,
         "excludes"},
        // Float inputs: NaN, infinities and values out of range.
        {"measure raw.tiff --camera camera --ems nan", 2, "scene.emissivity"},
        {"measure raw.tiff --camera camera --dist inf", 2, "scene.distance_m"},
        {"measure raw.tiff --camera camera --ta -300", 2, "scene.ambient_c"},
        {"measure raw.tiff --camera camera --tu 1e39", 2, "scene.reflected_c"},
        {"measure raw.tiff --camera camera --set scene.humidity=1e400", 2, "scene.humidity"},
        {"convert raw.tiff --camera camera --vtemp nan -o x.tiff", 2, "--vtemp: must be an integer"},
        {"measure k16.tiff --alarm inf,10", 2, "expected 2 comma-separated numbers"},
        {"measure k16.tiff --alarm 5000,10", 2, "--alarm 5000: must be a number in -273.15..3822.79 degC"},
        {"render k16.tiff -o p.png --range nan,40", 2, "expected 2 comma-separated numbers"},
        {"render k16.tiff -o p.png --isotherm -300,40", 2, "--isotherm -300: must be a number"},
        {"table lookup --camera camera --temp nan", 2, "--temp nan: must be a number"},
        {"table tau -o t.bin --air-humidity inf", 2, "--air-humidity inf: must be a number in 0..1"},
        {"recal double-point --camera camera --high 1e9,9600,1 --low 30,7200,2 -o x", 2, "--high 1e+09"},
        {"recal multi-point --camera camera --point 40,-nan --point 70,69 -o x", 2, "--point 40,-nan"},
        {"frobnicate", 2, ""},
    };
    for (const auto &c : cases) {
        const RunResult r = radimo(c.args);
        EXPECT_EQ(r.exit_code, c.exit_code) << c.args << "\n" << r.err;
        EXPECT_THAT(r.err, HasSubstr(c.message)) << c.args;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << c.args << "\n" << r.err;
        EXPECT_EQ(listing(), before) << c.args;
    }
}

TEST_F(Commands, OutputsGoThroughLinksIntoDevicesAndToStandardOutput) {
    const std::string table = "table generate --nuc-factor -5645,9300000,104858 ";
    // -: the table on standard output, the report on standard error.
    RunResult r = radimo(table + "-o -");
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(r.out.size(), 8192u * 2);
    EXPECT_THAT(r.err, HasSubstr("-: 8192 entries"));
    // A device is written into, not replaced.
    ASSERT_EQ(radimo(table + "-o /dev/null").exit_code, 0);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    // Through a symbolic link (dangling or not): the file it leads to, the link kept.
    fs::create_symlink("real.bin", path("link.bin"));
    ASSERT_EQ(radimo(table + "-o link.bin").exit_code, 0);
    ASSERT_EQ(radimo(table + "-o link.bin").exit_code, 0);
    EXPECT_TRUE(fs::is_symlink(path("link.bin")));
    EXPECT_EQ(fs::file_size(path("real.bin")), 8192u * 2);
    // Frames to standard output in a format given by --format.
    write_small_camera();
    write_frames("raw.tiff", {raw_frame(16, 12, 4)});
    r = radimo("convert raw.tiff --camera camera --to kelvin16 --format pgm -o -");
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_EQ(r.out.rfind("P5\n", 0), 0u);
    EXPECT_EQ(listing(), (std::vector<std::string>{"camera", "link.bin", "raw.tiff", "real.bin"}));

    // A temporary left by a killed process is removed by the next write of its output; one of a
    // process still running is not.
    const pid_t gone = fork();
    if (gone == 0) _exit(0);
    waitpid(gone, nullptr, 0);
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    const auto temporary = [&](pid_t pid) {
        return ".real.bin.radimo-" + std::string(host) + "-" + std::to_string(pid) + ".0.tmp";
    };
    std::ofstream(path(temporary(gone))) << "half";
    std::ofstream(path(temporary(getpid()))) << "half";
    ASSERT_EQ(radimo(table + "-o real.bin").exit_code, 0);
    EXPECT_FALSE(fs::exists(path(temporary(gone))));
    EXPECT_TRUE(fs::exists(path(temporary(getpid()))));

    // Standard output that cannot be written is exit code 4, for help text too.
    for (const std::string &args : {std::string("--help"), std::string("measure --help"), table + "-o -"}) {
        const std::string command = "'" RADIMO_EXE "' " + args + " > /dev/full 2> /dev/null";
        const int status = std::system(command.c_str());
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 4) << args;
    }
}

}  // namespace
}  // namespace radimo::cli::test
