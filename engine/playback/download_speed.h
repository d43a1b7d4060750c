#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <numeric>

namespace oriplayer {

/// The speed of a download over the last second, counted in steps of 100 ms. The result does not depend on when or how
/// often it is read.
/// Threads: any. Lock: mutex_, a leaf.
class DownloadSpeed {
public:
    using Time = std::chrono::steady_clock::time_point;

    void add(int64_t bytes, Time now) {
        std::lock_guard lock(mutex_);
        moveTo(now);
        arrived_[slotOf(step_)] += bytes;
    }

    /// 0 after a second without a byte.
    double bytesPerSecond(Time now) {
        std::lock_guard lock(mutex_);
        moveTo(now);
        const std::chrono::duration<double> counted = (kSteps - 1) * kStep + now.time_since_epoch() % kStep;
        return static_cast<double>(std::accumulate(arrived_.begin(), arrived_.end(), int64_t{0})) / counted.count();
    }

private:
    static constexpr std::chrono::milliseconds kStep{100};
    static constexpr int64_t kSteps = 10;

    static std::size_t slotOf(int64_t step) { return static_cast<std::size_t>(step % kSteps); }

    void moveTo(Time now) {
        const int64_t step = std::max(step_, static_cast<int64_t>(now.time_since_epoch() / kStep));
        for (int64_t i = std::max(step_ + 1, step - kSteps + 1); i <= step; ++i) arrived_[slotOf(i)] = 0;
        step_ = step;
    }

    std::mutex mutex_;
    std::array<int64_t, kSteps> arrived_{};  ///< bytes of each step, at the step's number modulo kSteps
    int64_t step_ = 0;                       ///< number of the newest step, counted from the clock's epoch
};

}  // namespace oriplayer
