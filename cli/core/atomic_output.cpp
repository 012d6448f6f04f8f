#include "core/atomic_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "core/errors.h"

namespace radimo::cli {
namespace fs = std::filesystem;
namespace {

// Pending temporaries, as plain strings the signal handler can unlink.
// Files are registered after their directory, and the handler walks the
// slots backwards, so files go first and their directory can be removed.
constexpr int kSlots = 64;
struct Pending {
    std::atomic<bool> used{false};
    bool directory = false;
    char path[4096] = {};
};
std::array<Pending, kSlots> g_pending;

// Set once an output goes to standard output: reports move to standard error.
std::atomic<bool> g_stdout_is_output{false};

int register_pending(const fs::path &path, bool directory) {
    const std::string s = path.string();
    if (s.size() >= sizeof Pending::path) return -1;
    for (int i = 0; i < kSlots; ++i) {
        if (!g_pending[i].used.load()) {
            std::memcpy(g_pending[i].path, s.c_str(), s.size() + 1);
            g_pending[i].directory = directory;
            g_pending[i].used.store(true);
            return i;
        }
    }
    return -1;
}

void release_pending(int slot) {
    if (slot >= 0) g_pending[slot].used.store(false);
}

// Forgets a directory and every file registered inside it.
void release_under(const fs::path &dir) {
    const std::string prefix = dir.string();
    for (auto &p : g_pending)
        if (p.used.load() && std::strncmp(p.path, prefix.c_str(), prefix.size()) == 0) p.used.store(false);
}

extern "C" void remove_pending_and_exit(int signal_number) {
    for (int i = kSlots - 1; i >= 0; --i) {
        if (!g_pending[i].used.load()) continue;
        if (g_pending[i].directory)
            rmdir(g_pending[i].path);
        else
            unlink(g_pending[i].path);
    }
    std::signal(signal_number, SIG_DFL);
    std::raise(signal_number);
}

std::string describe(const std::error_code &ec) {
    return ec.message();
}

std::string host_name() {
    char name[256] = {};
    if (gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') return "localhost";
    std::string host(name);
    return host.substr(0, 64);
}

// The start of every temporary name of an output: ".<name>.radimo-<host>-",
// the name cut short so that the whole stays within a file name's limit.
std::string temporary_prefix(const fs::path &target) {
    return "." + target.filename().string().substr(0, 150) + ".radimo-" + host_name() + "-";
}

fs::path directory_of(const fs::path &target) {
    return target.has_parent_path() ? target.parent_path() : fs::path(".");
}

// A unique temporary name beside the target: ".<name>.radimo-<host>-<pid>.<n><suffix>".
fs::path temporary_beside(const fs::path &target, const char *suffix = ".tmp") {
    static unsigned counter = 0;
    return directory_of(target) /
           (temporary_prefix(target) + std::to_string(getpid()) + "." + std::to_string(counter++) + suffix);
}

// Removes the temporaries of `target` that processes of this host left
// behind and that no longer run (a SIGKILL gives no chance to clean up).
void remove_stale_temporaries(const fs::path &target) {
    const std::string prefix = temporary_prefix(target);
    std::error_code ec;
    for (fs::directory_iterator it(directory_of(target), ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.size() <= prefix.size() + 4 || name.rfind(prefix, 0) != 0 ||
            name.compare(name.size() - 4, 4, ".tmp") != 0)
            continue;
        const std::string serial = name.substr(prefix.size(), name.size() - prefix.size() - 4);  // <pid>.<n>
        const std::size_t dot = serial.find('.');
        if (dot == 0 || dot > 9 || serial.find_first_not_of("0123456789.") != std::string::npos) continue;
        const pid_t pid = static_cast<pid_t>(std::stol(serial.substr(0, dot)));
        if (pid == getpid() || kill(pid, 0) == 0 || errno != ESRCH) continue;
        std::error_code removed;
        fs::remove_all(it->path(), removed);
    }
}

// The file a chain of symbolic links leads to (the path itself when it is no link).
fs::path follow_links(const fs::path &target) {
    fs::path p = target;
    for (int hops = 0;; ++hops) {
        std::error_code ec;
        if (!fs::is_symlink(p, ec)) return p;
        if (hops == 40) fail_io("cannot write " + target.string() + ": too many levels of symbolic links");
        const fs::path link = fs::read_symlink(p, ec);
        if (ec) fail_io("cannot write " + target.string() + ": " + describe(ec));
        p = link.is_absolute() ? link : p.parent_path() / link;
    }
}

// Whether a path names the file standard output is open on.
bool is_standard_output(const fs::path &path) {
    struct stat file {};
    struct stat out {};
    return stat(path.c_str(), &file) == 0 && fstat(STDOUT_FILENO, &out) == 0 && file.st_dev == out.st_dev &&
           file.st_ino == out.st_ino;
}

// Copies a finished temporary into standard output or a device.
void copy_into(const fs::path &from, int to, const std::string &shown) {
    const int in = open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) fail_io("cannot write " + shown + ": " + std::strerror(errno));
    char buffer[1 << 16];
    ssize_t got = 0;
    while ((got = read(in, buffer, sizeof buffer)) > 0) {
        for (ssize_t done = 0; done < got;) {
            const ssize_t put = write(to, buffer + done, static_cast<std::size_t>(got - done));
            if (put < 0 && errno == EINTR) continue;
            if (put <= 0) {
                const int error = put < 0 ? errno : EIO;
                close(in);
                fail_io("cannot write " + shown + ": " + std::strerror(error));
            }
            done += put;
        }
    }
    const int error = errno;
    close(in);
    if (got < 0) fail_io("cannot write " + shown + ": " + std::strerror(error));
}

}  // namespace

void install_interrupt_cleanup() {
    std::signal(SIGINT, remove_pending_and_exit);
    std::signal(SIGTERM, remove_pending_and_exit);
    std::signal(SIGPIPE, SIG_IGN);
}

std::FILE *report_stream() {
    return g_stdout_is_output.load() ? stderr : stdout;
}

void refuse_input_as_output(const std::string &option, const fs::path &output,
                            const std::vector<fs::path> &inputs) {
    // A new name replaces nothing, and a stream is written into, not replaced.
    std::error_code ec;
    if (AtomicFile::is_stream(output) || !fs::exists(output, ec)) return;
    for (const fs::path &input : inputs) {
        const fs::path canonical = fs::canonical(input, ec);
        if (input.empty() || ec) continue;
        for (fs::path p = canonical;; p = p.parent_path()) {
            if (fs::equivalent(p, output, ec)) {
                if (p == canonical)
                    fail_usage(option + " " + output.string() + ": the output would overwrite the input " +
                               input.string());
                fail_usage(option + " " + output.string() +
                           ": the output would replace the directory holding the input " + input.string());
            }
            if (p == p.root_path() || !p.has_parent_path()) break;
        }
    }
}

bool AtomicFile::is_stream(const fs::path &target) {
    std::error_code ec;
    const fs::file_status status = fs::status(target, ec);
    return target == "-" ||
           (!ec && fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status));
}

