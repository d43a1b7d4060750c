#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

namespace oriplayer {

/// How fast bytes come, between the questions of whoever watches: over the time since the last answer, but at least
/// half a second, so that two questions in a row get the same one.
/// Threads: any. Lock: mutex_, a leaf.
class DownloadSpeed {
public:
    double bytesPerSecond(int64_t bytes) {
        using namespace std::chrono;
        std::lock_guard lock(mutex_);
        const auto now = steady_clock::now();
        const double seconds = duration<double>(now - since_).count();
        if (seconds >= 0.5) {
            speed_ = static_cast<double>(bytes - bytes_) / seconds;
            since_ = now;
            bytes_ = bytes;
        }
        return speed_;
    }

private:
    std::mutex mutex_;
    std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
    int64_t bytes_ = 0;
    double speed_ = 0.0;
};

}  // namespace oriplayer
