#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/oriplayer/listener.h"
#include "base/oriplayer/param.h"
#include "base/oriplayer/play_component.h"
#include "base/protocols/configure.h"
#include "base/protocols/reporter.h"
#include "base/thread_annotations.h"
#include "mixed/base_player_interface.h"

namespace oriplayer {
class IOriPlayer;
class OriPlayer;
}  // namespace oriplayer

namespace VexoPlayerNS {
class VexoPlayer;
}

namespace vexo {

class CallbackToken;
class CodecMediaProcess;
class CodecNetProcess;
class InternalEventListener;
class Timeline;

/// Plays one programme of periods whose codecs may differ. The main timeline (id 0) plays the programme that
/// setDataSource gives it. The isolated timeline (id 1) is filled by addPeriod and plays an interruption: start(1)
/// pauses the main timeline, and the end of the last isolated period resumes it (event 10240). See
/// examples/isolated.cpp.
///
/// Active:   operations without an id go to the active timeline: the isolated one while it is started and the main one
///           is paused, otherwise the main one. If you start the isolated timeline while the main one is not paused,
///           for example after its end, it is not active: pause, seekTo, goNext and the queries go to the main
///           timeline. In that state start(0) pauses the isolated timeline and stop(1, true) ends it. To play something
///           after the programme, add a period to the main timeline instead.
/// Results:  0 if the operation reached its timeline or player, even if nothing changed there; -1 if not. If the
/// pointer
///           for a result is null, the operation returns -1 and writes nothing.
/// Threads:  any, also inside a callback; every operation runs at once on the caller's thread. Each operation of a
///           timeline is atomic. Edits (addPeriod to clearPeriods) belong on one thread at a time; otherwise the play
///           list can get another order than the timeline.
/// Locks:    fields_mutex_ is a leaf and guards the components and the settings; play lists are used without it.
/// End:      after the destructor nothing of this player calls the application. If the last reference is dropped
///           inside a callback, the drop returns at once and a thread of the library destroys the player.
///           Listener, reporter and configuration are shared, so they stay alive while they are called.
class VEXO_API MixedCodecsPlayer : public BasePlayerInterface {
public:
    /// Throws std::system_error or std::bad_alloc if there is no thread or memory.
    static std::shared_ptr<MixedCodecsPlayer> create();
    /// Creates a player for an owner that also calls the application. `token`, not null, marks the callbacks of both.
    static std::shared_ptr<MixedCodecsPlayer> create(std::shared_ptr<const CallbackToken> token);

    MixedCodecsPlayer(const MixedCodecsPlayer &) = delete;
    MixedCodecsPlayer &operator=(const MixedCodecsPlayer &) = delete;

    /// Not supported: always -1.
    int changePeriodById(int component, int64_t id, const std::shared_ptr<oriplayer::IPeriod> &period,
                         const std::shared_ptr<oriplayer::StringMap> &options) override;
    int delPeriodById(int component, int64_t id) override;
    virtual ~MixedCodecsPlayer();
    /// Writes the surface of the active timeline; without one `*out` is unchanged. 0, or -1 if `out` is null.
    virtual int getVideoSurface(void **out);
    /// Sets the window of both timelines, the number of an X11 window as a pointer, null for none. It shows pictures
    /// only while the picture pipeline is off (see setVideoPipelineEnable). `flag` has no effect. stop and
    /// setDataSource release the window: set it again after them. The player does not own it. Always 0.
    virtual int setVideoSurface(void *surface, bool flag);
    /// Not supported, always -1: getMediaProcessor() has the controls for pictures, filters and subtitles.
    virtual int setRenderConfig(int number, const oriplayer::Param &value, int index);
    virtual int setFilter(int type, oriplayer::StringMap &params, int index);
    virtual int displayFrame(const oriplayer::Param &frame, int index);
    virtual int addSubtitleSource(const char *url, const char *language);
    virtual int setSubtitleOffset(int offsetMs);
    virtual bool isLooping();
    /// Sets whether the current bound repeats. The next bound does not inherit it: set it again after each event 1000.
    virtual int setLooping(bool looping);
    /// Writes the size in pixels, -1 for what is unknown. 0, or -1 if a pointer is null; then nothing is written.
    virtual int getVideoSize(int *width, int *height);
    /// Sets the user agent for bounds that the main timeline enters from now on. The isolated timeline always uses the
    /// engine's default. Null counts as empty.
    virtual int setUserAgent(const char *userAgent);
    /// Always empty: each bound has an engine player of its own.
    virtual std::shared_ptr<oriplayer::OriPlayer> getOriPlayer();
    /// Receives the events of both timelines; null for none.
    virtual int setListener(std::shared_ptr<oriplayer::IOriPlayerListener> listener);
    /// Takes effect with the next engine player; null for none.
    virtual int setReporter(std::shared_ptr<protocols::IReporter> reporter);
    /// Sets the application's configuration (base/protocols/configure.h), null for none, and registers the player as
    /// its listener. stop removes that listener, start registers it again.
    virtual int setConfigure(std::shared_ptr<protocols::IConfigure> configure);
    virtual std::shared_ptr<protocols::IReporter> getReporter();
    virtual std::shared_ptr<protocols::IConfigure> getConfigure();
    virtual std::shared_ptr<CodecMediaProcess> getMediaProcessor();
    virtual std::shared_ptr<CodecNetProcess> getNetProcessor();

