#include "looper/u_timer.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <forward_list>
#include <mutex>

#include "base/clock.h"

namespace vexo {
namespace {

constexpr uint32_t kStepUs = 50000;

pthread_mutex_t timer_mutex = PTHREAD_MUTEX_INITIALIZER;  // timer_list, and running and last_fire of its timers
// Newest first. A change also needs sLifeMutex. Never destroyed, because the thread may still run when the process
// ends.
auto &timer_list = *new std::forward_list<UTimer *>;
std::atomic<bool> timer_thread_running{false};

// Held during a whole start and during a whole end with its join, so that a timer that starts while the last one ends
// does not rely on a thread that is about to end.
std::mutex sLifeMutex;
pthread_t timer_thread;      // under sLifeMutex
bool sThreadExists = false;  // under sLifeMutex

// If a lock operation fails, this prints it and continues: the timers keep running as well as possible.
class TimerLock {
public:
    TimerLock() {
        if (pthread_mutex_lock(&timer_mutex) != 0) std::fputs("UTimer::lock failed", stdout);
    }
    ~TimerLock() {
        if (pthread_mutex_unlock(&timer_mutex) != 0) std::fputs("UTimer::unlock failed", stdout);
    }
    TimerLock(const TimerLock &) = delete;
    TimerLock &operator=(const TimerLock &) = delete;
};

int64_t GetTimeUs() {
    return static_cast<int64_t>(GetCurrentTimeMs()) * 1000;
}

bool IsListed(const UTimer *timer) {
    for (const UTimer *listed : timer_list)
        if (listed == timer) return true;
    return false;
}

}  // namespace

struct UTimerThread {
    static void Begin() {
        timer_thread_running = true;
        sThreadExists = pthread_create(&timer_thread, nullptr, &UTimerThread::timerThread, nullptr) == 0;
        if (sThreadExists) return;
        timer_thread_running = false;  // the next Start tries again
        std::fputs("pthread_create timerThread failed:start", stdout);
    }

    static void End() {
        timer_thread_running = false;
        if (sThreadExists) pthread_join(timer_thread, nullptr);
        sThreadExists = false;
    }

    static void *timerThread(void *) {
        std::fputs("timerThread enter", stdout);
        while (timer_thread_running) {
            usleep(kStepUs);
            const TimerLock lock;
            for (UTimer *timer : timer_list) Look(*timer);
        }
        std::fputs("timerThread exit", stdout);
        return nullptr;
    }

    static void Look(UTimer &timer) {
        if (timer.running == 0) return;
        const int64_t now = GetTimeUs();
        const int64_t elapsed = now - timer.last_fire;
        if (elapsed < 0 || elapsed < timer.interval) return;
        timer.last_fire = now;
        timer.callback(timer.user_data);
    }
};

UTimer::UTimer(Callback function, void *userData, uint32_t intervalUs)
    : callback(intervalUs > kStepUs ? function : nullptr), user_data(userData), interval(intervalUs) {}

UTimer::~UTimer() {
    const std::lock_guard life(sLifeMutex);
    if (!IsListed(this)) return;
    {
        const TimerLock lock;
        timer_list.remove(this);
        running = 0;
    }
    if (timer_list.empty()) UTimerThread::End();
}

void UTimer::Start() {
    if (callback == nullptr) return;
    const std::lock_guard life(sLifeMutex);
    {
        const TimerLock lock;
        if (!IsListed(this)) timer_list.push_front(this);
        if (running == 0) {
            last_fire = GetTimeUs();
            running = 1;
        }
    }
    if (!timer_thread_running) UTimerThread::Begin();
}

void UTimer::Stop() {
    const TimerLock lock;
    running = 0;
}

}  // namespace vexo
