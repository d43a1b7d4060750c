// Changing the periods of a timeline, also while it plays.
#include <algorithm>
#include <iterator>
#include <utility>

#include "base/log.h"
#include "timeline/timeline.h"

namespace vexo {

void Timeline::InsertBound(const PeriodPtr &period, HeadersPtr headers, int index) {
    if (!period) {
        VEXO_PRINT(LOG_ERROR, "period is null");
        return;
    }
    if (index < 0 || index > GetPeriodCount()) return;  // before the sources are asked
    const NewPeriod fresh = Measure(period, std::move(headers));
    MutexLock lock(mutex_);
    if (index == static_cast<int>(period_bounds_.size())) {
        VEXO_PRINT(LOG_DEBUG, "period mixed_codecs:%d", fresh.mixed ? 1 : 0);
        Append(fresh);
        return;
    }
    if (!HasPeriod(index)) return;
    const std::size_t anchor = PlaceOf(period_bounds_[static_cast<std::size_t>(index)]);
    const std::size_t before = all_bounds_.size();
    if (!Place(Cut(fresh, index, ""), index, anchor)) return;
    ShiftPeriods(anchor + (all_bounds_.size() - before), index, 1);
    RefreshCurrentIdentity();
}

// Adds `by` to the numbers of the periods after `index`, whose bounds begin at `place` in all_bounds_, and of the
// removed bounds of such periods.
void Timeline::ShiftPeriods(std::size_t place, int32_t index, int32_t by) {
    for (; place < all_bounds_.size(); ++place) all_bounds_[place]->period_index += by;
    for (const auto &bound : removed_bounds_) {
        if (bound->period_index > index) bound->period_index += by;
    }
}

bool Timeline::InPeriod(const PlayBound *bound, int index) const {
    return bound && bound->period_index == index && !Holds(removed_bounds_, bound);
}

// Moves the period's bounds to removed_bounds_; the current bound stays current. If it throws, nothing has changed.
void Timeline::TakeOut(int index) {
    const std::size_t place = PlaceOf(period_bounds_[static_cast<std::size_t>(index)]);
    const std::size_t end = PeriodEnd(index);
    removed_bounds_.reserve(removed_bounds_.size() + (end - place));
    const auto first = static_cast<BoundList::difference_type>(place);
    const auto last = static_cast<BoundList::difference_type>(end);
    std::move(all_bounds_.begin() + first, all_bounds_.begin() + last, std::back_inserter(removed_bounds_));
    all_bounds_.erase(all_bounds_.begin() + first, all_bounds_.begin() + last);
    durations_.erase(durations_.begin() + first, durations_.begin() + last);
    period_bounds_.erase(period_bounds_.begin() + index);
}

bool Timeline::ReplaceBound(const PeriodPtr &period, HeadersPtr headers, int index) {
    if (!period) {
        VEXO_PRINT(LOG_ERROR, "period is null");
        return false;
    }
    if (index < 0 || index >= GetPeriodCount()) return false;  // before the sources are asked
    const NewPeriod fresh = Measure(period, headers);
    MutexLock lock(mutex_);
    if (!HasPeriod(index)) return false;
    VEXO_PRINT(LOG_DEBUG, "replace bound started:%d", index);
    BoundList bounds = Cut(fresh, index, ",");
    const std::size_t place = PlaceOf(period_bounds_[static_cast<std::size_t>(index)]);
    const bool current = InPeriod(Current(), index);
    const bool first = InPeriod(first_play_bound_, index);
    Reserve(bounds.size());
    TakeOut(index);
    bool ended = false;
    if (PlayBound *replacement = Place(std::move(bounds), index, place)) {
        if (first) first_play_bound_ = replacement;
        if (current) HandOver(replacement, headers);
        FreeRemoved();
    } else {
        ShiftPeriods(place, index, -1);
        ended = LeaveRemoved(current, index);
    }
    PostMessage_(-1, kEventPeriodReplaced, index, 0, oriplayer::Param());
    return ended;
}

void Timeline::HandOver(PlayBound *replacement, const HeadersPtr &headers) {
    PlayBound *current = Current();
    const PlayerPtr player = current->Player();
    replacement->bound_player = std::move(current->bound_player);
    SetCurrent(replacement);
    if (player) {
        LogHeaders(*replacement);
        ++hand_overs_;
        replacement->period->setChangeMode(2);
        player->changePeriod(0, 0, replacement->period, headers);
    }
    GenerateIdentity(replacement);
}

bool Timeline::RemoveBound(int index) {
    MutexLock lock(mutex_);
    if (!HasPeriod(index)) return false;
    const std::size_t place = PlaceOf(period_bounds_[static_cast<std::size_t>(index)]);
    const bool current = InPeriod(Current(), index);
    TakeOut(index);
    ShiftPeriods(place, index, -1);
    return LeaveRemoved(current, index);
}

// Called after TakeOut(index). If the removed period was playing, enters the period that now has its index, or stops
// and returns true if there is none. A removed current bound that is not playing stays current.
bool Timeline::LeaveRemoved(bool wasCurrent, int index) {
    PlayBound *current = Current();
    const bool played = wasCurrent && current->bound_player && state_ == kStarted;
    if (played) DropPlayer(current, Detach::kNo);
    const bool ended = played && !HasPeriod(index);
    if (played && !ended) {
        Enter(period_bounds_[static_cast<std::size_t>(index)], Entry::kOther);
    } else if (ended) {
        SetCurrent(nullptr);
        state_ = kIdle;
    } else {
        FreeRemoved();
        RefreshCurrentIdentity();
    }
    return ended;
}

// Frees the removed bounds except the current one. Forgets the bound that Prepare chose if it is freed.
void Timeline::FreeRemoved() {
    const PlayBound *current = Current();
    const auto stale = std::partition(removed_bounds_.begin(), removed_bounds_.end(),
                                      [current](const auto &bound) { return bound.get() == current; });
    for (auto bound = stale; bound != removed_bounds_.end(); ++bound) {
        if (bound->get() == first_play_bound_) first_play_bound_ = nullptr;
    }
    removed_bounds_.erase(stale, removed_bounds_.end());
}

void Timeline::RefreshCurrentIdentity() {
    PlayBound *current = Current();
    if (current && !Holds(removed_bounds_, current)) GenerateIdentity(current);
}

}  // namespace vexo
