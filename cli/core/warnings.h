// Doubts about the input, told instead of a silent wrong number.
//
// Each warning is one line "radimo: warning: ..." on standard error, printed
// when the command ends (after its output, before an error line), and an
// entry of the "warnings" array of every JSON report. A warning that recurs
// (the same doubt on many frames of a file) is kept once with its count.
// With --strict the tool ends with exit code 2 when it warned.
//
// The checks look at frames as they are read: values implausible for their
// unit, byte-swapped samples, raw values beyond the NUC range, a raw file
// whose size and rows fit another frame shape better than --size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "core/arguments.h"
#include "core/frame.h"

namespace radimo::cli {

// Safe to use from several threads (radimo view converts frames in its request threads).
class Warnings {
public:
    // Adds a warning; a later one with the same key only counts (its text is the first one's).
    void add(const std::string &key, const std::string &message);
    bool empty() const;
    // The lines, each with the number of times it held when more than once.
    std::vector<std::string> lines() const;
    nlohmann::json json() const { return lines(); }
    // Prints every line to `out` as "radimo: warning: ..." and forgets them.
    void print(std::FILE *out);
    void clear();

private:
    struct Entry {
        std::string key;
        std::string message;
        std::size_t count;
        std::string line() const {
            return count > 1 ? message + " (" + std::to_string(count) + " frames)" : message;
        }
    };
    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
};

// The warnings of this run of the tool.
Warnings &warnings();

enum class ByteOrder { kLittle, kBig };
const char *byte_order_name(ByteOrder order);  // "little", "big"

// The checks of a frame just read from `name` (frame `index`): values
// implausible for the frame's unit (below -100 degC or above 2000 degC at
// the 0.1 and 99.9 percentiles, with the units that would read plausibly),
// an 8-bit-like range, and 16-bit samples that are far smoother byte-swapped
// than read in `order`.
void check_frame(const Frame &frame, const std::string &name, std::size_t index, ByteOrder order);

// How many raw NUC values lie beyond the 14-bit NUC range (0..16383): their
// temperatures saturate. Warns when there are any.
std::size_t check_nuc_range(const Frame &raw, const std::string &name, std::size_t index);

// A raw file of `bytes` bytes read as frames of `size` with samples of
// `sample_bytes`: warns when its first samples (`head`, read in the given
// order) line up row on row far better at the width of another common frame
// shape that divides the file. `alternatives` gives, for an error message,
// the common shapes that divide the file.
void check_raw_shape(const std::string &name, uintmax_t bytes, FrameSize size,
                     const std::vector<uint16_t> &head);
std::string raw_shapes_fitting(uintmax_t bytes, std::size_t sample_bytes);

// The plausible temperatures of a scene, in degC.
inline constexpr double kColdestPlausible = -100.0;
inline constexpr double kHottestPlausible = 2000.0;

}  // namespace radimo::cli