AtomicFile::AtomicFile(fs::path target) : target_(std::move(target)), stream_(is_stream(target_)) {
    std::error_code ec;
    if (stream_) {
        // Made whole in the temporary directory, then written into the stream.
        resolved_ = target_;
        temp_ = temporary_beside(fs::temp_directory_path(ec) / "radimo-output");
        remove_stale_temporaries(fs::temp_directory_path(ec) / "radimo-output");
    } else {
        if (fs::is_directory(target_, ec))
            fail_io("cannot write " + target_.string() + ": it is a directory");
        resolved_ = follow_links(target_);
        temp_ = temporary_beside(resolved_);
        remove_stale_temporaries(resolved_);
    }
    if (target_ == "-" || is_standard_output(resolved_)) g_stdout_is_output.store(true);
    slot_ = register_pending(temp_, false);
    std::FILE *f = std::fopen(temp_.c_str(), "wbx");
    if (f == nullptr) {
        release_pending(slot_);
        fail_io("cannot write " + target_.string() + ": " + std::strerror(errno));
    }
    std::fclose(f);
}

AtomicFile::~AtomicFile() {
    if (!committed_) {
        std::error_code ec;
        fs::remove(temp_, ec);
        release_pending(slot_);
    }
}

void AtomicFile::commit() {
    std::error_code ec;
    if (stream_) {
        const std::string shown = target_ == "-" ? "standard output" : target_.string();
        // Into the device as it is: no truncation, no new file.
        const int out = target_ == "-" ? dup(STDOUT_FILENO) : open(resolved_.c_str(), O_WRONLY | O_CLOEXEC);
        if (out < 0) fail_io("cannot write " + shown + ": " + std::strerror(errno));
        try {
            copy_into(temp_, out, shown);
        } catch (...) {
            close(out);
            throw;
        }
        if (close(out) != 0 && errno != EINTR) fail_io("cannot write " + shown + ": " + std::strerror(errno));
        fs::remove(temp_, ec);
    } else {
        // A replaced file keeps its permissions.
        const fs::file_status old = fs::status(resolved_, ec);
        if (!ec && fs::is_regular_file(old)) fs::permissions(temp_, old.permissions(), ec);
        fs::rename(temp_, resolved_, ec);
        if (ec) fail_io("cannot write " + target_.string() + ": " + describe(ec));
    }
    committed_ = true;
    release_pending(slot_);
}

