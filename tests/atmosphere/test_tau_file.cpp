// Single-element access to a tau table file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "libradimo.h"
#include "support/log_capture.h"
#include "tau_model.h"

namespace {

class TauFile : public radimo::test::LoggedTest {
protected:
    void SetUp() override {
        std::string pattern = ::testing::TempDir() + "radimo_tau_XXXXXX";
        const int fd = mkstemp(pattern.data());
        ASSERT_GE(fd, 0);
        path = pattern;
        std::vector<uint16_t> zeros(radimo::tau_model::kEnvTableSize, 0);
        ASSERT_EQ(write(fd, zeros.data(), 2 * zeros.size()), static_cast<ssize_t>(2 * zeros.size()));
        close(fd);
    }
    void TearDown() override { std::remove(path.c_str()); }
    std::string path;
};

TEST_F(TauFile, WholeEnvTableRoundTrip) {
    std::vector<uint16_t> table(radimo::tau_model::kEnvTableSize), back(table.size());
    radimo::tau_model::fill_env_table(table.data());
    for (std::size_t i = 0; i < table.size(); ++i) {
        ASSERT_EQ(tau_data_write(path.c_str(), static_cast<int>(i), table[i] + 0x10000), RADIMO_SUCCESS);
    }
    for (std::size_t i = 0; i < table.size(); ++i) {
        ASSERT_EQ(tau_data_read(path.c_str(), static_cast<int>(i), &back[i]), RADIMO_SUCCESS);
    }
    EXPECT_EQ(back, table);                         // low 16 bits only
    std::FILE *f = std::fopen(path.c_str(), "rb");  // little-endian at byte 2 * index
    unsigned char bytes[2] = {};
    std::fseek(f, 2 * 1000, SEEK_SET);
    EXPECT_EQ(std::fread(bytes, 1, 2, f), 2u);
    std::fclose(f);
    EXPECT_EQ(bytes[0] | bytes[1] << 8, table[1000]);
    ASSERT_EQ(tau_data_write(path.c_str(), 65536 + 3, 0xBEEF), RADIMO_SUCCESS);  // index modulo 65536
    ASSERT_EQ(tau_data_read(path.c_str(), 3, &back[0]), RADIMO_SUCCESS);
    EXPECT_EQ(back[0], 0xBEEF);
    struct stat st {};
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_size, 2 * 3584);
}

TEST_F(TauFile, Failures) {
    const std::string missing = path + ".missing";
    uint16_t v = 9;
    struct stat st {};
    EXPECT_EQ(tau_data_write(missing.c_str(), 0, 1), RADIMO_ERR_FILE);
    EXPECT_NE(stat(missing.c_str(), &st), 0);  // never created
    EXPECT_EQ(tau_data_read(missing.c_str(), 0, &v), RADIMO_ERR_FILE);
    EXPECT_EQ(tau_data_read(path.c_str(), 3584, &v), RADIMO_ERR_FILE);  // past the end
    EXPECT_EQ(tau_data_read(nullptr, 0, &v), RADIMO_ERR_PARAM);
    EXPECT_EQ(tau_data_read(path.c_str(), 0, nullptr), RADIMO_ERR_PARAM);
    EXPECT_EQ(tau_data_write(nullptr, 0, 1), RADIMO_ERR_PARAM);
    EXPECT_EQ(v, 9);
    EXPECT_THAT(log.error_trace(),
                ::testing::ElementsAre("src/temp_correct/tau_data_write: file open fail\n",
                                       "src/temp_correct/tau_data_read: file open fail\n",
                                       "src/temp_correct/tau_data_read: file read fail\n",
                                       "src/temp_correct/tau_data_read: file_name or tau_value is NULL\n",
                                       "src/temp_correct/tau_data_read: file_name or tau_value is NULL\n",
                                       "src/temp_correct/tau_data_write: file_name or tau_value is NULL\n"));
}

}  // namespace
