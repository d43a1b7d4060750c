#include "fake/scripted_player.h"

#include <cstdint>
#include <cstdio>
#include <utility>

namespace fake {

namespace {

std::string urlsOf(const std::shared_ptr<oriplayer::IPeriod> &period) {
    std::string urls;
    for (int i = 0; period && i < period->getSourceCount(); ++i) {
        std::string url;
        period->getSource(i)->getUrl(0, url);
        urls += (i == 0 ? "" : "+") + url;
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

std::string numbers(int64_t first, int64_t second) {
    return "(" + std::to_string(first) + "," + std::to_string(second) + ")";
}

ScriptedEngine &engine() {
    return ScriptedEngine::instance();
}

}  // namespace

bool Voice::tell(int what, int arg1, int arg2, const oriplayer::Param &param) {
    std::shared_ptr<oriplayer::IOriPlayerListener> told;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!stopped) told = listener;
    }
    if (told) told->notify(id, what, arg1, arg2, param);
    return told != nullptr;
}

ScriptedPlayer::ScriptedPlayer(std::string name, std::shared_ptr<Voice> voice, std::shared_ptr<PlayerScript> script,
                               const std::shared_ptr<const int> &session)
    : name_(std::move(name)), voice_(std::move(voice)), script_(std::move(script)), session_(session) {}

ScriptedPlayer::~ScriptedPlayer() {
    give(voice_->listener, {});
    give(voice_->pipeline, {});
    give(voice_->configure, {});
    give(voice_->reporter, {});
    engine().destroyed(session_.expired() ? "" : name_ + ".destroy");
}

template <typename T> void ScriptedPlayer::give(std::shared_ptr<T> &place, std::shared_ptr<T> given) {
    const std::lock_guard<std::mutex> lock(voice_->mutex);
    place.swap(given);
}

void ScriptedPlayer::write(const std::string &call) const {
    if (!session_.expired()) engine().write(name_ + "." + call);
}

void ScriptedPlayer::query(const std::string &call) const {
    if (!session_.expired()) engine().writeQuery(name_ + "." + call);
}

int ScriptedPlayer::setDataSource(const std::vector<std::shared_ptr<oriplayer::PlayComponent>> &components, int,
                                  const std::shared_ptr<oriplayer::StringMap> &) {
    const bool given = !components.empty() && components[0] && components[0]->playList;
    const auto period = given ? components[0]->playList->getPeriod(0) : nullptr;
    {
        const int64_t length = lengthOf(period);
        const std::lock_guard<std::mutex> lock(mutex_);
        declaredMs_ = length;
    }
    write("setDataSource(" + urlsOf(period) + ")");
    return 0;
}

int ScriptedPlayer::changePeriod(int, int, const std::shared_ptr<oriplayer::IPeriod> &period,
                                 const std::shared_ptr<oriplayer::StringMap> &) {
    {
        const int64_t length = lengthOf(period);
        const std::lock_guard<std::mutex> lock(mutex_);
        declaredMs_ = length;
    }
    write("changePeriod(" + urlsOf(period) + ")");
    return 0;
}

int ScriptedPlayer::addSource(int, const std::shared_ptr<oriplayer::ISource> &source,
                              const std::shared_ptr<oriplayer::StringMap> &) {
    std::string url;
    if (source) source->getUrl(0, url);
    {
        const int64_t length = lengthOf(source);
        const std::lock_guard<std::mutex> lock(mutex_);
        declaredMs_ += length;
    }
    write("addSource(" + url + ")");
    return 0;
}

int ScriptedPlayer::prepareAsync() {
    write("prepareAsync");
    if (engine().autoPrepare && !session_.expired()) engine().postLater(name_, 1000);
    return 0;
}

int ScriptedPlayer::start() {
    script_->playing = true;
    write("start");
    return script_->startResult;
}

int ScriptedPlayer::pause() {
    script_->playing = false;
    write("pause");
    return 0;
}

int ScriptedPlayer::seekTo(int positionMs, int mode) {
    write("seekTo" + numbers(positionMs, mode));
    return 0;
}

int ScriptedPlayer::stop(bool) {
    {
        const std::lock_guard<std::mutex> lock(voice_->mutex);
        voice_->stopped = true;
    }
    script_->playing = false;
    write("stop");
    return 0;
}

int ScriptedPlayer::getCurrentPosition(int64_t *positionMs, int mode) {
    query("getCurrentPosition(" + std::to_string(mode) + ")");
    *positionMs = script_->positionMs;
    return 0;
}

int ScriptedPlayer::getDuration(int64_t *durationMs) {
    query("getDuration");
    const int64_t scripted = script_->durationMs;
    const std::lock_guard<std::mutex> lock(mutex_);
    *durationMs = scripted >= 0 ? scripted : declaredMs_;
    return 0;
}

int ScriptedPlayer::getVideoWidth() {
    query("getVideoWidth");
    return script_->width;
}

int ScriptedPlayer::getVideoHeight() {
    query("getVideoHeight");
    return script_->height;
}

int ScriptedPlayer::setParameter(int number, const oriplayer::Param &value, int index) {
    engine().keep(ParameterCall{name_, "setParameter", number, value, index});
    write("setParameter(" + std::to_string(number) + ")");
    return engine().result(number);
}

int ScriptedPlayer::getParameter(int number, oriplayer::Param *value, int) {
    query("getParameter(" + std::to_string(number) + ")");
    return engine().parameter(number, *value) ? 0 : -1;
}

bool ScriptedPlayer::isPlaying() {
    query("isPlaying");
    return script_->playing;
}

int ScriptedPlayer::setVideoPipeline(std::shared_ptr<oriplayer::VideoRenderPipeline> pipeline) {
    give(voice_->pipeline, std::move(pipeline));
    write("setVideoPipeline");
    return 0;
}

int ScriptedPlayer::setVideoSurface(void *surface, bool flag, int) {
    char text[48];
    std::snprintf(text, sizeof text, "setVideoSurface(0x%llx,%d)",
                  static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(surface)), flag ? 1 : 0);
    write(text);
    return 0;
}

