#include "support/simulated_camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tau_model.h"

namespace radimo::test {
namespace {

namespace model = radimo::tau_model;

constexpr int16_t kKTemp = 4096;  // vtemp / 4
constexpr int16_t kBTemp = -500;
constexpr uint16_t kAddressCa = 999;

// Raw correction table: version-3 grid (target temperature x distance),
// emissivity and humidity corrections off.
constexpr model::RawHeader kRawHeader{0, 300, 0, 0, 0, 0, 0, 0, 0, 0};

bool enhanced(uint32_t mode) {
    return mode >= 4 && mode <= 7;
}
bool env_factor_mode(uint32_t mode) {
    return mode <= 3;
}

float celsius_of(uint16_t sixteenths) {
    return static_cast<float>(sixteenths / 16.0 - 273.15);
}

}  // namespace

SimulatedCamera::SimulatedCamera(int variant)
    : factory_table(kTableEntries),
      env_tau(model::kEnvTableSize),
      raw_table(model::raw_table_size(model::TargetLayout::kV3)),
      kt_true(kEntries),
      bt_true(kEntries) {
    EXPECT_EQ(generate_high_gain_nuc_t(&kHighGain, factory_table.data()), RADIMO_SUCCESS);
    nuc_table = factory_table;
    model::fill_env_table(env_tau.data());
    model::fill_raw_correction_table(model::TargetLayout::kV3, kRawHeader, raw_table.data());
    for (int i = 0; i < kEntries; ++i) {
        const double x = static_cast<double>(i) / (kEntries - 1);
        kt_true[i] = static_cast<uint16_t>(std::lround(16384.0 * (0.95 + 0.1 * x + 0.01 * variant)));
        bt_true[i] = static_cast<int16_t>(std::lround(120.0 * std::sin(5.0 * x + variant) - 10.0 * variant));
    }
    kt = kt_true;
    bt = bt_true;
}

second_calib_param_t SimulatedCamera::calib_param() const {
    second_calib_param_t p{};
    p.K_Temp = kKTemp;
    p.B_Temp = kBTemp;
    p.Address_CA = kAddressCa;
    p.ktbt_array_len = kEntries;
    p.ktbt_index_len = kEntries;
    p.nuc_table_len = kTableEntries;
    return p;
}

uint16_t *SimulatedCamera::correct_table(uint32_t mode) {
    return enhanced(mode) ? raw_table.data() : env_tau.data();
}

multi_point_calib_array_t SimulatedCamera::calib_arrays(uint32_t mode) {
    return {kt.data(), bt.data(), nuc_table.data(), correct_table(mode), 0};
}

second_calib_param_t SimulatedCamera::blackbody_record(const Blackbody &low, const Blackbody &high,
                                                       const env_correct_param_t &low_scene,
                                                       const env_correct_param_t &high_scene,
                                                       uint32_t mode) const {
    second_calib_param_t p = calib_param();
    p.low_vtemp = low.vtemp;
    p.high_vtemp = high.vtemp;
    p.actual_low_celsius = apparent_reading(raw_of(low.celsius, low.vtemp, low_scene, mode), low.vtemp);
    p.actual_high_celsius = apparent_reading(raw_of(high.celsius, high.vtemp, high_scene, mode), high.vtemp);
    p.target_low_celsius = low.celsius;
    p.target_high_celsius = high.celsius;
    return p;
}

std::vector<uint16_t> SimulatedCamera::working_copy() const {
    std::vector<uint16_t> copy(16384, nuc_table[kTableEntries - 1]);
    std::copy_n(nuc_table.begin(), kTableEntries, copy.begin());
    return copy;
}

void SimulatedCamera::drift(double gain_error, int offset_error) {
    for (int i = 0; i < kEntries; ++i) {
        kt[i] = static_cast<uint16_t>(std::lround(kt[i] * (1.0 + gain_error)));
        bt[i] = static_cast<int16_t>(bt[i] + offset_error);
    }
}

void SimulatedCamera::install(const std::vector<uint16_t> &new_kt, const std::vector<int16_t> &new_bt) {
    std::copy_n(new_kt.begin(), kEntries, kt.begin());
    std::copy_n(new_bt.begin(), kEntries, bt.begin());
}

void SimulatedCamera::install_nuc_table(const uint16_t *table) {
    std::copy_n(table, kTableEntries, nuc_table.begin());
}

env_factor_t SimulatedCamera::env_factor(const env_correct_param_t &scene,
                                         const std::vector<uint16_t> &table) const {
    env_factor_t f{};
    EXPECT_EQ(calc_env_factor_with_dist_and_env_temp(&scene, env_tau.data(), table.data(), &f),
              RADIMO_SUCCESS);
    return f;
}

uint16_t SimulatedCamera::ideal_nuc(float apparent_celsius) const {
    uint16_t nuc = 0;
    EXPECT_EQ(reverse_calc_NUC_with_nuc_t(factory_table.data(), &nuc, apparent_celsius), RADIMO_SUCCESS);
    return nuc;
}

uint16_t SimulatedCamera::raw_of(float celsius, uint16_t vtemp, const env_correct_param_t &scene,
                                 uint32_t mode) const {
    uint16_t nuc = 0;
    if (enhanced(mode)) {
        float apparent = celsius;
        EXPECT_EQ(reverse_enhance_distance_temp_correct(&scene, raw_table.data(), 0, &apparent, celsius),
                  RADIMO_SUCCESS);
        nuc = ideal_nuc(apparent);
    } else if (env_factor_mode(mode)) {
        const env_factor_t f = env_factor(scene, factory_table);
        EXPECT_EQ(reverse_calc_NUC_without_env_correct(&f, ideal_nuc(celsius), &nuc), RADIMO_SUCCESS);
    } else {
        nuc = ideal_nuc(celsius);
    }
    const second_calib_param_t p = calib_param();
    const int index =
        std::clamp(((vtemp * p.K_Temp + 8192) >> 14) + p.B_Temp - p.Address_CA - 1, 0, kEntries - 1);
    const double bare = (nuc - bt_true[index]) * 16384.0 / kt_true[index];
    const double raw = lens_.transmission * bare + lens_.offset +
                       lens_.curvature * (bare - 8192.0) * (bare - 8192.0) / 8192.0;
    return static_cast<uint16_t>(std::clamp(std::lround(raw), 0L, 65535L));
}

uint16_t SimulatedCamera::corrected_nuc(uint16_t raw, uint16_t vtemp) const {
    const second_calib_param_t p = calib_param();
    const ktbt_correct_param_t k{p.K_Temp, p.B_Temp, p.Address_CA, kt.data(), bt.data(), vtemp};
    uint16_t nuc = 0;
    EXPECT_EQ(ktbt_correct_process(&k, raw, &nuc), RADIMO_SUCCESS);
    return nuc;
}

float SimulatedCamera::apparent_reading(uint16_t raw, uint16_t vtemp) const {
    uint16_t temp = 0;
    EXPECT_EQ(remap_temp(nuc_table.data(), corrected_nuc(raw, vtemp), &temp), RADIMO_SUCCESS);
    return celsius_of(temp);
}

float SimulatedCamera::report(uint16_t raw, uint16_t vtemp, const env_correct_param_t &scene,
                              uint32_t mode) const {
    if (env_factor_mode(mode)) {
        const env_factor_t f = env_factor(scene, nuc_table);
        uint16_t object_nuc = 0;
        uint16_t temp = 0;
        EXPECT_EQ(recalc_NUC_with_env_correct(&f, corrected_nuc(raw, vtemp), &object_nuc), RADIMO_SUCCESS);
        EXPECT_EQ(remap_temp(nuc_table.data(), object_nuc, &temp), RADIMO_SUCCESS);
        return celsius_of(temp);
    }
    const float apparent = apparent_reading(raw, vtemp);
    if (!enhanced(mode)) return apparent;
    float object = apparent;
    EXPECT_EQ(enhance_distance_temp_correct(&scene, raw_table.data(), 0, &object, apparent), RADIMO_SUCCESS);
    return object;
}

}  // namespace radimo::test
