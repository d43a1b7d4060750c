#include "looper/timed_message_looper.h"

#include <algorithm>

#include "base/log.h"

namespace vexo {
namespace {

using Clock = std::chrono::system_clock;

// One flag a worker thread, set by the quit task that runs there.
thread_local bool quit_ = false;

// Messages that are sent together arrive within this time; longer would only delay the start of a long sleep.
constexpr std::chrono::milliseconds kGatherTime{5};

}  // namespace

TimedMessageLooper::TimedMessageLooper() {
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
    message.trigger_time =
        std::chrono::time_point_cast<TimedThreadMessage::Tick>(Clock::now()) + std::chrono::milliseconds(delayMs);
    Store(message);
    ++arrivals_;
    condition_.notify_one();
    VEXO_PRINT(LOG_DEBUG, "message_queue:%d", static_cast<int>(queue_.size()));
}

void TimedMessageLooper::Store(const TimedThreadMessage &message) {
    const auto place =
        std::lower_bound(queue_.begin(), queue_.end(), message.trigger_time,
                         [](const TimedThreadMessage &one, const auto &time) { return one.trigger_time < time; });
    queue_.insert(place, message);
}

void TimedMessageLooper::Stop() {
    {
        const std::lock_guard lock(sleep_mutex_);
        stopping_ = true;
    }
    sleep_condition_.notify_all();
    TimedThreadMessage quit;
    quit.task = [] { quit_ = true; };
    SendMessage(quit, 0);
}

void TimedMessageLooper::ClearMessages() {
    std::vector<TimedThreadMessage> dropped;  // ends without mutex_: a task may own what uses this looper
    const std::lock_guard lock(mutex_);
    dropped.swap(queue_);
}

void TimedMessageLooper::Run() {
    quit_ = false;
    std::unique_lock lock(mutex_);
    while (true) {
        if (!quit_ && queue_.empty()) {
            VEXO_PRINT(LOG_DEBUG, "message empty");
            condition_.wait(lock, [this] { return !queue_.empty(); });
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
    lock.unlock();
}

bool TimedMessageLooper::FrontIsDue() const {
    return queue_.front().trigger_time <= Clock::now();
}

// False: the queue has changed, or a stop was asked for; look again.
bool TimedMessageLooper::WaitUntilDue(std::unique_lock<std::mutex> &lock) {
    if (FrontIsDue()) return true;
    if (stopping_) {  // the quit message is on its way here and needs the queue
        const auto time = queue_.front().trigger_time;
        condition_.wait_until(lock, time);
        return false;
    }
    Gather(lock);
    if (queue_.empty()) return false;
    const auto time = queue_.front().trigger_time;
    std::unique_lock sleep(sleep_mutex_);
    return !sleep_condition_.wait_until(sleep, time, [this] { return stopping_.load(); });
}

// Lets the senders of messages that belong together come in before the queue is held for the earliest of them.
void TimedMessageLooper::Gather(std::unique_lock<std::mutex> &lock) {
    uint64_t seen = arrivals_ - 1;
    while (seen != arrivals_ && !queue_.empty() && !stopping_) {
        seen = arrivals_;
        const Clock::time_point time = queue_.front().trigger_time;
        condition_.wait_until(lock, std::min<Clock::time_point>(time, Clock::now() + kGatherTime),
                              [&] { return seen != arrivals_ || queue_.empty(); });
    }
}

TimedThreadMessage TimedMessageLooper::TakeEarliest() {
    auto place = queue_.begin();
    while (place + 1 != queue_.end() && (place + 1)->trigger_time == place->trigger_time) ++place;
    TimedThreadMessage message = std::move(*place);
    queue_.erase(place);
    return message;
}

void TimedMessageLooper::HandleMessage(TimedThreadMessage &message) {
    VEXO_PRINT(LOG_DEBUG, "handle message:%p, task:%p", static_cast<void *>(&message),
               static_cast<void *>(&message.task));
    if (message.task) message.task();
}

}  // namespace vexo
