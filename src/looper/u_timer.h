#pragma once

#include <cstdint>

namespace vexo {

/// Calls a function again and again. All timers of the process share one thread, which looks through them every 50 ms:
/// a timer fires at the first look at or behind its interval, and the next interval counts from there.
///
/// Threads:  Start, Stop and the destructor from any thread but the timers' own: a callback must not start, stop or
///           destroy a timer. Callbacks run one after the other; a long one delays the others.
/// Clock:    the wall clock. Set back, it silences a timer until it has caught up.
class UTimer {
public:
    using Callback = void (*)(void *);

    /// `intervalUs` of 50000 microseconds (the thread's own step) or less disables the timer for good.
    UTimer(Callback callback, void *userData, uint32_t intervalUs);
    /// Behind it no callback runs. The last timer ends the thread, which takes one step at most.
    ~UTimer();
    UTimer(const UTimer &) = delete;
    UTimer &operator=(const UTimer &) = delete;

    /// Begins or, behind Stop, resumes with a new phase. A running timer stays as it is.
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
