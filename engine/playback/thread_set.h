#pragma once

#include <array>
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
    enum class Role {
        kTells,  ///< goes out to the application
        kWorks,
    };
    /// Starts `body` on a thread of this name (at most 15 characters). `owner` holds this object and lives until the
    /// body has returned. False if the system gives no thread.
    bool launch(const char *name, Role role, std::shared_ptr<void> owner, std::function<void()> body);
    /// Waits until every thread of this role but the calling one has ended. False at the deadline.
    bool waitForOthers(Role role, SteadyTime deadline);

private:
    struct Thread {
        std::thread::id id;
        Role role = Role::kWorks;
    };
    void ended();
    bool othersRun(Role role) const;

    mutable std::mutex mutex_;
    std::condition_variable condition_;
    // Guarded by mutex_.
    std::vector<Thread> running_;
    std::array<int, 2> starting_{};  ///< a role: launched, not yet in running_
};

}  // namespace oriplayer
