#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <mutex>
#include <ratio>
#include <thread>
#include <vector>

namespace vexo {

/// Work for a TimedMessageLooper. An empty task is skipped.
struct TimedThreadMessage {
    /// The system clock in ticks of 100 nanoseconds.
    using Tick = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
    using TimePoint = std::chrono::time_point<std::chrono::system_clock, Tick>;

    std::function<void()> task;
    TimePoint trigger_time{};  ///< set by SendMessage
};

/// One worker thread that runs tasks, each not before the time that its sender chose, in the order of those times.
///
/// Threads:  any may send, stop and clear; tasks run on the worker, one at a time, and may send themselves. The
///           destructor runs anywhere but on the worker.
/// Waiting:  while the worker sleeps for a message that is not yet due it holds the queue: senders and ClearMessages
///           wait until it is due, and a shorter delay sent meanwhile does not overtake. Only Stop ends that sleep.
/// Stop:     what is due runs, then the worker ends; what is not due by then never runs.
/// Faults:   an exception that leaves a task ends the process. The times stand on the wall clock and follow its jumps.
class TimedMessageLooper {
public:
    TimedMessageLooper();
    ~TimedMessageLooper();
    TimedMessageLooper(const TimedMessageLooper &) = delete;
    TimedMessageLooper &operator=(const TimedMessageLooper &) = delete;

    /// Writes the time into `message` and queues a copy. A delay of 0 or less is due at once. One that reaches beyond
    /// the system clock's range, in the year 2262, is cut to that.
    void SendMessage(TimedThreadMessage &message, int64_t delayMs);
    /// Sends the quit message and ends the worker's sleep. Does not wait, and needs no memory.
    void Stop() noexcept;
    void ClearMessages();

private:
    void Start();
    void Run();
    void HandleMessage(TimedThreadMessage &message);

    // With mutex_ held:
    void Store(TimedThreadMessage &message, int64_t delayMs);
    bool Empty() const { return begin_ == std::ssize(queue_); }
    TimedThreadMessage &Front() { return queue_[static_cast<std::size_t>(begin_)]; }
    bool FrontIsDue();
    bool WaitUntilDue(std::unique_lock<std::mutex> &lock);
    void Gather(std::unique_lock<std::mutex> &lock);
    TimedThreadMessage TakeEarliest();

    std::mutex mutex_;
    std::condition_variable condition_;
    std::thread thread_;
    // From begin_ on: ascending trigger_time, among equal times the newest first. Before begin_: taken, to be erased.
    // Its capacity always has room for a quit message.
    std::vector<TimedThreadMessage> queue_;
    std::ptrdiff_t begin_ = 0;
    uint64_t arrivals_ = 0;

    // The sleep with mutex_ held has a condition of its own, so that Stop can end it without mutex_.
    std::mutex sleep_mutex_;
    std::condition_variable sleep_condition_;
    std::atomic<bool> stopping_{false};
};

}  // namespace vexo
