#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <tuple>
#include <utility>

namespace oriplayer {

/// Closes the inputs and frees the decoders of players that are gone, so that the player behind them does not wait for
/// that.
///
/// Threads:  any; one thread of low priority, "ori-reaper", works from the first task on.
/// Lock:     one of its own, a leaf; tasks run without it.
/// Waiting:  only its end waits, for what was given to it, at most a second: a closing that hangs in the system holds
///           up no process.
class Reaper {
public:
    /// Ends before the process' static objects go; what comes later is done by whoever brings it.
    static Reaper &instance();

    Reaper();
    ~Reaper();
    Reaper(const Reaper &) = delete;
    Reaper &operator=(const Reaper &) = delete;

    /// False, and the task is the caller's own, if too many wait or the system gives no thread.
    bool offer(std::function<void()> task);
    /// Lets go of the things, on the calling thread if it must be.
    template <typename... Things> void bury(Things... things) {
        auto all = std::make_shared<std::tuple<Things...>>(std::move(things)...);
        offer([all = std::move(all)]() mutable { all.reset(); });
    }
    /// Does what is waiting and takes nothing any more.
    void end();

private:
    struct State;
    static void run(const std::shared_ptr<State> &state);

    const std::shared_ptr<State> state_;  ///< the thread's as well: it may hang beyond this object
};

}  // namespace oriplayer
