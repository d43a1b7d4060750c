#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/callback_scope.h"
#include "base/leaf_guarded.h"
#include "base/oriplayer/listener.h"
#include "base/oriplayer/period.h"
#include "base/oriplayer/player.h"
#include "base/oriplayer/string_map.h"
#include "base/protocols/configure.h"
#include "base/protocols/reporter.h"
#include "base/thread_annotations.h"
#include "timeline/internal_event.h"
#include "timeline/looper_slot.h"
#include "timeline/play_bound.h"
#include "timeline/timeline_player_event_listener.h"

namespace vexo {

class VideoRenderPipelineWrapper;

/// Plays a row of periods as one programme. The row is cut into bounds; the current bound alone has an engine player,
/// which is stopped and gone before the next bound gets its own.
///
/// Positions: milliseconds. Timeline scale: from the start of the first bound. Period scale: from the start of a
///            period. Source scale: what one engine player says.
/// Threads:   any, also from inside a listener call. The destructor and Close run on no callback thread.
/// Locks:     mutex_ guards the bounds and what hangs on them; it is recursive because listeners and engine calls may
///            come back. No thread is waited for under it, but the engine's stop(true). Settings, the view of the
///            player and the looper have leaf mutexes; the rest is atomic.
/// Listeners: called on the looper's thread without mutex_; kEventPeriodSwitched alone is told under it, at once.
class Timeline {
public:
    enum State : int32_t { kIdle = 0, kStarted = 1, kPaused = 2 };

    /// `token` names the player whose callbacks count as this timeline's; without one it has its own.
    explicit Timeline(int32_t id, std::shared_ptr<const CallbackToken> token = nullptr);
    ~Timeline();
    Timeline(const Timeline &) = delete;
    Timeline &operator=(const Timeline &) = delete;

    // ---- settings: none of them touches a running engine player

    void SetListener(std::shared_ptr<oriplayer::IOriPlayerListener> listener) { listener_.Set(std::move(listener)); }
    void SetInternalListener(std::shared_ptr<InternalEventListener> l) { internal_listener_.Set(std::move(l)); }
    void SetReporter(std::shared_ptr<protocols::IReporter> reporter) { reporter_.Set(std::move(reporter)); }
    void SetConfigure(std::shared_ptr<protocols::IConfigure> configure) { configure_.Set(std::move(configure)); }
    void SetUserAgent(std::string userAgent) { user_agent_.Set(std::move(userAgent)); }
    std::shared_ptr<oriplayer::IOriPlayerListener> GetListener() const { return listener_.Get(); }
    std::shared_ptr<protocols::IReporter> GetReporter() const { return reporter_.Get(); }
    std::shared_ptr<protocols::IConfigure> GetConfigure() const { return configure_.Get(); }

    // ---- what is current

    int32_t GetState() const { return state_.load(); }
    /// The id that the engine gave to the player of the bound entered last; -1 before the first.
    int32_t GetActiveId() const { return active_id_.load(); }
    /// For comparison only: the record may go at any moment. AccessCurrentBound gives one that can be followed.
    PlayBound *GetCurrentBound() const { return current_play_bound_.load(); }
    int32_t GetBoundPeriodIndex(PlayBound *bound) const { return bound->period_index; }
    /// The current bound's player, or empty. From a copy with a leaf mutex: never waits for a command, and may be
    /// called inside a picture callback or under another timeline's mutex.
    std::shared_ptr<oriplayer::IOriPlayer> GetActivePlayer() const { return player_view_.Get(); }
    /// Calls `function` with the current bound, which may be null, under the timeline's mutex.
    void AccessCurrentBound(const std::function<void(PlayBound *)> &function);
    /// Makes the bound's identity and keeps it there: timeline << 16 | period << 8 | source, 8 bits each. 0 for null.
    int64_t GenerateIdentity(PlayBound *bound);

    // ---- the periods; indexes count periods, those out of range do nothing

