// Printers, levels, version and the checked 200-byte formatting.
#include <regex>

#include "support/prelude.h"

namespace {

// Restores the printer pointers after tests that select levels.
class LevelTest : public ::testing::Test {
protected:
    void TearDown() override {
        radimo_error_print = saved_error_;
        radimo_debug_print = saved_debug_;
    }

private:
    radimo_printer_t saved_error_ = radimo_error_print, saved_debug_ = radimo_debug_print;
};

// What a failing call that emits one error line ("num is invalid") prints.
std::string provoke_error() {
    const uint16_t data[2] = {1, 2};
    uint16_t out = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(get_array_average_value(data, 2, &out), RADIMO_ERR_PARAM);
    return testing::internal::GetCapturedStdout();
}

TEST(Version, IsTheSameStaticString) {
    const char *first = radimo_version();
    EXPECT_STREQ(first, "libradimo V" RADIMO_VERSION_NUMBER);  // the project version of the build
    EXPECT_EQ(first, radimo_version());
}

TEST(ResultCodes, KeepTheirNumbersAndNamesAndSkipMinus1118) {
#define RADIMO_CODE(c) \
    { c, #c }
    const std::pair<int, std::string> all[] = {
        RADIMO_CODE(RADIMO_ERR_PARAM),          RADIMO_CODE(RADIMO_ERR_ALLOC),
        RADIMO_CODE(RADIMO_ERR_FILE),           RADIMO_CODE(RADIMO_ERR_SQUARE_ARRAY),
        RADIMO_CODE(RADIMO_ERR_AVERAGE),        RADIMO_CODE(RADIMO_ERR_HORZ_NEIGHB),
        RADIMO_CODE(RADIMO_ERR_VERT_NEIGHB),    RADIMO_CODE(RADIMO_ERR_SLOPE_NEIGHB),
        RADIMO_CODE(RADIMO_ERR_POINT_SET),      RADIMO_CODE(RADIMO_ERR_HORZ_LINE),
        RADIMO_CODE(RADIMO_ERR_VERT_LINE),      RADIMO_CODE(RADIMO_ERR_SLOPE_LINE),
        RADIMO_CODE(RADIMO_ERR_REVERSE_TEMP),   RADIMO_CODE(RADIMO_ERR_REVERSE_NUC),
        RADIMO_CODE(RADIMO_ERR_ENV_FACTOR),     RADIMO_CODE(RADIMO_ERR_KTBT_INDEX),
        RADIMO_CODE(RADIMO_ERR_KTBT_CORRECT),   RADIMO_CODE(RADIMO_ERR_KTBT_UPDATE),
        RADIMO_CODE(RADIMO_ERR_SITF_OFFSET),    RADIMO_CODE(RADIMO_ERR_HUM_INDEX),
        RADIMO_CODE(RADIMO_ERR_TEMP_INDEX),     RADIMO_CODE(RADIMO_ERR_DIST_INDEX),
        RADIMO_CODE(RADIMO_ERR_READ_EMS),       RADIMO_CODE(RADIMO_ERR_READ_TAU),
        RADIMO_CODE(RADIMO_ERR_HUM_CORRECT),    RADIMO_CODE(RADIMO_ERR_TAU_TABLE),
        RADIMO_CODE(RADIMO_ERR_TEMP_CORRECT),   RADIMO_CODE(RADIMO_ERR_REVERSE_TEMP_CORRECT),
        RADIMO_CODE(RADIMO_ERR_VAPOR_PRESSURE), RADIMO_CODE(RADIMO_ERR_RECALC_TAU),
        RADIMO_CODE(RADIMO_ERR_VERSION),        RADIMO_CODE(RADIMO_ERR_TABLE_CALC),
        RADIMO_CODE(RADIMO_ERR_REMAP)};
#undef RADIMO_CODE
    EXPECT_EQ(RADIMO_SUCCESS, 0);
    EXPECT_STREQ(radimo_result_name(RADIMO_SUCCESS), "RADIMO_SUCCESS");
    int expected = -1100;
    for (const auto &[code, name] : all) {
        if (expected == -1118) --expected;
        EXPECT_EQ(code, expected--);
        EXPECT_EQ(radimo_result_name(code), name);
    }
    EXPECT_EQ(RADIMO_ERR_REMAP, -1133);
    for (int unknown : {-1118, -1099, -1134, 1, -1})
        EXPECT_STREQ(radimo_result_name(unknown), "unknown result code") << unknown;
}

TEST_F(LevelTest, FreshLibraryIsSilentAndLevelsSelectThePrinters) {
    EXPECT_EQ(radimo_error_print, &radimo_error_void);
    EXPECT_EQ(radimo_debug_print, &radimo_debug_void);
    EXPECT_EQ(provoke_error(), "");
    const struct {
        int level;
        radimo_printer_t debug, error;
    } levels[] = {{0, radimo_debug_info, radimo_error_info},
                  {1, radimo_debug_void, radimo_error_info},
                  {2, radimo_debug_void, radimo_error_void},
                  {-1, radimo_debug_void, radimo_error_void},
                  {255, radimo_debug_void, radimo_error_void}};
    for (const auto &l : levels) {
        radimo_log_register(l.level);
        EXPECT_TRUE(radimo_debug_print == l.debug && radimo_error_print == l.error) << l.level;
    }
    EXPECT_EQ(provoke_error(), "");
    radimo_log_register(1);
    const std::string out = provoke_error();
    EXPECT_TRUE(std::regex_match(
        out,
        std::regex(R"(libradimo error \[src/libradimo:[0-9]+/get_array_average_value\] num is invalid\n)")))
        << out;
}

TEST(InfoPrinters, FormatFlushAndFillTheWhole200Bytes) {
    const std::string longest(199, 'm');  // 199 characters + terminating zero = 200 bytes
    testing::internal::CaptureStdout();
    radimo_debug_info("a=%d b=%s c=%.2f\n", 7, "x", 1.5);
    radimo_error_info("%s", longest.c_str());
    radimo_debug_void("%s", "ignored");
    radimo_error_void("%d", 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a=7 b=x c=1.50\n" + longest);
}

TEST(InfoPrintersDeathTest, OverflowAbortsInsteadOfTruncating) {
    const std::string text(200, 'm');
    EXPECT_DEATH(radimo_debug_info("%s", text.c_str()), "overflows");
    EXPECT_DEATH(radimo_error_info("%s", text.c_str()), "overflows");
}

}  // namespace
