#include "playback/control.h"

namespace oriplayer {

bool Control::prepare() {
    std::lock_guard lock(mutex_);
    if (preparing_ || stopped_) return false;
    preparing_ = true;
    return true;
}

bool Control::start() {
    std::lock_guard lock(mutex_);
    if (over()) return false;
    playing_ = true;
    started_ = true;
    return true;
}

void Control::pause() {
    std::lock_guard lock(mutex_);
    playing_ = false;
    // Before 1000 it takes the start back: the first picture then waits for another one.
    if (!prepared_) started_ = false;
}

uint32_t Control::beginSeek(int64_t positionUs) {
    std::lock_guard lock(mutex_);
    if (over()) return 0;
    // The target comes first: whoever sees the new generation sees where it goes.
    targetUs_ = positionUs;
    ended_ = false;
    pending_.reset();
    return ++generation_;
}

void Control::postSeek(SeekRequest request) {
    std::lock_guard lock(mutex_);
    pending_ = request;
}

void Control::setStart(int64_t positionUs) {
    std::lock_guard lock(mutex_);
    if (generation_ != 0) return;
    targetUs_ = positionUs;
    pending_ = SeekRequest{positionUs, SeekMode::kExact, ++generation_};
}

std::optional<SeekRequest> Control::takeSeek() {
    std::lock_guard lock(mutex_);
    auto request = pending_;
    pending_.reset();
    return request;
}

bool Control::reachPrepared() {
    std::lock_guard lock(mutex_);
    if (prepared_ || over()) return false;
    prepared_ = true;
    return true;
}

bool Control::reachEnd(uint32_t generation) {
    std::lock_guard lock(mutex_);
    if (generation != generation_ || ended_ || over()) return false;
    ended_ = true;
    return true;
}

void Control::resumeFromEnd() {
    std::lock_guard lock(mutex_);
    ended_ = false;
}

bool Control::fail() {
    std::lock_guard lock(mutex_);
    if (over()) return false;
    failed_ = true;
    return true;
}

bool Control::stop() {
    std::lock_guard lock(mutex_);
    return !stopped_.exchange(true);
}

}  // namespace oriplayer
