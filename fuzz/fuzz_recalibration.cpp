// Recalibration: the double-point drivers and their versioned dispatchers,
// and the user-defined calibration points with their members and
// dispatcher, on random records, modes, versions and lengths, with a
// plausible camera and scene most of the time so the success paths run.
#include <algorithm>

#include "fuzz_input.h"

using radimo::fuzz::Camera;
using radimo::fuzz::Input;

namespace {

// The calibration arrays of one call, sized as the record says they are.
struct Arrays {
    std::vector<uint16_t> kt[3], new_kt[3];
    std::vector<int16_t> bt[3], new_bt[3];
    std::vector<uint16_t> nuc, correct;
    multi_point_calib_array_t one{};
    multi_point_calib_array_v3_t three{};
    two_point_calib_result_t result{};
    two_point_calib_result_v3_t result3{};

    // Drivers write ktbt_array_len entries of the result; the calibration
    // point members read the result arrays like the current ones.
    Arrays(Input &in, const second_calib_param_t &p, uint32_t mode, std::size_t entries,
           bool result_written) {
        const Camera &camera = Camera::get();
        const std::size_t n =
            std::max({entries, std::size_t{p.ktbt_array_len}, std::size_t{p.ktbt_index_len}});
        for (int r = 0; r < 3; ++r) {
            kt[r].assign(camera.kt.begin(), camera.kt.begin() + std::min(n, camera.kt.size()));
            kt[r].resize(n, 16384);
            bt[r].assign(camera.bt.begin(), camera.bt.begin() + std::min(n, camera.bt.size()));
            bt[r].resize(n);
            if (in.chance(10)) kt[r] = in.values<uint16_t>(n);
            if (in.chance(5)) kt[r][in.pick(n)] = 0;
            const std::size_t written = result_written ? std::max<std::size_t>(p.ktbt_array_len, 1) : n;
            new_kt[r] = kt[r];
            new_kt[r].resize(written);
            new_bt[r] = bt[r];
            new_bt[r].resize(written);
        }
        const bool long_table = (p.nuc_table_len & 0xFFFF) == 16384;
        nuc = long_table ? camera.nuc_table_16k : camera.nuc_table;
        if (in.chance(10)) nuc = in.values<uint16_t>(nuc.size());
        if (in.chance(10)) std::reverse(nuc.begin(), nuc.end());
        if (mode >= 4 && mode <= 7) {
            correct = radimo::fuzz::raw_table(in);
        } else {
            correct = in.chance(90) ? camera.env_tau : in.values<uint16_t>(camera.env_tau.size());
        }
        const uint32_t arg = in.any<uint32_t>();
        one = {kt[0].data(), bt[0].data(), nuc.data(), correct.data(), arg};
        three = {{kt[0].data(), kt[1].data(), kt[2].data()},
                 {bt[0].data(), bt[1].data(), bt[2].data()},
                 nuc.data(),
                 correct.data(),
                 arg};
        result = {new_kt[0].data(), new_bt[0].data()};
        result3 = {{new_kt[0].data(), new_kt[1].data(), new_kt[2].data()},
                   {new_bt[0].data(), new_bt[1].data(), new_bt[2].data()}};
    }
};

uint32_t mode(Input &in) {
    return in.chance(90) ? in.in<uint32_t>(0, 9) : in.any<uint32_t>();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    Input in(data, size);
    radimo::fuzz::set_up_logging(in);

    for (int call = 0; call < radimo::fuzz::kCallsPerInput && !in.empty(); ++call) {
        advanced_second_cal_param_t scenes{radimo::fuzz::scene(in), radimo::fuzz::scene(in),
                                           radimo::fuzz::calib_record(in)};
        second_cal_param_t one_scene{scenes.high_env_correct_param, scenes.second_calib_param};
        const second_calib_param_t &p = scenes.second_calib_param;
        multi_point_temp_t temp{in.real(0.0f, 120.0f), in.real(0.0f, 120.0f)};
        multi_point_nuc_t nuc{};
        multi_point_calib_param_t versioned{&scenes,
                                            nullptr,
                                            &temp,
                                            &nuc,
                                            in.mostly<uint32_t>(1, 20),
                                            in.any<uint32_t>(),
                                            in.mostly<uint32_t>(0, 2)};
        const int which = in.in<int>(0, 9);
        // Versioned members with three ranges, and version 2 of the enhanced-distance
        // members, read 3601-entry arrays.
        const uint32_t version = in.chance(90) ? in.in<uint32_t>(0, 3) : in.any<uint32_t>();
        const bool long_arrays = which >= 6 || (which == 4 && version >= 1) || which == 5;
        const uint32_t m = which >= 4 ? (version == 0 ? 0u : 4u) : mode(in);
        const bool driver = which == 0 || which == 1 || which == 4 || which == 6;
        Arrays a(in, p, m, long_arrays ? Camera::kEntriesV3 : Camera::kEntries, driver);
        versioned.multi_point_calib_array = version == 2 ? static_cast<void *>(&a.three) : &a.one;
        switch (which) {
            case 0:
                if (in.chance(50)) {
                    new_ktbt_recal_double_point_calculate(in.ptr(&one_scene), m, in.ptr(&a.one),
                                                          in.ptr(&a.result));
                } else {
                    new_ktbt_recal_double_point_calculate_in_change_lens(in.ptr(&one_scene), in.ptr(&a.one),
                                                                         in.ptr(&a.result));
                }
                break;
            case 1:
                advanced_ktbt_recal_double_point_calculate(in.ptr(&scenes), m, in.ptr(&a.one),
                                                           in.ptr(&a.result));
                break;
            case 2:
                multi_point_calc_user_defined_nuc(in.ptr(&one_scene), m, in.ptr(&a.one), in.ptr(&a.result),
                                                  in.ptr(&temp), in.ptr(&nuc));
                multi_point_calc_user_defined_nuc_in_change_lens(
                    in.ptr(&one_scene), in.ptr(&a.one), in.ptr(&a.result), in.ptr(&temp), in.ptr(&nuc));
                break;
            case 3:
                multi_point_calc_user_defined_nuc_with_version1(
                    in.ptr(&scenes), in.ptr(&a.one), in.ptr(&a.result), in.ptr(&temp), in.ptr(&nuc));
                break;
            case 4:
                if (version == 2) {
                    new_ktbt_recal_double_point_calculate_with_version(in.ptr(&versioned), version,
                                                                       in.ptr(&a.result3));
                } else {
                    new_ktbt_recal_double_point_calculate_with_version(in.ptr(&versioned), version,
                                                                       in.ptr(&a.result));
                    advanced_ktbt_recal_double_point_calculate_with_version(in.ptr(&versioned), version,
                                                                            in.ptr(&a.result));
                }
                break;
            case 5:
                multi_point_calc_user_defined_nuc_with_version2(
                    in.ptr(&scenes), in.ptr(&a.one), in.ptr(&a.result), in.ptr(&temp), in.ptr(&nuc));
                break;
            case 6:
                versioned.multi_point_calib_array = &a.three;
                advanced_ktbt_recal_double_point_calculate_version3(in.ptr(&versioned), in.ptr(&a.result3));
                break;
            case 7:
                versioned.multi_point_calib_array = &a.three;
                multi_point_calc_user_defined_nuc_with_version3(in.ptr(&versioned), in.ptr(&a.result3));
                break;
            default:
                if (version == 2) {
                    multi_point_calc_user_defined_nuc_with_version(in.ptr(&versioned), version,
                                                                   in.ptr(&a.result3));
                } else {
                    multi_point_calc_user_defined_nuc_with_version(in.ptr(&versioned), version,
                                                                   in.ptr(&a.result));
                }
                break;
        }
    }
    return 0;
}
