// Events: posted on the engine's threads, delivered to the listeners on the looper, followed by the timeline's
// reaction.
#include <exception>
#include <new>
#include <sstream>
#include <utility>

#include "base/clock.h"
#include "base/log.h"
#include "timeline/timeline.h"

namespace vexo {

void Timeline::PostMessage_(int64_t id, int what, int arg1, int arg2, const oriplayer::Param &param) {
    Post(id, what, arg1, arg2, param, epoch_);
}

void Timeline::PostNotice(int what, uint64_t epoch) {
    Post(0, what, 0, 0, oriplayer::Param(), epoch);
}

void Timeline::Post(int64_t id, int what, int arg1, int arg2, const oriplayer::Param &param, uint64_t epoch) {
    try {
        auto copy = std::make_shared<oriplayer::Param>(param);
        copy->dupString();
        copy->setMalloc(true);
        Event event{epoch, id, what, arg1, arg2, std::move(copy), hand_overs_};
        ThreadMessage message;
        message.task = [this, event = std::move(event)] { HandleCallback(event); };
        looper_.Post(std::move(message));
    } catch (const std::bad_alloc &error) {
        std::stringstream text;
        text << error.what();
        VEXO_SINK("bad_alloc encountered, %s", text.str().c_str());
    } catch (const std::exception &) {
        VEXO_PRINT(LOG_VERBOSE, "exception encountered");
    } catch (...) {
        VEXO_PRINT(LOG_VERBOSE, "what ever");
    }
}

// Runs on the looper's thread only.
void Timeline::HandleCallback(Event event) {
    Changes stamped;
    if (StampEvent(event, stamped) && TellListeners(event, stamped)) {
        VEXO_PRINT(LOG_VERBOSE, "callback:%d", event.what);
        React(event, stamped);
    }
    event.param->freeString();
}

// Gives the event the identity of the current bound. False if a Reset has followed the event.
bool Timeline::StampEvent(Event &event, Changes &stamped) {
    MutexLock lock(mutex_);
    if (IsOld(event)) return false;
    stamped = ChangesNow();
    stamped.hand_over = event.hand_over;
    stamped.followed = FollowingBound() != nullptr;
    if (const PlayBound *current = Current()) {
        const auto [timeline_id, period_id, source_id] = current->identity;
        VEXO_PRINT(LOG_DEBUG, "current: source_id:%d, period_id:%d, timeline_id:%d", source_id, period_id, timeline_id);
        event.id = int64_t{timeline_id & 0xFF} << 16 | int64_t{period_id & 0xFF} << 8 | int64_t{source_id & 0xFF};
    } else if (identity_ != -1) {
        event.id = identity_;
    }
    const PlayerPtr player = CurrentPlayer();
    if (event.what == kEventVideoSize && player) {
        video_width_ = player->getVideoWidth();
        video_height_ = player->getVideoHeight();
    }
    return true;
}

// False if a Reset happened in the meantime: then no further listener receives the event.
bool Timeline::TellListeners(const Event &event, const Changes &stamped) {
    const CallbackScope scope(*token_);
    if (const auto listener = listener_.Get(); listener && !IsOld(event)) {
        listener->notify(event.id, event.what, event.arg1, event.arg2, *event.param);
    }
    if (IsOld(event)) return false;
    TellOwner(event, stamped);
    return !IsOld(event);
}

void Timeline::TellOwner(const Event &event, const Changes &stamped) {
    const CallbackScope scope(*token_);
    if (const auto listener = internal_listener_.Get()) {
        listener->notify({event.id, event.what, event.arg1, event.arg2, *event.param, this, current_play_bound_.load(),
                          stamped.Moves()});
    }
}

void Timeline::React(const Event &event, const Changes &stamped) {
    if (event.what == kEventEnd) OnEnd(event, stamped);
    if (event.what == kEventPrepared) OnPrepared(event, stamped);
    if (event.what == kEventFirstPicture) OnFirstPicture(event);
}

Timeline::Changes Timeline::ChangesNow() const {
    Changes now = changes_;
    now.hand_over = hand_overs_;
    return now;
}

// Enters the next bound, or stops after the last one. A command that a listener or another thread has given since the
// event was stamped is newer and takes precedence: after a move, a seek or a replacement this does nothing.
void Timeline::OnEnd(const Event &event, const Changes &stamped) {
    {
        MutexLock lock(mutex_);
        VEXO_PRINT(LOG_DEBUG, "current play bound:%p", static_cast<void *>(Current()));
        if (IsOld(event)) return;
        video_width_ = -1;  // unknown again, so the next query asks the player
        video_height_ = -1;
        if (ignored_ends_ == epoch_ || ChangesNow().Moves() != stamped.Moves() || !Current()) return;
        if (PlayBound *next = FollowingBound()) return Switch(next, 0);
        if (!stamped.followed) return StopPlayback();
    }
    // When the owner received the event another bound followed, but that one has been removed since. The owner gets the
    // event again, because only now is it the end of the last bound.
    TellOwner(event, stamped);
    MutexLock lock(mutex_);
    if (!IsOld(event) && ChangesNow().Moves() == stamped.Moves() && Current() && !FollowingBound()) StopPlayback();
}

bool Timeline::YieldEnd() {
    MutexLock lock(mutex_);
    if (state_ != kStarted) return false;
    ++changes_.yield;
    return true;
}

void Timeline::IgnoreEnds(uint64_t epoch) {
    MutexLock lock(mutex_);
    ignored_ends_ = epoch;
}

bool Timeline::StopAfterEnd(uint64_t moves) {
    MutexLock lock(mutex_);
    if (ignored_ends_ == epoch_ || !Current() || ChangesNow().Moves() != moves || FollowingBound()) return false;
    video_width_ = -1;
    video_height_ = -1;
    StopPlayback();
    return true;
}

// After a removed bound, this is the period that now has its index.
PlayBound *Timeline::FollowingBound() const {
    const PlayBound *current = Current();
    if (Holds(removed_bounds_, current)) {
        return HasPeriod(current->period_index) ? period_bounds_[static_cast<std::size_t>(current->period_index)]
                                                : nullptr;
    }
    const std::size_t next = PlaceOf(current) + 1;
    return next < all_bounds_.size() ? all_bounds_[next].get() : nullptr;
}

void Timeline::OnPrepared(const Event &event, const Changes &stamped) {
    MutexLock lock(mutex_);
    const PlayerPtr player = CurrentPlayer();
    if (!player || IsOld(event) || changes_.player != stamped.player) return;
    PlayBound *current = Current();
    int64_t duration = 0;
    player->getDuration(&duration);
    VEXO_PRINT(LOG_VERBOSE, "current_play_bound_:%p, duration:%lld", static_cast<void *>(current),
               static_cast<long long>(duration));
    SetDuration(current, duration);
    const bool waits_for_start =
        current == first_play_bound_ || (!all_bounds_.empty() && current == all_bounds_.front().get());
    if (waits_for_start && !entered_started_) return;
    player->start();
    // The command that paused this timeline may have started the other one. They must not be audible at the same time.
    if (waits_paused_) player->pause();
}

// When the first period shows a picture, reports how long the application has waited for it.
void Timeline::OnFirstPicture(const Event &event) {
    {
        MutexLock lock(mutex_);
        const PlayBound *current = Current();
        if (!current || current->period_index != 0 || IsOld(event)) return;
    }
    const int64_t elapsed = static_cast<int64_t>(GetCurrentTimeMs()) - last_add_time_;
    const CallbackScope scope(*token_);
    if (const auto listener = listener_.Get()) {
        listener->notify(event.id, kEventStartDelay, static_cast<int>(elapsed), event.arg2, *event.param);
    }
}

}  // namespace vexo
