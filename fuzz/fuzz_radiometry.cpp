// Radiometric correction: every forward and reverse grey-body member, the
// environment-parameter dispatchers, the compatibility-table indices and
// readers, the enhanced-distance correction and its precomputed-table and
// lattice forms, on raw correction tables with random header words.
#include "fuzz_input.h"

using radimo::fuzz::Input;

namespace {

constexpr std::size_t kRawHeaderWords = 128;

// The table-record view of a raw correction table, with random switches.
correct_table_t record(Input &in, const std::vector<uint16_t> &raw) {
    correct_table_t t{};
    t.header_id = in.any<uint16_t>();
    t.tau_format = in.chance(80) ? raw[1] : in.any<uint16_t>();
    t.ems_enable = in.in<uint16_t>(0, 2);
    t.ems_version = in.mostly<uint16_t>(0, 4);
    t.hum_enable = in.in<uint16_t>(0, 2);
    t.hum_version = in.mostly<uint16_t>(0, 4);
    t.reflected_tmp_enable = in.in<uint16_t>(0, 2);
    t.reflected_tmp_version = in.mostly<uint16_t>(0, 2);
    t.tau_data = raw.data() + kRawHeaderWords;
    return t;
}

std::vector<double> grid(Input &in) {
    std::vector<double> g(in.in<std::size_t>(1, 100));
    double v = in.real(-10.0f, 300.0f);
    for (auto &e : g) e = v += in.chance(90) ? in.real(0.0f, 25.0f) : in.real(-100.0f, 100.0f);
    return g;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    Input in(data, size);
    radimo::fuzz::set_up_logging(in);
    const std::vector<uint16_t> raw = radimo::fuzz::raw_table(in);

    for (int call = 0; call < radimo::fuzz::kCallsPerInput && !in.empty(); ++call) {
        const env_correct_param_t s = radimo::fuzz::scene(in);
        const uint16_t tau = in.mostly<uint16_t>(8000, 16384);
        const float kelvin = in.real(200.0f, 1800.0f);
        const float celsius = in.real(-60.0f, 900.0f);
        float result = 0;
        uint16_t index = 0;
        switch (in.in<int>(0, 13)) {
            case 0:
                temp_correct(tau, in.ptr(&result), s.ems, s.ta, celsius);
                temp_correct_with_reflected_temp(tau, in.ptr(&result), s.ems, s.ta, s.tu, celsius);
                temp_correct_kelvin(tau, in.ptr(&result), s.ems, s.ta, kelvin);
                temp_correct_with_reflected_temp_kelvin(tau, in.ptr(&result), s.ems, s.ta, s.tu, kelvin);
                break;
            case 1:
                reverse_temp_correct(tau, in.ptr(&result), s.ems, s.ta, celsius);
                reverse_temp_correct_with_reflected_temp(tau, in.ptr(&result), s.ems, s.ta, s.tu, celsius);
                reverse_temp_correct_kelvin(tau, in.ptr(&result), s.ems, s.ta, kelvin);
                reverse_temp_correct_with_reflected_temp_kelvin(tau, in.ptr(&result), s.ems, s.ta, s.tu,
                                                                kelvin);
                break;
            case 2: {
                const correct_table_t t = record(in, raw);
                temp_correct_with_env_param(in.ptr(&t), tau, in.ptr(&result), s.ems, s.ta, s.tu, kelvin);
                reverse_temp_correct_with_env_param(in.ptr(&t), tau, in.ptr(&result), s.ems, s.ta, s.tu,
                                                    kelvin);
                break;
            }
            case 3: {
                const std::vector<double> g = grid(in);
                const auto n = static_cast<uint16_t>(g.size());
                get_compatible_target_temp_read_index(in.ptr(g.data()), n, in.ptr(&index),
                                                      in.real(-20.0f, 2000.0f));
                get_compatible_dist_read_index(in.ptr(g.data()), n, in.ptr(&index), in.real(-20.0f, 2000.0f));
                get_compatible_target_temp_read_index_of_ems_table(in.in<int>(0, 3), in.ptr(g.data()), n,
                                                                   in.ptr(&index), in.real(-20.0f, 2000.0f));
                get_compatible_ems_read_index_of_ems_table(in.in<int>(0, 3), in.ptr(g.data()), n,
                                                           in.ptr(&index), in.real(0.7f, 1.0f));
                break;
            }
            case 4: {
                const float ems = in.real(0.75f, 1.0f);
                read_compatible_ems_version1(in.ptr(&result), kelvin, ems);
                read_compatible_ems_version2(in.ptr(&result), kelvin, ems);
                read_compatible_ems_version3(in.ptr(&result), kelvin, ems);
                const correct_table_t t = record(in, raw);
                read_compatible_ems_with_target_temp_and_org_ems(in.ptr(&t), in.ptr(&result), kelvin, ems);
                break;
            }
            case 5: {
                const correct_table_t t = record(in, raw);
                uint16_t out = 0;
                read_compatible_tau_with_target_temp_and_dist(in.ptr(&t), in.ptr(&out), kelvin,
                                                              in.real(0.0f, 1200.0f));
                break;
            }
            case 6:
                enhance_distance_temp_correct(in.ptr(&s), in.ptr(raw.data()), in.any<uint32_t>(),
                                              in.ptr(&result), celsius);
                break;
            case 7:
                reverse_enhance_distance_temp_correct(in.ptr(&s), in.ptr(raw.data()), in.any<uint32_t>(),
                                                      in.ptr(&result), celsius);
                break;
            case 8: {
                std::vector<float> table = in.values<float>(RADIMO_PRECOMPUTED_TEMP_SLOTS);
                std::vector<uint8_t> valid = in.values<uint8_t>(RADIMO_PRECOMPUTED_TEMP_SLOTS);
                get_precomputed_temp(in.ptr(&result), in.ptr(table.data()), in.ptr(valid.data()),
                                     in.real(-101.0f, 1001.0f));
                get_precomputed_temp_with_y14_temp(in.any<uint16_t>(), in.ptr(&result), in.ptr(table.data()),
                                                   in.ptr(valid.data()));
                break;
            }
            default: {
                // The lattice forms over a few values, with a table built over a narrow window.
                std::vector<float> table(RADIMO_PRECOMPUTED_TEMP_SLOTS);
                std::vector<uint8_t> valid(RADIMO_PRECOMPUTED_TEMP_SLOTS);
                const float lowest = in.real(-100.0f, 150.0f);
                const float highest =
                    in.chance(90) ? lowest + in.real(0.0f, 0.5f) : in.real(-200.0f, 1200.0f);
                if (in.chance(50) || !(highest - lowest < 2.0f)) {
                    radimo_build_precomputed_temp(in.ptr(&s), in.ptr(raw.data()), lowest, lowest,
                                                  in.ptr(table.data()), in.ptr(valid.data()));
                } else {
                    radimo_build_precomputed_temp(in.ptr(&s), in.ptr(raw.data()), lowest, highest,
                                                  in.ptr(table.data()), in.ptr(valid.data()));
                }
                const uint32_t count = in.in<uint32_t>(0, 8);
                std::vector<float> temps(count + 1), out(count + 1);
                for (auto &t : temps)
                    t = in.chance(50) ? lowest + in.real(0.0f, 0.5f) : in.real(-120.0f, 1100.0f);
                enhance_distance_temp_correct_lattice(in.ptr(&s), in.ptr(raw.data()), 0, in.ptr(table.data()),
                                                      in.ptr(valid.data()), in.ptr(temps.data()), count,
                                                      in.ptr(out.data()));
                std::vector<uint16_t> frame(count + 1);
                for (auto &v : frame) v = in.mostly<uint16_t>(2271, 13970);
                enhance_distance_raw_temp_correct_lattice(in.ptr(&s), in.ptr(raw.data()), 0,
                                                          in.ptr(frame.data()), count, in.ptr(out.data()));
                break;
            }
        }
    }
    return 0;
}
