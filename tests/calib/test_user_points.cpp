// User-defined calibration points: every member on realistic camera data,
// the lens-change carry, the dispatcher, the messages and the KT/BT round trip.
#include <tuple>

#include "support/prelude.h"

namespace {

using radimo::test::Table;
using ::testing::StartsWith;
namespace model = radimo::tau_model;

constexpr env_correct_param_t kEnvScene{10.0f, 0.95f, 0.6f, 25.0f, 30.0f};  // tau from the environment table
constexpr env_correct_param_t kFarScene{100.0f, 0.9f, 0.9f, 30.0f,
                                        45.0f};  // tau from the raw correction table

// A gently drifting KT/BT pair: gains 16000 .. 16384, offsets -200 .. 100 plus a shift.
struct Pair {
    std::vector<uint16_t> kt;
    std::vector<int16_t> bt;
    explicit Pair(int len, int shift = 0) : kt(len), bt(len) {
        for (int i = 0; i < len; ++i) {
            kt[i] = static_cast<uint16_t>(16000 + 384 * i / (len - 1));
            bt[i] = static_cast<int16_t>(-200 + 300 * i / (len - 1) + shift);
        }
    }
};

second_calib_param_t record(int16_t k, int16_t b, uint16_t ca, uint16_t len, uint16_t vtemp) {
    second_calib_param_t p = radimo::test::ktbt_record(k, b, ca, len);
    p.cur_vtemp = vtemp;
    return p;
}
// T_FPA = vtemp / 2 - 1000 from Address_CA 100: index 899 at vtemp 4000, 3000 at 8202.
second_calib_param_t camera(uint16_t len, uint16_t vtemp) {
    return record(8192, -1000, 100, len, vtemp);
}

uint16_t lookup(const Table &nuc, float temp) {
    uint16_t n = 0;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(nuc.data(), &n, temp), RADIMO_SUCCESS);
    return n;
}

auto values(const multi_point_temp_t &t, const multi_point_nuc_t &n) {
    return std::make_tuple(t.setting_temp, n.output_nuc, n.setting_nuc);
}

class UserPoints : public radimo::test::LoggedTest {
protected:
    Table nuc = radimo::test::high_gain_table(), env = radimo::test::env_table();
    Table raw = radimo::test::raw_table(model::TargetLayout::kV3, {0, 300, 1, 2, 1, 2, 0, 0, 1, 1});
    Pair old{1201}, fresh{1201, 35};
    // Three distinguishable ranges: old offsets 100 apart, new ones 10, 20 and 30 above the old.
    Pair old3[3] = {Pair(3601, 0), Pair(3601, 100), Pair(3601, 200)};
    Pair new3[3] = {Pair(3601, 10), Pair(3601, 120), Pair(3601, 230)};
    multi_point_calib_array_t arrays{old.kt.data(), old.bt.data(), nuc.data(), raw.data(), 0};
    two_point_calib_result_t result{fresh.kt.data(), fresh.bt.data()};
    multi_point_calib_array_t long_arrays{old3[1].kt.data(), old3[1].bt.data(), nuc.data(), raw.data(), 0};
    two_point_calib_result_t long_result{new3[1].kt.data(), new3[1].bt.data()};
    multi_point_calib_array_v3_t ranges{{old3[0].kt.data(), old3[1].kt.data(), old3[2].kt.data()},
                                        {old3[0].bt.data(), old3[1].bt.data(), old3[2].bt.data()},
                                        nuc.data(),
                                        raw.data(),
                                        0};
    two_point_calib_result_v3_t new_ranges{{new3[0].kt.data(), new3[1].kt.data(), new3[2].kt.data()},
                                           {new3[0].bt.data(), new3[1].bt.data(), new3[2].bt.data()}};
    second_cal_param_t param{kFarScene, camera(1201, 4000)};
    advanced_second_cal_param_t adv{kFarScene, kEnvScene, camera(3601, 8202)};
    multi_point_temp_t temp{63.5f, 60.0f};
    multi_point_nuc_t out{7, 9};
    multi_point_calib_param_t v3{&adv, &ranges, &temp, &out, 1, 0, 1};

