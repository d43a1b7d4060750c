// Positions, lengths and seeks on the scale of the whole timeline.
#include <numeric>

#include "base/log.h"
#include "timeline/milliseconds.h"
#include "timeline/timeline.h"

namespace vexo {

int64_t Timeline::GetDuration() {
    MutexLock lock(mutex_);
    return std::accumulate(durations_.begin(), durations_.end(), int64_t{0}, AddTimes);
}

int64_t Timeline::GetCurrentPosition(int mode) {
    MutexLock lock(mutex_);
    int64_t total = 0;
    const PlayBound *current = Current();
    if (state_ != kIdle && current) {
        const auto place = static_cast<BoundList::difference_type>(PlaceOf(current));
        total = std::accumulate(durations_.begin(), durations_.begin() + place, total, AddTimes);
    }
    int64_t position = 0;
    if (const PlayerPtr player = CurrentPlayer()) player->getCurrentPosition(&position, mode);
    return AddTimes(total, position);
}

int64_t Timeline::GetPeriodDuration(int index) {
    MutexLock lock(mutex_);
    int64_t total = 0;
    const PlayBound *current = Current();
    if (index == -1 && Holds(removed_bounds_, current)) {
        total = BoundDuration(current, all_bounds_.size());
    } else {
        const int32_t period = index == -1 && current ? current->period_index : index;
        if (HasPeriod(period)) {
            const std::size_t end = PeriodEnd(period);
            for (std::size_t place = PlaceOf(period_bounds_[static_cast<std::size_t>(period)]); place < end; ++place) {
                total = AddTimes(total, BoundDuration(all_bounds_[place].get(), place));
            }
        }
    }
    VEXO_PRINT(LOG_INFO, "duration:%lld", static_cast<long long>(total));
    return total;
}

// The length that the bound's player reports, or else the one stored for the bound.
int64_t Timeline::BoundDuration(const PlayBound *bound, std::size_t place) const {
    int64_t value = 0;
    if (const PlayerPtr player = bound->Player()) {
        player->getDuration(&value);
        VEXO_PRINT(LOG_DEBUG, "duration get from player:%lld, index:%d", static_cast<long long>(value),
                   static_cast<int>(place));
    }
    if (value > 0) return value;
    VEXO_PRINT(LOG_DEBUG, "duration get from bound:%lld, index:%d", static_cast<long long>(bound->duration),
               static_cast<int>(place));
    return bound->duration;
}

int64_t Timeline::GetPeriodCurrentPosition(int mode) {
    MutexLock lock(mutex_);
    int64_t position = 0;
    const PlayBound *current = Current();
    if (current && current->bound_player) {
        if (Holds(removed_bounds_, current)) {  // its period has no other bounds any more
            position = BoundPosition(current, all_bounds_.size(), mode);
        } else {
            std::size_t place = PlaceOf(period_bounds_[static_cast<std::size_t>(current->period_index)]);
            for (; all_bounds_[place].get() != current; ++place) {
                position = AddTimes(position, BoundDuration(all_bounds_[place].get(), place));
            }
            position = AddTimes(position, BoundPosition(current, place, mode));
        }
    }
    VEXO_PRINT(LOG_INFO, "position:%lld", static_cast<long long>(position));
    return position;
}

// Until the engine has a position, this is the position at which the period will begin.
int64_t Timeline::BoundPosition(const PlayBound *bound, std::size_t place, int mode) const {
    int64_t value = 0;
    bound->Player()->getCurrentPosition(&value, mode);
    VEXO_PRINT(LOG_DEBUG, "position get from current player:%lld, index:%d", static_cast<long long>(value),
               static_cast<int>(place));
    if (value > 0) return value;
    const int64_t start = bound->period ? bound->period->getStartTime() : -1;
    return start >= 0 ? start : 0;
}

// A position exactly at the end of a bound belongs to that bound. A bound of unknown length contains all later
// positions.
void Timeline::SeekTo(int64_t position, int mode) {
    MutexLock lock(mutex_);
    int64_t base = 0;
    for (const auto &bound : all_bounds_) {
        const int64_t end = AddTimes(base, bound->duration);
        if (bound->duration == 0 || end >= position) {
            SeekInto(bound.get(), SubtractTimes(position, base), mode);
            return;
        }
        base = end;
    }
}

// A position exactly at the end of a bound belongs to the next one.
void Timeline::SeekCurrentPeriodTo(int64_t position, int mode) {
    MutexLock lock(mutex_);
    PlayBound *current = Current();
    if (!current || !current->bound_player) return;
    auto remaining = static_cast<int32_t>(position);
    const auto ends_in = [&remaining](const PlayBound &bound) {
        if (bound.duration == 0 || remaining < bound.duration) return true;
        remaining = static_cast<int32_t>(SubtractTimes(remaining, bound.duration));
        return false;
    };
    const bool removed = Holds(removed_bounds_, current);
    if (removed && ends_in(*current)) {
        SeekInto(current, remaining, mode);
        return;
    }
    if (!HasPeriod(current->period_index)) return;
    std::size_t place = PlaceOf(period_bounds_[static_cast<std::size_t>(current->period_index)]);
    for (; place < all_bounds_.size(); ++place) {
        if (ends_in(*all_bounds_[place])) {
            SeekInto(all_bounds_[place].get(), remaining, mode);
            return;
        }
    }
}

int32_t Timeline::GetVideoWidth() {
    MutexLock lock(mutex_);
    if (video_width_ < 1) {
        if (const PlayerPtr player = CurrentPlayer()) video_width_ = player->getVideoWidth();
    }
    return video_width_;
}

int32_t Timeline::GetVideoHeight() {
    MutexLock lock(mutex_);
    if (video_height_ < 1) {
        if (const PlayerPtr player = CurrentPlayer()) video_height_ = player->getVideoHeight();
    }
    return video_height_;
}

}  // namespace vexo
