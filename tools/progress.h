// A line on standard error that tells how far something long is; only where a person sees it, and after a second.
#pragma once

#include <chrono>
#include <cstddef>

class Progress {
public:
    Progress() = default;
    ~Progress() { erase(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void expect(size_t total) { total_ = total; }
    void step(const char *what); // one more is done
    void erase();                // before anything else is printed

private:
    std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    size_t total_ = 0;
    size_t done_ = 0;
    bool shown_ = false;
};