    int base(uint32_t mode) {
        return multi_point_calc_user_defined_nuc(&param, mode, &arrays, &result, &temp, &out);
    }
    int version1() {
        return multi_point_calc_user_defined_nuc_with_version1(&adv, &arrays, &result, &temp, &out);
    }
    int version2() {
        return multi_point_calc_user_defined_nuc_with_version2(&adv, &long_arrays, &long_result, &temp, &out);
    }
    int lens() {
        return multi_point_calc_user_defined_nuc_in_change_lens(&param, &arrays, &result, &temp, &out);
    }
    // Runs the range member and returns what it printed.
    std::string version3(int rc = RADIMO_SUCCESS) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(multi_point_calc_user_defined_nuc_with_version3(&v3, &new_ranges), rc);
        return testing::internal::GetCapturedStdout();
    }
    void use_table(Table &t) { arrays.nuc_table = long_arrays.nuc_table = ranges.nuc_table = t.data(); }
    // The members' error lines, each as "<name after multi_point_calc_user_defined_nuc>: <text>".
    std::string member_errors() const {
        std::string lines;
        for (const auto &e : log.errors())
            if (e.function.rfind("multi_point_calc_user_defined_nuc", 0) == 0)
                lines += e.function.substr(33) + ": " + e.text;
        return lines;
    }
};

// 63.5 degC is looked up, its old KT/BT removed and the new applied: NUC 8708. 60 degC
// looks up 8408; through the far scene it looks like 54.65 degC (8006), and with the
// environment factor of the near scene removed it is 8209.
TEST_F(UserPoints, BaseMemberByCorrectionMode) {
    for (uint32_t mode : {8u, 0xFFFFFFFFu}) {  // the plain lookup
        ASSERT_EQ(base(mode), RADIMO_SUCCESS);
        EXPECT_EQ(values(temp, out), values({0, 60.0f}, {8708, 8408}));
    }
    for (uint32_t mode = 4; mode <= 7; ++mode) {  // setting_temp corrected in place, on every call
        temp.setting_temp = 60.0f;
        ASSERT_EQ(base(mode), RADIMO_SUCCESS);
        EXPECT_EQ(values(temp, out), values({0, 54.6545029f}, {8708, 8006}));
        ASSERT_EQ(base(mode), RADIMO_SUCCESS);
        EXPECT_EQ(temp.setting_temp, 50.4677353f);
    }
    param.env_correct_param = kEnvScene;  // the correct table is the environment tau table here
    arrays.correct_table = env.data();
    for (uint32_t mode = 0; mode <= 3; ++mode) {
        temp.setting_temp = 60.0f;
        ASSERT_EQ(base(mode), RADIMO_SUCCESS);
        EXPECT_EQ(values(temp, out), values({0, 60.0f}, {8708, 8209}));
    }
}

// With the new arrays equal to the old ones the output side returns the
// lookup L, less the reverse rounding's step: one unless kt divides
// (L - bt) * 16384 - 8192 exactly (the gains are at most 1.0).
TEST_F(UserPoints, OutputSideLosesExactlyTheReverseRoundingStep) {
    result = {old.kt.data(), old.bt.data()};
    long_result = {old3[1].kt.data(), old3[1].bt.data()};
    param.second_calib_param = record(16384, 0, 100, 1201, 0);  // index vtemp - 101
    adv.second_calib_param = record(16384, 0, 100, 3601, 0);
    int exact = 0;
    for (uint16_t vtemp : {101, 777, 1301}) {
        param.second_calib_param.cur_vtemp = adv.second_calib_param.cur_vtemp = vtemp;
        for (float t = -10.0f; t < 130.0f; t += 0.37f) {
            const int64_t l = lookup(nuc, t);
            for (const Pair *pair : {&old, &old3[1]}) {
                temp = {t, 20.0f};
                ASSERT_EQ(pair == &old ? base(8) : version2(), RADIMO_SUCCESS);
                const int64_t kt = pair->kt[vtemp - 101], bt = pair->bt[vtemp - 101];
                ASSERT_EQ(out.output_nuc, l - (((l - bt) * 16384 - 8192) % kt != 0)) << t << " at " << vtemp;
                exact += out.output_nuc == l;
            }
        }
    }
    EXPECT_GT(exact, 0);
}

