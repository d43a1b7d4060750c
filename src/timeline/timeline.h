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

/// Plays a list of periods as one programme. The periods are cut into bounds. Only the current bound has an engine
/// player, which is stopped and released before the next bound gets its own.
///
/// Positions: milliseconds. Timeline scale: from the start of the first bound. Period scale: from the start of a
///            period. Source scale: as one engine player reports it.
/// Threads:   any, also inside a listener call. The destructor and Close must not run on a callback thread.
/// Locks:     mutex_ guards the bounds and what belongs to them. It is recursive, because listeners and engine calls
/// may
///            call the timeline. Under it no thread is waited for, except in the engine's stop(true). Settings, the
///            copy of the player and the looper have leaf mutexes; the other members are atomic.
/// Listeners: called on the looper's thread without mutex_, except for kEventPeriodSwitched: that is delivered under
///            mutex_ on the thread that enters the bound.
class Timeline {
public:
    enum State : int32_t { kIdle = 0, kStarted = 1, kPaused = 2 };

    /// `token` identifies the player whose callbacks count as callbacks of this timeline. If null it makes its own.
    explicit Timeline(int32_t id, std::shared_ptr<const CallbackToken> token = nullptr);
    ~Timeline();
    Timeline(const Timeline &) = delete;
    Timeline &operator=(const Timeline &) = delete;

    // ---- settings: they do not change a running engine player

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
    /// The id of the engine player of the bound that was entered last; -1 before the first.
    int32_t GetActiveId() const { return active_id_.load(); }
    /// For comparison only, because the bound may be freed at any moment. Use AccessCurrentBound to read it.
    PlayBound *GetCurrentBound() const { return current_play_bound_.load(); }
    int32_t GetBoundPeriodIndex(PlayBound *bound) const { return bound->period_index; }
    /// The current bound's player, or empty. It reads a copy under a leaf mutex: it never waits for a command, and may
    /// be called inside a picture callback or under another timeline's mutex.
    std::shared_ptr<oriplayer::IOriPlayer> GetActivePlayer() const { return player_view_.Get(); }
    /// Calls `function` with the current bound, which may be null, under the timeline's mutex.
    void AccessCurrentBound(const std::function<void(PlayBound *)> &function);
    /// Sets and returns the bound's identity: timeline << 16 | period << 8 | source, 8 bits each. 0 for null.
    int64_t GenerateIdentity(PlayBound *bound);

    // ---- the periods; indexes count periods, and an index out of range does nothing

    int32_t GetPeriodCount() const {
        MutexLock lock(mutex_);
        return static_cast<int32_t>(period_bounds_.size());
    }
    /// Appends a period and returns its index. Reads the sources' durations before it takes the mutex.
    int32_t AddBound(const std::shared_ptr<oriplayer::IPeriod> &period, std::shared_ptr<oriplayer::StringMap> headers);
    /// Replaces the periods of the content `epoch`, which a Reset has begun, in one step. Gets them from periodAt(0),
    /// periodAt(1), ... up to the first null, without the mutex; each has its own headers. Then calls `filled` under
    /// the mutex. Returns false and changes nothing if another Reset has begun a newer content.
    bool Fill(const std::function<std::shared_ptr<oriplayer::IPeriod>(int)> &periodAt, uint64_t epoch,
              const std::function<void()> &filled);
    /// Inserts a period before the one at `index`; if `index` is the number of periods, appends it.
    void InsertBound(const std::shared_ptr<oriplayer::IPeriod> &period, std::shared_ptr<oriplayer::StringMap> headers,
                     int index);
    /// Adds a source to a period. While the timeline has an engine player, it adds it to the current bound instead,
    /// whatever `index` is.
    void InsertSource(const std::shared_ptr<oriplayer::ISource> &source,
                      const std::shared_ptr<oriplayer::StringMap> &headers, int index);
    /// Replaces a period and raises kEventPeriodReplaced. If it is the current one, its engine player continues with
    /// the new period. If the new period has nothing to play, this removes the old one; the result is that of
    /// RemoveBound.
    bool ReplaceBound(const std::shared_ptr<oriplayer::IPeriod> &period, std::shared_ptr<oriplayer::StringMap> headers,
                      int index);
    /// Removes a period. If it is playing, the next one is entered; if it is paused, it keeps its player until the
    /// timeline enters another bound. Returns true if this ended playback: it was playing and none follows.
    bool RemoveBound(int index);

    // ---- playback

    // Prepare, Start and Reset can take the number of the content for which they are meant (GetEpoch). If a Reset has
    // begun another content since, they do nothing. Without a number they act on the present content.

    /// Enters the first bound with a start time.
    void Prepare(std::optional<uint64_t> onlyEpoch = {});
    /// Returns the engine's result, 0 if nothing was started.
    int32_t Start(std::optional<uint64_t> onlyEpoch = {});
    void Pause();
    /// Stops and releases the player; the periods stay.
    void Stop();
    /// Stops and returns true if the bound that has ended is the last one. `moves` is that of the event that reported
    /// the end. Returns false and does nothing if another bound follows now, or if the timeline has moved since that
    /// event.
    bool StopAfterEnd(uint64_t moves);
    /// Cancels the reaction to an end that is being handled, as a seek does, and returns true: the caller decides what
    /// plays next. If the timeline is not started, does nothing and returns false.
    bool YieldEnd();
    /// From now on ends of the content `epoch` have no effect. Called before a Reset of that content.
    void IgnoreEnds(uint64_t epoch);
    /// Removes all periods and begins a new, empty content; settings and volume stay. After it returns, no event of the
    /// former periods is delivered. Outside this player's callbacks it first waits until queued events are delivered.
    /// Returns the number of the new content, or nothing if another Reset was faster.
    std::optional<uint64_t> Reset(std::optional<uint64_t> onlyEpoch = {});
    /// The number of the present content. Each Reset begins a new one.
    uint64_t GetEpoch() const { return epoch_.load(); }
    /// Stops events and the player permanently; nothing can be prepared afterwards. May be called again.
    void Close();
    /// Skips to the next period, or with `withinPeriod` to the bound after the first one of the current period. False
    /// if there is none or nothing plays.
    bool SkipToNext(bool withinPeriod);

