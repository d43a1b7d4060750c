#include "timeline/timeline.h"

#include <algorithm>

#include "base/log.h"

namespace vexo {

Timeline::Timeline(int32_t id, std::shared_ptr<const CallbackToken> token)
    : id_(id),
      token_(token ? std::move(token) : std::make_shared<const CallbackToken>()),
      event_listener_(std::make_shared<TimelinePlayerEventListener>(this)),
      looper_("vexo-tl" + std::to_string(id)) {}

Timeline::~Timeline() {
    Close();
    MutexLock lock(mutex_);
    for (const auto &bound : all_bounds_) {
        if (bound->period) {
            if (const HeadersPtr headers = bound->period->getHeaders()) headers->clear();
        }
        if (bound->headers) bound->headers->clear();
    }
    Clear();
}

void Timeline::Close() {
    {
        MutexLock lock(mutex_);
        closed_ = true;
        ++epoch_;  // queued events are dropped
    }
    looper_.Close();
    HidePicturesWhile(nullptr);  // it refers to other objects
    MutexLock lock(mutex_);
    StopPlayback();
    event_listener_->Close();
}

void Timeline::AccessCurrentBound(const std::function<void(PlayBound *)> &function) {
    MutexLock lock(mutex_);
    function(Current());
}

int64_t Timeline::GenerateIdentity(PlayBound *bound) {
    if (!bound) return 0;
    MutexLock lock(mutex_);
    const int32_t period_id = bound->period_index;
    std::size_t source = 0;
    const std::size_t place = PlaceOf(bound);
    if (HasPeriod(period_id) && place < all_bounds_.size()) {
        source = place - PlaceOf(period_bounds_[static_cast<std::size_t>(period_id)]);
    }
    const auto source_id = static_cast<int32_t>(source);
    VEXO_PRINT(LOG_INFO, "generated: source_id:%d, period_id:%d, timeline_id:%d", source_id, period_id, id_);
    bound->identity = {static_cast<int8_t>(id_), static_cast<int8_t>(period_id), static_cast<int8_t>(source_id)};
    return int64_t{id_ & 0xFF} << 16 | int64_t{period_id & 0xFF} << 8 | int64_t{source_id & 0xFF};
}

bool Timeline::HasPeriod(int index) const {
    return index >= 0 && static_cast<std::size_t>(index) < period_bounds_.size();
}

std::size_t Timeline::PlaceOf(const PlayBound *bound) const {
    const auto found = std::find_if(all_bounds_.begin(), all_bounds_.end(),
                                    [bound](const auto &entry) { return entry.get() == bound; });
    return static_cast<std::size_t>(found - all_bounds_.begin());
}

std::size_t Timeline::PeriodEnd(int index) const {
    return HasPeriod(index + 1) ? PlaceOf(period_bounds_[static_cast<std::size_t>(index) + 1]) : all_bounds_.size();
}

int32_t Timeline::NextPeriod(const PlayBound *bound) const {
    return Holds(removed_bounds_, bound) ? bound->period_index : bound->period_index + 1;
}

bool Timeline::Holds(const BoundList &list, const PlayBound *bound) {
    return std::any_of(list.begin(), list.end(), [bound](const auto &entry) { return entry.get() == bound; });
}

Timeline::PlayerPtr Timeline::CurrentPlayer() const {
    const PlayBound *bound = Current();
    return bound ? bound->Player() : nullptr;
}

void Timeline::SetCurrent(PlayBound *bound) {
    if (Current() != bound) ++changes_.bound;
    current_play_bound_ = bound;
    player_view_.Set(CurrentPlayer());
    FreeRemoved();
}

}  // namespace vexo
