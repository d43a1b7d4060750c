#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <tuple>
#include <utility>

namespace oriplayer {

/// Closes the inputs and frees the decoders of ended players, so that the next player does not wait for that.
///
/// Threads:  any. One thread of low priority, "ori-reaper", runs the tasks; it is started with the first one.
/// Lock:     a private one, a leaf; tasks run without it.
/// Waiting:  only end() waits for the tasks, at most a second, so that a task that hangs in the system does not block
/// the
///           end of the process.
class Reaper {
public:
    /// The instance of the process. It ends before static objects are destroyed; later tasks run on the caller's
    /// thread.
    static Reaper &instance();

    Reaper();
    ~Reaper();
    Reaper(const Reaper &) = delete;
    Reaper &operator=(const Reaper &) = delete;

    /// Queues a task. False if too many wait or no thread can be started: then the caller has to run the task.
    bool offer(std::function<void()> task);
    /// Destroys the things on the reaper's thread, or on the calling thread if offer() refuses.
    template <typename... Things> void bury(Things... things) {
        auto all = std::make_shared<std::tuple<Things...>>(std::move(things)...);
        offer([all = std::move(all)]() mutable { all.reset(); });
    }
    /// Runs the tasks that wait and accepts no more.
    void end();

private:
    struct State;
    static void run(const std::shared_ptr<State> &state);

    const std::shared_ptr<State> state_;  ///< shared with the thread, which may exist longer than this object
};

}  // namespace oriplayer