    /// Stops both timelines and fills the main one with the periods of the first component's list, up to the first
    /// empty one. The list is not copied: later edits of the main timeline change it. `count` and `headers` are not
    /// used, each period brings its own headers. Always 0.
    int setDataSource(const std::vector<std::shared_ptr<oriplayer::PlayComponent>> &components, int count,
                      const std::shared_ptr<oriplayer::StringMap> &headers);
    /// The id of the active timeline, 0 or 1. Never waits.
    int getActiveIndex();

    // Periods of timeline `id`, counted from 0. An index outside the timeline is ignored, with result 0; another id
    // than 0 and 1 gives -1, except in addPeriod.

    /// `position` -1 appends. A null period is ignored. Always 0.
    int addPeriod(int id, int position, const std::shared_ptr<oriplayer::IPeriod> &period,
                  const std::shared_ptr<oriplayer::StringMap> &options);
    /// Adds to a period that is not mixed-codecs; while anything plays the source joins the current bound, whatever
    /// `position` is.
    int addSource(int id, int position, const std::shared_ptr<oriplayer::ISource> &source,
                  const std::shared_ptr<oriplayer::StringMap> &options);
    /// Replaces a period (event -10001). If it plays, playback continues in the new one. The period's own headers take
    /// precedence over `options`. -1 for a null period.
    int changePeriod(int id, int index, const std::shared_ptr<oriplayer::IPeriod> &period,
                     const std::shared_ptr<oriplayer::StringMap> &options);
    /// If the period plays, the next one plays instead. If it is the last one of the isolated timeline, the main
    /// timeline resumes (event 10240).
    int delPeriod(int id, int index);
    /// Removes all periods of the play list, the first one first, as delPeriod does.
    int clearPeriods(int id);

    // Playback. Times are milliseconds; operations without an id go to the active timeline.

    /// Opens the first period that has a start time; event 1000 or an error event follows. Call it once for a list:
    /// while the list plays, a second call is a seek to its beginning. 0, or -1 for another id than 0 and 1.
    int prepareAsync();
    int prepareAsync(int id);
    /// Starts timeline `id`, the main one without an argument, and pauses the other. After the end of a list it plays
    /// nothing: call prepareAsync, or seekTo, first. Always 0.
    int start();
    int start(int id);
    /// Skips to the next period; with `withinPeriod`, to what follows the first source of the current period. Returns
    /// 0. If nothing follows during an interruption, resumes the main timeline and returns 0. If nothing follows on the
    /// main timeline, or if that is not started, does nothing and returns -1.
    int goNext(bool withinPeriod);
    /// Pauses the active timeline. If that is the isolated one, the main one is active afterwards: start(1) resumes the
    /// interruption, start(0) the programme.
    int pause();
    /// Mode 0 is exact, 1 goes to the key frame at or before the position. A negative position counts as 0. A position
    /// beyond the known duration does nothing, and the result is still 0: compare with getDuration, or call goNext.
    int seekTo(int positionMs, int mode);
    /// Like seekTo, with a position from the start of the current period. A position after its end is in a later
    /// period.
    int seekCurrentPeriodTo(int positionMs, int mode);
    /// Stops and empties both timelines and drops both play lists: call setDataSource before the next prepareAsync.
    /// Always 0; the flag is not used.
    int stop(bool flag);
    /// Stops and empties one timeline. stop(1, true) leaves a paused main timeline paused, without event 10240: call
    /// start(0) after it, or clearPeriods(1) in its place. 0, or -1 for another id than 0 and 1; the flag is not used.
    int stop(int id, bool flag);
    /// Not supported, always -1: resources are released with the object.
    int release();

    /// 0.0 to 1.0, for the current and the later bounds of the active timeline.
    void setVolume(float volume);
    /// -1.0 if none was set. Never waits.
    float getVolume();
    /// Takes effect for the current bound only: set it again after each event 1000.
    void setAudioDevice(std::string device);

    // The next four write milliseconds and return 0, or -1 if the pointer is null.

    /// Mode 0 gives the presented position, mode 1 the end of the buffered data. The position is 0 if nothing plays.
    int getCurrentPosition(int64_t *positionMs, int mode);
    int getDuration(int64_t *durationMs);
    int getCurrentPeriodDuration(int64_t *durationMs);
    int getCurrentPeriodPosition(int64_t *positionMs, int mode);
    int getVideoWidth();
    int getVideoHeight();