// The dispatcher numbers from 0: version 0 runs the member called version1, 1 runs version2.
TEST_F(UserPoints, VersionedMembers) {
    multi_point_calib_param_t p{&adv, &arrays, &temp, &out, 1, 0, 1};
    // Version 1: the base member's environment mode on the first scene.
    arrays.correct_table = env.data();
    adv = {kEnvScene, kFarScene, param.second_calib_param};
    ASSERT_EQ(multi_point_calc_user_defined_nuc_with_version(&p, 0, &result), RADIMO_SUCCESS);
    const auto by_version1 = values(temp, out);
    param.env_correct_param = kEnvScene;
    ASSERT_EQ(base(0), RADIMO_SUCCESS);
    EXPECT_EQ(values(temp, out), by_version1);
    // Version 2: index 3000 of the long arrays; version 3: the pairs of range
    // temp_area, printing the response before KT/BT. Both correct in place.
    adv = {kFarScene, kEnvScene, camera(3601, 8202)};
    p.multi_point_calib_array = &long_arrays;
    temp.setting_temp = 60.0f;
    ASSERT_EQ(multi_point_calc_user_defined_nuc_with_version(&p, 1, &long_result), RADIMO_SUCCESS);
    EXPECT_EQ(values(temp, out), values({0, 54.6545029f}, {8693, 8006}));
    const std::pair<uint16_t, uint16_t> by_range[3] = {
        {8657, 8683}, {8556, 8693}, {8456, 8703}};  // before, output
    for (uint32_t r = 0; r < 3; ++r) {
        temp.setting_temp = 60.0f;
        v3.temp_area = r;
        EXPECT_EQ(version3(), "multi_point_nuc->output_nuc = " + std::to_string(by_range[r].first) + "\n");
        EXPECT_EQ(values(temp, out), values({0, 54.6545029f}, {by_range[r].second, 8006})) << r;
    }
    const radimo_printer_t error = radimo_error_print, debug = radimo_debug_print;
    radimo_log_register(2);  // silenced, the print still appears
    EXPECT_THAT(version3(), StartsWith("multi_point_nuc->output_nuc = "));
    radimo_error_print = error;
    radimo_debug_print = debug;
}

TEST_F(UserPoints, ChecksInOrder) {
    EXPECT_EQ(multi_point_calc_user_defined_nuc(&param, 8, &arrays, &result, &temp, nullptr), -1100);
    EXPECT_EQ(multi_point_calc_user_defined_nuc_in_change_lens(nullptr, &arrays, &result, &temp, &out),
              -1100);
    EXPECT_EQ(multi_point_calc_user_defined_nuc_with_version1(&adv, nullptr, &result, &temp, &out), -1100);
    EXPECT_EQ(multi_point_calc_user_defined_nuc_with_version2(&adv, &arrays, &result, nullptr, &out), -1100);
    EXPECT_EQ(multi_point_calc_user_defined_nuc_with_version3(&v3, nullptr), -1100);
    arrays.correct_table = nullptr;  // required although mode 8 and the lens change never read it
    EXPECT_THAT((std::vector<int>{base(8), lens(), version1()}), ElementsAre(-1100, -1100, -1100));
    arrays.correct_table = raw.data();
    result.bt_array = nullptr;
    EXPECT_THAT((std::vector<int>{base(8), lens(), version1()}), ElementsAre(-1100, -1100, -1100));
    v3.multi_point_nuc = nullptr;  // the record's pointers come first
    version3(-1100);
    v3 = {&adv, nullptr, &temp, &out, 1, 0, 3};  // then the range
    version3(-1100);
    v3.temp_area = 2;
    version3(-1100);
    v3.multi_point_calib_array = &ranges;
    ranges.bt_array[0] = nullptr;  // an unselected range is required too
    version3(-1100);
    ranges.bt_array[0] = old3[0].bt.data();
    new_ranges.kt_array[1] = nullptr;
    version3(-1100);
    multi_point_calib_param_t p{&adv, &arrays, &temp, &out, 1, 0, 3};  // the dispatcher adds its line
    EXPECT_EQ(multi_point_calc_user_defined_nuc_with_version(&p, 0, &result), RADIMO_ERR_VERSION);
    EXPECT_EQ(multi_point_calc_user_defined_nuc_with_version(&p, 1, &result), RADIMO_ERR_VERSION);
    EXPECT_EQ(multi_point_calc_user_defined_nuc_with_version(&p, 2, &new_ranges), RADIMO_ERR_VERSION);
    EXPECT_EQ(multi_point_calc_user_defined_nuc_with_version(&p, 3, &result), RADIMO_ERR_PARAM);
    EXPECT_EQ(multi_point_calc_user_defined_nuc_with_version(nullptr, 0, &result), RADIMO_ERR_PARAM);
    EXPECT_EQ(out.output_nuc, 7);
    EXPECT_EQ(member_errors(), R"(: input param is invalid
_in_change_lens: input param is invalid
_with_version1: input param is invalid
_with_version2: input param is invalid
_with_version3: input param is invalid
: multi_point_calib_array is invalid
_in_change_lens: multi_point_calib_array is invalid
_with_version1: multi_point_calib_array is invalid
: multi_point_calib_array is invalid
_in_change_lens: multi_point_calib_array is invalid
_with_version1: two_point_calib_result is invalid
_with_version3: input param is invalid
_with_version3: temp_area is invalid
_with_version3: multi_point_calib_input_param is invalid
_with_version3: multi_point_calib_input_param is invalid
_with_version3: two_point_calib_result is invalid
_with_version1: two_point_calib_result is invalid
_with_version: multi_point_calc_user_defined_nuc failed
_with_version2: two_point_calib_result is invalid
_with_version: multi_point_calc_user_defined_nuc failed
_with_version3: temp_area is invalid
_with_version: multi_point_calc_user_defined_nuc_with_version3 failed
_with_version: version is wrong
_with_version: handle is NULL
)");
}

