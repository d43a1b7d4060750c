#include "input/line_speed.h"

#include <algorithm>

namespace oriplayer {

namespace {

// What comes with the answer's head says more about the server's patience than about the line.
constexpr int64_t kLeastBytes = 2048;

std::atomic<double> lastEstimate{0.0};

}  // namespace

void LineSpeed::endPiece() {
    const double seconds = std::max(std::chrono::duration<double>(waited_).count(), 1e-6);
    const double speed = static_cast<double>(bytes_) * 8.0 / seconds;
    const bool tooLittle = bytes_ < kLeastBytes;
    dropPiece();
    if (tooLittle) return;
    estimate_ = estimate_ > 0.0 ? std::min(speed, (estimate_ + speed) / 2) : speed;
    lastEstimate = estimate_;
}

double LineSpeed::lastKnown() {
    return lastEstimate;
}

}  // namespace oriplayer
