// Grey-body correction members (worked values, failure paths, round trips) and the
// environment-parameter dispatchers that pick them.
#include <limits>

#include "support/prelude.h"

namespace {

// Every member called with a reflected temperature; the plain ones ignore it.
using Member = int (*)(uint16_t, float *, float, float, float, float);
#define IGNORING_TU(fn) \
    [](uint16_t tau, float *r, float e, float ta, float, float t) { return fn(tau, r, e, ta, t); }
struct Pair {
    const char *forward_name, *reverse_name;
    Member forward, reverse;
    bool kelvin, reverse_one_line;  // the plain reverse members print only "data is invalid"
};
const Pair kPairs[] = {
    {"temp_correct", "reverse_temp_correct", IGNORING_TU(temp_correct), IGNORING_TU(reverse_temp_correct),
     false, true},
    {"temp_correct_with_reflected_temp", "reverse_temp_correct_with_reflected_temp",
     temp_correct_with_reflected_temp, reverse_temp_correct_with_reflected_temp, false, false},
    {"temp_correct_kelvin", "reverse_temp_correct_kelvin", IGNORING_TU(temp_correct_kelvin),
     IGNORING_TU(reverse_temp_correct_kelvin), true, true},
    {"temp_correct_with_reflected_temp_kelvin", "reverse_temp_correct_with_reflected_temp_kelvin",
     temp_correct_with_reflected_temp_kelvin, reverse_temp_correct_with_reflected_temp_kelvin, true, false},
};

std::vector<std::string> failure_lines(const std::string &fn, const char *ems, const char *tau,
                                       bool one_line) {
    const std::string at = "src/temp_correct/" + fn + ": ";
    if (one_line) return {at + "data is invalid\n"};
    return {at + "ems=" + ems + "\n\n", at + "tau=" + tau + "\n\n", at + "data is invalid\n"};
}

class GreyBody : public radimo::test::LoggedTest {};

TEST_F(GreyBody, WorkedValues) {
    float r = 0.0f;
    for (float ta : {-40.0f, 25.0f, 90.0f}) {  // a black body in vacuum reads its apparent temperature
        ASSERT_EQ(temp_correct(16384, &r, 1.0f, ta, 36.6f), RADIMO_SUCCESS);
        EXPECT_NEAR(r, 36.6f, 1e-4);
    }
    // Colder than its surroundings: the radicand is clamped to 0, no failure.
    ASSERT_EQ(temp_correct(16384, &r, 0.5f, 50.0f, -20.0f), RADIMO_SUCCESS);
    EXPECT_EQ(r, static_cast<float>(0.0f - 273.15));
    ASSERT_EQ(temp_correct_with_reflected_temp_kelvin(16384, &r, 0.5f, 50.0f, 50.0f, 253.15f),
              RADIMO_SUCCESS);
    EXPECT_EQ(r, 0.0f);
    // Only the apparent kelvin value is rounded to float before its power, and the divisor
    // tau * ems is a single-precision product: either width in double moves this result.
    ASSERT_EQ(temp_correct_with_reflected_temp(2499, &r, 0.688f, 4.5f, 26.25f, 164.55f), RADIMO_SUCCESS);
    EXPECT_EQ(r, 465.772919f);
    // The reverse members do not clamp: ems beyond its range gives NaN.
    ASSERT_EQ(reverse_temp_correct(16384, &r, 2.0f, 50.0f, -50.0f), RADIMO_SUCCESS);
    EXPECT_TRUE(std::isnan(r));
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(GreyBody, FailurePathOfEveryMember) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const Pair &p : kPairs) {
        SCOPED_TRACE(p.forward_name);
        float r = 7.0f;
        log.clear();
        // float(0.0001) lies below the double floor and is refused.
        EXPECT_EQ(p.forward(16384, &r, 0.0001f, 20.0f, 20.0f, 300.0f), RADIMO_ERR_PARAM);
        EXPECT_EQ(p.reverse(16384, &r, 0.0001f, 20.0f, 20.0f, 300.0f), RADIMO_ERR_PARAM);
        auto expected = failure_lines(p.forward_name, "0.000100", "16384", false);
        for (auto &line : failure_lines(p.reverse_name, "0.000100", "16384", p.reverse_one_line)) {
            expected.push_back(line);
        }
        EXPECT_EQ(log.error_trace(), expected);
        for (Member m : {p.forward, p.reverse}) {
            EXPECT_EQ(m(0, &r, 0.9f, 20.0f, 20.0f, 300.0f), RADIMO_ERR_PARAM);
            // NULL is refused by all eight, the kelvin forward members included.
            EXPECT_EQ(m(100, nullptr, 0.9f, 20.0f, 20.0f, 300.0f), RADIMO_ERR_PARAM);
        }
        EXPECT_EQ(r, 7.0f);
        log.clear();
        EXPECT_EQ(p.forward(0, &r, 0.9f, 20.0f, 20.0f, 300.0f), RADIMO_ERR_PARAM);
        EXPECT_EQ(log.error_trace(), failure_lines(p.forward_name, "0.900000", "0", false));
        EXPECT_EQ(p.forward(16384, &r, 0.00010000000474974513f, 20.0f, 20.0f, 300.0f), RADIMO_SUCCESS);
        EXPECT_EQ(p.reverse(16384, &r, std::nextafter(0.0001f, 1.0f), 20.0f, 20.0f, 300.0f), RADIMO_SUCCESS);
        // A NaN ems passes the floor check and propagates.
        EXPECT_EQ(p.forward(16384, &r, nan, 20.0f, 20.0f, 300.0f), RADIMO_SUCCESS);
        EXPECT_TRUE(std::isnan(r));
        EXPECT_EQ(p.reverse(16384, &r, nan, 20.0f, 20.0f, 300.0f), RADIMO_SUCCESS);
        EXPECT_TRUE(std::isnan(r));
    }
}

