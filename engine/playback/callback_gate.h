#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace oriplayer {

/// The door through which one thread of a player goes out to the application's code. Closed, nobody goes out any more,
/// and whoever closed it can wait for the one who is still outside.
///
/// Threads: passes are taken by one thread, one at a time; all else from any.
class CallbackGate {
public:
    /// One call outside; false if the gate was closed: the call must not be made then.
    class Pass {
    public:
        explicit Pass(CallbackGate &gate) : gate_(gate), given_(gate.leave()) {}
        ~Pass() {
            if (given_) gate_.comeBack();
        }
        Pass(const Pass &) = delete;
        Pass &operator=(const Pass &) = delete;
        explicit operator bool() const { return given_; }

    private:
        CallbackGate &gate_;
        const bool given_;
    };

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
    bool leave() {
        std::lock_guard lock(mutex_);
        if (closed_) return false;
        outside_ = std::this_thread::get_id();
        return true;
    }

    void comeBack() {
        std::lock_guard lock(mutex_);
        outside_ = {};
        condition_.notify_all();
    }

    mutable std::mutex mutex_;
    std::condition_variable condition_;
    std::thread::id outside_;
    bool closed_ = false;
};

}  // namespace oriplayer
