#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <iterator>
#include <mutex>

namespace oriplayer {

/// How fast bytes arrive now: over the last two seconds, however often it is asked for. At the beginning it is over the
/// time since then, half a second at least.
/// Threads: any. Lock: mutex_, a leaf.
class DownloadSpeed {
public:
    using Clock = std::chrono::steady_clock;

    explicit DownloadSpeed(Clock::time_point begin = Clock::now()) : samples_{{begin, 0}} {}

    /// `bytes` have arrived in all.
    void count(int64_t bytes, Clock::time_point now = Clock::now()) {
        std::lock_guard lock(mutex_);
        if (bytes == bytes_) return;
        bytes_ = bytes;
        if (now < samples_.back().time + kStep) return;
        samples_.push_back({now, bytes});
        while (samples_.size() > 1 && samples_[1].time <= now - kWindow) samples_.pop_front();
    }

    double bytesPerSecond(Clock::time_point now = Clock::now()) const {
        std::lock_guard lock(mutex_);
        auto oldest = samples_.begin();
        while (std::next(oldest) != samples_.end() && std::next(oldest)->time <= now - kWindow) ++oldest;
        const auto time = std::clamp<Clock::duration>(now - oldest->time, kLeast, kWindow);
        return static_cast<double>(bytes_ - oldest->bytes) / std::chrono::duration<double>(time).count();
    }

private:
    static constexpr std::chrono::seconds kWindow{2};
    static constexpr std::chrono::milliseconds kLeast{500};
    static constexpr std::chrono::milliseconds kStep{100};  // of the samples

    struct Sample {
        Clock::time_point time;
        int64_t bytes;
    };

    mutable std::mutex mutex_;
    std::deque<Sample> samples_;  // oldest first, never empty
    int64_t bytes_ = 0;
};

}  // namespace oriplayer
