#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "ffmpeg.h"

namespace oriplayer {

/// Ends FFmpeg's blocking calls: when somebody asks for it, or when the time of the call is up.
/// Threads:  abort() from any; begin() and the rest from the thread that calls FFmpeg. FFmpeg asks at least every 100
/// ms.
class Interrupter {
public:
    /// `cancel` may be null; it is watched as long as the object lives.
    void watch(const std::atomic<bool> *cancel) { cancel_ = cancel; }
    /// Starts the time of one call.
    void begin(int timeoutMs) { deadline_ = Clock::now() + std::chrono::milliseconds(timeoutMs); }
    /// For good: everything that comes later is refused as well.
    void abort() { aborted_.store(true, std::memory_order_relaxed); }

    bool aborted() const {
        return aborted_.load(std::memory_order_relaxed) || (cancel_ && cancel_->load(std::memory_order_relaxed));
    }
    bool expired() const { return Clock::now() >= deadline_; }
    AVIOInterruptCB callback() { return {&Interrupter::ask, this}; }

    /// FFmpeg answers an interrupted call with many numbers, the end of the file among them: what it really was.
    int meaning(int result) const {
        if (result >= 0) return result;
        if (aborted()) return AVERROR_EXIT;
        return expired() ? AVERROR(ETIMEDOUT) : result;
    }

private:
    using Clock = std::chrono::steady_clock;
    static int ask(void *self) {
        const auto *interrupter = static_cast<const Interrupter *>(self);
        return interrupter->aborted() || interrupter->expired() ? 1 : 0;
    }

    const std::atomic<bool> *cancel_ = nullptr;
    std::atomic<bool> aborted_{false};
    Clock::time_point deadline_ = Clock::time_point::max();
};

}  // namespace oriplayer
