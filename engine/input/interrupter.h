#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>

#include "ffmpeg.h"

namespace oriplayer {

/// Ends FFmpeg's blocking calls: when somebody asks for it, or when the time of the call is up.
/// Threads: abort(), breakOff(), goOn() and watch() from any; begin() and the rest from the thread that calls FFmpeg,
///          which asks at least every 100 ms.
class Interrupter {
public:
    /// `cancel` may be null; it is watched as long as the object lives, or until it is another one.
    void watch(const std::atomic<bool> *cancel) { cancel_ = cancel; }
    /// Is aborted whenever this one is; null or outlives the object.
    void follow(const Interrupter *leader) { leader_ = leader; }
    /// Starts the time of one call.
    void begin(int timeoutMs) {
        last_ = deadline_ = Clock::now() + std::chrono::milliseconds(timeoutMs);
        bytes_ = nullptr;
        interrupted_ = false;
    }
    /// The same, but as long as `bytes` grows the time begins anew, kMaxTimes times at most: a big picture on a slow
    /// line is no stall. `bytes` must outlive the call.
    void begin(int timeoutMs, const std::function<int64_t()> &bytes) {
        begin(timeoutMs);
        patience_ = std::chrono::milliseconds(timeoutMs);
        last_ = Clock::now() + kMaxTimes * patience_;
        seenBytes_ = bytes();
        bytes_ = &bytes;
    }
    /// For good: everything that comes later is refused as well.
    void abort() { aborted_.store(true, std::memory_order_relaxed); }
    /// What is under way is of no use any more; goOn() allows the next.
    void breakOff() { brokenOff_ = true; }
    void goOn() { brokenOff_ = false; }
    /// From now on calls are aborted as well that are of no use any more, once they have taken 200 ms: `newest` is not
    /// `number` then. Null: for whatever they are.
    void serve(const std::atomic<uint32_t> *newest, uint32_t number) {
        newest_ = newest;
        number_ = number;
        uselessFrom_ = Clock::now() + std::chrono::milliseconds(200);
    }

    bool aborted() const {
        const std::atomic<bool> *cancel = cancel_;
        return aborted_.load(std::memory_order_relaxed) || brokenOff_.load(std::memory_order_relaxed) ||
               (cancel && cancel->load(std::memory_order_relaxed)) || outdated() || (leader_ && leader_->aborted());
    }
    AVIOInterruptCB callback() { return {&Interrupter::ask, this}; }

    /// FFmpeg answers an interrupted call with many numbers, the end of the file among them: what it really was.
    int meaning(int result) {
        if (result >= 0) return result;
        if (aborted()) return AVERROR_EXIT;
        return interrupted_ || expired() ? AVERROR(ETIMEDOUT) : result;
    }

    /// The call that is under way, or was last, has been told to end.
    bool interrupted() const { return interrupted_; }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr int kMaxTimes = 8;

    bool outdated() const { return newest_ && *newest_ != number_ && Clock::now() >= uselessFrom_; }
    bool expired() {
        const Clock::time_point now = Clock::now();
        const int64_t bytes = bytes_ ? (*bytes_)() : seenBytes_;
        if (bytes != seenBytes_) deadline_ = std::min(now + patience_, last_);
        seenBytes_ = bytes;
        return now >= deadline_;
    }

    static int ask(void *self) {
        auto *interrupter = static_cast<Interrupter *>(self);
        if (interrupter->aborted() || interrupter->expired()) interrupter->interrupted_ = true;
        return interrupter->interrupted_ ? 1 : 0;
    }

    std::atomic<const std::atomic<bool> *> cancel_{nullptr};
    const Interrupter *leader_ = nullptr;
    std::atomic<bool> aborted_{false};
    std::atomic<bool> brokenOff_{false};
    const std::atomic<uint32_t> *newest_ = nullptr;
    uint32_t number_ = 0;
    Clock::time_point uselessFrom_;
    Clock::time_point deadline_ = Clock::time_point::max();
    Clock::time_point last_ = Clock::time_point::max();
    std::chrono::milliseconds patience_{0};
    const std::function<int64_t()> *bytes_ = nullptr;
    int64_t seenBytes_ = 0;
    bool interrupted_ = false;
};

}  // namespace oriplayer