    int32_t GetPeriodCount() const {
        MutexLock lock(mutex_);
        return static_cast<int32_t>(period_bounds_.size());
    }
    /// Appends; returns the new period's index. The sources' durations are asked before the mutex is taken.
    int32_t AddBound(const std::shared_ptr<oriplayer::IPeriod> &period, std::shared_ptr<oriplayer::StringMap> headers);
    /// Appends periods in one step, each with its own headers, to the content that Reset has begun under `epoch`. They
    /// are asked for by `periodAt` with 0, 1, ... up to the first null, outside the mutex. What was added to that
    /// content meanwhile is removed. `filled` is called under the timeline's mutex. False, and nothing happens, if
    /// another Reset came first.
    bool Fill(const std::function<std::shared_ptr<oriplayer::IPeriod>(int)> &periodAt, uint64_t epoch,
              const std::function<void()> &filled);
    /// At the number of periods it appends.
    void InsertBound(const std::shared_ptr<oriplayer::IPeriod> &period, std::shared_ptr<oriplayer::StringMap> headers,
                     int index);
    /// While anything plays the source joins what plays, whatever `index` says.
    void InsertSource(const std::shared_ptr<oriplayer::ISource> &source,
                      const std::shared_ptr<oriplayer::StringMap> &headers, int index);
    /// The engine player of a period that plays goes on with the new one; kEventPeriodReplaced follows.
    /// True as RemoveBound, if nothing playable came in its place.
    bool ReplaceBound(const std::shared_ptr<oriplayer::IPeriod> &period, std::shared_ptr<oriplayer::StringMap> headers,
                      int index);
    /// A period that plays gives way to the next; a paused one keeps its player until the timeline leaves it. True if
    /// that ended playback: the period played and no other follows.
    bool RemoveBound(int index);

    // ---- playback

    // Prepare, Start and Reset take the number of the content that they are meant for (GetEpoch). They do nothing if
    // a Reset has begun another content since. Without a number they act on whatever is there.

    /// Enters the first bound with a start time.
    void Prepare(std::optional<uint64_t> onlyEpoch = {});
    /// The engine's result, 0 if nothing was started.
    int32_t Start(std::optional<uint64_t> onlyEpoch = {});
    void Pause();
    /// Drops the player; the periods stay.
    void Stop();
    /// Stops if the bound that has ended was the last one. Returns false and does nothing if another bound follows (by
    /// the lists as they are now) or if the timeline has moved since (`moves` of the event that reported the end).
    bool StopAfterEnd(uint64_t moves);
    /// If the timeline is started, makes the reaction to an end that is being handled yield, as after a seek: the
    /// caller decides what plays next. Otherwise false.
    bool YieldEnd();
    /// From now on ends of the content `epoch` have no effect. Called before that content is reset.
    void IgnoreEnds(uint64_t epoch);
    /// Empties the timeline for other periods; settings and volume stay. On a thread outside this player's callbacks it
    /// waits until the queued events are delivered. After it returns, no event of the former periods is delivered.
    /// Returns the number of the new, empty content, or nothing if another Reset came first.
    std::optional<uint64_t> Reset(std::optional<uint64_t> onlyEpoch = {});
    /// The number of the present content. Each Reset begins another.
    uint64_t GetEpoch() const { return epoch_.load(); }
    /// Stops events and the player permanently; nothing can be prepared afterwards. May be called again.
    void Close();
    /// To the next period, or with `withinPeriod` to the source behind the current period's first. False if there is
    /// none or nothing plays.
    bool SkipToNext(bool withinPeriod);

    void SetVolume(float volume);
    float GetVolume() const { return volume_.load(); }
    /// For the player there is; not kept.
    void SetAudioDevice(const std::string &name);
    void SetVideoSurface(const VideoSurface &surface);
    /// Valid under the timeline's mutex only: call it inside AccessCurrentBound.
    VideoSurface *GetVideoSurface();
    void SetVideoPipelineEnable(bool enable);
    /// Drops the pictures for the pipeline while `hidden` returns true; an empty function ends this. Pictures for a
    /// window are not affected. `hidden` runs on the engine's picture threads under a leaf mutex, so it takes no lock;
    /// after Close it is not called.
    void HidePicturesWhile(std::function<bool()> hidden);
    void SetAudioPipelineEnable(bool enable);

