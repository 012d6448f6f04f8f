#include "core/progress.h"

#include <unistd.h>

#include <cstdio>

namespace radimo::cli {

Progress::Progress(std::string label, std::size_t total, bool quiet)
    : label_(std::move(label)), total_(total), shown_(!quiet && isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (shown_ && done_ > 0) std::fputc('\n', stderr);
}

void Progress::advance() {
    ++done_;
    if (shown_) draw();
}

void Progress::draw() const {
    constexpr std::size_t kWidth = 30;
    if (total_ == 0) {
        std::fprintf(stderr, "\r%s: %zu frames", label_.c_str(), done_);
    } else {
        const std::size_t filled = done_ * kWidth / total_;
        std::string bar(filled, '#');
        bar.resize(kWidth, '.');
        std::fprintf(stderr, "\r%s [%s] %zu/%zu frames", label_.c_str(), bar.c_str(), done_, total_);
    }
    std::fflush(stderr);
}

}  // namespace radimo::cli
