// Playback commands: prepare, start, pause, stop, reset, and entering a bound.
#include <exception>
#include <new>

#include "base/log.h"
#include "timeline/timeline.h"

namespace vexo {

namespace {

// Runs a step of Reset. An exception is logged, and Reset continues.
template <typename Work> void Guarded(const Work &work) {
    try {
        work();
    } catch (const std::bad_alloc &) {
        VEXO_SINK("bad alloc on reset call");
    } catch (...) {
        VEXO_SINK("unknown exception on reset call");
    }
}

}  // namespace

void Timeline::Prepare(std::optional<uint64_t> onlyEpoch) {
    try {
        looper_.Ensure();
    } catch (const std::exception &error) {
        VEXO_PRINT(LOG_ERROR, "no looper, events will be lost: %s", error.what());
    }
    MutexLock lock(mutex_);
    if (onlyEpoch && *onlyEpoch != epoch_) return;
    for (const auto &bound : all_bounds_) {
        if (bound->period->getStartTime() == -1) continue;
        first_play_bound_ = bound.get();
        Switch(bound.get(), 0);
        return;
    }
}

int32_t Timeline::Start(std::optional<uint64_t> onlyEpoch) {
    MutexLock lock(mutex_);
    if (onlyEpoch && *onlyEpoch != epoch_) return 0;
    const int32_t state = state_;
    PlayerPtr player;
    if (state == kIdle && first_play_bound_) player = first_play_bound_->Player();
    if (state == kIdle && !player && !all_bounds_.empty()) player = all_bounds_.front()->Player();
    if (state == kPaused) player = CurrentPlayer();
    if (!player) return 0;
    waits_paused_ = false;
    const int32_t result = player->start();
    state_ = kStarted;
    return result;
}

void Timeline::Pause() {
    MutexLock lock(mutex_);
    const PlayerPtr player = CurrentPlayer();
    if (!player) return;
    player->pause();
    waits_paused_ = true;
    state_ = kPaused;
}

void Timeline::Stop() {
    MutexLock lock(mutex_);
    StopPlayback();
}

void Timeline::StopPlayback() {
    PlayBound *current = Current();
    if (current && current->bound_player) DropPlayer(current, Detach::kYes);
    SetCurrent(nullptr);
    state_ = kIdle;
}

std::optional<uint64_t> Timeline::Reset(std::optional<uint64_t> onlyEpoch) {
    uint64_t begun = 0;
    std::optional<LooperSlot::Replacing> replacing;
    {
        MutexLock lock(mutex_);
        begun = epoch_;
        if (onlyEpoch && *onlyEpoch != begun) return {};
        replacing.emplace(looper_);  // from here on no event of this content is queued
    }
    // A callback must not wait for its own thread, nor for the other looper of its player, whose callback may be
    // resetting as well.
    const bool in_callback = CallbackScope::Contains(*token_);
    looper_.Settle(in_callback ? LooperSlot::Old::kKeepAside : LooperSlot::Old::kJoin);
    LooperSlot::Loopers fresh;  // destroyed after the mutex is released, if it was not installed
    Guarded([&] { fresh = looper_.Make(); });
    MutexLock lock(mutex_);
    // A callback may have reset and filled the timeline while its looper was joined. That command is the newer one.
    if (epoch_ != begun) return {};
    Guarded([this]() VEXO_NO_THREAD_SAFETY_ANALYSIS { StopPlayback(); });
    Clear();
    if (!closed_) looper_.Install(fresh);
    return ++epoch_;
}

void Timeline::Clear() {
    PlayBound *current = Current();
    if (current && current->bound_player) DropPlayer(current, Detach::kNo);
    state_ = kIdle;
    first_play_bound_ = nullptr;
    SetCurrent(nullptr);
    period_bounds_.clear();
    all_bounds_.clear();
    durations_.clear();
    video_surface_.reset();
}

bool Timeline::SkipToNext(bool withinPeriod) {
    MutexLock lock(mutex_);
    PlayBound *current = Current();
    VEXO_PRINT(LOG_DEBUG, "current_play_bound_:%p, state:%d", static_cast<void *>(current), state_.load());
    if (!current || state_ != kStarted) return false;
    const auto next_period = static_cast<std::size_t>(NextPeriod(current));
    std::size_t next = next_period;
    std::size_t size = period_bounds_.size();
    if (withinPeriod) {
        size = all_bounds_.size();
        next = size;
        if (Holds(removed_bounds_, current)) {
            if (next_period < period_bounds_.size()) next = PlaceOf(period_bounds_[next_period]);
        } else {
            next = PlaceOf(period_bounds_[static_cast<std::size_t>(current->period_index)]) + 1;
        }
    }
    VEXO_PRINT(LOG_DEBUG, "size:%d, next:%d", static_cast<int>(size), static_cast<int>(next));
    if (next >= size) return false;
    Switch(withinPeriod ? all_bounds_[next].get() : period_bounds_[next], 0);
    return true;
}

// With a seek mode the bound plays from `position`, without one from its period's start time.
void Timeline::Switch(PlayBound *bound, int64_t position, std::optional<int> seekMode) {
    if (!bound) return;
    VEXO_PRINT(LOG_INFO, "switch to %d", bound->period_index);
    PlayBound *current = Current();
    if (current && current->bound_player) {
        if (current == bound) {
            bound->start_position = position;
            SeekPlayer(position, seekMode.value_or(0));
            return;
        }
        DropPlayer(current, Detach::kNo);
    }
    bound->start_position = position;
    Enter(bound, seekMode ? Entry::kSeek : Entry::kOther);
    if (seekMode && (position > 0 || bound->period->getStartTime() > 0)) SeekPlayer(position, *seekMode);
}

// On a paused timeline the new bound is paused too, unless a seek enters it.
void Timeline::Enter(PlayBound *bound, Entry entry) {
    SetCurrent(bound);
    entered_started_ = state_ == kStarted;
    waits_paused_ = state_ == kPaused && entry != Entry::kSeek;
    PlayBoundPrepare(bound);
}

// Seeks into the current or another bound. Before Start, a bound that is entered here becomes the one that Start plays.
void Timeline::SeekInto(PlayBound *bound, int64_t position, int mode) {
    if (bound == Current() && bound->bound_player) {
        SeekPlayer(position, mode);
        return;
    }
    if (state_ == kIdle) first_play_bound_ = bound;
    Switch(bound, position, mode);
}

void Timeline::SeekPlayer(int64_t position, int mode) {
    const PlayerPtr player = CurrentPlayer();
    if (!player) return;
    ++changes_.seek;
    player->seekTo(static_cast<int32_t>(position), mode);
}

}  // namespace vexo
