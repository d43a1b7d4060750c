#pragma once

#include <cstdint>

namespace vexo {

/// Calls a function periodically. All timers of the process share one thread, which checks them every 50 ms: a timer
/// fires at the first check at or after the end of its interval, and its next interval begins there.
///
/// Threads:  Start, Stop and the destructor from any thread but the timers' own: a callback must not start, stop or
///           destroy a timer. Callbacks run one after the other; a long one delays the others.
/// Clock:    the wall clock. If it is set back, a timer does not fire until the clock has caught up.
class UTimer {
public:
    using Callback = void (*)(void *);

    /// An `intervalUs` of 50000 microseconds (the thread's own step) or less disables the timer permanently.
    UTimer(Callback callback, void *userData, uint32_t intervalUs);
    /// After it returns, no callback runs. The last timer also ends the thread, which takes one step at most.
    ~UTimer();
    UTimer(const UTimer &) = delete;
    UTimer &operator=(const UTimer &) = delete;

    /// Starts the timer, also after Stop; its first interval begins now. A running timer is unchanged.
    void Start();
    void Stop();

private:
    friend struct UTimerThread;

    Callback callback;
    void *user_data;
    uint32_t interval;
    int running = 0;
    int64_t last_fire = 0;
};

}  // namespace vexo
