// radimo view's request handling on random bytes: the bytes are one or more HTTP requests on a
// connection, read by cpp-httplib's own parser and answered by the viewer's checks (token, Host)
// and routes, on a session of raw frames of a small camera and a live source. Any answer is fine;
// a crash, a leak, an exception escaping the server or a read out of bounds is a finding.
#include <httplib.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "core/atomic_output.h"
#include "demo/demo_camera.h"
#include "formats/frame_file.h"
#include "view/access.h"
#include "view/server.h"
#include "view/session.h"

// Fontconfig (drawing the picture's text) keeps caches for the life of the process.
extern "C" const char *__lsan_default_suppressions() {
    return "leak:libfontconfig\n";
}

namespace {

namespace fs = std::filesystem;
using namespace radimo::cli;

constexpr const char *kToken = "0123456789abcdef0123456789abcdef";

// The bytes of a request as a connection's stream; what the server writes is dropped.
class BytesStream final : public httplib::Stream {
public:
    BytesStream(const uint8_t *data, std::size_t size) : data_(data), size_(size) {}
    bool is_readable() const override { return position_ < size_; }
    bool is_writable() const override { return true; }
    ssize_t read(char *ptr, std::size_t size) override {
        const std::size_t n = std::min(size, size_ - position_);
        std::memcpy(ptr, data_ + position_, n);
        position_ += n;
        return static_cast<ssize_t>(n);
    }
    ssize_t write(const char *, std::size_t size) override { return static_cast<ssize_t>(size); }
    void get_remote_ip_and_port(std::string &ip, int &port) const override { ip = "127.0.0.1", port = 40000; }
    void get_local_ip_and_port(std::string &ip, int &port) const override { ip = "127.0.0.1", port = 8080; }
    socket_t socket() const override { return 0; }
    bool done() const { return position_ >= size_; }

private:
    const uint8_t *data_;
    std::size_t size_;
    std::size_t position_ = 0;
};

class FuzzServer final : public httplib::Server {
public:
    bool serve(httplib::Stream &stream) {
        bool closed = false;
        return process_request(stream, false, closed, [](httplib::Request &) {});
    }
};

// Two raw frames of a 24x16 cut of the demo camera, in a file of their own.
struct Fixture {
    fs::path dir;
    std::unique_ptr<view::Session> session;
    std::unique_ptr<view::Access> access;
    FuzzServer server;

    Fixture() {
        std::string d = (fs::temp_directory_path() / "radimo-fuzz-view-XXXXXX").string();
        if (mkdtemp(d.data()) == nullptr) std::abort();
        dir = d;
        CameraProfile camera = demo::demo_camera();
        camera.width = 24;
        camera.height = 16;
        Frame raw;
        raw.width = 24;
        raw.height = 16;
        raw.unit = Unit::kNuc;
        for (int i = 0; i < 24 * 16; ++i) raw.samples.push_back(static_cast<uint16_t>(5000 + 37 * i % 3000));
        {
            auto writer = create_frame_writer(FileFormat::kTiff, dir / "raw.tiff", "raw.tiff");
            writer->write(raw);
            raw.vtemp = 9000;
            writer->write(raw);
            writer->close();
        }
        view::SessionSettings settings;
        settings.camera = camera;
        session = std::make_unique<view::Session>(
            view::open_file_source({dir / "raw.tiff"},
                                   FrameInput{std::nullopt, std::nullopt, std::nullopt, Unit::kNuc}),
            settings);
        access = std::make_unique<view::Access>(kToken, "127.0.0.1", 8080);
        view::install_routes(server, *session, *access);
    }
    ~Fixture() {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    static Fixture fixture;
    BytesStream stream(data, size);
    // A connection's requests one after the other, as keep-alive serves them.
    for (int request = 0; request < 4 && !stream.done(); ++request)
        if (!fixture.server.serve(stream)) break;
    return 0;
}
