// Changing a timeline that is filled, and that may be playing.
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
    PlayBound *first = Place(fresh, index, anchor, "");
    if (!first) return;
    period_bounds_.insert(period_bounds_.begin() + index, first);
    ShiftPeriods(anchor + (all_bounds_.size() - before), index, 1);
    RefreshCurrentIdentity();
}

// Moves the periods behind `index`, whose bounds begin at `place`, and what was removed from among them.
void Timeline::ShiftPeriods(std::size_t place, int32_t index, int32_t by) {
    for (; place < all_bounds_.size(); ++place) all_bounds_[place]->period_index += by;
    for (const auto &bound : removed_bounds_) {
        if (bound->period_index > index) bound->period_index += by;
    }
}

Timeline::BoundList Timeline::TakeOut(int index) {
    const std::size_t place = PlaceOf(period_bounds_[static_cast<std::size_t>(index)]);
    const auto first = all_bounds_.begin() + static_cast<BoundList::difference_type>(place);
    const auto last = all_bounds_.begin() + static_cast<BoundList::difference_type>(PeriodEnd(index));
    BoundList removed(std::make_move_iterator(first), std::make_move_iterator(last));
    durations_.erase(durations_.begin() + (first - all_bounds_.begin()),
                     durations_.begin() + (last - all_bounds_.begin()));
    all_bounds_.erase(first, last);
    period_bounds_.erase(period_bounds_.begin() + index);
    return removed;
}

bool Timeline::ReplaceBound(const PeriodPtr &period, HeadersPtr headers, int index) {
    if (!period) {
        VEXO_PRINT(LOG_ERROR, "period is null");
        return false;
    }
    const NewPeriod fresh = Measure(period, headers);
    MutexLock lock(mutex_);
    if (!HasPeriod(index)) return false;
    const std::size_t place = PlaceOf(period_bounds_[static_cast<std::size_t>(index)]);
    BoundList removed = TakeOut(index);
    VEXO_PRINT(LOG_DEBUG, "replace bound started:%d", index);
    bool ended = false;
    if (PlayBound *replacement = Place(fresh, index, place, ",")) {
        period_bounds_.insert(period_bounds_.begin() + index, replacement);
        HandOver(removed, replacement, headers);
        KeepRemoved(std::move(removed));
    } else {
        ShiftPeriods(place, index, -1);
        ended = LeaveRemoved(std::move(removed), index);
    }
    PostMessage_(-1, kEventPeriodReplaced, index, 0, oriplayer::Param());
    return ended;
}

void Timeline::HandOver(const BoundList &removed, PlayBound *replacement, const HeadersPtr &headers) {
    if (Holds(removed, first_play_bound_)) first_play_bound_ = replacement;
    PlayBound *current = Current();
    if (!Holds(removed, current)) return;
    if (const PlayerPtr player = current->Player()) {
        replacement->bound_player = std::move(current->bound_player);
        LogHeaders(*replacement);
        ++hand_overs_;
        replacement->period->setChangeMode(2);
        player->changePeriod(0, 0, replacement->period, headers);
    }
    SetCurrent(replacement);
    GenerateIdentity(replacement);
}

bool Timeline::RemoveBound(int index) {
    MutexLock lock(mutex_);
    if (!HasPeriod(index)) return false;
    const std::size_t place = PlaceOf(period_bounds_[static_cast<std::size_t>(index)]);
    BoundList removed = TakeOut(index);
    ShiftPeriods(place, index, -1);
    return LeaveRemoved(std::move(removed), index);
}

// A bound that plays gives way to the period that has moved up to `index`; true if there is none. One that does not
// play stays current.
bool Timeline::LeaveRemoved(BoundList removed, int index) {
    PlayBound *current = Current();
    const bool played = Holds(removed, current) && current->bound_player && state_ == kStarted;
    if (played) DropPlayer(current, Detach::kNo);
    KeepRemoved(std::move(removed));
    const bool ended = played && !HasPeriod(index);
    if (played && !ended) {
        Enter(period_bounds_[static_cast<std::size_t>(index)], Entry::kOther);
    } else if (ended) {
        SetCurrent(nullptr);
        state_ = kIdle;
    } else {
        RefreshCurrentIdentity();
    }
    return ended;
}

void Timeline::KeepRemoved(BoundList removed) {
    std::move(removed.begin(), removed.end(), std::back_inserter(removed_bounds_));
    FreeRemoved();
}

// Frees what was taken out of the lists and is not current (any more). The bound that Prepare chose goes with it.
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
