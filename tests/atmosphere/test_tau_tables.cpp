// Environment and target-temperature tau tables filled from the two-band model,
// and single-element access to a tau table file.
#include <sys/stat.h>
#include <unistd.h>
#include <cstdio>

#include "support/prelude.h"

namespace model = radimo::tau_model;

namespace {

const float kNear50 = std::nextafter(50.0f, 0.0f);  // read index 63: the last column

int at(int h, int t, int d) {
    return (h * 14 + t) * 64 + d;
}

class TauTables : public radimo::test::LoggedTest {
protected:
    TauTables() : env(radimo::test::env_table()), target(56 * 64) {
        model::fill_target_table(model::TargetLayout::kStandard, target.data());
    }
    static int read(const std::vector<uint16_t> &t, float hum, float ta, float dist) {
        uint16_t v = 0;
        return read_tau(t.data(), &v, hum, ta, dist) == RADIMO_SUCCESS ? v : -1;
    }
    static int read_target(const uint16_t *t, float temp, float dist) {
        uint16_t v = 0;
        return read_tau_with_target_temp_and_dist(t, &v, temp, dist) == RADIMO_SUCCESS ? v : -1;
    }
    std::vector<uint16_t> env, target;
};

TEST_F(TauTables, EnvWriteReadRoundTripAndInterpolation) {
    std::vector<uint16_t> written(model::kEnvTableSize, 0);
    for (int i = 0; i < 4 * 13 * 64; ++i) {
        const int h = i / (13 * 64), t = i / 64 % 13, d = i % 64;
        const auto hum = static_cast<float>(model::kClassHumidity[h]), ta = static_cast<float>(temp_table[t]);
        ASSERT_EQ(write_tau(written.data(), env[at(h, t, d)], hum, ta, static_cast<float>(dist_table[d])), 0)
            << i;
        EXPECT_EQ(written[at(h, t, d)], env[at(h, t, d)]);
        const float dist = static_cast<float>(dist_table[d]);
        if (t < 12 && d < 63) {
            EXPECT_NEAR(read(written, hum, ta, dist), env[at(h, t, d)], 1) << i;
        }
    }
    for (float ta = 0.3f; ta < 50.0f; ta += 3.7f) {  // between the grid neighbours
        for (float dist = 0.27f; dist < 50.0f; dist *= 1.37f) {
            uint16_t t = 0, d = 0;
            get_temp_read_index(&t, ta);
            get_dist_read_index(&d, dist);
            const uint16_t q[4] = {env[at(2, t, d)], env[at(2, t, d + 1)], env[at(2, t + 1, d)],
                                   env[at(2, t + 1, d + 1)]};
            EXPECT_GE(read(env, 0.6f, ta, dist), *std::min_element(q, q + 4) - 1) << ta << " " << dist;
            EXPECT_LE(read(env, 0.6f, ta, dist), *std::max_element(q, q + 4)) << ta << " " << dist;
        }
    }
    ASSERT_EQ(write_tau(written.data(), 0x12345, 0.5f, 20.0f, 1.0f), RADIMO_SUCCESS);
    EXPECT_EQ(written[at(2, 5, 15)], 0x2345);  // low 16 bits
}

TEST_F(TauTables, EnvRowRulesAndTheLastColumn) {
    for (int d = 0; d < 64; ++d)
        env[at(0, 13, d)] = static_cast<uint16_t>(1000 + d);  // the never-written row
    for (int d = 0; d < 64; ++d) env[at(0, 1, d)] = 0;
    EXPECT_NEAR(read(env, 0.1f, 55.0f, 1.0f), 1015, 1);
    EXPECT_NEAR(read(env, 0.1f, 56.0f, 1.0f), env[at(0, 12, 15)], 1);
    EXPECT_NEAR(read(env, 0.1f, -2.5f, 1.0f), env[at(0, 0, 15)], 1);      // -5 degC row alone
    EXPECT_NEAR(read(env, 0.1f, 2.5f, 1.0f), env[at(0, 2, 15)] / 2, 1);   // 0 and 5 degC rows blended equally
    EXPECT_NEAR(read(env, 0.9f, 55.0f, kNear50), env[at(3, 13, 63)], 1);  // the very last element
    EXPECT_NEAR(read(env, 0.9f, 20.0f, kNear50), env[at(3, 5, 63)], 1);
}

TEST_F(TauTables, TargetWriteReadRoundsInsideAndTruncatesAtTheEnds) {
    std::vector<uint16_t> written(56 * 64, 0);
    for (int ti = 0; ti < 56; ++ti) {
        for (float dist : {0.25f, 1.0f, 4.5f, 16.0f, 35.0f}) {
            const auto temp = static_cast<float>(target_temp_table[ti] - 273.15);
            uint16_t d = 0;
            get_dist_write_index(&d, dist);
            ASSERT_EQ(write_tau_with_target_temp_and_dist(written.data(), target[ti * 64 + d], temp, dist),
                      0);
            EXPECT_EQ(written[ti * 64 + d], target[ti * 64 + d]);
            if (ti >= 1 && ti <= 54) {
                EXPECT_EQ(read_target(written.data(), temp, dist), target[ti * 64 + d]) << ti;
            }
        }
    }
    std::fill(written.begin(), written.end(), 100);
    for (int d = 0; d < 64; ++d) written[6 * 64 + d] = 101;
    EXPECT_EQ(read_target(written.data(), 118.75f, 1.0f), 101);  // 100.75 rounds up
    target[15] = 500;  // rows 0 and 55 repeat their own element in distance
    target[16] = 9000;
    target[55 * 64 + 15] = 700;
    EXPECT_NEAR(read_target(target.data(), -20.0f, 1.02f), 500, 1);
    EXPECT_NEAR(read_target(target.data(), 1400.0f, 1.02f), 700, 1);  // beyond the grid: last row
    EXPECT_NEAR(read_target(target.data(), 1325.0f, kNear50), target[54 * 64 + 63], 1);
}

TEST_F(TauTables, TargetHeaderShiftsTheValuesExceptInTheLastColumnCorner) {
    std::vector<uint16_t> raw = radimo::test::raw_table(model::TargetLayout::kStandard, {});
    for (float temp : {-20.0f, 30.0f, 333.3f, 1200.0f}) {
        for (float dist : {0.3f, 2.2f, 17.0f}) {
            EXPECT_EQ(read_target(raw.data(), temp, dist), read_target(target.data(), temp, dist));
        }
    }
    raw[63] = 4321;  // header word 64
    EXPECT_EQ(read_target(raw.data(), -20.0f, kNear50), 4321);
    EXPECT_EQ(read_target(target.data(), -20.0f, kNear50), target[63]);
}

TEST_F(TauTables, FailuresNameTheAxis) {
    uint16_t v = 77;
    EXPECT_EQ(read_tau(nullptr, &v, 0.5f, 20.0f, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(write_tau(nullptr, 1, 0.5f, 20.0f, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(read_tau(env.data(), &v, 1.5f, 20.0f, 1.0f), RADIMO_ERR_HUM_INDEX);
    EXPECT_EQ(read_tau(env.data(), &v, 0.5f, 20.0f, 60.0f), RADIMO_ERR_DIST_INDEX);
    EXPECT_EQ(write_tau(env.data(), 1, 0.5f, 60.0f, 1.0f), RADIMO_ERR_TEMP_INDEX);
    EXPECT_EQ(read_tau_with_target_temp_and_dist(nullptr, &v, 20.0f, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(write_tau_with_target_temp_and_dist(nullptr, 1, 20.0f, 1.0f), RADIMO_ERR_PARAM);
    EXPECT_EQ(write_tau_with_target_temp_and_dist(target.data(), 1, -30.0f, 1.0f), RADIMO_ERR_TEMP_INDEX);
    EXPECT_EQ(write_tau_with_target_temp_and_dist(target.data(), 1, 20.0f, 60.0f), RADIMO_ERR_DIST_INDEX);
    EXPECT_EQ(v, 77);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/read_tau: correct table is NULL\n",
                            "src/temp_correct/write_tau: correct table is NULL\n",
                            "src/temp_correct/get_hum_index: humidity is invalid\n",
                            "src/temp_correct/get_dist_read_index: dist is invalid\n",
                            "src/temp_correct/get_temp_write_index: d is invalid\n",
                            "src/temp_correct/read_tau_with_target_temp_and_dist: data is NULL\n",
                            "src/temp_correct/write_tau_with_target_temp_and_dist: correct table is NULL\n",
                            "src/temp_correct/get_target_temp_write_index: target tempperature is invalid\n",
                            "src/temp_correct/get_dist_write_index: d is invalid\n"));
}

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
    const std::vector<uint16_t> table = radimo::test::env_table();
    std::vector<uint16_t> back(table.size());
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
    EXPECT_EQ(tau_data_write("/dev/full", 5, 0x1234), RADIMO_ERR_FILE);  // fails only when flushed
    EXPECT_EQ(v, 9);
    EXPECT_THAT(log.error_trace(),
                ElementsAre("src/temp_correct/tau_data_write: file open fail\n",
                            "src/temp_correct/tau_data_read: file open fail\n",
                            "src/temp_correct/tau_data_read: file read fail\n",
                            "src/temp_correct/tau_data_read: file_name or tau_value is NULL\n",
                            "src/temp_correct/tau_data_read: file_name or tau_value is NULL\n",
                            "src/temp_correct/tau_data_write: file_name or tau_value is NULL\n",
                            "src/temp_correct/tau_data_write: file write fail\n"));
}

}  // namespace
