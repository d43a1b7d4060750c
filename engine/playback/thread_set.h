#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "playback/signal.h"

namespace oriplayer {

/// The threads of one player. They run detached and share the player's state, so that one that hangs in a system call
/// costs nobody a wait: it ends when the call returns and frees what is left then.
///
/// Threads: any, also one of its own.
class ThreadSet {
public:
    /// Starts `body` on a thread of this name (at most 15 characters). `owner` holds this object and lives until the
    /// body has returned. False if the system gives no thread.
    bool launch(const char *name, std::shared_ptr<void> owner, std::function<void()> body);
    /// Waits until every thread but the calling one has ended. False at the deadline.
    bool waitForOthers(SteadyTime deadline);

private:
    void ended();
    bool othersRun() const;

    mutable std::mutex mutex_;
    std::condition_variable condition_;
    std::vector<std::thread::id> running_;  ///< guarded by mutex_
    int starting_ = 0;                      ///< launched, not yet in running_; guarded by mutex_
};

}  // namespace oriplayer
