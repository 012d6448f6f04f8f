// Frame files: readers that stream frames one at a time (constant memory
// for long files) and writers that append them.
//
// Input formats are recognised by their content: TIFF (16-bit, or float32,
// any number of pages), PNG (16-bit greyscale), PGM (P5 with maxval above
// 255, any number of images), otherwise raw frames of a size given by the
// caller (u16, or float32 for a float unit; little-endian unless told).
// Output formats are chosen by the file extension. Every format but raw
// stores the unit of its samples (see frame_metadata()), so frames read back
// as they were written.
//
// Every frame comes out with its unit settled (FrameInput): what the file
// declares, else what the user gave (a contradiction is a usage error),
// else the assumed one; and it has been looked at for doubts (warnings.h).
#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "core/arguments.h"
#include "core/frame.h"
#include "core/warnings.h"

namespace radimo::cli {

class FrameReader {
public:
    virtual ~FrameReader() = default;
    // Reads the next frame into `frame`; false at the end of the file.
    virtual bool next(Frame &frame) = 0;
    // Number of frames in the file.
    virtual std::size_t frame_count() const = 0;
};

// What the user said about a frame file.
struct FrameInput {
    std::optional<FrameSize> raw_size;    // --size: required for raw files
    std::optional<Unit> unit;             // --unit
    std::optional<ByteOrder> byte_order;  // --byte-order: else the format's own (raw: little)
    Unit assumed = Unit::kKelvin16;       // 16-bit samples nothing declares (kNuc with a camera)
};

// Opens a frame file. Errors: a missing file or bad content is a usage
// error, a read failure an I/O error.
std::unique_ptr<FrameReader> open_frame_file(const std::filesystem::path &path, const FrameInput &input);
inline std::unique_ptr<FrameReader> open_frame_file(const std::filesystem::path &path,
                                                    std::optional<FrameSize> raw_size) {
    return open_frame_file(path, FrameInput{raw_size, std::nullopt, std::nullopt, Unit::kKelvin16});
}

enum class FileFormat { kTiff, kPng, kPgm, kCsv };
const char *format_name(FileFormat format);
// By extension: .tif/.tiff, .png, .pgm, .csv; anything else is a usage error.
FileFormat format_of_path(const std::filesystem::path &path);
// Whether the format can store the frames of a unit, and more than one frame.
bool format_holds(FileFormat format, Unit unit);
bool format_holds_many(FileFormat format);

class FrameWriter {
public:
    virtual ~FrameWriter() = default;
    virtual void write(const Frame &frame) = 0;
    // Flushes and closes the file; an error here is an I/O error.
    virtual void close() = 0;
};

// A writer on a C stream: the file is opened by the constructor, and
// close() reports a failed write as an I/O error.
class StreamFrameWriter : public FrameWriter {
public:
    void close() override;

protected:
    StreamFrameWriter(const std::filesystem::path &path, std::string shown, const char *mode);
    ~StreamFrameWriter() override;
    // An I/O error naming the file when the stream has failed.
    void check_stream() const;

    std::string shown_;
    std::FILE *file_ = nullptr;
};

// Writes to `path` (normally an AtomicFile's temporary); `shown` names the
// file in error messages.
std::unique_ptr<FrameWriter> create_frame_writer(FileFormat format, const std::filesystem::path &path,
                                                 const std::string &shown);

// Format-specific factories used by the two functions above.
std::unique_ptr<FrameReader> open_tiff(const std::filesystem::path &path);
std::unique_ptr<FrameReader> open_png(const std::filesystem::path &path);
std::unique_ptr<FrameReader> open_pgm(const std::filesystem::path &path);
// Raw frames of `sample_bytes` (2: u16, 4: float32) in `order`.
std::unique_ptr<FrameReader> open_raw(const std::filesystem::path &path, FrameSize size,
                                      std::size_t sample_bytes, ByteOrder order);
std::unique_ptr<FrameWriter> create_tiff(const std::filesystem::path &path, const std::string &shown);
std::unique_ptr<FrameWriter> create_png(const std::filesystem::path &path, const std::string &shown);
std::unique_ptr<FrameWriter> create_pgm(const std::filesystem::path &path, const std::string &shown);
std::unique_ptr<FrameWriter> create_csv(const std::filesystem::path &path, const std::string &shown);

}  // namespace radimo::cli