TEST_F(UserPoints, FailedStepsAreReportedByTheMember) {
    Table flat(8192, 5000);  // no other temperature is ever found
    use_table(flat);
    EXPECT_THAT((std::vector<int>{base(8), version1(), version2(), lens()}),
                ElementsAre(-1113, -1113, -1113, -1113));
    EXPECT_EQ(version3(RADIMO_ERR_REVERSE_NUC), "");  // fails before the print
    EXPECT_EQ(out.output_nuc, 0);                     // the lookup's failure value
    EXPECT_EQ(log.error_trace()[8] + log.error_trace()[9],
              "src/temp_correct/reverse_calc_NUC_with_nuc_t_table_len: reverse calculate failed\n"
              "src/temp_correct/multi_point_calc_user_defined_nuc_with_version3: reverse_calc_nuc_with_nuc_t "
              "failed\n");
    Table dip = radimo::test::dip_table();  // a hot output is found, a cold setting never
    use_table(dip);
    temp.setting_temp = 0.0f;
    const auto cold = [&](int rc) { return temp.setting_temp = 0.0f, rc; };  // undoes the in-place correction
    EXPECT_THAT((std::vector<int>{cold(base(8)), cold(version1()), cold(version2()), cold(lens())}),
                ElementsAre(-1113, -1113, -1113, -1113));
    version3(RADIMO_ERR_REVERSE_NUC);
    EXPECT_EQ(out.setting_nuc, 9);  // written only on success
    use_table(nuc);
    param.env_correct_param.ems = adv.high_env_correct_param.ems = 1.5f;
    EXPECT_THAT((std::vector<int>{base(5), base(0), version1(), version2()}),
                ElementsAre(-1112, -1114, -1114, -1112));
    version3(RADIMO_ERR_REVERSE_TEMP);
    EXPECT_EQ(log.errors().size(), 30u);  // each member line follows its callee's line
    EXPECT_EQ(member_errors(), R"(: reverse calc output_temp nuc failed
_with_version1: reverse calc output_temp nuc failed
_with_version2: reverse calc output_temp nuc failed
_in_change_lens: reverse calc output_temp nuc failed
_with_version3: reverse_calc_nuc_with_nuc_t failed
: reverse calc setting_temp nuc failed
_with_version1: reverse calc setting_temp nuc failed
_with_version2: reverse calc setting_temp nuc failed
_in_change_lens: reverse calc setting_temp nuc failed
_with_version3: reverse calc setting_temp nuc failed
: reverse setting temp failed
: calc_env_factor_with_dist_and_env_temp failed
_with_version1: calc_env_factor_with_dist_and_env_temp failed
_with_version2: reverse setting temp failed
_with_version3: reverse setting temp failed
)");
}