void write_file_atomically(const fs::path &target, const void *data, std::size_t size) {
    AtomicFile out(target);
    std::FILE *f = std::fopen(out.temp_path().c_str(), "wb");
    if (f == nullptr) fail_io("cannot write " + target.string() + ": " + std::strerror(errno));
    const bool written = std::fwrite(data, 1, size, f) == size;
    const bool closed = std::fclose(f) == 0;
    if (!written || !closed) fail_io("cannot write " + target.string() + ": " + std::strerror(errno));
    out.commit();
}

AtomicDirectory::AtomicDirectory(fs::path target) : target_(std::move(target)) {
    if (target_ == "-") fail_usage("- (standard output) cannot hold a directory: give a directory name");
    resolved_ = follow_links(target_);
    std::error_code ec;
    if (fs::exists(resolved_, ec) && !fs::is_directory(resolved_, ec))
        fail_io("cannot write " + target_.string() + ": it exists and is not a directory");
    temp_ = temporary_beside(resolved_);
    remove_stale_temporaries(resolved_);
    slot_ = register_pending(temp_, true);
    if (!fs::create_directory(temp_, ec)) {
        release_pending(slot_);
        fail_io("cannot write " + target_.string() + ": " + (ec ? describe(ec) : "temporary exists"));
    }
}

AtomicDirectory::~AtomicDirectory() {
    if (!committed_) {
        std::error_code ec;
        fs::remove_all(temp_, ec);
        release_under(temp_);
    }
}

fs::path AtomicDirectory::file(const std::string &name) {
    const fs::path path = temp_ / name;
    register_pending(path, false);  // released with the directory below
    return path;
}

void AtomicDirectory::commit() {
    std::error_code ec;
    if (!fs::exists(resolved_, ec)) {
        fs::rename(temp_, resolved_, ec);
        if (ec) fail_io("cannot write " + target_.string() + ": " + describe(ec));
    } else if (renameat2(AT_FDCWD, temp_.c_str(), AT_FDCWD, resolved_.c_str(), RENAME_EXCHANGE) == 0) {
        // Swapped in one step: the temporary name now holds the old directory.
        committed_ = true;
        release_under(temp_);
        fs::remove_all(temp_, ec);
        return;
    } else {
        // A file system without the exchange: the old directory steps aside
        // first (under a name no stale-temporary sweep removes), and comes
        // back if the new one cannot be put in place.
        const fs::path old = temporary_beside(resolved_, ".old");
        fs::rename(resolved_, old, ec);
        if (ec) fail_io("cannot replace " + target_.string() + ": " + describe(ec));
        fs::rename(temp_, resolved_, ec);
        if (ec) {
            std::error_code back;
            fs::rename(old, resolved_, back);
            fail_io("cannot write " + target_.string() + ": " + describe(ec));
        }
        fs::remove_all(old, ec);
    }
    committed_ = true;
    release_under(temp_);
}

}  // namespace radimo::cli