int ScriptedPlayer::setRenderConfig(int number, const oriplayer::Param &value, int index) {
    engine().keep(ParameterCall{name_, "setRenderConfig", number, value, index});
    write("setRenderConfig(" + std::to_string(number) + ")");
    return engine().result(number);
}

int ScriptedPlayer::setFilter(int type, oriplayer::StringMap &params, int index) {
    FilterCall call{name_, type, {}, index};
    for (int i = 0; i < params.size(); ++i) call.params.emplace_back(params.keyAt(i), params.valueAt(i));
    engine().keep(std::move(call));
    write("setFilter(" + std::to_string(type) + ")");
    return engine().result(type);
}

bool ScriptedPlayer::isLooping() {
    query("isLooping");
    return script_->looping;
}

int ScriptedPlayer::setLooping(bool looping) {
    script_->looping = looping;
    write(looping ? "setLooping(1)" : "setLooping(0)");
    return 0;
}

int ScriptedPlayer::getPlayerId() {
    query("getPlayerId");
    return voice_->id;
}

int ScriptedPlayer::setUserAgent(const char *userAgent) {
    write(std::string("setUserAgent(") + (userAgent ? userAgent : "null") + ")");
    return 0;
}

int ScriptedPlayer::setConfigure(std::shared_ptr<protocols::IConfigure> configure) {
    give(voice_->configure, std::move(configure));
    write("setConfigure");
    return 0;
}

int ScriptedPlayer::setReporter(std::shared_ptr<protocols::IReporter> reporter) {
    give(voice_->reporter, std::move(reporter));
    write("setReporter");
    return 0;
}

int ScriptedPlayer::setListener(std::shared_ptr<oriplayer::IOriPlayerListener> listener) {
    const bool given = listener != nullptr;
    give(voice_->listener, std::move(listener));
    write(given ? "setListener" : "setListener(null)");
    return 0;
}

}  // namespace fake
