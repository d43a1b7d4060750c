#pragma once

#include <memory>
#include <vector>

#include "base/oriplayer/player.h"
#include "playback/parameters.h"
#include "playback/session.h"

namespace oriplayer {

/// The boundary's player: hands each call to its session and ends that with itself.
/// Threads: any.
class PlayerImpl final : public IOriPlayer {
public:
    PlayerImpl();
    ~PlayerImpl() override;

    int setDataSource(const std::vector<std::shared_ptr<PlayComponent>> &components, int count,
                      const std::shared_ptr<StringMap> &headers) override;
    int changePeriod(int component, int index, const std::shared_ptr<IPeriod> &period,
                     const std::shared_ptr<StringMap> &headers) override;
    int addSource(int component, const std::shared_ptr<ISource> &source,
                  const std::shared_ptr<StringMap> &headers) override;
    int prepareAsync() override;
    int start() override;
    int pause() override;
    int seekTo(int positionMs, int mode) override;
    int stop(bool release) override;
    int getCurrentPosition(int64_t *positionMs, int mode) override;
    int getDuration(int64_t *durationMs) override;
    int getVideoWidth() override;
    int getVideoHeight() override;
    int setParameter(int number, const Param &value, int index) override;
    int getParameter(int number, Param *value, int index) override;
    bool isPlaying() override;
    int setVideoPipeline(std::shared_ptr<VideoRenderPipeline> pipeline) override;
    int setVideoSurface(void *surface, bool flag, int index) override;
    int setRenderConfig(int number, const Param &value, int index) override;
    int setFilter(int type, StringMap &params, int index) override;
    bool isLooping() override;
    int setLooping(bool looping) override;
    int getPlayerId() override;
    int setUserAgent(const char *userAgent) override;
    int setConfigure(std::shared_ptr<protocols::IConfigure> configure) override;
    int setReporter(std::shared_ptr<protocols::IReporter> reporter) override;
    int setListener(std::shared_ptr<IOriPlayerListener> listener) override;

private:
    const std::shared_ptr<Session> session_;
    Stage &stage_;
    Parameters parameters_;
};

}  // namespace oriplayer
