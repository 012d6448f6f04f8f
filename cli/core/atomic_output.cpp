#include "core/atomic_output.h"

#include <unistd.h>

#include <array>
#include <atomic>
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

// A unique temporary name beside the target: ".<name>.<pid>.<n>.tmp".
fs::path temporary_beside(const fs::path &target) {
    static unsigned counter = 0;
    const fs::path dir = target.has_parent_path() ? target.parent_path() : fs::path(".");
    return dir / ("." + target.filename().string() + "." + std::to_string(getpid()) + "." +
                  std::to_string(counter++) + ".tmp");
}

}  // namespace

void install_interrupt_cleanup() {
    std::signal(SIGINT, remove_pending_and_exit);
    std::signal(SIGTERM, remove_pending_and_exit);
}

AtomicFile::AtomicFile(fs::path target) : target_(std::move(target)), temp_(temporary_beside(target_)) {
    if (fs::is_directory(target_)) fail_io("cannot write " + target_.string() + ": it is a directory");
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
    fs::rename(temp_, target_, ec);
    if (ec) fail_io("cannot write " + target_.string() + ": " + describe(ec));
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

AtomicDirectory::AtomicDirectory(fs::path target)
    : target_(std::move(target)), temp_(temporary_beside(target_)) {
    if (fs::exists(target_) && !fs::is_directory(target_))
        fail_io("cannot write " + target_.string() + ": it exists and is not a directory");
    slot_ = register_pending(temp_, true);
    std::error_code ec;
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
    fs::path old;
    if (fs::exists(target_)) {
        old = temporary_beside(target_);
        fs::rename(target_, old, ec);
        if (ec) fail_io("cannot replace " + target_.string() + ": " + describe(ec));
    }
    fs::rename(temp_, target_, ec);
    if (ec) {
        if (!old.empty()) fs::rename(old, target_, ec);
        fail_io("cannot write " + target_.string() + ": " + describe(ec));
    }
    committed_ = true;
    release_under(temp_);
    if (!old.empty()) fs::remove_all(old, ec);
}

}  // namespace radimo::cli