TEST_F(GreyBody, ReverseThenForwardReturnsTheStartingTemperature) {
    for (const Pair &p : kPairs) {
        for (uint16_t tau : {16384, 12000, 6000}) {
            for (float ems : {0.3f, 0.7f, 0.95f, 1.0f}) {
                for (float ta : {-10.0f, 25.0f, 45.0f}) {
                    for (float tu : {-20.0f, 35.0f}) {
                        for (float target : {-15.0f, 30.0f, 150.0f, 650.0f}) {
                            const float in = p.kelvin ? target + 273.15f : target;
                            float apparent = 0.0f, back = 0.0f;
                            ASSERT_EQ(p.reverse(tau, &apparent, ems, ta, tu, in), RADIMO_SUCCESS);
                            ASSERT_EQ(p.forward(tau, &back, ems, ta, tu, apparent), RADIMO_SUCCESS);
                            // Rounding grows as tau * ems shrinks.
                            EXPECT_NEAR(back, in, 2e-6 * (target + 273.15) / (tau / 16384.0 * ems))
                                << p.forward_name << " " << tau << " " << ems << " " << ta << " " << tu;
                        }
                    }
                }
            }
        }
    }
}

TEST_F(GreyBody, KelvinAndReflectedMembersAgreeWithThePlainOne) {
    float c = 0.0f, k = 0.0f, rc = 0.0f, hot = 0.0f;
    ASSERT_EQ(temp_correct(12000, &c, 0.85f, 22.0f, 95.0f), RADIMO_SUCCESS);
    ASSERT_EQ(temp_correct_kelvin(12000, &k, 0.85f, 22.0f, 368.15f), RADIMO_SUCCESS);
    ASSERT_EQ(temp_correct_with_reflected_temp(12000, &rc, 0.85f, 22.0f, 22.0f, 95.0f), RADIMO_SUCCESS);
    ASSERT_EQ(temp_correct_with_reflected_temp(12000, &hot, 0.85f, 22.0f, 200.0f, 95.0f), RADIMO_SUCCESS);
    EXPECT_NEAR(k - 273.15f, c, 1e-3);
    EXPECT_NEAR(rc, c, 1e-3);
    EXPECT_GT(c, 95.0f);  // a grey body seen through air is hotter than it looks
    EXPECT_LT(hot, c);    // a hot reflected surrounding explains part of the reading
}

correct_table_t table_with(uint16_t enable, uint16_t version) {
    correct_table_t t{};
    t.reflected_tmp_enable = enable;
    t.reflected_tmp_version = version;
    return t;
}

TEST_F(GreyBody, DispatchersFollowTheReflectedSwitch) {
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
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(GreyBody, DispatchersAddTheirLineAfterTheMember) {
    const correct_table_t plain = table_with(0, 0), reflected = table_with(1, 1), mismatch = table_with(1, 0);
    float r = 5.0f;
    const auto fwd = [&](const correct_table_t *t, uint16_t tau, float ems, float *out) {
        return temp_correct_with_env_param(t, tau, out, ems, 20.0f, 20.0f, 300.0f);
    };
    const auto rev = [&](const correct_table_t *t, uint16_t tau, float ems, float *out) {
        return reverse_temp_correct_with_env_param(t, tau, out, ems, 20.0f, 20.0f, 300.0f);
    };
    EXPECT_EQ(fwd(&mismatch, 0, 0.0f, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(rev(&mismatch, 0, 0.0f, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(fwd(&plain, 16384, 0.0f, &r), RADIMO_ERR_TEMP_CORRECT);
    EXPECT_EQ(fwd(&reflected, 0, 0.5f, &r), RADIMO_ERR_TEMP_CORRECT);
    EXPECT_EQ(rev(&plain, 0, 0.5f, &r), RADIMO_ERR_REVERSE_TEMP_CORRECT);
    EXPECT_EQ(rev(&reflected, 0, 0.5f, &r), RADIMO_ERR_REVERSE_TEMP_CORRECT);
    EXPECT_EQ(fwd(nullptr, 16384, 1.0f, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(fwd(&plain, 16384, 1.0f, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(rev(nullptr, 16384, 1.0f, &r), RADIMO_ERR_PARAM);
    EXPECT_EQ(rev(&plain, 1, 1.0f, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(r, 5.0f);
    const std::string
        at = "src/temp_correct/",
        f = at + "temp_correct_with_env_param: ", v = at + "reverse_temp_correct_with_env_param: ",
        mismatched = "correction table mismatch between reflected tmp enable and reflected tmp version\n";
    std::vector<std::string> want = {f + mismatched, v + mismatched};
    for (const auto &line : failure_lines("temp_correct_kelvin", "0.000000", "16384", false))
        want.push_back(line);
    want.push_back(f + "temp_correct_kelvin failed\n");
    for (const auto &line : failure_lines("temp_correct_with_reflected_temp_kelvin", "0.500000", "0", false))
        want.push_back(line);
    want.insert(want.end(),
                {f + "temp_correct_tu failed\n", at + "reverse_temp_correct_kelvin: data is invalid\n",
                 v + "reverse_temp_correct failed\n"});
    for (const auto &line :
         failure_lines("reverse_temp_correct_with_reflected_temp_kelvin", "0.500000", "0", false))
        want.push_back(line);
    want.insert(want.end(), {v + "reverse_temp_correct_with_reflected_temp failed\n", f + "data is NULL\n",
                             f + "data is NULL\n", v + "data is NULL\n", v + "data is NULL\n"});
    EXPECT_EQ(log.error_trace(), want);
}

}  // namespace
