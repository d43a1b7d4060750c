#include "playback/play_clock.h"

#include <algorithm>
#include <chrono>

namespace oriplayer {

using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::steady_clock;

namespace {

// A device asks for sound within two of its buffers, 100 ms at most with the drivers that SDL knows.
constexpr std::chrono::milliseconds kAwaitSound{300};

}  // namespace

void PlayClock::setTo(int64_t playUs, uint32_t generation) {
    std::lock_guard lock(mutex_);
    anchorUs_ = playUs;
    generation_ = generation;
    if (running_) sound_.pause();
    running_ = false;
    fresh_ = true;
}

void PlayClock::soundIsOf(uint32_t generation) {
    std::lock_guard lock(mutex_);
    soundGeneration_ = generation;
}

void PlayClock::abandonSound() {
    std::lock_guard lock(mutex_);
    standLocked();
    soundLost_ = true;
    awaitingSound_ = false;
}

bool PlayClock::run(const std::atomic<bool> &wanted, bool awaitSound, std::optional<SteadyTime> since) {
    std::lock_guard lock(mutex_);
    if (!wanted) return false;
    if (running_) return true;
    const auto now = steady_clock::now();
    running_ = true;
    const bool goesOn = fresh_ && since;
    anchorTime_ = goesOn ? *since : now;
    awaitingSound_ = awaitSound && !soundLost_ && !goesOn;
    awaitUntil_ = now + kAwaitSound;
    if (goesOn) {
        sound_.startAt(anchorUs_, anchorTime_);
    } else {
        sound_.start();
    }
    fresh_ = false;
    return true;
}

void PlayClock::hold() {
    std::lock_guard lock(mutex_);
    standLocked();
    running_ = false;
    fresh_ = false;
    sound_.pause();
}

void PlayClock::setSpeed(double speed) {
    std::lock_guard lock(mutex_);
    standLocked();
    speed_ = speed;
    sound_.setSpeed(speed);
}

double PlayClock::speed() const {
    std::lock_guard lock(mutex_);
    return speed_;
}

bool PlayClock::running() const {
    std::lock_guard lock(mutex_);
    return running_;
}

int64_t PlayClock::nowUs() const {
    std::lock_guard lock(mutex_);
    return nowLocked(steady_clock::now());
}

bool PlayClock::soundLeads() const {
    std::lock_guard lock(mutex_);
    return running_ && !soundLost_ && soundGeneration_ == generation_ && sound_.positionUs();
}

SteadyTime PlayClock::timeOf(int64_t playUs) const {
    std::lock_guard lock(mutex_);
    const auto time = steady_clock::now();
    const double ahead = static_cast<double>(playUs - nowLocked(time)) / speed_;
    return time + microseconds(static_cast<int64_t>(std::max(0.0, ahead)));
}

// Makes the present moment the anchor.
int64_t PlayClock::standLocked() {
    const auto time = steady_clock::now();
    anchorUs_ = nowLocked(time);
    anchorTime_ = time;
    return anchorUs_;
}

int64_t PlayClock::nowLocked(SteadyTime time) const {
    if (!running_) return anchorUs_;
    if (!soundLost_ && soundGeneration_ == generation_) {
        if (const auto heard = sound_.positionUs()) {
            anchorUs_ = *heard;
            anchorTime_ = time;
            awaitingSound_ = false;
            return anchorUs_;
        }
    }
    if (awaitingSound_) {
        if (time < awaitUntil_) return anchorUs_;
        awaitingSound_ = false;
        anchorTime_ = awaitUntil_;
    }
    const auto elapsed = static_cast<double>(duration_cast<microseconds>(time - anchorTime_).count());
    return anchorUs_ + static_cast<int64_t>(elapsed * speed_);
}

void PlayClock::addRound(int64_t playUs, int64_t baseUs) {
    std::lock_guard lock(mutex_);
    // Rounds that are over are of no more use; short clips in a loop would collect them for ever.
    const int64_t now = nowLocked(steady_clock::now());
    while (rounds_.size() > 1 && rounds_[1].playUs <= now) rounds_.erase(rounds_.begin());
    rounds_.push_back({playUs, baseUs});
}

void PlayClock::clearRounds() {
    std::lock_guard lock(mutex_);
    rounds_.clear();
}

int64_t PlayClock::positionUs() const {
    std::lock_guard lock(mutex_);
    const int64_t now = nowLocked(steady_clock::now());
    int64_t base = 0;
    for (const auto &round : rounds_) {
        if (round.playUs <= now) base = round.baseUs;
    }
    return now - base;
}

int PlayClock::roundsAhead() const {
    std::lock_guard lock(mutex_);
    const int64_t now = nowLocked(steady_clock::now());
    return static_cast<int>(
        std::count_if(rounds_.begin(), rounds_.end(), [now](const Round &round) { return round.playUs > now; }));
}

}  // namespace oriplayer
