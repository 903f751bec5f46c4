#pragma once

#include <chrono>
#include <string>

namespace tool {

/* A meter on standard error: one line that is drawn over, shown only when standard error is a terminal, and gone at the
 * end. */
class Progress {
public:
    /* `task` is what is being done, as in "Reading scene.tif". Without `wanted` nothing is ever shown. */
    Progress(std::string task, bool wanted);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /* `done` of `total` steps; also the place where an interrupt is noticed. */
    void update(double done, double total);

private:
    std::string task_;
    bool shown_;
    int lastPercent_ = -1;
    std::chrono::steady_clock::time_point begun_;
};

}  // namespace tool
