// A one-line progress bar on standard error, shown only when standard error
// is a terminal and the user did not ask for quiet.
#pragma once

#include <cstddef>
#include <string>

namespace radimo::cli {

class Progress {
public:
    // total 0: unknown (a count is shown instead of a bar).
    Progress(std::string label, std::size_t total, bool quiet);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void advance();

private:
    void draw() const;
    std::string label_;
    std::size_t total_;
    std::size_t done_ = 0;
    bool shown_;
};

}  // namespace radimo::cli