    // ---- positions; `mode` is the engine's

    /// The length of one period from its sources.
    static int64_t GetTotalDuration(const std::shared_ptr<oriplayer::IPeriod> &period);
    int64_t GetDuration();
    int64_t GetCurrentPosition(int mode);
    /// -1 is the current period.
    int64_t GetPeriodDuration(int index);
    int64_t GetPeriodCurrentPosition(int mode);
    void SeekTo(int64_t position, int mode);
    /// On the period scale; a position behind the period's end reaches into the following ones.
    void SeekCurrentPeriodTo(int64_t position, int mode);
    int32_t GetVideoWidth();
    int32_t GetVideoHeight();

    // ---- events

    /// Queues an event as if the engine had raised it, before those that wait. If memory is exhausted it is lost.
    void PostMessage_(int64_t id, int what, int arg1, int arg2, const oriplayer::Param &param);
    /// Queues an event of the timeline's owner that belongs to the content `epoch`; a later Reset discards it.
    void PostNotice(int what, uint64_t epoch);

private:
    using PlayerPtr = std::shared_ptr<oriplayer::IOriPlayer>;
    using HeadersPtr = std::shared_ptr<oriplayer::StringMap>;
    using PeriodPtr = std::shared_ptr<oriplayer::IPeriod>;
    using BoundList = std::vector<std::unique_ptr<PlayBound>>;
    enum class Detach { kYes, kNo };
    class PictureGate;
    class GatedPipeline;

    /// A period on its way into the lists, with what was asked of its sources before the mutex was taken.
    struct NewPeriod {
        struct Part {
            std::shared_ptr<oriplayer::ISource> source;
            int64_t duration;
        };
        PeriodPtr period;
        HeadersPtr headers;
        bool mixed;
        int64_t duration;         // of a period that stays whole
        std::vector<Part> parts;  // of one that is cut
    };

    /// How often things changed that a reaction must not undo.
    struct Changes {
        uint64_t bound = 0;   // the current bound became another one
        uint64_t player = 0;  // a player was made or dropped
        uint64_t seek = 0;    // a seek was sent to the player
        uint64_t yield = 0;   // the owner decided what plays after the end
        // A replacement took over the player. An event carries the count from when the engine raised it: an end that is
        // older than a replacement is out of date, because the engine raises another one after it.
        uint64_t hand_over = 0;
        bool followed = false;  // for an event: another bound followed when it was stamped

        uint64_t Moves() const { return bound + seek + yield + hand_over; }  // all only grow
    };

    struct Event {
        uint64_t epoch;
        int64_t id;
        int what;
        int arg1;
        int arg2;
        std::shared_ptr<oriplayer::Param> param;
        uint64_t hand_over;  // Changes::hand_over when the event was raised
    };

    // The lists, timeline_build.cpp and timeline_editing.cpp
    static NewPeriod Measure(const PeriodPtr &period, HeadersPtr headers);
    static std::unique_ptr<PlayBound> CreateBound(const PeriodPtr &period, const HeadersPtr &headers);
    static void CopyPeriodOptions(const PeriodPtr &from, const PeriodPtr &to, int64_t start);
    static HeadersPtr CloneHeaders(const HeadersPtr &headers);
    static void NotifyBoundChanged(PlayBound *bound);
    static bool Holds(const BoundList &list, const PlayBound *bound);
    int32_t Append(const NewPeriod &fresh) VEXO_REQUIRES(mutex_);
    static BoundList Cut(const NewPeriod &fresh, int32_t index, const char *comma);
    PlayBound *Place(BoundList bounds, int32_t index, std::size_t place) VEXO_REQUIRES(mutex_);
    void Reserve(std::size_t bounds) VEXO_REQUIRES(mutex_);
    void ShiftPeriods(std::size_t place, int32_t index, int32_t by) VEXO_REQUIRES(mutex_);
    void SetDuration(PlayBound *bound, int64_t duration) VEXO_REQUIRES(mutex_);
    bool TakesSources(int index) const VEXO_REQUIRES(mutex_);
    void TakeOut(int index) VEXO_REQUIRES(mutex_);
    void HandOver(PlayBound *replacement, const HeadersPtr &headers) VEXO_REQUIRES(mutex_);
    bool LeaveRemoved(bool wasCurrent, int index) VEXO_REQUIRES(mutex_);
    void FreeRemoved() VEXO_REQUIRES(mutex_);
    void RefreshCurrentIdentity() VEXO_REQUIRES(mutex_);

