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

/// One programme of periods whose codecs differ: a main timeline (id 0), which setDataSource fills, and an isolated one
/// (id 1), filled by the period operations, which plays while the main one stands paused and gives control back when
/// its last period has ended.
///
/// Threads:  any, also from inside a callback; every operation runs at once on the caller's thread. Operations of one
///           timeline are atomic each; a sequence of edits belongs on one thread at a time, else the play list can
///           come to stand in another order than the timeline.
/// Locks:    fields_mutex_ is a leaf round the components and the settings; play lists are used without it.
/// Active:   the isolated timeline while it is started and the main one paused, else the main one.
/// Pictures: go to the window of setVideoSurface until setVideoPipelineEnable(true). From then on they go to the
///           middlewares that RenderManager held at that call; those added later see nothing. For several players with
///           pictures of their own: for each in turn, register a middleware, enable the pipeline, remove it.
/// Results:  0 if the work was reached, which does not say that anything changed, -1 if not.
/// End:      behind the destructor nothing of this player calls out any more. It belongs on a thread that is not inside
///           a callback of this player; create() sees to that: a last reference dropped inside one leaves the
///           destruction to a thread of its own.
class VEXO_API MixedCodecsPlayer : public BasePlayerInterface {
public:
    static std::shared_ptr<MixedCodecsPlayer> create();
    /// The same for an owner that calls back to the application itself: it marks its callbacks with `token`.
    static std::shared_ptr<MixedCodecsPlayer> create(std::shared_ptr<const CallbackToken> token);

    MixedCodecsPlayer(const MixedCodecsPlayer &) = delete;
    MixedCodecsPlayer &operator=(const MixedCodecsPlayer &) = delete;

    /// Periods by id are not offered: -1.
    int changePeriodById(int component, int64_t id, const std::shared_ptr<oriplayer::IPeriod> &period,
                         const std::shared_ptr<oriplayer::StringMap> &options) override;
    int delPeriodById(int component, int64_t id) override;
    virtual ~MixedCodecsPlayer();
    /// Writes the surface that the active timeline holds; `*out` stays if it holds none. -1 for a null `out`.
    virtual int getVideoSurface(void **out);
    /// For both timelines; null for none. Lost at stop and setDataSource. Stays empty while the pipeline is on.
    virtual int setVideoSurface(void *surface, bool flag);
    /// -1: rendering, filters and subtitles are not driven from here (see getMediaProcessor).
    virtual int setRenderConfig(int number, const oriplayer::Param &value, int index);
    virtual int setFilter(int type, oriplayer::StringMap &params, int index);
    virtual int displayFrame(const oriplayer::Param &frame, int index);
    virtual int addSubtitleSource(const char *url, const char *language);
    virtual int setSubtitleOffset(int offsetMs);
    virtual bool isLooping();
    /// For the engine player of the current bound; the next bound does not inherit it.
    virtual int setLooping(bool looping);
    /// -1 each while unknown. Returns -1, and writes nothing, if a pointer is null.
    virtual int getVideoSize(int *width, int *height);
    /// For the main timeline's next bounds; null counts as empty.
    virtual int setUserAgent(const char *userAgent);
    /// Always empty: there is no one engine player.
    virtual std::shared_ptr<oriplayer::OriPlayer> getOriPlayer();
    virtual int setListener(std::shared_ptr<oriplayer::IOriPlayerListener> listener);
    /// For engine players that are made afterwards, as is setConfigure.
    virtual int setReporter(std::shared_ptr<protocols::IReporter> reporter);
    virtual int setConfigure(std::shared_ptr<protocols::IConfigure> configure);
    virtual std::shared_ptr<protocols::IReporter> getReporter();
    virtual std::shared_ptr<protocols::IConfigure> getConfigure();
    virtual std::shared_ptr<CodecMediaProcess> getMediaProcessor();
    virtual std::shared_ptr<CodecNetProcess> getNetProcessor();

    /// Stops both timelines and takes the periods of the first component's list; the list is the caller's own and
    /// follows later edits. `count` and `headers` are not used: each period brings its own headers. Always 0.
    int setDataSource(const std::vector<std::shared_ptr<oriplayer::PlayComponent>> &components, int count,
                      const std::shared_ptr<oriplayer::StringMap> &headers);
    /// 0 or 1, the timeline that plays now. Never waits.
    int getActiveIndex();

    // Periods of timeline `id`, counted from 0. An index outside the timeline is ignored, with result 0.

    /// `position` -1 appends. Always 0.
    int addPeriod(int id, int position, const std::shared_ptr<oriplayer::IPeriod> &period,
                  const std::shared_ptr<oriplayer::StringMap> &options);
    /// Adds to a period that is not mixed-codecs; while anything plays the source joins the current bound.
    int addSource(int id, int position, const std::shared_ptr<oriplayer::ISource> &source,
                  const std::shared_ptr<oriplayer::StringMap> &options);
    /// The period's own headers win over `options`. The playing period is replaced while it runs.
    int changePeriod(int id, int index, const std::shared_ptr<oriplayer::IPeriod> &period,
                     const std::shared_ptr<oriplayer::StringMap> &options);
    /// A period that plays gives way to the next. Behind the isolated timeline's last one the main timeline goes on, as
    /// at its end (10240).
    int delPeriod(int id, int index);
    int clearPeriods(int id);

    // Playback. Times are milliseconds; operations without an id go to the active timeline.

