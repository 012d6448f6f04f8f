// Printers, levels, version and the checked 200-byte formatting.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <string>

#include "libradimo.h"
#include "support/log_capture.h"

using radimo::test::LogCapture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

// Restores the printer pointers after tests that select levels.
class LevelTest : public ::testing::Test {
protected:
    void SetUp() override {
        saved_error_ = radimo_error_print;
        saved_debug_ = radimo_debug_print;
    }
    void TearDown() override {
        radimo_error_print = saved_error_;
        radimo_debug_print = saved_debug_;
    }

private:
    radimo_printer_t saved_error_ = nullptr;
    radimo_printer_t saved_debug_ = nullptr;
};

// A failing call that emits one error line ("num is invalid").
void provoke_error() {
    const uint16_t data[2] = {1, 2};
    uint16_t out = 0;
    EXPECT_EQ(get_array_average_value(data, 2, &out), RADIMO_ERR_PARAM);
}

TEST(Version, IsTheSameStaticString) {
    const char *first = radimo_version();
    EXPECT_STREQ(first, "libradimo V2.4.3");
    EXPECT_EQ(first, radimo_version());
}

TEST(ResultCodes, KeepTheirNumbersAndSkipMinus1118) {
    EXPECT_EQ(RADIMO_SUCCESS, 0);
    EXPECT_EQ(RADIMO_ERR_PARAM, -1100);
    EXPECT_EQ(RADIMO_ERR_KTBT_UPDATE, -1117);
    EXPECT_EQ(RADIMO_ERR_SITF_OFFSET, -1119);
    EXPECT_EQ(RADIMO_ERR_REMAP, -1133);
    const int all[] = {RADIMO_ERR_PARAM,          RADIMO_ERR_ALLOC,
                       RADIMO_ERR_FILE,           RADIMO_ERR_SQUARE_ARRAY,
                       RADIMO_ERR_AVERAGE,        RADIMO_ERR_HORZ_NEIGHB,
                       RADIMO_ERR_VERT_NEIGHB,    RADIMO_ERR_SLOPE_NEIGHB,
                       RADIMO_ERR_POINT_SET,      RADIMO_ERR_HORZ_LINE,
                       RADIMO_ERR_VERT_LINE,      RADIMO_ERR_SLOPE_LINE,
                       RADIMO_ERR_REVERSE_TEMP,   RADIMO_ERR_REVERSE_NUC,
                       RADIMO_ERR_ENV_FACTOR,     RADIMO_ERR_KTBT_INDEX,
                       RADIMO_ERR_KTBT_CORRECT,   RADIMO_ERR_KTBT_UPDATE,
                       RADIMO_ERR_SITF_OFFSET,    RADIMO_ERR_HUM_INDEX,
                       RADIMO_ERR_TEMP_INDEX,     RADIMO_ERR_DIST_INDEX,
                       RADIMO_ERR_READ_EMS,       RADIMO_ERR_READ_TAU,
                       RADIMO_ERR_HUM_CORRECT,    RADIMO_ERR_TAU_TABLE,
                       RADIMO_ERR_TEMP_CORRECT,   RADIMO_ERR_REVERSE_TEMP_CORRECT,
                       RADIMO_ERR_VAPOR_PRESSURE, RADIMO_ERR_RECALC_TAU,
                       RADIMO_ERR_VERSION,        RADIMO_ERR_TABLE_CALC,
                       RADIMO_ERR_REMAP};
    int expected = -1100;
    for (int code : all) {
        if (expected == -1118) --expected;
        EXPECT_EQ(code, expected);
        --expected;
    }
}

TEST_F(LevelTest, FreshLibraryIsSilent) {
    // The initial printers are the silent sinks.
    EXPECT_EQ(radimo_error_print, &radimo_error_void);
    EXPECT_EQ(radimo_debug_print, &radimo_debug_void);
    testing::internal::CaptureStdout();
    provoke_error();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(LevelTest, LevelsSelectThePrinters) {
    radimo_log_register(0);
    EXPECT_EQ(radimo_debug_print, &radimo_debug_info);
    EXPECT_EQ(radimo_error_print, &radimo_error_info);
    radimo_log_register(1);
    EXPECT_EQ(radimo_debug_print, &radimo_debug_void);
    EXPECT_EQ(radimo_error_print, &radimo_error_info);
    for (int level : {2, -1, 255}) {
        radimo_log_register(level);
        EXPECT_EQ(radimo_debug_print, &radimo_debug_void) << level;
        EXPECT_EQ(radimo_error_print, &radimo_error_void) << level;
    }
}

TEST_F(LevelTest, ErrorsGoToStandardOutputWithThePrefix) {
    radimo_log_register(1);
    testing::internal::CaptureStdout();
    provoke_error();
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(std::regex_match(
        out,
        std::regex(R"(libradimo error \[src/libradimo:[0-9]+/get_array_average_value\] num is invalid\n)")))
        << out;
}

TEST_F(LevelTest, SilencedLevelsPrintNothing) {
    radimo_log_register(2);
    testing::internal::CaptureStdout();
    provoke_error();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(InfoPrinters, FormatAndFlush) {
    testing::internal::CaptureStdout();
    radimo_debug_info("a=%d b=%s c=%.2f\n", 7, "x", 1.5);
    radimo_error_info("%s", "tail");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a=7 b=x c=1.50\ntail");
}

TEST(InfoPrinters, LongestMessageFitsTheBuffer) {
    const std::string text(199, 'm');  // 199 characters + terminating zero = 200 bytes
    testing::internal::CaptureStdout();
    radimo_error_info("%s", text.c_str());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), text);
}

TEST(InfoPrintersDeathTest, OverflowAbortsInsteadOfTruncating) {
    const std::string text(200, 'm');
    EXPECT_DEATH(radimo_debug_info("%s", text.c_str()), "overflows");
    EXPECT_DEATH(radimo_error_info("%s", text.c_str()), "overflows");
}

TEST(InfoPrinters, VoidSinksIgnoreEverything) {
    testing::internal::CaptureStdout();
    radimo_debug_void("%s", "ignored");
    radimo_error_void("%d", 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(LogCaptureFixture, SplitsThePrefixAndRestoresPrinters) {
    const radimo_printer_t before = radimo_error_print;
    {
        LogCapture log;
        provoke_error();
        ASSERT_EQ(log.errors().size(), 1u);
        EXPECT_EQ(log.errors()[0].module, "src/libradimo");
        EXPECT_EQ(log.errors()[0].function, "get_array_average_value");
        EXPECT_GT(log.errors()[0].line, 0);
        EXPECT_THAT(log.error_texts(), ElementsAre("num is invalid\n"));
        EXPECT_THAT(log.debug_texts(), IsEmpty());
    }
    EXPECT_EQ(radimo_error_print, before);
}

}  // namespace