    bool HasPeriod(int index) const VEXO_REQUIRES(mutex_);
    /// The bound is in the lists, as part of that period.
    bool InPeriod(const PlayBound *bound, int index) const VEXO_REQUIRES(mutex_);
    /// The place in all_bounds_, its size if the bound is not there.
    std::size_t PlaceOf(const PlayBound *bound) const VEXO_REQUIRES(mutex_);
    /// One behind the last place of the period in all_bounds_.
    std::size_t PeriodEnd(int index) const VEXO_REQUIRES(mutex_);
    /// The period that follows the bound's: the one at its own index, if the bound is out of the lists.
    int32_t NextPeriod(const PlayBound *bound) const VEXO_REQUIRES(mutex_);
    /// What plays behind the current bound, or null.
    PlayBound *FollowingBound() const VEXO_REQUIRES(mutex_);

    // Playback, timeline_playback.cpp and timeline_player.cpp
    PlayBound *Current() const VEXO_REQUIRES(mutex_) { return current_play_bound_.load(); }
    PlayerPtr CurrentPlayer() const VEXO_REQUIRES(mutex_);
    void SetCurrent(PlayBound *bound) VEXO_REQUIRES(mutex_);
    void Switch(PlayBound *bound, int64_t position, std::optional<int> seekMode = {}) VEXO_REQUIRES(mutex_);
    enum class Entry { kSeek, kOther };
    void Enter(PlayBound *bound, Entry entry) VEXO_REQUIRES(mutex_);
    void SeekInto(PlayBound *bound, int64_t position, int mode) VEXO_REQUIRES(mutex_);
    void SeekPlayer(int64_t position, int mode) VEXO_REQUIRES(mutex_);
    void StopPlayback() VEXO_REQUIRES(mutex_);
    void Clear() VEXO_REQUIRES(mutex_);
    void PlayBoundPrepare(PlayBound *bound) VEXO_REQUIRES(mutex_);
    void SetUp(const PlayBound &bound, const PlayerPtr &player) VEXO_REQUIRES(mutex_);
    void DropPlayer(PlayBound *bound, Detach detach) VEXO_REQUIRES(mutex_);
    void ApplyPlayerSettings(oriplayer::IOriPlayer &player) VEXO_REQUIRES(mutex_);
    void BindListener(oriplayer::IOriPlayer &player) VEXO_REQUIRES(mutex_);
    static void LogHeaders(const PlayBound &bound);
    void TellPeriodSwitched() VEXO_REQUIRES(mutex_);
    void ApplyVolume(oriplayer::IOriPlayer &player) VEXO_REQUIRES(mutex_);
    static std::shared_ptr<PictureGate> MakePictureGate();

    // Positions, timeline_position.cpp
    int64_t BoundDuration(const PlayBound *bound, std::size_t place) const VEXO_REQUIRES(mutex_);
    int64_t BoundPosition(const PlayBound *bound, std::size_t place, int mode) const VEXO_REQUIRES(mutex_);

