// Single-element access to a tau table file: headerless native-order
// (little-endian) u16 values, element i at byte offset 2 * i, the index
// taken modulo 65536. Each call opens and closes the file; the stream is
// closed on every path, also after a failed seek, read or write, so no
// descriptor is ever left behind. A write counts only once the buffered
// bytes have reached the file: a failing flush or close (a full device,
// for instance) is a failed write.
#include <cstdint>
#include <cstdio>

#include "core/fixed_point.h"
#include "core/message.h"
#include "libradimo.h"

namespace {
constexpr const char *kLogModule = radimo::kModuleTempCorrect;

// Owns an open stream for the duration of one call.
class TauFile {
public:
    TauFile(const char *name, const char *mode) : stream_(std::fopen(name, mode)) {}
    ~TauFile() { close(); }
    TauFile(const TauFile &) = delete;
    TauFile &operator=(const TauFile &) = delete;

    // Checks the open and moves to element `index`; a failure is reported
    // under the caller's name.
    int seek_element(const char *caller, int index) {
        if (stream_ == nullptr) {
            RADIMO_ERROR_FOR(caller, "file open fail\n");
            return RADIMO_ERR_FILE;
        }
        const long offset = 2L * static_cast<uint16_t>(index);
        if (std::fseek(stream_, offset, SEEK_SET) != 0) {
            RADIMO_ERROR_FOR(caller, "file seek fail\n");
            return RADIMO_ERR_FILE;
        }
        return RADIMO_SUCCESS;
    }
    std::FILE *stream() const { return stream_; }

    // Flushes and closes the stream; false when buffered data did not reach
    // the file. The stream is released either way.
    bool close() {
        if (stream_ == nullptr) return true;
        const bool flushed = std::fflush(stream_) == 0;
        const bool closed = std::fclose(stream_) == 0;
        stream_ = nullptr;
        return flushed && closed;
    }

private:
    std::FILE *stream_;
};

}  // namespace

extern "C" {

int tau_data_read(const char *file_name, int index, uint16_t *tau_value) {
    if (file_name == nullptr || tau_value == nullptr) {
        RADIMO_ERROR("file_name or tau_value is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    TauFile file(file_name, "rb");
    const int rc = file.seek_element(__func__, index);
    if (rc != RADIMO_SUCCESS) return rc;
    uint16_t value = 0;
    if (std::fread(&value, sizeof value, 1, file.stream()) != 1) {
        RADIMO_ERROR("file read fail\n");
        return RADIMO_ERR_FILE;
    }
    *tau_value = value;
    return RADIMO_SUCCESS;
}

// The file must exist: it is opened for update and never created.
int tau_data_write(const char *file_name, int index, int tau_value) {
    if (file_name == nullptr) {
        RADIMO_ERROR("file_name or tau_value is NULL\n");
        return RADIMO_ERR_PARAM;
    }
    TauFile file(file_name, "rb+");
    const int rc = file.seek_element(__func__, index);
    if (rc != RADIMO_SUCCESS) return rc;
    const uint16_t value = radimo::fx::low16(tau_value);
    if (std::fwrite(&value, sizeof value, 1, file.stream()) != 1 || !file.close()) {
        RADIMO_ERROR("file write fail\n");
        return RADIMO_ERR_FILE;
    }
    return RADIMO_SUCCESS;
}

}  // extern "C"
