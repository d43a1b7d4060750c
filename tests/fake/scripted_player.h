#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "fake/scripted_engine.h"

namespace fake {

/// What a player was given and whether it may still speak. The engine keeps this, not the player, so that an event
/// under way does not prolong the player's life. Lock: mutex; the listener is called without it.
struct Voice {
    explicit Voice(int playerId) : id(playerId) {}

    /// Tells the listener on this thread; false if the player is silent.
    bool tell(int what, int arg1, int arg2, const oriplayer::Param &param);

    const int id;
    std::mutex mutex;
    bool stopped = false;
    std::shared_ptr<oriplayer::IOriPlayerListener> listener;
    std::shared_ptr<oriplayer::VideoRenderPipeline> pipeline;
    std::shared_ptr<protocols::IConfigure> configure;
    std::shared_ptr<protocols::IReporter> reporter;
};

class ScriptedPlayer final : public oriplayer::IOriPlayer {
public:
    ScriptedPlayer(std::string name, std::shared_ptr<Voice> voice, std::shared_ptr<PlayerScript> script,
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

    const std::string &name() const { return name_; }

private:
    template <typename T> void give(std::shared_ptr<T> &place, std::shared_ptr<T> given);
    void write(const std::string &call) const;
    void query(const std::string &call) const;

    const std::string name_;
    const std::shared_ptr<Voice> voice_;
    const std::shared_ptr<PlayerScript> script_;
    const std::weak_ptr<const int> session_;  // gone once the engine was reset

    std::mutex mutex_;
    int64_t declaredMs_ = 0;
};

}  // namespace fake