    // Events, timeline_events.cpp
    void HandleCallback(Event event);
    bool StampEvent(Event &event, Changes &changes);
    bool TellListeners(const Event &event, const Changes &changes);
    void TellOwner(const Event &event, const Changes &stamped);
    void React(const Event &event, const Changes &changes);
    void OnEnd(const Event &event, const Changes &changes);
    void OnPrepared(const Event &event, const Changes &changes);
    void OnFirstPicture(const Event &event);
    bool IsOld(const Event &event) const { return event.epoch != epoch_.load(); }
    void Post(int64_t id, int what, int arg1, int arg2, const oriplayer::Param &param, uint64_t epoch);
    Changes ChangesNow() const VEXO_REQUIRES(mutex_);

    const int32_t id_;
    const std::shared_ptr<const CallbackToken> token_;

    mutable RecursiveMutex mutex_;
    std::atomic<PlayBound *> current_play_bound_{nullptr};            // changed under mutex_
    PlayBound *first_play_bound_ VEXO_GUARDED_BY(mutex_) = nullptr;   // the one that Prepare chose
    std::vector<PlayBound *> period_bounds_ VEXO_GUARDED_BY(mutex_);  // each period's first bound
    BoundList all_bounds_ VEXO_GUARDED_BY(mutex_);                    // in play order
    // The bounds' durations in step with all_bounds_: the queries of a user interface walk long lists, and the records
    // lie scattered.
    std::vector<int64_t> durations_ VEXO_GUARDED_BY(mutex_);
    BoundList removed_bounds_ VEXO_GUARDED_BY(mutex_);  // out of the lists, but current
    std::shared_ptr<TimelinePlayerEventListener> event_listener_ VEXO_GUARDED_BY(mutex_);
    bool video_pipeline_enable_ VEXO_GUARDED_BY(mutex_) = false;
    bool audio_pipeline_enable_ VEXO_GUARDED_BY(mutex_) = false;  // recorded only
    const std::shared_ptr<PictureGate> picture_gate_ = MakePictureGate();
    std::shared_ptr<VideoRenderPipelineWrapper> video_pipeline_ VEXO_GUARDED_BY(mutex_);
    std::unique_ptr<VideoSurface> video_surface_ VEXO_GUARDED_BY(mutex_);
    int64_t identity_ VEXO_GUARDED_BY(mutex_) = -1;  // of the bound entered last
    Changes changes_ VEXO_GUARDED_BY(mutex_);
    bool entered_started_ VEXO_GUARDED_BY(mutex_) = false;  // the player was made in state kStarted
    bool waits_paused_ VEXO_GUARDED_BY(mutex_) = false;     // the player pauses as soon as it is prepared
    bool closed_ VEXO_GUARDED_BY(mutex_) = false;
    std::optional<uint64_t> ignored_ends_ VEXO_GUARDED_BY(mutex_);  // the epoch that IgnoreEnds named last

    LeafGuarded<std::shared_ptr<oriplayer::IOriPlayerListener>> listener_;
    LeafGuarded<std::shared_ptr<InternalEventListener>> internal_listener_;
    LeafGuarded<std::shared_ptr<protocols::IReporter>> reporter_;
    LeafGuarded<std::shared_ptr<protocols::IConfigure>> configure_;
    LeafGuarded<std::string> user_agent_;
    LeafGuarded<PlayerPtr> player_view_;  // the current bound's player

    std::atomic<int32_t> state_{kIdle};
    std::atomic<int32_t> active_id_{-1};
    std::atomic<float> volume_{-1.0f};  // -1: never set
    std::atomic<int32_t> video_width_{-1};
    std::atomic<int32_t> video_height_{-1};
    std::atomic<int64_t> last_add_time_{0};  // ms since the epoch
    std::atomic<uint64_t> epoch_{0};         // incremented by Reset; an event of an older one is dropped
    std::atomic<uint64_t> hand_overs_{0};    // Changes::hand_over, which threads of the engine read; under mutex_

    LooperSlot looper_;  // last: it runs while the rest lives
};

}  // namespace vexo
