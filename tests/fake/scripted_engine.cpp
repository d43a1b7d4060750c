#include "fake/scripted_engine.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace fake {

namespace {

std::string join(const std::vector<std::string> &entries) {
    std::string joined;
    for (const std::string &entry : entries) joined += (joined.empty() ? "" : " ") + entry;
    return joined;
}

}  // namespace

ScriptedEngine &ScriptedEngine::instance() {
    static ScriptedEngine engine;
    return engine;
}

ScriptedEngine::ScriptedEngine() {
    teller_ = std::thread([this] {
        std::unique_lock lock(mutex_);
        while (true) {
            changed_.wait(lock, [this] { return ending_ || !later_.empty(); });
            if (ending_) return;
            const auto [name, what] = later_.front();
            later_.pop_front();
            telling_ = true;
            lock.unlock();
            post(name, what);
            lock.lock();
            telling_ = false;
            changed_.notify_all();
        }
    });
}

ScriptedEngine::~ScriptedEngine() {
    set(ending_, true);
    changed_.notify_all();
    teller_.join();
}

void ScriptedEngine::reset() {
    logQueries = false;
    autoPrepare = false;
    std::unique_lock lock(mutex_);
    for (const auto &[name, script] : scripts_) script->forgotten = true;
    scripts_.clear();
    later_.clear();
    changed_.wait(lock, [this] { return !telling_; });
    log_.clear();
    history_.clear();
    parameterCalls_.clear();
    filterCalls_.clear();
    hook_ = nullptr;
    created_ = 0;
    maxLiving_ = living_;
    failing_ = 0;
    parameters_.clear();
    results_.clear();
    infos_.clear();
    download_.reset();
}

std::string ScriptedEngine::takeLog() {
    return join(take(log_));
}

std::string ScriptedEngine::history() {
    return join(read(history_));
}

bool ScriptedEngine::waitForCall(const std::string &entry) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30),
                             [&] { return std::find(history_.begin(), history_.end(), entry) != history_.end(); });
}

std::shared_ptr<PlayerScript> ScriptedEngine::script(const std::string &name) {
    const std::lock_guard lock(mutex_);
    auto &script = scripts_[name];
    if (!script) script = std::make_shared<PlayerScript>();
    return script;
}

std::shared_ptr<oriplayer::VideoRenderPipeline> ScriptedEngine::pipelineOf(const std::string &name) {
    const auto found = script(name);
    const std::lock_guard lock(found->mutex);
    return found->pipeline;
}

std::shared_ptr<protocols::IReporter> ScriptedEngine::reporterOf(const std::string &name) {
    const auto found = script(name);
    const std::lock_guard lock(found->mutex);
    return found->reporter;
}

void ScriptedEngine::answerDownload(double bytesPerSecond, int status) {
    const std::lock_guard lock(mutex_);
    download_ = Download{bytesPerSecond, status};
}

bool ScriptedEngine::post(const std::string &name, int what, int arg1, int arg2, const oriplayer::Param &param) {
    const auto found = script(name);
    std::shared_ptr<oriplayer::IOriPlayerListener> told;
    {
        const std::lock_guard lock(found->mutex);
        if (!found->stopped) told = found->listener;
    }
    if (told) told->notify(found->id, what, arg1, arg2, param);
    return told != nullptr;
}

void ScriptedEngine::postLater(const std::string &name, int what) {
    const std::lock_guard lock(mutex_);
    later_.emplace_back(name, what);
    changed_.notify_all();
}

void ScriptedEngine::waitPosted() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return later_.empty() && !telling_; });
}

void ScriptedEngine::destroyed() {
    const std::lock_guard lock(mutex_);
    --living_;
}

void ScriptedEngine::writeEntry(const std::string &entry) {
    std::function<void(const std::string &)> hook;
    {
        const std::lock_guard lock(mutex_);
        log_.push_back(entry);
        history_.push_back(entry);
        hook = hook_;
        changed_.notify_all();
    }
    if (hook) hook(entry);
}

void ScriptedEngine::keep(ParameterCall call) {
    call.value.dupString();
    const std::lock_guard lock(mutex_);
    parameterCalls_.push_back(std::move(call));
}

void ScriptedEngine::keep(FilterCall call) {
    const std::lock_guard lock(mutex_);
    filterCalls_.push_back(std::move(call));
}

int ScriptedEngine::getParameter(int number, oriplayer::Param &value) {
    const std::lock_guard lock(mutex_);
    const auto found = parameters_.find(number);
    if (found == parameters_.end()) return -1;
    value = found->second;
    return 0;
}

int ScriptedEngine::result(int number) {
    const std::lock_guard lock(mutex_);
    const auto found = results_.find(number);
    return found == results_.end() ? 0 : found->second;
}

bool ScriptedEngine::knows(int playerId) {
    return std::any_of(scripts_.begin(), scripts_.end(),
                       [&](const auto &entry) { return entry.second->id == playerId; });
}

int ScriptedEngine::info(int playerId, int key, void *out) {
    const std::lock_guard lock(mutex_);
    const auto found = infos_.find(key);
    if (!knows(playerId) || found == infos_.end()) return -1;
    if (const auto *number = std::get_if<int64_t>(&found->second)) std::memcpy(out, number, sizeof *number);
    if (const auto *text = std::get_if<std::string>(&found->second)) {
        char *copy = strdup(text->c_str());
        std::memcpy(out, &copy, sizeof copy);
    }
    return 0;
}

int ScriptedEngine::download(int playerId, oriplayer::cache_static_t *out) {
    const std::lock_guard lock(mutex_);
    if (!knows(playerId) || !download_) return -1;
    *out = {};
    out->downloadSpeed = download_->speed;
    out->downloadStatus = download_->status;
    return 0;
}

}  // namespace fake
