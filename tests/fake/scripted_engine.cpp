#include "fake/scripted_engine.h"

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

#include "fake/scripted_player.h"

namespace fake {

namespace {

std::string join(const std::vector<std::string> &entries) {
    std::string joined;
    for (const std::string &entry : entries) joined += (joined.empty() ? "" : " ") + entry;
    return joined;
}

template <typename T> std::vector<T> takeAll(std::vector<T> &values) {
    return std::exchange(values, {});
}

}  // namespace

struct ScriptedEngine::State {
    struct Later {
        std::string name;
        int what;
        int arg1;
        int arg2;
        oriplayer::Param param;
    };
    struct Download {
        double speed;
        int status;
    };

    std::mutex mutex;
    std::vector<std::string> log;
    std::vector<ParameterCall> parameterCalls;
    std::vector<FilterCall> filterCalls;
    std::function<void(const std::string &)> hook;

    std::shared_ptr<const int> session = std::make_shared<int>(0);
    std::map<std::string, std::shared_ptr<PlayerScript>> scripts;
    std::map<std::string, std::shared_ptr<Voice>> voices;
    int lastId = 100;
    int created = 0;
    int living = 0;
    int maxLiving = 0;
    int failing = 0;

    std::map<int, oriplayer::Param> answers;
    std::map<int, int> results;
    std::map<int, std::any> infos;
    std::optional<Download> download;
    oriplayer::NetworkSwitchDomainCB domainCallback = nullptr;

    std::condition_variable changed;
    std::deque<Later> later;
    bool telling = false;
    bool ending = false;
    std::thread teller;
};

ScriptedEngine &ScriptedEngine::instance() {
    static ScriptedEngine engine;
    return engine;
}

ScriptedEngine::ScriptedEngine() : state_(std::make_unique<State>()) {
    state_->teller = std::thread([this] {
        std::unique_lock<std::mutex> lock(state_->mutex);
        while (true) {
            state_->changed.wait(lock, [this] { return state_->ending || !state_->later.empty(); });
            if (state_->ending) return;
            const State::Later event = state_->later.front();
            state_->later.pop_front();
            state_->telling = true;
            lock.unlock();
            post(event.name, event.what, event.arg1, event.arg2, event.param);
            lock.lock();
            state_->telling = false;
            state_->changed.notify_all();
        }
    });
}

ScriptedEngine::~ScriptedEngine() {
    {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        state_->ending = true;
        state_->changed.notify_all();
    }
    state_->teller.join();
}

void ScriptedEngine::reset() {
    logQueries = false;
    autoPrepare = false;
    std::unique_lock<std::mutex> lock(state_->mutex);
    state_->session = std::make_shared<int>(0);
    state_->later.clear();
    state_->changed.wait(lock, [this] { return !state_->telling; });
    state_->log.clear();
    state_->parameterCalls.clear();
    state_->filterCalls.clear();
    state_->hook = nullptr;
    state_->scripts.clear();
    state_->voices.clear();
    state_->created = 0;
    state_->maxLiving = state_->living;
    state_->failing = 0;
    state_->answers.clear();
    state_->results.clear();
    state_->infos.clear();
    state_->download.reset();
}

std::string ScriptedEngine::takeLog() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return join(takeAll(state_->log));
}

std::string ScriptedEngine::peekLog() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return join(state_->log);
}

std::vector<ParameterCall> ScriptedEngine::takeParameterCalls() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return takeAll(state_->parameterCalls);
}

std::vector<FilterCall> ScriptedEngine::takeFilterCalls() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return takeAll(state_->filterCalls);
}

int ScriptedEngine::created() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->created;
}

int ScriptedEngine::living() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->living;
}

int ScriptedEngine::maxLiving() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->maxLiving;
}

PlayerScript &ScriptedEngine::player(const std::string &name) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    auto &script = state_->scripts[name];
    if (!script) script = std::make_shared<PlayerScript>();
    return *script;
}

std::shared_ptr<Voice> ScriptedEngine::voice(const std::string &name) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    const auto found = state_->voices.find(name);
    return found == state_->voices.end() ? nullptr : found->second;
}

int ScriptedEngine::idOf(const std::string &name) {
    const auto found = voice(name);
    return found ? found->id : 0;
}

template <typename T>
std::shared_ptr<T> ScriptedEngine::given(const std::string &name, std::shared_ptr<T> Voice::*what) {
    const auto found = voice(name);
    if (!found) return nullptr;
    const std::lock_guard<std::mutex> lock(found->mutex);
    return (*found).*what;
}

std::shared_ptr<oriplayer::VideoRenderPipeline> ScriptedEngine::pipelineOf(const std::string &name) {
    return given(name, &Voice::pipeline);
}

