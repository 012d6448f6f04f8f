// Atmospheric transmittance: distance models, grid indices, both tau table
// layouts (readers with and without the header marker), the tau file on a
// temporary file of random length, and the humidity recalculation.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz_input.h"

using radimo::fuzz::Camera;
using radimo::fuzz::Input;

namespace {

constexpr std::size_t kTableWords = 3584;
constexpr std::size_t kHeaderWords = 128;

// One temporary file for the whole run, removed at exit.
const std::string &tau_file() {
    static const std::string path = [] {
        char name[] = "/tmp/radimo_fuzz_tau_XXXXXX";
        const int fd = mkstemp(name);
        if (fd < 0) std::abort();
        close(fd);
        return std::string(name);
    }();
    static const bool removed_at_exit = std::atexit([] { std::remove(tau_file().c_str()); }) == 0;
    (void)removed_at_exit;
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    Input in(data, size);
    radimo::fuzz::set_up_logging(in);
    const Camera &camera = Camera::get();
    std::vector<uint16_t> env = in.chance(80) ? camera.env_tau : in.values<uint16_t>(kTableWords);
    // A target-temperature table, with the 256-byte header in front of it some of the time.
    std::vector<uint16_t> target = in.values<uint16_t>(kHeaderWords + kTableWords);
    if (in.chance(50)) target[2] = target[3] = 0xFFFF;
    const std::string &file = tau_file();
    if (truncate(file.c_str(), 2 * in.in<off_t>(0, 100)) != 0) std::abort();

    for (int call = 0; call < radimo::fuzz::kCallsPerInput && !in.empty(); ++call) {
        const env_correct_param_t s = radimo::fuzz::scene(in);
        uint16_t u16 = 0;
        float value = 0;
        switch (in.in<int>(0, 10)) {
            case 0:
                distance_calculate(in.any<uint16_t>());
                new_distance_calculate(in.any<uint16_t>());
                calculate_tau(in.any<uint16_t>(), in.any<uint16_t>(), in.any<uint16_t>(), in.any<uint16_t>());
                break;
            case 1:
                if (in.chance(50)) {
                    generate_distance_table();
                } else {
                    generate_new_distance_table();
                }
                break;
            case 2:
                get_hum_index(in.ptr(&u16), s.hum);
                get_temp_write_index(in.ptr(&u16), s.ta);
                get_temp_read_index(in.ptr(&u16), s.ta);
                get_dist_write_index(in.ptr(&u16), s.dist);
                get_dist_read_index(in.ptr(&u16), s.dist);
                get_target_temp_write_index(in.ptr(&u16), in.real(240.0f, 1630.0f));
                get_target_temp_read_index(in.ptr(&u16), in.real(240.0f, 1630.0f));
                break;
            case 3:
                write_tau(in.ptr(env.data()), in.any<int>(), s.hum, s.ta, s.dist);
                read_tau(in.ptr(env.data()), in.ptr(&u16), s.hum, s.ta, s.dist);
                break;
            case 4: {
                const float celsius = in.real(-30.0f, 1360.0f);
                write_tau_with_target_temp_and_dist(in.ptr(target.data()), in.any<int>(), celsius, s.dist);
                read_tau_with_target_temp_and_dist(in.ptr(target.data()), in.ptr(&u16), celsius, s.dist);
                break;
            }
            case 5: {
                const int index = in.chance(80) ? in.in<int>(-2, 120) : in.any<int>();
                tau_data_write(file.c_str(), index, in.any<int>());
                tau_data_read(file.c_str(), in.chance(80) ? in.in<int>(-2, 120) : in.any<int>(),
                              in.ptr(&u16));
                break;
            }
            case 6: {
                const char *names[] = {"/nonexistent/radimo", "/tmp", "/dev/full", nullptr};
                const char *name = names[in.pick(std::size(names))];
                tau_data_read(name, in.any<int>(), in.ptr(&u16));
                tau_data_write(name, in.in<int>(0, 8), in.any<int>());
                break;
            }
            case 7:
                calculate_vapor_pressure(in.mostly<uint16_t>(0, 4), in.ptr(&value), s.hum, s.ta);
                calculate_coef(in.mostly<uint16_t>(0, 4), in.ptr(&value), in.real(200.0f, 1900.0f));
                recalc_tau(in.mostly<uint16_t>(0, 4), in.any<uint16_t>(), in.ptr(&u16), s.dist,
                           in.real(-1.0f, 1.0f), in.real(0.0f, 8000.0f));
                break;
            case 8:
                recalc_tau_with_hum_version(in.ptr(&s), in.mostly<uint16_t>(0, 4),
                                            in.mostly<uint16_t>(8000, 16384), in.ptr(&u16),
                                            in.real(200.0f, 1900.0f));
                break;
            default: {
                correct_table_t t{};
                t.hum_enable = in.in<uint16_t>(0, 2);
                t.hum_version = in.mostly<uint16_t>(0, 4);
                t.tau_data = env.data();
                recalc_tau_under_influence_of_hum(in.ptr(&t), in.ptr(&s), in.mostly<uint16_t>(8000, 16384),
                                                  in.ptr(&u16), in.real(200.0f, 1900.0f));
                break;
            }
        }
    }
    return 0;
}
