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

/// One worker thread that runs each task at the time that its sender has chosen or later, in the order of those times.
///
/// Threads:  send, stop and clear on any thread. Tasks run on the worker, one at a time, and may send messages. The
///           destructor must not run on the worker.
/// Waiting:  while the worker sleeps for a message that is not yet due it locks the queue. SendMessage and
/// ClearMessages
///           wait until that message is due, so a message with a shorter delay does not overtake it. Only Stop ends
///           that sleep.
/// Stop:     messages that are due run, then the worker ends; the others never run.
/// Faults:   an exception that leaves a task ends the process. The times are on the wall clock and follow its jumps.
class TimedMessageLooper {
public:
    TimedMessageLooper();
    ~TimedMessageLooper();
    TimedMessageLooper(const TimedMessageLooper &) = delete;
    TimedMessageLooper &operator=(const TimedMessageLooper &) = delete;

    /// Writes the time into `message` and queues a copy. With a delay of 0 or less it is due at once. A time after the
    /// end of the system clock's range, which is in the year 2262, is limited to that end.
    void SendMessage(TimedThreadMessage &message, int64_t delayMs);
    /// Sends the quit message and ends the worker's sleep. Does not wait for a task and needs no memory.
    void Stop() noexcept;
    void ClearMessages();

private:
    void Start();
    void Run();
    void HandleMessage(TimedThreadMessage &message);

    // These require mutex_:
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
    // The messages start at begin_, with ascending trigger_time; of equal times the newest is first. The elements
    // before begin_ have been taken and are erased later. The capacity always has room for a quit message.
    std::vector<TimedThreadMessage> queue_;
    std::ptrdiff_t begin_ = 0;
    uint64_t arrivals_ = 0;

    // For the sleep during which mutex_ is locked: Stop can end it without mutex_.
    std::mutex sleep_mutex_;
    std::condition_variable sleep_condition_;
    std::atomic<bool> stopping_{false};
};

}  // namespace vexo