std::shared_ptr<protocols::IReporter> ScriptedEngine::reporterOf(const std::string &name) {
    return given(name, &Voice::reporter);
}

void ScriptedEngine::failCreates(int count) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->failing = count;
}

void ScriptedEngine::answerParameter(int number, const oriplayer::Param &value) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->answers[number] = value;
}

void ScriptedEngine::resultOf(int number, int result) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->results[number] = result;
}

void ScriptedEngine::answerInfo(int key, std::any value) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->infos[key] = std::move(value);
}

void ScriptedEngine::answerDownload(double bytesPerSecond, int status) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->download = State::Download{bytesPerSecond, status};
}

oriplayer::NetworkSwitchDomainCB ScriptedEngine::domainCallback() {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->domainCallback;
}

void ScriptedEngine::onCall(std::function<void(const std::string &)> hook) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->hook = std::move(hook);
}

bool ScriptedEngine::post(const std::string &name, int what, int arg1, int arg2, const oriplayer::Param &param) {
    const auto found = voice(name);
    return found && found->tell(what, arg1, arg2, param);
}

void ScriptedEngine::postLater(const std::string &name, int what, int arg1, int arg2, const oriplayer::Param &param) {
    oriplayer::Param copy(param);
    copy.dupString();
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->later.push_back({name, what, arg1, arg2, copy});
    state_->changed.notify_all();
}

void ScriptedEngine::waitPosted() {
    std::unique_lock<std::mutex> lock(state_->mutex);
    state_->changed.wait(lock, [this] { return state_->later.empty() && !state_->telling; });
}

std::shared_ptr<oriplayer::IOriPlayer> ScriptedEngine::create() {
    std::shared_ptr<ScriptedPlayer> player;
    {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        if (state_->failing > 0) {
            --state_->failing;
        } else {
            const std::string name = "p" + std::to_string(++state_->created);
            auto &script = state_->scripts[name];
            if (!script) script = std::make_shared<PlayerScript>();
            auto &voice = state_->voices[name] = std::make_shared<Voice>(++state_->lastId);
            player = std::make_shared<ScriptedPlayer>(name, voice, script, state_->session);
            state_->maxLiving = std::max(state_->maxLiving, ++state_->living);
        }
    }
    write(player ? player->name() + ".create" : "create(failed)");
    return player;
}

void ScriptedEngine::destroyed(const std::string &entry) {
    {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        --state_->living;
    }
    if (!entry.empty()) write(entry);
}

void ScriptedEngine::write(const std::string &entry) {
    std::function<void(const std::string &)> hook;
    {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        state_->log.push_back(entry);
        hook = state_->hook;
    }
    if (hook) hook(entry);
}

void ScriptedEngine::writeQuery(const std::string &entry) {
    if (logQueries) write(entry);
}

void ScriptedEngine::keep(ParameterCall call) {
    call.value.dupString();
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->parameterCalls.push_back(std::move(call));
}

void ScriptedEngine::keep(FilterCall call) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->filterCalls.push_back(std::move(call));
}

bool ScriptedEngine::parameter(int number, oriplayer::Param &value) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    const auto found = state_->answers.find(number);
    if (found == state_->answers.end()) return false;
    value = found->second;
    return true;
}

int ScriptedEngine::result(int number) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    const auto found = state_->results.find(number);
    return found == state_->results.end() ? 0 : found->second;
}

int ScriptedEngine::info(int playerId, int key, void *out) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    const auto known = std::any_of(state_->voices.begin(), state_->voices.end(),
                                   [&](const auto &entry) { return entry.second->id == playerId; });
    const auto found = state_->infos.find(key);
    if (!known || found == state_->infos.end()) return -1;
    if (const auto *wide = std::any_cast<int64_t>(&found->second)) std::memcpy(out, wide, sizeof *wide);
    if (const auto *narrow = std::any_cast<int32_t>(&found->second)) std::memcpy(out, narrow, sizeof *narrow);
    if (const auto *text = std::any_cast<std::string>(&found->second)) {
        char *copy = strdup(text->c_str());
        std::memcpy(out, &copy, sizeof copy);
    }
    return 0;
}

int ScriptedEngine::download(int playerId, oriplayer::cache_static_t *out) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    const auto known = std::any_of(state_->voices.begin(), state_->voices.end(),
                                   [&](const auto &entry) { return entry.second->id == playerId; });
    if (!known || !state_->download) return -1;
    *out = {};
    out->downloadSpeed = state_->download->speed;
    out->downloadStatus = state_->download->status;
    return 0;
}

void ScriptedEngine::setDomainCallback(oriplayer::NetworkSwitchDomainCB callback) {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    state_->domainCallback = callback;
}

}  // namespace fake