    void SetVolume(float volume);
    float GetVolume() const { return volume_.load(); }
    /// For the current player only; later players do not get it.
    void SetAudioDevice(const std::string &name);
    void SetVideoSurface(const VideoSurface &surface);
    /// Valid under the timeline's mutex only: call it inside AccessCurrentBound.
    VideoSurface *GetVideoSurface();
    void SetVideoPipelineEnable(bool enable);
    /// While `hidden` returns true, pictures for the pipeline are dropped; an empty function ends this. Pictures for a
    /// window are not affected. `hidden` runs on the engine's picture threads under a leaf mutex, so it must not take a
    /// lock. After Close it is not called.
    void HidePicturesWhile(std::function<bool()> hidden);
    void SetAudioPipelineEnable(bool enable);

    // ---- positions; `mode` as in oriplayer::IOriPlayer

    /// The sum of the lengths of a period's sources.
    static int64_t GetTotalDuration(const std::shared_ptr<oriplayer::IPeriod> &period);
    int64_t GetDuration();
    int64_t GetCurrentPosition(int mode);
    /// -1 is the current period.
    int64_t GetPeriodDuration(int index);
    int64_t GetPeriodCurrentPosition(int mode);
    void SeekTo(int64_t position, int mode);
    /// `position` is on the period scale; a position after the end of the period is in one of the following periods.
    void SeekCurrentPeriodTo(int64_t position, int mode);
    int32_t GetVideoWidth();
    int32_t GetVideoHeight();

    // ---- events

    /// Queues an event as if the engine had raised it, before those that wait. Without memory the event is lost.
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

    /// A period that is to be added, and what was read from its sources before the mutex was taken.
    struct NewPeriod {
        struct Part {
            std::shared_ptr<oriplayer::ISource> source;
            int64_t duration;
        };
        PeriodPtr period;
        HeadersPtr headers;
        bool mixed;
        int64_t duration;         // if the period becomes one bound
        std::vector<Part> parts;  // if each source becomes a bound
    };

    /// Counts changes that the reaction to an event must not undo: it compares the counts of the event with those of
    /// now.
    struct Changes {
        uint64_t bound = 0;   // the current bound became another one
        uint64_t player = 0;  // a player was made or dropped
        uint64_t seek = 0;    // a seek was sent to the player
        uint64_t yield = 0;   // the owner decided what plays after the end
        // A replacement took over the player. The count of an event is from the moment when the engine raised it. An
        // end that is older than a replacement is out of date, because the engine raises another one after it.
        uint64_t hand_over = 0;
        bool followed = false;  // of an event: another bound followed when it was stamped

        uint64_t Moves() const { return bound + seek + yield + hand_over; }  // the sum is enough: none decreases
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
    /// True if the bound is in the lists and part of that period.
    bool InPeriod(const PlayBound *bound, int index) const VEXO_REQUIRES(mutex_);
    /// The bound's place in all_bounds_, or the size of all_bounds_ if it is not there.
    std::size_t PlaceOf(const PlayBound *bound) const VEXO_REQUIRES(mutex_);
    /// The place after the period's last bound in all_bounds_.
    std::size_t PeriodEnd(int index) const VEXO_REQUIRES(mutex_);
    /// The index of the period after the bound's. For a removed bound that is the bound's own index.
    int32_t NextPeriod(const PlayBound *bound) const VEXO_REQUIRES(mutex_);
    /// The bound that plays after the current one, or null.
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
    // The duration of each bound, parallel to all_bounds_. A user interface often asks for positions in long lists, and
    // a sum over one array is fast.
    std::vector<int64_t> durations_ VEXO_GUARDED_BY(mutex_);
    BoundList removed_bounds_ VEXO_GUARDED_BY(mutex_);  // not in the lists any more, but current
    std::shared_ptr<TimelinePlayerEventListener> event_listener_ VEXO_GUARDED_BY(mutex_);
    bool video_pipeline_enable_ VEXO_GUARDED_BY(mutex_) = false;
    bool audio_pipeline_enable_ VEXO_GUARDED_BY(mutex_) = false;  // stored only
    const std::shared_ptr<PictureGate> picture_gate_ = MakePictureGate();
    std::shared_ptr<VideoRenderPipelineWrapper> video_pipeline_ VEXO_GUARDED_BY(mutex_);
    std::unique_ptr<VideoSurface> video_surface_ VEXO_GUARDED_BY(mutex_);
    int64_t identity_ VEXO_GUARDED_BY(mutex_) = -1;  // of the bound that was entered last
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
    std::atomic<uint64_t> hand_overs_{0};    // Changes::hand_over; threads of the engine read it, changed under mutex_

    LooperSlot looper_;  // last, so that its thread ends before the other members are destroyed
};

}  // namespace vexo
