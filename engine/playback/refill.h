#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace oriplayer {

/// How much must have been read before playback continues after a stall. On a line that is slower than the medium, many
/// short stalls disturb more than a few long ones: each further stall within a minute waits for twice as much.
/// Threads: one at a time.
class Refill {
public:
    using Time = std::chrono::steady_clock::time_point;

    void begin(Time now) {
        const bool further = wantedUs_ > 0 && now - begun_ < kForgotten;
        wantedUs_ = further ? std::min(2 * wantedUs_, kMostUs) : kFirstUs;
        begun_ = now;
    }

    bool enough(int64_t aheadUs) const { return aheadUs >= wantedUs_; }

private:
    static constexpr int64_t kFirstUs = 2'000'000;
    static constexpr int64_t kMostUs = 8'000'000;  // a live list may not show more than this
    static constexpr std::chrono::seconds kForgotten{60};

    int64_t wantedUs_ = 0;
    Time begun_{};
};

}  // namespace oriplayer
