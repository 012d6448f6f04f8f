// Table rebuilds: KT/BT arrays from up to 20 calibration points and their
// steps, the NUC table from calibration points (both units and the
// dispatcher), the one-point correction, LinearInterp, hot mode and sorting.
#include <algorithm>

#include "fuzz_input.h"

using radimo::fuzz::Camera;
using radimo::fuzz::Input;

namespace {

// Calibration points of a camera: mostly rising pairs near the identity.
std::vector<multi_point_nuc_t> points(Input &in, std::size_t n) {
    std::vector<multi_point_nuc_t> p(std::max<std::size_t>(n, 1));
    for (auto &e : p) {
        if (in.chance(80)) {
            const auto setting = in.in<uint16_t>(500, 16000);
            e = {static_cast<uint16_t>(std::clamp(setting + in.in<int>(-300, 300), 0, 16383)), setting};
        } else {
            e = {in.any<uint16_t>(), in.any<uint16_t>()};
        }
    }
    return p;
}

multi_point_kt_param_t kt_param(Input &in) {
    multi_point_kt_param_t p{};
    p.mode = in.in<uint8_t>(0, 3);
    p.point_num = in.mostly<uint8_t>(1, 19);
    p.ref_index = in.mostly<uint8_t>(0, p.point_num);
    p.table_len = in.chance(60) ? 1201 : in.chance(50) ? 3601 : in.in<uint16_t>(0, 4000);
    p.ref_position = in.mostly<uint16_t>(0, p.table_len);
    p.Ktemp = in.any<int16_t>();
    p.base_offset = in.mostly<uint16_t>(0, 100);
    const bool rising = in.chance(50);
    for (int i = 0; i < 20; ++i) {
        if (in.chance(85)) {  // falling (mode 0) or rising (mode 1) responses with H above or below L
            const int step = rising ? 400 * i : 400 * (20 - i);
            p.H[i] = static_cast<uint16_t>(4000 + step + (rising ? 0 : 300));
            p.L[i] = static_cast<uint16_t>(4000 + step + (rising ? 300 : 0));
        } else {
            p.H[i] = in.any<uint16_t>(), p.L[i] = in.any<uint16_t>();
        }
        p.fit_x[i] = in.chance(85) ? static_cast<uint16_t>(6000 + 200 * i) : in.any<uint16_t>();
        p.fit_y[i] = in.chance(85) ? 20.0f + 10.0f * i : in.bits();
    }
    return p;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    Input in(data, size);
    radimo::fuzz::set_up_logging(in);
    const Camera &camera = Camera::get();

    for (int call = 0; call < radimo::fuzz::kCallsPerInput && !in.empty(); ++call) {
        switch (in.in<int>(0, 9)) {
            case 0: {
                multi_point_kt_param_t p = kt_param(in);
                const std::size_t n = std::max<std::size_t>(p.table_len, 1);
                std::vector<uint16_t> kt(camera.kt.begin(),
                                         camera.kt.begin() + std::min(n, camera.kt.size()));
                std::vector<int16_t> bt(camera.bt.begin(), camera.bt.begin() + std::min(n, camera.bt.size()));
                kt.resize(n, 16384), bt.resize(n);
                if (in.chance(20)) kt = in.values<uint16_t>(n), bt = in.values<int16_t>(n);
                std::vector<uint16_t> new_kt(n);
                std::vector<int16_t> new_bt(n);
                if (in.chance(50)) {
                    multi_point_calc_new_kt_bt(in.ptr(&p), in.ptr(kt.data()), in.ptr(bt.data()),
                                               in.ptr(new_kt.data()), in.ptr(new_bt.data()));
                } else {
                    multi_point_calc_new_kt_bt_intermediate_param(in.ptr(&p), nullptr, nullptr, nullptr,
                                                                  nullptr);
                }
                break;
            }
            case 1: {
                const auto point_num = in.in<uint8_t>(0, 19);
                const uint16_t len = in.chance(80) ? in.in<uint16_t>(1, 1201) : in.any<uint16_t>();
                const std::vector<uint16_t> K = in.values<uint16_t>(20),
                                            kt = in.values<uint16_t>(len ? len : 1);
                const std::vector<int16_t> B = in.values<int16_t>(20), bt = in.values<int16_t>(len ? len : 1);
                std::vector<uint16_t> kt_index(point_num + 1), bt_index(point_num + 1);
                calculate_new_value_index_in_orgtable(point_num, len, in.ptr(K.data()), in.ptr(B.data()),
                                                      in.ptr(kt.data()), in.ptr(bt.data()),
                                                      in.ptr(kt_index.data()), in.ptr(bt_index.data()));
                break;
            }
            case 2: {
                const auto point_num = in.in<uint8_t>(0, 19);
                const uint16_t len = in.chance(80) ? in.in<uint16_t>(1, 1201) : in.any<uint16_t>();
                const std::size_t n = len ? len : 1;
                const std::vector<uint16_t> kt = in.values<uint16_t>(n);
                const std::vector<int16_t> bt = in.values<int16_t>(n);
                std::vector<uint16_t> kt_index(point_num + 1), bt_index(point_num + 1), P(point_num + 1);
                for (std::size_t i = 0; i <= point_num; ++i) {
                    kt_index[i] = in.mostly<uint16_t>(0, static_cast<uint16_t>(n - 1));
                    bt_index[i] = in.mostly<uint16_t>(0, static_cast<uint16_t>(n - 1));
                    P[i] = in.mostly<uint16_t>(0, static_cast<uint16_t>(n - 1));
                }
                sort_multi_point_kt(in.ptr(kt_index.data()), static_cast<uint32_t>(kt_index.size()));
                sort_multi_point_kt(in.ptr(bt_index.data()),
                                    in.chance(90) ? static_cast<uint32_t>(bt_index.size()) : 0);
                std::vector<uint16_t> new_kt(n);
                std::vector<int16_t> new_bt(n);
                new_kt_bt_table_interpolate(point_num, len, in.ptr(kt.data()), in.ptr(bt.data()),
                                            in.ptr(kt_index.data()), in.ptr(bt_index.data()),
                                            in.ptr(P.data()), in.ptr(new_kt.data()), in.ptr(new_bt.data()));
                break;
            }
            case 3:
            case 4: {
                std::vector<uint16_t> table =
                    in.chance(80) ? camera.nuc_table_16k : in.values<uint16_t>(16384);
                if (in.chance(30)) std::reverse(table.begin(), table.end());
                const uint32_t num = in.chance(90) ? in.in<uint32_t>(0, 8) : in.any<uint32_t>();
                std::vector<multi_point_nuc_t> p = points(in, num & 0xFFFF);
                std::vector<uint16_t> out(16384);
                switch (in.in<int>(0, 2)) {
                    case 0:
                        multi_point_calc_new_nuc_table(in.ptr(table.data()), in.ptr(p.data()), num,
                                                       in.ptr(out.data()));
                        break;
                    case 1:
                        multi_point_calc_new_nuc_table_with_version3(in.ptr(table.data()), in.ptr(p.data()),
                                                                     num, in.ptr(out.data()));
                        break;
                    default:
                        multi_point_calc_new_nuc_table_in_change_lens(in.ptr(table.data()), in.ptr(p.data()),
                                                                      num, in.ptr(out.data()));
                        break;
                }
                // The fit alone, through the points' pairs or any values.
                const uint32_t n = static_cast<uint32_t>(p.size());
                std::vector<double> x(n + 1), y(n + 1);
                for (uint32_t i = 0; i < n; ++i) {
                    x[i] = in.chance(90) ? p[i].setting_nuc : in.bits();
                    y[i] = in.chance(90) ? p[i].output_nuc : in.bits();
                }
                double coefficients[3];
                ordinary_least_squares(in.ptr(x.data()), in.ptr(y.data()), in.chance(90) ? n : n + 1,
                                       in.ptr(coefficients));
                break;
            }
            case 5: {
                std::vector<uint16_t> table =
                    in.chance(80) ? camera.nuc_table_16k : in.values<uint16_t>(16384);
                const uint32_t num = in.in<uint32_t>(0, 6);
                std::vector<multi_point_nuc_t> p = points(in, num);
                multi_point_calib_array_t one{nullptr, nullptr, table.data(), nullptr, 0};
                multi_point_calib_array_v3_t three{};
                three.nuc_table = table.data();
                const uint32_t version = in.mostly<uint32_t>(0, 3);
                multi_point_calib_param_t param{};
                param.multi_point_calib_array = version == 2 ? static_cast<void *>(&three) : &one;
                param.multi_point_nuc = p.data();
                param.calib_point_num = num;
                std::vector<uint16_t> out(16384);
                multi_point_calc_new_nuc_table_with_version(in.ptr(&param), version, in.ptr(out.data()));
                break;
            }
            case 6: {
                std::vector<uint16_t> table = in.chance(80) ? camera.nuc_table : in.values<uint16_t>(8192);
                if (in.chance(30)) std::reverse(table.begin(), table.end());
                const uint16_t num = in.chance(80) ? 3 : in.in<uint16_t>(0, 6);
                std::vector<multi_point_nuc_t> p = points(in, num);
                std::vector<uint16_t> out(8192);
                multi_point_calc_one_point_correct(in.ptr(table.data()), in.ptr(p.data()), num,
                                                   in.ptr(out.data()));
                break;
            }
            case 7: {
                const uint32_t n = in.in<uint32_t>(0, 40);
                std::vector<float> x(n ? n : 1), y(n ? n : 1);
                float v = in.real(-100.0f, 100.0f);
                for (uint32_t i = 0; i < n; ++i) {
                    x[i] = v += in.chance(90) ? in.real(0.0f, 10.0f) : in.bits();
                    y[i] = in.real(-1000.0f, 1000.0f);
                }
                const linear_interp_param_t param{x.data(), y.data(), n};
                float out = 0;
                LinearInterp(in.ptr(&param), in.ptr(&out), in.real(-200.0f, 600.0f));
                break;
            }
            case 8: {
                std::vector<uint16_t> table = in.chance(50) ? camera.nuc_table : in.values<uint16_t>(8192);
                if (in.chance(50)) std::reverse(table.begin(), table.end());
                hotmode_calc(in.ptr(table.data()));
                const uint32_t count = in.in<uint32_t>(0, 8192);
                std::vector<uint16_t> dst(count ? count : 1);
                hotmode_reverse(in.ptr(table.data()), count,
                                in.chance(50) ? table.data() : in.ptr(dst.data()));
                break;
            }
            default: {
                std::vector<multi_point_nuc_t> p = points(in, in.in<uint32_t>(0, 30));
                sort_multi_point_nuc(in.ptr(p.data()), in.chance(90) ? static_cast<uint32_t>(p.size()) : 0);
                std::vector<uint16_t> values = in.values<uint16_t>(in.in<std::size_t>(0, 64));
                sort_multi_point_kt(in.ptr(values.data()), static_cast<uint32_t>(values.size()));
                break;
            }
        }
    }
    return 0;
}
