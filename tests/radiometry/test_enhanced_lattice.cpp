// Precomputed-temperature tables: slot lookups, the builder and both frame variants.
#include <random>

#include "radiometry/enhanced_distance.h"
#include "support/prelude.h"

namespace {
namespace model = radimo::tau_model;
using radimo::radiometry::lattice_slot;
using radimo::radiometry::lattice_temp;
using radimo::test::raw_table;

constexpr int kSlots = RADIMO_PRECOMPUTED_TEMP_SLOTS;

const env_correct_param_t kScene{25.0f, 0.93f, 0.7f, 22.0f, 35.0f}, kFar{1000.5f, 0.9f, 0.5f, 20, 20};
const std::vector<uint16_t> kRaw = raw_table(model::TargetLayout::kV3, {0, 272, 1, 3, 0, 0, 0, 0, 1, 1});
const std::vector<uint16_t> kBadReflected =
    raw_table(model::TargetLayout::kV3, {0, 300, 0, 0, 0, 0, 0, 0, 1, 0});

float single(float apparent) {
    float out = 0.0f;
    EXPECT_EQ(enhance_distance_temp_correct(&kScene, kRaw.data(), 0, &out, apparent), RADIMO_SUCCESS);
    return out;
}

class Lattice : public radimo::test::LoggedTest {};

TEST_F(Lattice, LookupsIndexTheirSlots) {
    std::vector<float> table(kSlots);
    std::vector<uint8_t> valid(kSlots, 1);
    for (int i = 0; i < kSlots; ++i) table[i] = static_cast<float>(i);
    float r = -1.0f;
    const auto at = [&](float t) {
        return get_precomputed_temp(&r, table.data(), valid.data(), t) == 0 ? r : -1;
    };
    const auto y14 = [&](uint16_t v) {
        return get_precomputed_temp_with_y14_temp(v, &r, table.data(), valid.data());
    };
    EXPECT_THAT((std::vector<float>{at(-100.0f), at(1000.0f), at(25.004f), at(25.006f)}),
                ElementsAre(0, 110000, 12500, 12501));  // nearest 0.01 degC slot
    for (int i = 0; i < kSlots; ++i) ASSERT_EQ(lattice_slot(lattice_temp(i)), i);
    EXPECT_TRUE(y14(2271) == 0 && r == 0.0f);
    EXPECT_TRUE(y14(13970) == 0 && r == 11699.0f);
    EXPECT_THAT(log.lines(), IsEmpty());

    r = 7.0f;
    valid[12501] = valid[11699] = 0;
    for (float t : {-100.001f, 1000.001f, 25.01f, NAN}) {
        EXPECT_EQ(get_precomputed_temp(&r, table.data(), valid.data(), t), RADIMO_ERR_PARAM);
    }
    for (uint16_t v : {2270, 13971, 13970}) EXPECT_EQ(y14(v), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_precomputed_temp(nullptr, table.data(), valid.data(), 0), RADIMO_ERR_PARAM);
    EXPECT_EQ(get_precomputed_temp_with_y14_temp(3000, &r, table.data(), nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(r, 7.0f);
    const std::string f = "src/temp_correct/get_precomputed_temp: ";
    const std::string y = "src/temp_correct/get_precomputed_temp_with_y14_temp: ";
    EXPECT_THAT(log.printed(),
                ElementsAre("error " + f + "temp is too low\n\n", "error " + f + "temp is too high\n\n",
                            "debug " + f + "precomputed_temp[12501] is invalid\n",
                            "error " + f + "temp is too high\n\n", "error " + y + "temp is too low\n\n",
                            "error " + y + "temp is too high\n\n",
                            "debug " + y + "precomputed_temp[11699] is invalid\n",
                            "error " + f + "data is NULL\n", "error " + y + "data is NULL\n"));
}

TEST_F(Lattice, BuilderFillsItsRangeWithTheSingleValueResult) {
    std::vector<float> table(kSlots, -999.0f);
    std::vector<uint8_t> valid(kSlots, 0);
    const auto build = [&](const env_correct_param_t &s, const std::vector<uint16_t> &raw, float lo, float hi,
                           uint8_t *flags) {
        return radimo_build_precomputed_temp(&s, raw.data(), lo, hi, table.data(), flags);
    };
    ASSERT_EQ(build(kScene, kRaw, 19.995f, 20.5f, valid.data()), 0);
    ASSERT_EQ(build(kScene, kRaw, -1e9f, -99.95f, valid.data()), 0);  // clamped to the lattice
    ASSERT_EQ(build(kScene, kRaw, 999.99f, 5000, valid.data()), 0);
    for (int i = 0; i < kSlots; ++i) {
        const bool in = i <= 5 || (i >= 12000 && i <= 12050) || i >= 109999;
        ASSERT_EQ(valid[i], in ? 1 : 0) << i;
        ASSERT_EQ(table[i], in ? single(lattice_temp(i)) : -999.0f) << i;
    }
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(build(kScene, kRaw, 30, 20, valid.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(build(kScene, kRaw, NAN, 20, valid.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(build(kScene, kRaw, 0, 20, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(build(kFar, kRaw, 0, 20, valid.data()), RADIMO_ERR_PARAM);
    EXPECT_EQ(build(kScene, kBadReflected, 0, 20, valid.data()), RADIMO_ERR_TEMP_CORRECT);
    const std::string b = "src/temp_correct/radimo_build_precomputed_temp: ";
    EXPECT_THAT(log.error_trace(),
                ElementsAre(b + "lowest or highest is invalid\n", b + "lowest or highest is invalid\n",
                            b + "data is NULL\n", b + "dist is invalid\n", ::testing::EndsWith("version\n"),
                            b + "first temp_correct_with_env_param failed\n"));
    EXPECT_TRUE(valid[10000] == 0 && table[10000] == -999.0f);  // the failing slot stays empty
}

TEST_F(Lattice, FloatVariantAnswersHitsAndComputesMisses) {
    std::vector<float> table(kSlots, 0.0f);
    std::vector<uint8_t> valid(kSlots, 0);
    ASSERT_EQ(radimo_build_precomputed_temp(&kScene, kRaw.data(), 20, 40, table.data(), valid.data()), 0);
    const std::vector<float> temps{25.0f, 25.003f, 39.99f, 40.02f, 19.5f, -150.0f, 1200.0f, 25.003f, 60.0f};
    std::vector<float> got(temps.size()), back(temps.size());
    const auto run = [&](const float *in, float *out, uint32_t n) {
        return enhance_distance_temp_correct_lattice(&kScene, kRaw.data(), 0, table.data(), valid.data(), in,
                                                     n, out);
    };
    ASSERT_EQ(run(temps.data(), got.data(), temps.size()), 0);
    for (size_t i = 0; i < temps.size(); ++i) {
        const bool hit = temps[i] >= 20.0f && temps[i] <= 40.0f;
        EXPECT_EQ(got[i], hit ? table[lattice_slot(temps[i])] : single(temps[i])) << temps[i];
    }
    EXPECT_TRUE(got[1] == single(25.0f) && got[1] != single(25.003f));  // a hit is the lattice value
    // One debug line for the call, none from the lookups, no error for -150 or 1200 degC.
    EXPECT_THAT(log.error_trace(), IsEmpty());
    EXPECT_THAT(log.debug_texts(), ElementsAre("get_precomputed_temp failed\n"));
    const std::vector<float> reversed(temps.rbegin(), temps.rend());  // the table is only read
    ASSERT_EQ(run(reversed.data(), back.data(), back.size()), 0);
    EXPECT_EQ(std::vector<float>(back.rbegin(), back.rend()), got);
    log.clear();
    EXPECT_EQ(run(temps.data(), nullptr, 0), RADIMO_ERR_PARAM);
    EXPECT_EQ(run(nullptr, got.data(), 0), RADIMO_ERR_PARAM);
    EXPECT_EQ(run(temps.data(), got.data(), 0), RADIMO_SUCCESS);
    EXPECT_THAT(log.error_texts(),
                ElementsAre("env_correct_param or correct_table or new_temp is invalid\n", "data is NULL\n"));
}

TEST_F(Lattice, RawVariantEqualsTheSingleValueFunctionPerPixel) {
    std::mt19937 rng(7);
    std::vector<uint16_t> values{0, 2270, 2271, 13970, 13971, 65535};
    for (int i = 0; i < 250; ++i) values.push_back(static_cast<uint16_t>(3900 + rng() % 3000));
    std::vector<uint16_t> frame(20000);
    for (auto &v : frame) v = values[rng() % values.size()];
    std::vector<float> got(frame.size(), -1.0f);
    const auto run = [&](const env_correct_param_t &s, const std::vector<uint16_t> &raw, const uint16_t *in,
                         uint32_t n) {
        return enhance_distance_raw_temp_correct_lattice(&s, raw.data(), 0, in, n, got.data());
    };
    ASSERT_EQ(run(kScene, kRaw, frame.data(), frame.size()), RADIMO_SUCCESS);
    EXPECT_THAT(log.lines(), IsEmpty());  // filling the per-call lattice is silent
    for (size_t i = 0; i < frame.size(); ++i) {
        ASSERT_EQ(got[i], single(static_cast<float>(double{frame[i] * 0.0625f} - 273.15))) << frame[i];
    }
    got.assign(frame.size(), -1.0f);
    EXPECT_EQ(run(kScene, kBadReflected, frame.data(), 5), RADIMO_ERR_TEMP_CORRECT);  // stops at the pixel
    EXPECT_EQ(got[0], -1.0f);
    EXPECT_EQ(run(kScene, kRaw, nullptr, 0), RADIMO_ERR_PARAM);
    EXPECT_EQ(run(kScene, kRaw, frame.data(), 0), RADIMO_SUCCESS);
    EXPECT_EQ(run(kFar, kRaw, frame.data(), 1), RADIMO_ERR_PARAM);
    const std::string r = "src/temp_correct/enhance_distance_raw_temp_correct_lattice: ";
    EXPECT_THAT(log.error_trace(), ElementsAre(::testing::EndsWith("version\n"),
                                               r + "first temp_correct_with_env_param failed\n",
                                               r + "data is NULL\n", r + "dist is invalid\n"));
}

}  // namespace
