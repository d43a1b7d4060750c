#include "looper/timed_message_looper.h"

#include <algorithm>

#include "base/log.h"

namespace vexo {
namespace {

using Clock = std::chrono::system_clock;

// Set on a worker thread by its quit task.
thread_local bool quit_ = false;

// Messages that are sent together arrive within this time. A longer one would only delay the start of a long sleep.
constexpr std::chrono::milliseconds kGatherTime{5};

// The result is within the range of the system clock. Its ticks are finer than those of TimePoint, and a wait converts
// to them: a later time would overflow.
TimedThreadMessage::TimePoint DueIn(int64_t delayMs) {
    using std::chrono::milliseconds;
    const auto now = std::chrono::time_point_cast<TimedThreadMessage::Tick>(Clock::now());
    const auto latest = std::chrono::time_point_cast<TimedThreadMessage::Tick>(Clock::time_point::max());
    const auto most = std::chrono::duration_cast<milliseconds>(latest - now);
    const auto least = std::chrono::duration_cast<milliseconds>(TimedThreadMessage::TimePoint{} - now);
    return now + std::clamp(milliseconds(delayMs), least, most);
}

}  // namespace

TimedMessageLooper::TimedMessageLooper() {
    queue_.reserve(1);
    Start();
}

TimedMessageLooper::~TimedMessageLooper() {
    VEXO_PRINT(LOG_INFO, "TimedMessageLooper::destruct:%p", static_cast<void *>(this));
    Stop();
    if (thread_.joinable()) {
        VEXO_PRINT(LOG_INFO, "TimedMessageLooper::join:%p", static_cast<void *>(this));
        thread_.join();
    }
}

void TimedMessageLooper::Start() {
    thread_ = std::thread([this] { Run(); });
}

void TimedMessageLooper::SendMessage(TimedThreadMessage &message, int64_t delayMs) {
    if (quit_) return;
    const std::lock_guard lock(mutex_);
    const std::size_t needed = queue_.size() + 2;  // this message and a quit message
    if (queue_.capacity() < needed) queue_.reserve(2 * needed);
    Store(message, delayMs);
}

void TimedMessageLooper::Store(TimedThreadMessage &message, int64_t delayMs) {
    message.trigger_time = DueIn(delayMs);
    const auto place =
        std::lower_bound(queue_.begin() + begin_, queue_.end(), message.trigger_time,
                         [](const TimedThreadMessage &one, const auto &time) { return one.trigger_time < time; });
    queue_.insert(place, message);
    ++arrivals_;
    condition_.notify_one();
    VEXO_PRINT(LOG_DEBUG, "message_queue:%d", static_cast<int>(std::ssize(queue_) - begin_));
}

void TimedMessageLooper::Stop() noexcept {
    {
        const std::lock_guard lock(sleep_mutex_);
        stopping_ = true;
    }
    sleep_condition_.notify_all();
    if (quit_) return;
    TimedThreadMessage quit;
    quit.task = [] { quit_ = true; };
    const std::lock_guard lock(mutex_);
    // SendMessage keeps room for one quit message. If there is none, one is queued already or the worker has ended.
    if (queue_.size() < queue_.capacity()) Store(quit, 0);
}

void TimedMessageLooper::ClearMessages() {
    std::vector<TimedThreadMessage> dropped;  // destroyed without mutex_, because the end of a task may use this looper
    dropped.reserve(1);
    const std::lock_guard lock(mutex_);
    dropped.swap(queue_);
    begin_ = 0;
}

void TimedMessageLooper::Run() {
    quit_ = false;
    std::unique_lock lock(mutex_);
    while (true) {
        if (!quit_ && Empty()) {
            VEXO_PRINT(LOG_DEBUG, "message empty");
            condition_.wait(lock, [this] { return !Empty(); });
        }
        if (quit_) break;
        if (!WaitUntilDue(lock)) continue;
        TimedThreadMessage message = TakeEarliest();
        lock.unlock();
        HandleMessage(message);
        message = {};
        lock.lock();
    }
    std::vector<TimedThreadMessage> dropped;
    dropped.swap(queue_);
    begin_ = 0;
    lock.unlock();
}

bool TimedMessageLooper::FrontIsDue() {
    return Front().trigger_time <= Clock::now();
}

// True if the first message is due. False if the queue has changed or Stop was called: the caller has to look again.
bool TimedMessageLooper::WaitUntilDue(std::unique_lock<std::mutex> &lock) {
    if (FrontIsDue()) return true;
    if (stopping_) {  // the quit message is about to be queued, so the queue must not stay locked
        const auto time = Front().trigger_time;
        condition_.wait_until(lock, time);
        return false;
    }
    Gather(lock);
    if (Empty()) return false;
    const auto time = Front().trigger_time;
    std::unique_lock sleep(sleep_mutex_);
    return !sleep_condition_.wait_until(sleep, time, [this] { return stopping_.load(); });
}

// Waits for the other messages of a group that is sent together, before the queue is locked for the earliest of them.
void TimedMessageLooper::Gather(std::unique_lock<std::mutex> &lock) {
    uint64_t seen = arrivals_ - 1;
    while (seen != arrivals_ && !Empty() && !FrontIsDue() && !stopping_) {
        seen = arrivals_;
        const Clock::time_point time = Front().trigger_time;
        condition_.wait_until(lock, std::min<Clock::time_point>(time, Clock::now() + kGatherTime),
                              [&] { return seen != arrivals_ || Empty(); });
    }
}

// Takes the oldest of the messages with the earliest time. Erases taken elements in groups, because each erasure moves
// all messages that wait.
TimedThreadMessage TimedMessageLooper::TakeEarliest() {
    const auto first = queue_.begin() + begin_;
    auto place = first;
    while (place + 1 != queue_.end() && (place + 1)->trigger_time == first->trigger_time) ++place;
    TimedThreadMessage message = std::move(*place);
    std::move_backward(first, place, place + 1);
    queue_[static_cast<std::size_t>(begin_)] = {};
    ++begin_;
    if (2 * begin_ >= std::ssize(queue_)) {
        queue_.erase(queue_.begin(), queue_.begin() + begin_);
        begin_ = 0;
    }
    return message;
}

void TimedMessageLooper::HandleMessage(TimedThreadMessage &message) {
    VEXO_PRINT(LOG_DEBUG, "handle message:%p, task:%p", static_cast<void *>(&message),
               static_cast<void *>(&message.task));
    if (message.task) message.task();
}

}  // namespace vexo
