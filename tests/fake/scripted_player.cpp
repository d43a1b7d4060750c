#include <algorithm>
#include <string>
#include <utility>

#include "fake/scripted_engine.h"

namespace fake {

namespace {

std::string urlOf(oriplayer::ISource *source) {
    std::string url;
    if (source) source->getUrl(0, url);
    return url;
}

std::string urlsOf(const std::shared_ptr<oriplayer::IPeriod> &period) {
    std::string urls;
    for (int i = 0; period && i < period->getSourceCount(); ++i) {
        urls += (i == 0 ? "" : "+") + urlOf(period->getSource(i).get());
    }
    return urls;
}

int64_t lengthOf(const std::shared_ptr<oriplayer::ISource> &source) {
    double seconds = 0.0;
    if (source) source->getDuration(0, &seconds);
    return static_cast<int64_t>(seconds * 1000.0);
}

int64_t lengthOf(const std::shared_ptr<oriplayer::IPeriod> &period) {
    int64_t length = 0;
    for (int i = 0; period && i < period->getSourceCount(); ++i) length += lengthOf(period->getSource(i));
    return length;
}

class ScriptedPlayer final : public oriplayer::IOriPlayer {
public:
    ScriptedPlayer(std::string name, std::shared_ptr<PlayerScript> script)
        : name_(std::move(name)), script_(std::move(script)) {}
    ~ScriptedPlayer() override {
        give(script_->listener, {});
        give(script_->pipeline, {});
        give(script_->reporter, {});
        engine_.destroyed();
        write("destroy");
    }

    int setDataSource(const std::vector<std::shared_ptr<oriplayer::PlayComponent>> &components, int,
                      const std::shared_ptr<oriplayer::StringMap> &) override {
        const bool given = !components.empty() && components[0] && components[0]->playList;
        const auto period = given ? components[0]->playList->getPeriod(0) : nullptr;
        declaredMs_ = lengthOf(period);
        return write("setDataSource", urlsOf(period));
    }
    int changePeriod(int, int, const std::shared_ptr<oriplayer::IPeriod> &period,
                     const std::shared_ptr<oriplayer::StringMap> &) override {
        declaredMs_ = lengthOf(period);
        return write("changePeriod", urlsOf(period));
    }
    int addSource(int, const std::shared_ptr<oriplayer::ISource> &source,
                  const std::shared_ptr<oriplayer::StringMap> &) override {
        declaredMs_ += lengthOf(source);
        return write("addSource", urlOf(source.get()));
    }
    int prepareAsync() override {
        write("prepareAsync");
        if (engine_.autoPrepare && !script_->forgotten) engine_.postLater(name_, 1000);
        return 0;
    }
    int start() override {
        playing_ = true;
        write("start");
        return script_->startResult;
    }
    int pause() override {
        playing_ = false;
        return write("pause");
    }
    int seekTo(int positionMs, int mode) override { return write("seekTo", positionMs, mode); }
    int stop(bool) override {
        {
            const std::lock_guard lock(script_->mutex);
            script_->stopped = true;
        }
        playing_ = false;
        return write("stop");
    }
    int getCurrentPosition(int64_t *positionMs, int mode) override {
        query("getCurrentPosition", mode);
        *positionMs = script_->positionMs;
        return 0;
    }
    int getDuration(int64_t *durationMs) override {
        query("getDuration");
        const int64_t scripted = script_->durationMs;
        *durationMs = scripted >= 0 ? scripted : declaredMs_.load();
        return 0;
    }
    int getVideoWidth() override {
        query("getVideoWidth");
        return script_->width;
    }
    int getVideoHeight() override {
        query("getVideoHeight");
        return script_->height;
    }
    int setParameter(int number, const oriplayer::Param &value, int index) override {
        return parameter("setParameter", number, value, index);
    }
    int getParameter(int number, oriplayer::Param *value, int) override {
        query("getParameter", number);
        return engine_.getParameter(number, *value);
    }
    bool isPlaying() override {
        query("isPlaying");
        return playing_;
    }
    int setVideoPipeline(std::shared_ptr<oriplayer::VideoRenderPipeline> pipeline) override {
        give(script_->pipeline, std::move(pipeline));
        return write("setVideoPipeline");
    }
    int setVideoSurface(void *surface, bool flag, int) override { return write("setVideoSurface", surface, flag); }
    int setRenderConfig(int number, const oriplayer::Param &value, int index) override {
        return parameter("setRenderConfig", number, value, index);
    }
    int setFilter(int type, oriplayer::StringMap &params, int index) override {
        FilterCall call{type, {}, index};
        for (int i = 0; i < params.size(); ++i) call.params.emplace_back(params.keyAt(i), params.valueAt(i));
        engine_.keep(std::move(call));
        write("setFilter", type);
        return engine_.result(type);
    }
    bool isLooping() override {
        query("isLooping");
        return looping_;
    }
    int setLooping(bool looping) override {
        looping_ = looping;
        return write("setLooping", looping);
    }
    int getPlayerId() override {
        query("getPlayerId");
        return script_->id;
    }
    int setUserAgent(const char *userAgent) override { return write("setUserAgent", userAgent ? userAgent : "null"); }
    int setConfigure(std::shared_ptr<protocols::IConfigure>) override { return write("setConfigure"); }
    int setReporter(std::shared_ptr<protocols::IReporter> reporter) override {
        give(script_->reporter, std::move(reporter));
        return write("setReporter");
    }
    int setListener(std::shared_ptr<oriplayer::IOriPlayerListener> listener) override {
        const bool given = listener != nullptr;
        give(script_->listener, std::move(listener));
        return given ? write("setListener") : write("setListener", "null");
    }

private:
    /// What was there before is let go without the lock.
    template <typename T> void give(std::shared_ptr<T> &place, std::shared_ptr<T> given) {
        const std::lock_guard lock(script_->mutex);
        place.swap(given);
    }
    template <typename... Arguments> int write(const char *call, const Arguments &...arguments) const {
        if (!script_->forgotten) engine_.write(name_ + "." + call, arguments...);
        return 0;
    }
    template <typename... Arguments> void query(const char *call, const Arguments &...arguments) const {
        if (engine_.logQueries) write(call, arguments...);
    }
    int parameter(const char *call, int number, const oriplayer::Param &value, int index) const {
        engine_.keep(ParameterCall{name_, call, number, value, index});
        write(call, number);
        return engine_.result(number);
    }

    const std::string name_;
    const std::shared_ptr<PlayerScript> script_;
    ScriptedEngine &engine_ = ScriptedEngine::instance();
    std::atomic<int64_t> declaredMs_{0};
    std::atomic<bool> playing_{false};
    std::atomic<bool> looping_{false};
};

}  // namespace

std::shared_ptr<oriplayer::IOriPlayer> ScriptedEngine::create() {
    std::shared_ptr<oriplayer::IOriPlayer> player;
    std::string name;
    {
        const std::lock_guard lock(mutex_);
        if (failing_ > 0) {
            --failing_;
        } else {
            name = "p" + std::to_string(++created_);
            auto &script = scripts_[name];
            if (!script) script = std::make_shared<PlayerScript>();
            script->id = ++lastId_;
            player = std::make_shared<ScriptedPlayer>(name, script);
            maxLiving_ = std::max(maxLiving_, ++living_);
        }
    }
    player ? write(name + ".create") : write("create", "failed");
    return player;
}

}  // namespace fake
