// radimo view: the frames in a browser, recorded or live, with hover temperatures and tools.
#include <httplib.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <thread>

#include "commands/command.h"
#include "core/arguments.h"
#include "core/camera_options.h"
#include "core/conversion.h"
#include "core/errors.h"
#include "core/picture_output.h"
#include "view/access.h"
#include "view/frame_source.h"
#include "view/recorder.h"
#include "view/server.h"
#include "view/session.h"

extern char **environ;

namespace radimo::cli {
namespace {

struct ViewOptions {
    std::vector<std::string> files;
    std::string live;
    bool from_stdin = false;
    std::string size;
    std::optional<double> fps;
    std::string record;
    std::string unit;
    std::string palette = "ironbow";
    std::string range, isotherm;
    int port = 0;
    std::string listen;
    bool open = false;
    CameraOptions camera;
};

// Where to listen: 127.0.0.1 and --port, or ADDR:PORT / [ADDR]:PORT of --listen.
std::pair<std::string, int> listen_address(const ViewOptions &o) {
    if (o.listen.empty()) return {"127.0.0.1", o.port};
    const std::string &text = o.listen;
    std::string host, port;
    if (!text.empty() && text.front() == '[') {
        const std::size_t close = text.find("]:");
        if (close == std::string::npos) fail_usage("--listen " + text + ": expected [ADDRESS]:PORT");
        host = text.substr(1, close - 1);
        port = text.substr(close + 2);
    } else {
        const std::size_t colon = text.rfind(':');
        if (colon == std::string::npos || text.find(':') != colon)
            fail_usage("--listen " + text + ": expected ADDRESS:PORT (an IPv6 address in brackets)");
        host = text.substr(0, colon);
        port = text.substr(colon + 1);
    }
    const std::vector<long> p = parse_integers("--listen", port, 1);
    if (host.empty() || p[0] < 0 || p[0] > 65535)
        fail_usage("--listen " + text + ": expected ADDRESS:PORT with a port of 0..65535");
    return {host, static_cast<int>(p[0])};
}

// Opens `url` in the desktop's browser (xdg-open), without waiting for it.
void open_browser(const std::string &url) {
    pid_t pid = 0;
    char *argv[] = {const_cast<char *>("xdg-open"), const_cast<char *>(url.c_str()), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int error = posix_spawnp(&pid, "xdg-open", &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        std::fprintf(stderr, "radimo view: cannot start a browser (xdg-open: %s); open the URL yourself\n",
                     std::strerror(error));
        return;
    }
    std::thread([pid] { waitpid(pid, nullptr, 0); }).detach();
}

// SIGINT and SIGTERM, taken by the thread that waits for them instead of interrupting the others:
// Ctrl-C stops the server, the stream and a recording in order, and the recording is kept.
class StopSignals {
public:
    StopSignals() {
        sigemptyset(&set_);
        sigaddset(&set_, SIGINT);
        sigaddset(&set_, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &set_, &previous_);
        signal(SIGPIPE, SIG_IGN);  // a closed browser tab is a failed write, not the end of the program
    }
    ~StopSignals() {
        stop_waiting();
        pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    }
    StopSignals(const StopSignals &) = delete;
    StopSignals &operator=(const StopSignals &) = delete;

    // Calls `stop` (once) in a thread of its own when a signal arrives.
    void on_signal(std::function<void()> stop) {
        waiter_ = std::thread([this, stop = std::move(stop)] {
            const timespec tick{0, 100'000'000};
            while (!done_) {
                if (sigtimedwait(&set_, nullptr, &tick) > 0) {
                    stop();
                    return;
                }
            }
        });
    }

    // Ends the waiting thread (at once if a signal already called `stop`, else within a tick).
    // Called before what `stop` touches is destroyed: returning from the server's loop is no
    // proof that `stop` has finished with it.
    void stop_waiting() {
        done_ = true;
        if (waiter_.joinable()) waiter_.join();
    }

private:
    sigset_t set_{}, previous_{};
    std::atomic<bool> done_{false};
    std::thread waiter_;
};

void run_view(const ViewOptions &o) {
    const int sources = (o.files.empty() ? 0 : 1) + (o.live.empty() ? 0 : 1) + (o.from_stdin ? 1 : 0);
    if (sources != 1) fail_usage("give frame files, --live DEVICE or --stdin (one of them)");
    const bool live = o.files.empty();
    const std::optional<FrameSize> size = parse_optional_size("--size", o.size);
    if (o.from_stdin && !size) fail_usage("--stdin needs the frame size: --size WxH");
    if (!o.record.empty() && !live) fail_usage("--record records a live stream (--live or --stdin)");
    if (o.fps && !(std::isfinite(*o.fps) && *o.fps > 0 && *o.fps <= 1000))
        fail_usage("--fps: must be a number of frames per second in 0..1000");

    view::SessionSettings settings;
    settings.palette = std::string(palette_option(o.palette).name());
    if (!o.range.empty()) settings.range = parse_interval("--range", o.range);
    if (!o.isotherm.empty()) settings.isotherm = parse_interval("--isotherm", o.isotherm);
    if (!o.unit.empty()) {
        settings.unit = unit_from_name(o.unit);
        if (!settings.unit) fail_usage("--unit " + o.unit + ": expected one of " + unit_names());
    }
    settings.camera = o.camera.load();
    settings.vtemp = o.camera.forced_vtemp();
    settings.scene_correct = o.camera.scene_correct;
    if (o.fps) settings.fps = *o.fps;
    const auto [host, port] = listen_address(o);

    StopSignals signals;  // before any thread starts, so every thread leaves the signals to it
    std::unique_ptr<view::Recorder> recorder;
    std::unique_ptr<view::FrameSource> source;
    if (!live) {
        std::vector<std::filesystem::path> paths(o.files.begin(), o.files.end());
        source = view::open_file_source(paths, FrameInput{size, settings.unit, std::nullopt,
                                                          settings.camera ? Unit::kNuc : Unit::kKelvin16});
    } else {
        std::unique_ptr<view::LiveReader> reader =
            o.from_stdin ? view::open_stream_reader(STDIN_FILENO, "stdin", *size, o.fps)
                         : view::open_v4l2_reader(o.live);
        if (!o.record.empty()) {
            // The unit the stream's frames are read in: --unit, else the rule of every raw file.
            const Unit unit = settings.unit.value_or(settings.camera ? Unit::kNuc : Unit::kKelvin16);
            recorder = std::make_unique<view::Recorder>(o.record, unit, settings.vtemp);
        }
        view::LiveSource::FrameHook hook;
        if (recorder) hook = [r = recorder.get()](const view::SourceFramePtr &f) { r->add(f); };
        source = std::make_unique<view::LiveSource>(std::move(reader), std::move(hook));
    }
    view::Session session(std::move(source), std::move(settings));

    httplib::Server http;
    // A browser keeps up to six connections to a server, each held by a thread while it is open:
    // enough threads for two pages and the downloads beside them.
    http.new_task_queue = [] { return new httplib::ThreadPool(view::kThreads); };
    // Set before binding, on the listening socket, whose connections inherit them. A response
    // leaves in two writes (head, body): without TCP_NODELAY a kept-alive connection waits about
    // 40 ms for a delayed ACK on every answer. SO_REUSEADDR lets a restarted viewer take its port
    // again; unlike the library's default SO_REUSEPORT, a second program cannot listen on the same
    // port beside this one and take some of its connections.
    http.set_socket_options([](socket_t sock) {
        const int on = 1;
        setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    });
    const int bound = port == 0 ? http.bind_to_any_port(host) : (http.bind_to_port(host, port) ? port : -1);
    if (bound < 0)
        fail_io("cannot listen on " + host + ":" + std::to_string(port) +
                " (the port is taken, or the address is not one of this machine's)");
    const view::Access access(view::random_token(), host, bound);
    view::install_routes(http, session, access);

    const std::string url =
        "http://" + access.url_host() + ":" + std::to_string(bound) + "/?token=" + access.token();
    std::printf("radimo view: %s\n", session.source().description().c_str());
    std::printf("radimo view: open %s (Ctrl-C stops)\n", url.c_str());
    std::fflush(stdout);
    if (o.open) open_browser(url);

    signals.on_signal([&] {
        session.source().stop();
        http.stop();
    });
    http.listen_after_bind();
    signals.stop_waiting();
    session.source().stop();
    if (recorder) std::printf("radimo view: %s\n", recorder->finish().c_str());
    std::printf("radimo view: stopped\n");
}

}  // namespace

void add_view_command(CLI::App &program, Commands &commands) {
    auto o = std::make_shared<ViewOptions>();
    CLI::App *cmd = program.add_subcommand(
        "view", "Show frames in a browser: hover temperatures, spot/line/box tools, palettes, live streams");
    cmd->add_option("FRAMES", o->files,
                    "Frame files, shown as one sequence (temperatures, or raw NUC with --camera)");
    cmd->add_option("--live", o->live,
                    "A V4L2 device delivering 16-bit greyscale (Y16) frames, e.g. /dev/video0");
    cmd->add_flag("--stdin", o->from_stdin, "Raw little-endian u16 frames of --size from standard input");
    cmd->add_option("--size", o->size, "Frame size WxH of raw files and of --stdin");
    cmd->add_option("--fps", o->fps, "Frames per second: playback of files (default 10), pace of --stdin");
    cmd->add_option("--record", o->record, "Record every live frame, as received, into a multi-page .tiff");
    cmd->add_option("--unit", o->unit,
                    "What the samples of frames that do not say so are: " + unit_names(", ") +
                        " (see radimo measure --help)");
    cmd->add_option("--palette", o->palette, "First palette: " + palette_choices("|"))->capture_default_str();
    cmd->add_option("--range", o->range, "First locked scale LO,HI in degC (default: automatic)");
    cmd->add_option("--isotherm", o->isotherm, "First isotherm LO,HI in degC");
    auto *port = cmd->add_option("--port", o->port, "Port on 127.0.0.1 (default: a free one)");
    cmd->add_option(
           "--listen", o->listen,
           "Listen on ADDRESS:PORT instead of loopback, e.g. 0.0.0.0:8080 to reach it from another machine")
        ->excludes(port);
    cmd->add_flag("--open", o->open, "Open the page in the desktop's browser");
    o->camera.add_to(*cmd, false, true);
    cmd->footer(
        example({"radimo view demo/raw.tiff --camera demo/camera --open",
                 "ffmpeg -i cam.mkv -f rawvideo -pix_fmt gray16le - | radimo view --stdin --size 640x512",
                 "radimo view --live /dev/video0 --camera cam --record session.tiff"}));
    commands.push_back({cmd, [o] { run_view(*o); }});
}

}  // namespace radimo::cli
