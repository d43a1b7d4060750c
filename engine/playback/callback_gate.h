#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace oriplayer {

/// The door through which one thread of a player goes out to the application's code. Closed, nobody goes out any more,
/// and whoever closed it can wait for the one who is still outside.
///
/// Threads: enter/leave by one thread in turn, all else from any.
class CallbackGate {
public:
    /// False if closed: the call must not be made.
    bool enter() {
        std::lock_guard lock(mutex_);
        if (closed_) return false;
        outside_ = std::this_thread::get_id();
        return true;
    }

    void leave() {
        std::lock_guard lock(mutex_);
        outside_ = {};
        condition_.notify_all();
    }

    void close() {
        std::lock_guard lock(mutex_);
        closed_ = true;
    }

    /// True if the calling thread runs inside the call.
    bool isOutside() const {
        std::lock_guard lock(mutex_);
        return outside_ == std::this_thread::get_id();
    }

    /// As long as the call under way takes; not to be used from inside it.
    void waitUntilBack() {
        std::unique_lock lock(mutex_);
        condition_.wait(lock, [this] { return outside_ == std::thread::id(); });
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable condition_;
    std::thread::id outside_;
    bool closed_ = false;
};

}  // namespace oriplayer