// After a lens change, on a linear table (entry k = 4000 + 2k) and hand-checkable arrays.
TEST_F(UserPoints, LensChangeCarriesTheResponseToTheNewArrays) {
    Table linear = radimo::test::linear_table(8192, 4000, 2), old_kt(1201, 16384), new_kt = old_kt;
    std::vector<int16_t> old_bt(1201), new_bt(1201);
    arrays = {old_kt.data(), old_bt.data(), linear.data(), raw.data(), 0};
    result = {new_kt.data(), new_bt.data()};
    const multi_point_temp_t point{static_cast<float>(6000 / 16.0 - 273.15),
                                   static_cast<float>(7000 / 16.0 - 273.15)};
    temp = point;  // targets 6000 and 7000 exactly: NUC 2000 and 3000
    // T_FPA = floor(-500.5) + 3000 gives old index 598; the new index truncates
    // toward zero: -500 + 3000 - 1900 - 1 = 599.
    param.second_calib_param = record(-8192, 3000, 1900, 1201, 1001);
    old_kt[598] = 12288, old_bt[598] = 101, new_kt[599] = 16390, new_bt[599] = 7;
    ASSERT_EQ(lens(), RADIMO_SUCCESS);
    // TNR = (2000 - 101) * 16384 / 12288 = 2532; 16390 * 2532 / 16384 + 7 = 2539.93, truncated.
    EXPECT_EQ(values(temp, out), values(point, {2539, 3000}));  // no scene correction
    std::vector<std::string> own;
    for (const auto &line : log.debugs())
        if (line.function == "multi_point_calc_user_defined_nuc_in_change_lens") own.push_back(line.text);
    EXPECT_THAT(own, ElementsAre("output_nuc = 2000\n", "cur_vtemp = 1001\n", "default_ktbt_index=598\n",
                                 "(float)default_kt_array[low_ktbt_index] =12288.00000\n",
                                 "(float)default_bt_array[low_ktbt_index] =101.00000\n", "TNR=2532.00000\n",
                                 "new_ktbt_index = 599\n", "(float)new_kt_array[new_ktbt_index] = 16390.00\n",
                                 "multi_point_nuc->output_nuc = 2539\n"));
    old_bt[598] = 100;  // a float TNR of 2533.333 gives 2541.26 (an integer one 2540)
    ASSERT_EQ(lens(), RADIMO_SUCCESS);
    EXPECT_EQ(out.output_nuc, 2541);
    // Product 600.5: both indices 600 - 100 - 1 = 499, where rounding would give 500. 1.5 * 2 * 2000 - 50:
    param.second_calib_param = record(8192, -100, 0, 1201, 1201);
    old_kt[499] = 8192, new_kt[499] = 24576, new_bt[499] = -50;
    ASSERT_EQ(lens(), RADIMO_SUCCESS);
    EXPECT_EQ(out.output_nuc, 5950);

    // Refused rather than read or divided by: new indices 1202 and -101 (the old
    // one is clamped), an old index 1498 beyond the entries, no entries, a zero gain.
    for (uint16_t ca : {1297, 2600, 1000}) {
        param.second_calib_param = record(-8192, 3000, ca, 1201, 1001);
        param.second_calib_param.ktbt_index_len = ca == 1000 ? 3601 : 1201;
        EXPECT_EQ(lens(), RADIMO_ERR_PARAM);
    }
    param.second_calib_param = record(-8192, 3000, 1900, 1201, 1001);
    param.second_calib_param.ktbt_array_len = 0;
    EXPECT_EQ(lens(), RADIMO_ERR_PARAM);
    param.second_calib_param.ktbt_array_len = 1201;
    old_kt[598] = 0;
    EXPECT_EQ(lens(), RADIMO_ERR_PARAM);
    EXPECT_EQ(out.setting_nuc, 3000);
    EXPECT_EQ(member_errors(), R"(_in_change_lens: new_ktbt_index is invalid
_in_change_lens: new_ktbt_index is invalid
_in_change_lens: default_ktbt_index is invalid
_in_change_lens: default_ktbt_index is invalid
_in_change_lens: default_kt_array is invalid
)");
}

}  // namespace
