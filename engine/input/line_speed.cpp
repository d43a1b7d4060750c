#include "input/line_speed.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace oriplayer {

namespace {

// What comes with the answer's head says more about the server's patience than about the line.
constexpr int64_t kLeastBytes = 2048;

/// Together, so that a piece that ends in the moment of a change does not count for the new network. Aligned for an
/// atomic without a lock.
struct alignas(8) Known {
    float bitsPerSecond;
    uint32_t network;
};
std::atomic<Known> lastEstimate{{0.0F, 0}};
std::atomic<uint32_t> network{0};

}  // namespace

void LineSpeed::endPiece() {
    const double seconds = std::max(std::chrono::duration<double>(waited_).count(), 1e-6);
    const double speed = static_cast<double>(bytes_) * 8.0 / seconds;
    const bool tooLittle = bytes_ < kLeastBytes;
    const uint32_t begunOn = network_;
    dropPiece();
    if (tooLittle || network_ != begunOn) return;
    estimate_ = estimate_ > 0.0 ? std::min(speed, (estimate_ + speed) / 2) : speed;
    lastEstimate = {static_cast<float>(estimate_), network_};
}

void LineSpeed::dropPiece() {
    waited_ = {};
    bytes_ = 0;
    const uint32_t now = networkNow();
    if (std::exchange(network_, now) != now) estimate_ = 0.0;
}

double LineSpeed::lastKnown() {
    const Known known = lastEstimate;
    return known.network == networkNow() ? known.bitsPerSecond : 0.0;
}

void LineSpeed::forgetAll() {
    ++network;
}

uint32_t LineSpeed::networkNow() {
    return network;
}

}  // namespace oriplayer
