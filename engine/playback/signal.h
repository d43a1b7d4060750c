#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace oriplayer {

using SteadyTime = std::chrono::steady_clock::time_point;

/// Wakes one thread. A notify() that comes while the thread works is kept for its next wait, so that a thread may look
/// at its state, find nothing to do and wait, without a lock over both.
/// Threads: notify() from any; one thread waits.
class Signal {
public:
    void notify() {
        {
            std::lock_guard lock(mutex_);
            set_ = true;
        }
        condition_.notify_one();
    }

    /// Returns behind a notify() or at the deadline; without a deadline behind a notify() only.
    void wait(std::optional<SteadyTime> deadline = std::nullopt) {
        std::unique_lock lock(mutex_);
        if (deadline) {
            condition_.wait_until(lock, *deadline, [this] { return set_; });
        } else {
            condition_.wait(lock, [this] { return set_; });
        }
        set_ = false;
    }

private:
    std::mutex mutex_;
    std::condition_variable condition_;
    bool set_ = false;
};

}  // namespace oriplayer
