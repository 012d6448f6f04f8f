// Environment-parameter dispatchers: the reflected-temperature switch and the failure chains.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "libradimo.h"
#include "support/log_capture.h"

using ::testing::ElementsAre;

namespace {

correct_table_t table_with(uint16_t enable, uint16_t version) {
    correct_table_t t{};
    t.reflected_tmp_enable = enable;
    t.reflected_tmp_version = version;
    return t;
}

class EnvParamDispatch : public radimo::test::LoggedTest {};

TEST_F(EnvParamDispatch, ReflectedSwitchPicksTheMember) {
    const correct_table_t on = table_with(1, 1), off = table_with(2, 1);  // only 1 counts as on
    float got[4] = {}, want[4] = {};
    ASSERT_EQ(temp_correct_with_env_param(&on, 12000, &got[0], 0.9f, 20.0f, 80.0f, 350.0f), RADIMO_SUCCESS);
    ASSERT_EQ(temp_correct_with_env_param(&off, 12000, &got[1], 0.9f, 20.0f, 80.0f, 350.0f), RADIMO_SUCCESS);
    ASSERT_EQ(reverse_temp_correct_with_env_param(&on, 12000, &got[2], 0.9f, 20.0f, 80.0f, 350.0f), 0);
    ASSERT_EQ(reverse_temp_correct_with_env_param(&off, 12000, &got[3], 0.9f, 20.0f, 80.0f, 350.0f), 0);
    temp_correct_with_reflected_temp_kelvin(12000, &want[0], 0.9f, 20.0f, 80.0f, 350.0f);
    temp_correct_kelvin(12000, &want[1], 0.9f, 20.0f, 350.0f);
    reverse_temp_correct_with_reflected_temp_kelvin(12000, &want[2], 0.9f, 20.0f, 80.0f, 350.0f);
    reverse_temp_correct_kelvin(12000, &want[3], 0.9f, 20.0f, 350.0f);
    EXPECT_THAT(got, ElementsAre(want[0], want[1], want[2], want[3]));
    EXPECT_NE(got[0], got[1]);
    float back = 0.0f;  // round trip through both dispatchers
    ASSERT_EQ(temp_correct_with_env_param(&on, 12000, &back, 0.9f, 20.0f, 80.0f, got[2]), RADIMO_SUCCESS);
    EXPECT_NEAR(back, 350.0f, 1e-3);
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(EnvParamDispatch, FailureChains) {
    const correct_table_t plain = table_with(0, 0), reflected = table_with(1, 1), mismatch = table_with(1, 0);
    float r = 5.0f;
    EXPECT_EQ(temp_correct_with_env_param(&mismatch, 0, &r, 0.0f, 20.0f, 20.0f, 300.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_temp_correct_with_env_param(&mismatch, 0, &r, 0.0f, 20.0f, 20.0f, 300.0f),
              RADIMO_ERR_PARAM);
    const std::string text =
        "correction table mismatch between reflected tmp enable and reflected tmp version\n";
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/temp_correct_with_env_param: " + text,
                            "src/temp_correct/reverse_temp_correct_with_env_param: " + text));
    log.clear();
    EXPECT_EQ(temp_correct_with_env_param(&plain, 16384, &r, 0.0f, 20.0f, 20.0f, 300.0f),
              RADIMO_ERR_TEMP_CORRECT);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/temp_correct_kelvin: ems=0.000000\n\n",
                            "src/temp_correct/temp_correct_kelvin: tau=16384\n\n",
                            "src/temp_correct/temp_correct_kelvin: data is invalid\n",
                            "src/temp_correct/temp_correct_with_env_param: temp_correct_kelvin failed\n"));
    log.clear();
    EXPECT_EQ(temp_correct_with_env_param(&reflected, 0, &r, 0.5f, 20.0f, 20.0f, 300.0f),
              RADIMO_ERR_TEMP_CORRECT);
    EXPECT_EQ(log.error_texts().back(), "temp_correct_tu failed\n");
    log.clear();
    EXPECT_EQ(reverse_temp_correct_with_env_param(&plain, 0, &r, 0.5f, 20.0f, 20.0f, 300.0f),
              RADIMO_ERR_REVERSE_TEMP_CORRECT);
    EXPECT_THAT(
        log.error_trace(),
        ElementsAre("src/temp_correct/reverse_temp_correct_kelvin: data is invalid\n",
                    "src/temp_correct/reverse_temp_correct_with_env_param: reverse_temp_correct failed\n"));
    log.clear();
    EXPECT_EQ(reverse_temp_correct_with_env_param(&reflected, 0, &r, 0.5f, 20.0f, 20.0f, 300.0f),
              RADIMO_ERR_REVERSE_TEMP_CORRECT);
    EXPECT_THAT(log.error_texts(), ElementsAre("ems=0.500000\n\n", "tau=0\n\n", "data is invalid\n",
                                               "reverse_temp_correct_with_reflected_temp failed\n"));
    log.clear();
    EXPECT_EQ(temp_correct_with_env_param(nullptr, 16384, &r, 1.0f, 20.0f, 20.0f, 300.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(temp_correct_with_env_param(&plain, 16384, nullptr, 1.0f, 20.0f, 20.0f, 300.0f),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_temp_correct_with_env_param(nullptr, 16384, &r, 1.0f, 20.0f, 20.0f, 300.0f),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(reverse_temp_correct_with_env_param(&plain, 1, nullptr, 1.0f, 20.0f, 20.0f, 300.0f),
              RADIMO_ERR_PARAM);
    EXPECT_EQ(log.error_texts(), std::vector<std::string>(4, "data is NULL\n"));
    EXPECT_EQ(r, 5.0f);
}

}  // namespace
