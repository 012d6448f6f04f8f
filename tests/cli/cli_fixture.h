// A scratch directory per test, a small camera profile in it, and a way to
// run the built radimo program and collect its exit code and output.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "core/frame.h"
#include "core/profile.h"

namespace radimo::cli::test {

struct RunResult {
    int exit_code = -1;
    std::string out;
    std::string err;
};

// A raw NUC frame of plausible room-to-hot-object responses.
Frame raw_frame(int width, int height, unsigned seed);
// A smooth scene in a temperature unit: a room at 18 to 30 degC with a
// 65 degC object and a little noise, as a camera sees it.
Frame room_frame(int width, int height, Unit unit);

class CliTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Runs `radimo <args>` in the scratch directory.
    RunResult radimo(const std::string &args) const;
    std::filesystem::path path(const std::string &name) const { return dir_ / name; }
    // Names in the scratch directory, sorted.
    std::vector<std::string> listing() const;

    // The demo camera cut down to a small sensor, written as profile "camera".
    CameraProfile write_small_camera(int width = 16, int height = 12) const;
    // A profile written as directory `name`.
    void write_camera(const CameraProfile &camera, const std::string &name) const;
    void write_frames(const std::string &name, const std::vector<Frame> &frames) const;
    // Frames as headerless samples (u16, or float32 for float units) in a byte order.
    void write_raw(const std::string &name, const std::vector<Frame> &frames, bool big_endian = false) const;

private:
    std::filesystem::path dir_;
};

}  // namespace radimo::cli::test
