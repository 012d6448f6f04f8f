// NUC tables: lookups and reverse lookups in random, flat and
// non-monotonic tables of both lengths, table generation by gain, the
// environment factors (KE/BE) and the K/B recalibration.
#include "fuzz_input.h"

using radimo::fuzz::Camera;
using radimo::fuzz::Input;

namespace {

// A table of n entries: the camera's, reversed (hot mode), random, or a
// random walk (monotonic stretches, flat runs and turns).
std::vector<uint16_t> table(Input &in, std::size_t n) {
    const Camera &camera = Camera::get();
    const std::vector<uint16_t> &base = n == 8192 ? camera.nuc_table : camera.nuc_table_16k;
    switch (in.in<int>(0, 4)) {
        case 0:
            return base;
        case 1:
            return {base.rbegin(), base.rend()};
        case 2:
            return in.values<uint16_t>(n);
        default: {
            std::vector<uint16_t> t(n);
            uint16_t v = in.any<uint16_t>();
            const int step = in.in<int>(-3, 3);
            for (auto &e : t) {
                v = static_cast<uint16_t>(v + step + (in.chance(2) ? in.in<int>(-50, 50) : 0));
                e = v;
            }
            return t;
        }
    }
}

nuc_factor_t nuc_factor(Input &in) {
    if (in.chance(70)) {
        return {in.mostly<int32_t>(-8000, 0), in.mostly<int32_t>(8000000, 11000000),
                in.mostly<int32_t>(0, 200000)};
    }
    return {in.any<int32_t>(), in.any<int32_t>(), in.any<int32_t>()};
}

env_param_t env_param(Input &in, bool new_units) {
    if (in.chance(70)) {
        return new_units ? env_param_t{in.in<int32_t>(13000, 16384), in.in<int32_t>(10000, 16384),
                                       in.in<int32_t>(4300, 5000), in.in<int32_t>(4300, 5000)}
                         : env_param_t{in.in<int32_t>(100, 128), in.in<int32_t>(80, 128),
                                       in.in<int32_t>(263, 313), in.in<int32_t>(263, 313)};
    }
    return {in.any<int32_t>(), in.any<int32_t>(), in.any<int32_t>(), in.any<int32_t>()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    Input in(data, size);
    radimo::fuzz::set_up_logging(in);
    const Camera &camera = Camera::get();
    const bool long_table = in.chance(30);
    std::vector<uint16_t> t = table(in, long_table ? 16384 : 8192);
    const std::vector<uint16_t> standard = long_table ? table(in, 8192) : t;

    for (int call = 0; call < radimo::fuzz::kCallsPerInput && !in.empty(); ++call) {
        uint16_t u16 = 0;
        float celsius = 0;
        env_factor_t factor{};
        switch (in.in<int>(0, 13)) {
            case 0:
                remap_temp(in.ptr(standard.data()), in.any<uint32_t>(), &u16);
                break;
            case 1: {
                const uint32_t len = in.chance(80) ? static_cast<uint32_t>(t.size()) : in.any<uint32_t>();
                // Any length that is accepted must match the buffer: 8192 only with a short table.
                const bool fits = ((len & 0xFFFF) == 8192) || ((len & 0xFFFF) == 16384 && long_table);
                if (fits || !((len & 0xFFFF) == 8192 || (len & 0xFFFF) == 16384)) {
                    calc_temperature_with_nuc_t_table_len(in.ptr(t.data()), in.any<uint32_t>(), len,
                                                          in.ptr(&celsius));
                    reverse_calc_NUC_with_nuc_t_table_len(in.ptr(t.data()), len, in.ptr(&u16),
                                                          in.real(-40.0f, 200.0f));
                }
                break;
            }
            case 2:
                reverse_calc_NUC_with_nuc_t(standard.data(), in.ptr(&u16), in.real(-40.0f, 200.0f));
                break;
            case 3:
                factor = {in.mostly<uint32_t>(0, 40000), in.mostly<int32_t>(-3000, 3000)};
                reverse_calc_NUC_without_env_correct(in.ptr(&factor), in.any<uint32_t>(), in.ptr(&u16));
                recalc_NUC_with_env_correct(in.ptr(&factor), in.any<int>(), in.ptr(&u16));
                break;
            case 4: {
                const uint32_t len =
                    in.chance(80) ? static_cast<uint32_t>(t.size()) : in.in<uint32_t>(0, 20000);
                const std::size_t n = len & 0xFFFF;
                std::vector<uint16_t> sub(t.begin(), t.begin() + std::min(n, t.size()));
                sub.resize(std::max<std::size_t>(n, 1));
                uint16_t addr_in[2] = {in.any<uint16_t>(), in.any<uint16_t>()};
                uint16_t addr_out[2] = {};
                find_start_and_end_addr(sub.data(), addr_in, static_cast<int>(len), in.ptr(addr_out));
                break;
            }
            case 5: {
                const nuc_factor_t f = nuc_factor(in);
                calculate_nuc_with_nuc_factor(in.ptr(&f), in.ptr(&u16), in.real(-40.0f, 600.0f));
                reverse_calc_NUC_with_env_correct(in.ptr(&f), in.ptr(&u16), in.real(250.0f, 900.0f));
                break;
            }
            case 6: {
                const nuc_factor_t f = nuc_factor(in);
                std::vector<uint16_t> out(8192);
                if (in.chance(50)) {
                    generate_high_gain_nuc_t(&f, out.data());
                } else {
                    generate_low_gain_nuc_t(in.ptr(&f), out.data());
                }
                break;
            }
            case 7: {
                const nuc_factor_t f = nuc_factor(in);
                const env_param_t p = env_param(in, false);
                calculate_KE_and_BE(in.ptr(&p), in.ptr(&f), in.mostly<int>(0, 2), in.ptr(&factor));
                const env_param_t q = env_param(in, true);
                calculate_new_KE_and_BE(in.ptr(&q), in.ptr(&f), in.mostly<int>(0, 2), in.ptr(&factor));
                break;
            }
            case 8: {
                const env_param_t p = env_param(in, false);
                calculate_org_KE_and_BE_with_nuc_t(in.ptr(&p), in.ptr(standard.data()), in.mostly<int>(0, 2),
                                                   in.ptr(&factor));
                const env_param_t q = env_param(in, true);
                calculate_new_KE_and_BE_with_nuc_t(in.ptr(&q), in.ptr(standard.data()), in.mostly<int>(0, 2),
                                                   &factor);
                break;
            }
            case 9: {
                const env_correct_param_t s = radimo::fuzz::scene(in);
                const std::vector<uint16_t> tau =
                    in.chance(80) ? camera.env_tau : in.values<uint16_t>(camera.env_tau.size());
                calc_env_factor_with_dist_and_env_temp(in.ptr(&s), in.ptr(tau.data()),
                                                       in.ptr(standard.data()), in.ptr(&factor));
                break;
            }
            case 10: {
                const kb_param_t first{in.mostly<int32_t>(-4096, 4096), in.any<int32_t>()};
                const kb_param_t second{in.mostly<int32_t>(-4096, 4096), in.any<int32_t>()};
                double temp = 0;
                env_temp_calculate(in.ptr(&first), in.ptr(&second), in.any<int>(), &temp);
                kb_param_t kb{};
                single_point_recalibrate_KB(in.ptr(&first), in.any<uint32_t>(), in.ptr(&kb),
                                            in.real(-100.0f, 500.0f));
                const uint32_t x[2] = {in.mostly<uint32_t>(0, 16383), in.mostly<uint32_t>(0, 16383)};
                const double target[2] = {in.real(-50.0f, 500.0f), in.real(-50.0f, 500.0f)};
                double_point_recalibrate_KB(in.ptr(&first), in.ptr(x), in.ptr(target), in.ptr(&kb));
                break;
            }
            case 11: {
                const second_calib_param_t p = radimo::fuzz::calib_record(in);
                const uint16_t index[2] = {in.any<uint16_t>(), in.any<uint16_t>()};
                const uint32_t value[2] = {in.any<uint32_t>(), in.any<uint32_t>()};
                kb_param_t kb{in.any<int32_t>(), in.any<int32_t>()};
                calculate_Kn_and_Bn(in.ptr(&p), in.ptr(index), in.ptr(value), in.ptr(&kb));
                break;
            }
            case 12: {
                const uint16_t frame_w = in.in<uint16_t>(1, 16), frame_h = in.in<uint16_t>(1, 16);
                const std::vector<uint16_t> frame = in.values<uint16_t>(frame_w * frame_h);
                get_NUC_value(in.ptr(frame.data()), frame_w | frame_h << 16,
                              {in.in<int32_t>(-3, frame_w + 2), in.in<int32_t>(-3, frame_h + 2)}, &u16);
                break;
            }
            default:
                t = table(in, t.size());
                break;
        }
    }
    return 0;
}
