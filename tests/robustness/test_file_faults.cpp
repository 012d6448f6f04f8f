// The tau file functions under file-system faults: each fault has its code
// and message, nothing is created, no other byte of the file changes, and
// no descriptor is left open however often a call fails.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>

#include "support/prelude.h"

namespace {

using Bytes = std::vector<char>;

Bytes contents(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

std::vector<std::string> entries(const std::string &dir) {
    std::vector<std::string> names;
    DIR *d = opendir(dir.c_str());
    while (const dirent *e = d != nullptr ? readdir(d) : nullptr) names.emplace_back(e->d_name);
    if (d != nullptr) closedir(d);
    std::sort(names.begin(), names.end());
    return names;
}

int open_descriptors() {
    return static_cast<int>(entries("/proc/self/fd").size());
}

class TauFileFaults : public radimo::test::LoggedTest {
public:  // the fault table reaches the paths
    static constexpr int kElements = 64;

    void SetUp() override {
        std::string pattern = ::testing::TempDir() + "radimo_faults_XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir = pattern;
        file = dir + "/tau.bin";
        subdir = dir + "/sub";
        ASSERT_EQ(mkdir(subdir.c_str(), 0755), 0);
        Bytes bytes(2 * kElements);
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + 1);
        std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        original = contents(file);
        listing = entries(dir);
    }
    void TearDown() override {
        std::remove(file.c_str());
        rmdir(subdir.c_str());
        rmdir(dir.c_str());
    }

    std::string dir, file, subdir;
    Bytes original;
    std::vector<std::string> listing;
};

struct Fault {
    const char *what;
    std::function<int(const TauFileFaults &, uint16_t *)> call;
    int code;
    const char *trace;
};

const std::vector<Fault> &faults() {
    static const std::vector<Fault> table{
        {"read, missing file",
         [](auto &t, uint16_t *v) { return tau_data_read((t.dir + "/none").c_str(), 0, v); }, RADIMO_ERR_FILE,
         "tau_data_read: file open fail\n"},
        {"write, missing file",
         [](auto &t, uint16_t *) { return tau_data_write((t.dir + "/none").c_str(), 0, 1); }, RADIMO_ERR_FILE,
         "tau_data_write: file open fail\n"},
        {"read, directory", [](auto &t, uint16_t *v) { return tau_data_read(t.subdir.c_str(), 0, v); },
         RADIMO_ERR_FILE, "tau_data_read: file read fail\n"},
        {"write, directory", [](auto &t, uint16_t *) { return tau_data_write(t.subdir.c_str(), 0, 1); },
         RADIMO_ERR_FILE, "tau_data_write: file open fail\n"},
        {"read past the end",
         [](auto &t, uint16_t *v) { return tau_data_read(t.file.c_str(), TauFileFaults::kElements, v); },
         RADIMO_ERR_FILE, "tau_data_read: file read fail\n"},
        {"read, index -1 wraps to 65535",
         [](auto &t, uint16_t *v) { return tau_data_read(t.file.c_str(), -1, v); }, RADIMO_ERR_FILE,
         "tau_data_read: file read fail\n"},
        {"write, full device", [](auto &, uint16_t *) { return tau_data_write("/dev/full", 5, 0x1234); },
         RADIMO_ERR_FILE, "tau_data_write: file write fail\n"},
    };
    return table;
}

TEST_F(TauFileFaults, EachFaultHasItsCodeAndMessageAndChangesNothing) {
    for (const Fault &fault : faults()) {
        log.clear();
        uint16_t value = 0xABCD;
        EXPECT_EQ(fault.call(*this, &value), fault.code) << fault.what;
        EXPECT_EQ(value, 0xABCD) << fault.what;
        EXPECT_THAT(log.error_trace(), ElementsAre(std::string("src/temp_correct/") + fault.trace))
            << fault.what;
    }
    EXPECT_EQ(contents(file), original);
    EXPECT_EQ(entries(dir), listing);  // nothing created
    EXPECT_THAT(entries(subdir), ElementsAre(".", ".."));
}

TEST_F(TauFileFaults, NoDescriptorLeftOpenOverThousandsOfFailures) {
    radimo_log_register(2);  // silent: the count is about streams, not messages
    const int before = open_descriptors();
    for (int round = 0; round < 500; ++round) {
        for (const Fault &fault : faults()) {
            uint16_t value = 0;
            ASSERT_EQ(fault.call(*this, &value), fault.code) << fault.what;
        }
    }
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(contents(file), original);
}

TEST_F(TauFileFaults, IndexWrapsModulo65536AndTouchesOnlyItsElement) {
    ASSERT_EQ(tau_data_write(file.c_str(), 65536 + 5, 0x1BEEF), RADIMO_SUCCESS);
    ASSERT_EQ(tau_data_write(file.c_str(), 6 - 65536, 0x0102), RADIMO_SUCCESS);
    Bytes expected = original;
    expected[10] = '\xEF', expected[11] = '\xBE', expected[12] = '\x02', expected[13] = '\x01';
    EXPECT_EQ(contents(file), expected);
    uint16_t value = 0;
    ASSERT_EQ(tau_data_read(file.c_str(), 5 - 2 * 65536, &value), RADIMO_SUCCESS);
    EXPECT_EQ(value, 0xBEEF);
}

// Writing past the end of a short file positions beyond it as the stream
// allows: the file grows to hold the element, earlier bytes unchanged.
TEST_F(TauFileFaults, WritePastTheEndOfAShortFileExtendsIt) {
    ASSERT_EQ(tau_data_write(file.c_str(), kElements + 3, 0x0A0B), RADIMO_SUCCESS);
    Bytes expected = original;
    expected.insert(expected.end(), {0, 0, 0, 0, 0, 0, '\x0B', '\x0A'});
    EXPECT_EQ(contents(file), expected);
}

// Permission checks do not apply to root, so the read-only case runs in a
// child process that has dropped to the unprivileged user "nobody".
TEST_F(TauFileFaults, ReadOnlyFileCanBeReadButNotWritten) {
    ASSERT_EQ(chmod(file.c_str(), 0444), 0);
    ASSERT_EQ(chmod(dir.c_str(), 0755), 0);
    const auto check = [&] {
        radimo::test::LogCapture capture;
        uint16_t value = 0;
        const bool ok = tau_data_write(file.c_str(), 1, 0x5555) == RADIMO_ERR_FILE &&
                        tau_data_read(file.c_str(), 1, &value) == RADIMO_SUCCESS && value == 0x160F &&
                        capture.error_trace() ==
                            std::vector<std::string>{"src/temp_correct/tau_data_write: file open fail\n"};
        return ok;
    };
    if (geteuid() != 0) {
        EXPECT_TRUE(check());
    } else {
        std::fflush(nullptr);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const bool dropped = setgid(65534) == 0 && setuid(65534) == 0 && geteuid() == 65534;
            _exit(!dropped ? 2 : check() ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        ASSERT_NE(WEXITSTATUS(status), 2) << "could not drop to the user nobody";
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }
    EXPECT_EQ(contents(file), original);
}

}  // namespace
