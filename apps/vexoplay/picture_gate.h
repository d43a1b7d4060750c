#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace vexoplay {

/// Holds a picture thread up for the moment in which the main thread changes timelines, so that each picture finds its
/// player and none slips out behind the one that was asked for.
/// Threads:  any; pass() waits, the others do not.
class PictureGate {
public:
    /// A main thread that is away for longer (a slow terminal) must not stop the engine.
    static constexpr std::chrono::milliseconds kPatience{500};

    void close() {
        std::lock_guard lock(mutex_);
        closed_ = true;
    }
    void open() {
        {
            std::lock_guard lock(mutex_);
            closed_ = false;
        }
        opened_.notify_all();
    }
    void pass() {
        std::unique_lock lock(mutex_);
        opened_.wait_for(lock, kPatience, [this] { return !closed_; });
    }

private:
    std::mutex mutex_;  ///< leaf
    std::condition_variable opened_;
    bool closed_ = false;
};

}  // namespace vexoplay
