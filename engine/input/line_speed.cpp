#include "input/line_speed.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace oriplayer {

namespace {

// A server sends the first packets of an answer together, however slow the line.
constexpr int64_t kLeastBytes = 6000;
constexpr std::chrono::milliseconds kPause{20};    // a download that is only decoded meanwhile has shorter ones
constexpr std::chrono::milliseconds kBlocking{2};  // a read of what is already there takes a tenth of this

/// One value, so that a segment that ends at the moment of a change does not count for the new network. Aligned for an
/// atomic without a lock.
struct alignas(8) Known {
    float bitsPerSecond;
    uint32_t network;
};
std::atomic<Known> lastEstimate{{0.0F, 0}};
std::atomic<uint32_t> network{0};

}  // namespace

void LineSpeed::addRead(Time begin, Time end, int64_t bytes) {
    if (begin > lastRead_ && begin - lastRead_ > kPause) paused_ = true;
    if (end - begin >= kBlocking) paused_ = false;
    if (lastRead_ == Time::max()) begun_ = begin;
    lastRead_ = end;
    allBytes_ += bytes;
    if (paused_) return;
    waited_ += end - begin;
    bytes_ += bytes;
}

void LineSpeed::endPiece() {
    const double seconds = std::max(std::chrono::duration<double>(waited_).count(), 1e-6);
    const double speed = static_cast<double>(bytes_) * 8.0 / seconds;
    const double whole = std::max(std::chrono::duration<double>(lastRead_ - begun_).count(), 1e-6);
    const double atLeast = allBytes_ < kLeastBytes ? 0.0 : static_cast<double>(allBytes_) * 8.0 / whole;
    const bool tooLittle = bytes_ < kLeastBytes;
    const uint32_t begunOn = network_;
    dropPiece();
    if (network_ != begunOn) return;
    if (!tooLittle) estimate_ = estimate_ > 0.0 ? std::min(speed, (estimate_ + speed) / 2) : speed;
    estimate_ = std::max(estimate_, atLeast);
    if (estimate_ <= 0.0) return;
    lastEstimate = {static_cast<float>(estimate_), network_};
}

void LineSpeed::dropPiece() {
    waited_ = {};
    bytes_ = allBytes_ = 0;
    begun_ = {};
    lastRead_ = Time::max();
    paused_ = false;
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
