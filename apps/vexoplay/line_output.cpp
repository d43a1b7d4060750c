#include "line_output.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "steady_clock.h"

namespace vexoplay {

void LineOutput::add(const std::string &line) {
    if (!error_.empty()) return;
    waiting_ += line;
    waiting_ += '\n';
    pump();
}

// A pipe that polls as writable takes PIPE_BUF bytes without blocking. The descriptor is not made non-blocking: that
// would change it for everybody who shares it.
bool LineOutput::writeSome(int timeoutMs) {
    pollfd ready{descriptor_, POLLOUT, 0};
    if (poll(&ready, 1, timeoutMs) <= 0) return false;
    const ssize_t written = ::write(descriptor_, waiting_.data(), std::min<std::size_t>(waiting_.size(), PIPE_BUF));
    if (written > 0) {
        waiting_.erase(0, static_cast<std::size_t>(written));
        return true;
    }
    if (errno == EINTR || errno == EAGAIN) return true;
    error_ = std::strerror(errno);
    waiting_.clear();
    return false;
}

void LineOutput::pump() {
    while (!waiting_.empty() && writeSome(0)) continue;
}

bool LineOutput::flush(int timeoutMs) {
    const int64_t end = steadyUs() + int64_t{timeoutMs} * 1000;
    while (!waiting_.empty()) {
        const int64_t left = (end - steadyUs()) / 1000;
        if (left <= 0 || !writeSome(static_cast<int>(left))) break;
    }
    return waiting_.empty() && error_.empty();
}

}  // namespace vexoplay
