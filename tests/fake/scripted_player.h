#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "fake/scripted_engine.h"

namespace fake {

/// Lock: mutex_ round listener and state; the listener is called without it.
class ScriptedPlayer final : public oriplayer::IOriPlayer {
public:
    ScriptedPlayer(std::string name, int id, std::shared_ptr<PlayerScript> script,
                   const std::shared_ptr<const int> &session);
    ~ScriptedPlayer() override;

    int setDataSource(const std::vector<std::shared_ptr<oriplayer::PlayComponent>> &components, int count,
                      const std::shared_ptr<oriplayer::StringMap> &headers) override;
    int changePeriod(int component, int index, const std::shared_ptr<oriplayer::IPeriod> &period,
                     const std::shared_ptr<oriplayer::StringMap> &headers) override;
    int addSource(int component, const std::shared_ptr<oriplayer::ISource> &source,
                  const std::shared_ptr<oriplayer::StringMap> &headers) override;
    int prepareAsync() override;
    int start() override;
    int pause() override;
    int seekTo(int positionMs, int mode) override;
    int stop(bool release) override;
    int getCurrentPosition(int64_t *positionMs, int mode) override;
    int getDuration(int64_t *durationMs) override;
    int getVideoWidth() override;
    int getVideoHeight() override;
    int setParameter(int number, const oriplayer::Param &value, int index) override;
    int getParameter(int number, oriplayer::Param *value, int index) override;
    bool isPlaying() override;
    int setVideoPipeline(std::shared_ptr<oriplayer::VideoRenderPipeline> pipeline) override;
    int setVideoSurface(void *surface, bool flag, int index) override;
    int setRenderConfig(int number, const oriplayer::Param &value, int index) override;
    int setFilter(int type, oriplayer::StringMap &params, int index) override;
    bool isLooping() override;
    int setLooping(bool looping) override;
    int getPlayerId() override;
    int setUserAgent(const char *userAgent) override;
    int setConfigure(std::shared_ptr<protocols::IConfigure> configure) override;
    int setReporter(std::shared_ptr<protocols::IReporter> reporter) override;
    int setListener(std::shared_ptr<oriplayer::IOriPlayerListener> listener) override;

    bool tell(int what, int arg1, int arg2, const oriplayer::Param &param);
    const std::string &name() const { return name_; }
    int id() const { return id_; }
    std::shared_ptr<oriplayer::VideoRenderPipeline> pipeline();
    std::shared_ptr<protocols::IReporter> reporter();
    std::shared_ptr<protocols::IConfigure> configure();

private:
    void write(const std::string &call) const;
    void query(const std::string &call) const;

    const std::string name_;
    const int id_;
    const std::shared_ptr<PlayerScript> script_;
    const std::weak_ptr<const int> session_;  // gone once the engine was reset

    std::mutex mutex_;
    bool stopped_ = false;
    std::shared_ptr<oriplayer::IOriPlayerListener> listener_;
    std::shared_ptr<oriplayer::VideoRenderPipeline> pipeline_;
    std::shared_ptr<protocols::IConfigure> configure_;
    std::shared_ptr<protocols::IReporter> reporter_;
};

}  // namespace fake
