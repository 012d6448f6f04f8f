// KT/BT drift correction: index from vtemp, forward and reverse correction
// of both array lengths, measurement through a NUC table, and the
// coefficients of the double-point rewrite, with random records, arrays and
// readings including zero and negative gains.
#include "fuzz_input.h"

using radimo::fuzz::Camera;
using radimo::fuzz::Input;

namespace {

template <typename T>
std::vector<T> array(Input &in, const std::vector<T> &plausible, std::size_t n) {
    std::vector<T> a(plausible.begin(), plausible.begin() + std::min(n, plausible.size()));
    a.resize(n);
    if (in.chance(20)) a = in.values<T>(n);
    if (in.chance(10)) a[in.pick(n)] = 0;  // a zero gain somewhere
    return a;
}

second_cal_temp_param_t line(Input &in) {
    return {in.real(20.0f, 120.0f), in.real(-2000.0f, 6000.0f),  in.any<uint16_t>(),
            in.any<uint16_t>(),     in.mostly<int32_t>(0, 1300), in.mostly<int32_t>(0, 1300)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    Input in(data, size);
    radimo::fuzz::set_up_logging(in);
    const Camera &camera = Camera::get();
    const std::vector<uint16_t> kt = array(in, camera.kt, Camera::kEntries);
    const std::vector<int16_t> bt = array(in, camera.bt, Camera::kEntries);
    const std::vector<uint16_t> kt3 = array(in, camera.kt, Camera::kEntriesV3);
    const std::vector<int16_t> bt3 = array(in, camera.bt, Camera::kEntriesV3);

    for (int call = 0; call < radimo::fuzz::kCallsPerInput && !in.empty(); ++call) {
        second_calib_param_t record = radimo::fuzz::calib_record(in);
        const uint16_t vtemp = radimo::fuzz::vtemp(in);
        const uint32_t nuc = in.mostly<uint32_t>(0, 16383);
        uint16_t out = 0;
        int index = 0;
        ktbt_correct_param_t param{record.K_Temp, record.B_Temp, record.Address_CA,
                                   kt.data(),     bt.data(),     vtemp};
        switch (in.in<int>(0, 6)) {
            case 0:
                calculate_ktbt_index_according_vtemp_in_change_lens(in.chance(80) ? vtemp : in.any<int>(),
                                                                    in.ptr(&record), &index);
                break;
            case 1:
                ktbt_correct_process(in.ptr(&param), nuc, &out);
                temp_measure_with_NUC_value(&param, camera.nuc_table.data(), nuc, in.ptr(&out));
                break;
            case 2:
                param.kt_array = kt3.data(), param.bt_array = bt3.data();
                ktbt_correct_process_with_version3(in.ptr(&param), nuc, in.ptr(&out));
                break;
            case 3:
                reverse_ktbt_correct(in.ptr(&record), in.ptr(kt.data()), in.ptr(bt.data()), nullptr,
                                     in.chance(80) ? vtemp : in.any<int>(), nuc, &out);
                break;
            case 4: {
                // Arrays as long as the record says the index may reach.
                const std::size_t n = record.ktbt_index_len == 0 ? 1 : record.ktbt_index_len;
                const std::vector<uint16_t> k = array(in, camera.kt, n);
                const std::vector<int16_t> b = array(in, camera.bt, n);
                reverse_ktbt_correct_with_version3(in.ptr(&record), in.ptr(k.data()), in.ptr(b.data()),
                                                   nullptr, in.chance(80) ? vtemp : in.any<int>(), nuc,
                                                   in.ptr(&out));
                break;
            }
            case 5: {
                const std::size_t n =
                    record.ktbt_array_len != 0 ? record.ktbt_array_len : record.ktbt_index_len;
                const std::vector<uint16_t> k = array(in, camera.kt, n == 0 ? 1 : n);
                const std::vector<int16_t> b = array(in, camera.bt, n == 0 ? 1 : n);
                const second_cal_temp_param_t before_ktbt = line(in), before_nuct = line(in),
                                              actual = line(in);
                float coefficients[4] = {};
                KcBc_KdBd_calculate(in.ptr(&before_ktbt), in.ptr(&before_nuct), in.ptr(&actual),
                                    in.ptr(&record), in.ptr(k.data()), in.ptr(b.data()),
                                    in.ptr(coefficients));
                break;
            }
            default:
                temp_measure_with_NUC_value(&param, in.ptr(camera.nuc_table.data()), nuc, &out);
                break;
        }
    }
    return 0;
}
