#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/oriplayer/filter_type.h"
#include "base/oriplayer/listener.h"
#include "base/oriplayer/param.h"
#include "base/oriplayer/period.h"
#include "base/oriplayer/play_component.h"
#include "base/oriplayer/render_pipeline.h"
#include "base/oriplayer/source.h"
#include "base/oriplayer/string_map.h"
#include "interface/export.h"

namespace protocols {
class IConfigure;
class IReporter;
}  // namespace protocols

namespace oriplayer {

class OriPlayer;

/// One engine player: plays the first period of the first component it is given, all its sources in turn, once.
/// The order of the virtual operations is the boundary's; reserved ones keep their slot and answer -1.
///
/// Threads:   every operation from any thread at any moment. The listener, the pipeline and the reporter are called on
///            the player's own threads, with no lock of its held.
/// Life:      not used again for another data source. stop(true) ends playback within 100 ms plus what a callback
///            under way takes; behind it no event, report or picture comes. The last reference may go on any thread.
/// Queries:   answer from values the player keeps, without input or output.
/// Positions: milliseconds from the first moment of the data source.
class ORI_API IOriPlayer {
public:
    /// Empty if there is no memory or thread for one.
    static std::shared_ptr<IOriPlayer> create();

    virtual ~IOriPlayer();
    virtual int setDataSource(const std::vector<std::shared_ptr<PlayComponent>> &components, int count,
                              const std::shared_ptr<StringMap> &headers) = 0;
    virtual int reserved2() { return -1; }
    virtual int changePeriod(int component, int index, const std::shared_ptr<IPeriod> &period,
                             const std::shared_ptr<StringMap> &headers) = 0;
    virtual int reserved4() { return -1; }
    virtual int addSource(int component, const std::shared_ptr<ISource> &source,
                          const std::shared_ptr<StringMap> &headers) = 0;
    /// Returns at once; event 1000 or an error event follows.
    virtual int prepareAsync() = 0;
    /// 0 if accepted, also before 1000; -1 after a fatal error or stop.
    virtual int start() = 0;
    virtual int pause() = 0;
    /// Mode 0 is exact, 1 the key frame at or before the position.
    virtual int seekTo(int positionMs, int mode) = 0;
    virtual int stop(bool release) = 0;
    virtual int reserved11() { return -1; }
    /// Writes the presented position (mode 0) or the end of the buffered data (mode 1). 0, or -1 if `positionMs` is
    /// null.
    virtual int getCurrentPosition(int64_t *positionMs, int mode) = 0;
    /// Writes 0 while the length is unknown. 0, or -1 if `durationMs` is null.
    virtual int getDuration(int64_t *durationMs) = 0;
    virtual int getVideoWidth() = 0;
    virtual int getVideoHeight() = 0;
    virtual int setParameter(int number, const Param &value, int index) = 0;
    /// Writes the answer to `*value` and returns 0. -1 if the number does not apply or `value` is null.
    virtual int getParameter(int number, Param *value, int index) = 0;
    virtual bool isPlaying() = 0;
    virtual int setVideoPipeline(std::shared_ptr<VideoRenderPipeline> pipeline) = 0;
    virtual int reserved20() { return -1; }
    virtual int setVideoSurface(void *surface, bool flag, int index) = 0;
    virtual int setRenderConfig(int number, const Param &value, int index) = 0;
    virtual int setFilter(int type, StringMap &params, int index) = 0;
    virtual int reserved24() { return -1; }
    virtual int reserved25() { return -1; }
    virtual int reserved26() { return -1; }
    virtual bool isLooping() = 0;
    virtual int setLooping(bool looping) = 0;
    virtual int reserved29() { return -1; }
    /// Unique in the process and never used again.
    virtual int getPlayerId() = 0;
    virtual int setUserAgent(const char *userAgent) = 0;
    virtual int setConfigure(std::shared_ptr<protocols::IConfigure> configure) = 0;
    virtual int setReporter(std::shared_ptr<protocols::IReporter> reporter) = 0;
    /// An empty pointer detaches: no new notify begins behind it.
    virtual int setListener(std::shared_ptr<IOriPlayerListener> listener) = 0;
};

}  // namespace oriplayer