    // Direct access to the current engine player. 0 if there is one, whatever it returned; -1 if there is none or if
    // `value` is null.

    int setParameter(int key, const oriplayer::Param &value, int index);
    int getParameter(int key, oriplayer::Param *value, int index);
    /// Never waits.
    bool isPlaying();
    std::shared_ptr<oriplayer::IPeriod> getActivePeriod();
    /// The id of the engine player that the active timeline made last, -1 before the first.
    int getActiveID();

    /// Sends pictures to the middlewares of RenderManager (true) or to the window (false, the default). Takes effect
    /// with the next engine player. The first call with true takes the middlewares that are registered at that moment
    /// and keeps them for the life of this player; later registrations do not reach it. To give each player a
    /// middleware of its own, register it, enable the pipeline, and remove it from RenderManager again
    /// (examples/two_players.cpp).
    void setVideoPipelineEnable(bool enable);
    /// Stored only.
    void setAudioPipelineEnable(bool enable);

private:
    friend class TimelineInternalListener;
    friend class VexoPlayerNS::VexoPlayer;
    using TimelineFunction = std::function<void(Timeline *)>;

    explicit MixedCodecsPlayer(std::shared_ptr<const CallbackToken> token);
    static void destroy(MixedCodecsPlayer *player);
    void silenceTimelines();
    /// Closes both timelines. After it returns, this player calls neither its owner nor the application. Can be
    /// repeated.
    void close();

    /// The numbers of what both timelines contain (Timeline::GetEpoch). Each stop and each setDataSource changes them.
    struct Content {
        uint64_t main;
        uint64_t isolated;
    };
    Content content() const;
    int start(int id, std::optional<uint64_t> onlyEpoch);
    /// Like the public functions, but they do nothing if `content` has been replaced since.
    int prepareAsync(const Content &content);
    int stop(bool flag, const Content &content);
    /// The work of stop(flag): empties both timelines, each only if it still contains `only` (null: in any case).
    /// Returns the number of the main timeline's new content, or nothing if another stop was faster.
    std::optional<uint64_t> empty(const Content *only);

    /// Calls `fn` with a timeline, on this thread. 0, or -1 for another index than 0 and 1.
    int accessTimeline(int index, TimelineFunction fn);
    int accessActive(TimelineFunction fn);
    void accessBoth(const TimelineFunction &fn);
    int accessPlayer(const std::function<void(oriplayer::IOriPlayer &)> &fn);
    void addPeriodInner(const std::shared_ptr<oriplayer::IPeriod> &period, int id, int position,
                        const std::shared_ptr<oriplayer::StringMap> &options);
    /// Raises 10240 on `timeline` whatever its content is; null does nothing. It is kept because it is exported: this
    /// class uses resumeMain.
    void notifyTimelineSwitched(Timeline *timeline);
    /// Gives the processors the bound that `timeline` has entered. Runs under that timeline's mutex.
    void notifyPeriodSwitched(Timeline *timeline);

    /// Starts the main timeline and raises 10240, if the content of that timeline is still `epoch`.
    void resumeMain(uint64_t epoch);
    void playbackEnded(int id, uint64_t mainEpoch);

    std::shared_ptr<oriplayer::IPlayList> playListOf(int id);
    std::shared_ptr<oriplayer::IPlayList> makePlayListOf(int id);
    void forgetStalePeriods(int id);
    void setPlayListOf(int id, std::shared_ptr<oriplayer::IPlayList> list);
    void dropPlayListOf(int id, std::optional<uint64_t> epoch);

    const std::shared_ptr<const CallbackToken> token_;  ///< marks this player's callbacks; shared with its timelines
    std::atomic<uint64_t> source_number_{0};            ///< counts the calls of setDataSource
    mutable Mutex fields_mutex_;                        ///< leaf
    // Set by the constructor, released by the destructor.
    std::shared_ptr<CodecMediaProcess> media_processor_;
    std::shared_ptr<CodecNetProcess> net_processor_;
    std::mutex codec_mutex_;  ///< an argument of the processors' Initialize; nothing locks it
    std::vector<std::shared_ptr<oriplayer::PlayComponent>> play_components_ VEXO_GUARDED_BY(fields_mutex_);
    std::shared_ptr<InternalEventListener> internal_listener_;
    std::shared_ptr<oriplayer::IOriPlayerListener> listener_ VEXO_GUARDED_BY(fields_mutex_);
    std::shared_ptr<protocols::IReporter> reporter_ VEXO_GUARDED_BY(fields_mutex_);
    std::shared_ptr<protocols::IConfigure> configure_ VEXO_GUARDED_BY(fields_mutex_);
    std::array<std::shared_ptr<Timeline>, 2> timelines_;  ///< main, isolated; never empty
};

}  // namespace vexo