    int prepareAsync();
    int prepareAsync(int id);
    /// Starts one timeline and pauses the other. Always 0. Plays nothing after the timeline's last 1001: call
    /// prepareAsync(id) again, then start(id). start(1) interrupts a main timeline that plays or is paused. If the main
    /// one has ended, the isolated one plays but is not the active one: operations without an id miss it.
    int start();
    int start(int id);
    /// To the next period, or the next source within it. Behind the last period of the isolated timeline the main one
    /// goes on; behind that of the main one: -1.
    int goNext(bool withinPeriod);
    int pause();
    /// Mode 0 is exact, 1 the key frame at or before the position. A position after the end does nothing.
    int seekTo(int positionMs, int mode);
    int seekCurrentPeriodTo(int positionMs, int mode);
    /// Empties both timelines and drops both play lists. Always 0; the flag is not used.
    int stop(bool flag);
    /// Empties one timeline; its play list stays until the next period is added. stop(1, ...) during an interruption
    /// leaves the main timeline paused and raises no 10240: call start(0).
    int stop(int id, bool flag);
    /// Not offered, -1: resources go with the object.
    int release();

    void setVolume(float volume);
    /// -1.0 if none was set. Never waits.
    float getVolume();
    /// For the current engine player only.
    void setAudioDevice(std::string device);

    // The next four return -1, and write nothing, if the pointer is null.

    /// Mode 0 is what is presented, 1 the end of what is buffered.
    int getCurrentPosition(int64_t *positionMs, int mode);
    int getDuration(int64_t *durationMs);
    int getCurrentPeriodDuration(int64_t *durationMs);
    int getCurrentPeriodPosition(int64_t *positionMs, int mode);
    int getVideoWidth();
    int getVideoHeight();

    /// Direct words with the current engine player. 0 if there was one, whatever it answered.
    int setParameter(int key, const oriplayer::Param &value, int index);
    int getParameter(int key, oriplayer::Param *value, int index);
    /// Does not wait for commands.
    bool isPlaying();
    std::shared_ptr<oriplayer::IPeriod> getActivePeriod();
    /// The id of the engine player made last, -1 before the first.
    int getActiveID();

    /// Off at first. Effective with the next engine player: call it before prepareAsync.
    void setVideoPipelineEnable(bool enable);
    void setAudioPipelineEnable(bool enable);

private:
    friend class TimelineInternalListener;
    friend class VexoPlayerNS::VexoPlayer;
    using TimelineFunction = std::function<void(Timeline *)>;

    explicit MixedCodecsPlayer(std::shared_ptr<const CallbackToken> token);
    static void destroy(MixedCodecsPlayer *player);
    void silenceTimelines();
    /// Ends both timelines permanently. After it returns, nothing of this player calls out. May be called again.
    void close();

    /// What both timelines hold. Each stop and each setDataSource begins another content.
    struct Content {
        uint64_t main;
        uint64_t isolated;
    };
    Content content() const;
    /// As the public functions, for `content` only: they do nothing if it has been replaced since.
    int prepareAsync(const Content &content);
    int stop(bool flag, const Content &content);
    /// stop(flag). Returns the number of the main timeline's new content, or nothing if another stop came first.
    std::optional<uint64_t> empty(const Content *only);

    /// Runs `fn` on a timeline, on this thread: 0, or -1 for an index other than 0 and 1.
    int accessTimeline(int index, TimelineFunction fn);
    int accessActive(TimelineFunction fn);
    void accessBoth(const TimelineFunction &fn);
    int accessPlayer(const std::function<void(oriplayer::IOriPlayer &)> &fn);
    void addPeriodInner(const std::shared_ptr<oriplayer::IPeriod> &period, int id, int position,
                        const std::shared_ptr<oriplayer::StringMap> &options);
    /// The application learns (10240) that `timeline` plays now.
    void notifyTimelineSwitched(Timeline *timeline);
    /// The processors learn of the bound that `timeline` has begun. Runs under that timeline's mutex.
    void notifyPeriodSwitched(Timeline *timeline);

    /// Starts the main timeline and raises 10240, if that timeline still has the content `epoch`.
    void resumeMain(uint64_t epoch);
    void playbackEnded(int id, uint64_t mainEpoch);

    std::shared_ptr<oriplayer::IPlayList> playListOf(int id);
    std::shared_ptr<oriplayer::IPlayList> makePlayListOf(int id);
    void forgetStalePeriods(int id);
    void setPlayListOf(int id, std::shared_ptr<oriplayer::IPlayList> list);
    void dropPlayListOf(int id, std::optional<uint64_t> epoch);

    const std::shared_ptr<const CallbackToken> token_;  ///< marks this player's callbacks; shared with its timelines
    std::atomic<uint64_t> source_number_{0};            ///< of the setDataSource that was called last
    mutable Mutex fields_mutex_;                        ///< leaf
    // Set by the constructor; the destructor lets them go.
    std::shared_ptr<CodecMediaProcess> media_processor_;
    std::shared_ptr<CodecNetProcess> net_processor_;
    std::mutex codec_mutex_;  ///< for the processors' Initialize, not used here
    std::vector<std::shared_ptr<oriplayer::PlayComponent>> play_components_ VEXO_GUARDED_BY(fields_mutex_);
    std::shared_ptr<InternalEventListener> internal_listener_;
    std::shared_ptr<oriplayer::IOriPlayerListener> listener_ VEXO_GUARDED_BY(fields_mutex_);
    std::shared_ptr<protocols::IReporter> reporter_ VEXO_GUARDED_BY(fields_mutex_);
    std::shared_ptr<protocols::IConfigure> configure_ VEXO_GUARDED_BY(fields_mutex_);
    std::array<std::shared_ptr<Timeline>, 2> timelines_;  ///< main, isolated; never empty
};

}  // namespace vexo
