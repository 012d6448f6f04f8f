// The options of every command that reads frame files: --size of raw
// files, --unit of samples no file declares, --byte-order of the samples.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "formats/frame_file.h"

namespace radimo::cli {

struct FrameOptions {
    std::string size;
    std::string unit;
    std::string byte_order;

    void add_to(CLI::App &command);
    // What the options say, checked (a bad value is a usage error). With a
    // camera, 16-bit samples that nothing declares are raw NUC values.
    FrameInput input(bool camera) const;
};

}  // namespace radimo::cli
