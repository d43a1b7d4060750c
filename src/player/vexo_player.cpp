#include "player/vexo_player.h"

#include <pthread.h>

#include <utility>
#include <vector>

#include "base/log.h"
#include "base/log_report_sink.h"
#include "base/oriplayer/play_component.h"
#include "base/oriplayer/string_map.h"
#include "mixed/mixed_codecs_player.h"
#include "player/ori_player_listener_impl.h"
#include "player/vexo_reporter.h"
#include "render/render_manager.h"

namespace VexoPlayerNS {
namespace {

/// A text for the log, "key:value\n" for each entry; only ints and texts show their value.
std::string DumpParams(const VexoParams &params) {
    std::string dump;
    for (const auto &[key, value] : params) {
        dump += key + ':';
        if (const auto *integer = nonstd::any_cast<int>(&value)) dump += std::to_string(*integer);
        if (const auto *text = nonstd::any_cast<std::string>(&value)) dump += *text;
        dump += '\n';
    }
    return dump;
}

/// The value under `key` if it holds exactly a T.
template <typename T> const T *Find(const VexoParams &params, const char *key) {
    const auto found = params.find(key);
    return found == params.end() ? nullptr : nonstd::any_cast<T>(&found->second);
}

}  // namespace

std::shared_ptr<IVexoPlayer> IVexoPlayer::create(IVexoPlayerCallback *callback, VexoParams params) {
    return std::shared_ptr<VexoPlayer>(new VexoPlayer(callback, std::move(params)), &VexoPlayer::Release);
}

std::shared_ptr<IVexoPlayer> IVexoPlayer::create(std::shared_ptr<IVexoPlayerCallback> callback, VexoParams params) {
    auto *const player = new VexoPlayer(callback.get(), std::move(params), callback);
    return std::shared_ptr<VexoPlayer>(player, &VexoPlayer::Release);
}

VexoPlayer::VexoPlayer(IVexoPlayerCallback *callback, VexoParams params, std::shared_ptr<IVexoPlayerCallback> owned)
    : mOwnedCallback(std::move(owned)), mToken(std::make_shared<vexo::CallbackToken>()) {
    vexo::SetLogCallback(&vexo::VexoLogReportSink);
    VEXO_SINK("VexoPlayer construct callback:%d params:%s\n", callback ? 1 : 0, DumpParams(params).c_str());
    mCallback = callback;
    mPlayer = vexo::MixedCodecsPlayer::create(mToken);
    mMiddleware = std::make_shared<VexoRenderMiddleware>(this);
    try {
        wire(std::move(params));
    } catch (...) {
        cutOffPictures();  // otherwise later pipes would call a destroyed player
        throw;
    }
}

void VexoPlayer::wire(VexoParams &&params) {
    vexo::RenderManager::Instance().AddMiddleware(mMiddleware);
    mPlayer->setVideoPipelineEnable(true);
    setParams(std::move(params));
    mListener = std::make_shared<IOriPlayerListenerImpl>(this);
    mReporter = std::make_shared<VexoReporter>();
    mPlayer->setReporter(mReporter);
    mThread = std::thread(&VexoPlayer::threadEntry, this);
}

void VexoPlayer::cutOffPictures() {
    vexo::RenderManager::Instance().RemoveMiddleware(mMiddleware);
    mMiddleware->Detach();
}

VexoPlayer::~VexoPlayer() {
    mRunning = false;
    if (mThread.joinable()) {
        {
            vexo::MutexLock lock(mMutex);
            append([] {});  // wakes a worker that waits
        }
        mThread.join();
    }
    cutOffPictures();
    mPlayer->close();  // joins the loopers, whose callbacks may still be using mPlayer
    mPlayer.reset();
    mSource.Set(nullptr);
    mCallback = nullptr;
}

void VexoPlayer::Release(VexoPlayer *player) {
    if (player->mustNotWait()) {
        player->abandon();
    } else {
        delete player;
    }
}

void VexoPlayer::abandon() {
    mCallback = nullptr;
    mAbandoned = true;
    mRunning = false;
    append([] {});  // from here on the worker may destroy the object at any moment
}

bool VexoPlayer::mustNotWait() const {
    return vexo::CallbackScope::Contains(*mToken) || std::this_thread::get_id() == mThread.get_id();
}

void VexoPlayer::setMediaSource(std::shared_ptr<IVexoMediaSource> source) {
    VEXO_SINK("setMediaSource call\n");
    if (!source) return;
    ++mSourceNumber;  // first, so that a command that begins after this line sees that its source is gone
    mSource.Set(source);
    auto component = std::make_shared<oriplayer::PlayComponent>();
    component->playList = source->getPlayList();
    const std::vector<std::shared_ptr<oriplayer::PlayComponent>> components{std::move(component)};
    mPlayer->setDataSource(components, 1, std::make_shared<oriplayer::StringMap>());
    mPlayer->setListener(mListener);
}

void VexoPlayer::prepareAsync() {
    VEXO_SINK("prepareAsyn call\n");
    postForSource("prepareAsyn impl call\n",
                  [](Player &player, const Content &source) { player.prepareAsync(source); });
}

void VexoPlayer::start() {
    VEXO_SINK("start call\n");
    // Needs no `source`: one that is set while this runs has no engine player yet, so this cannot start it.
    postForSource("startImpl call\n", [](Player &player, const Content &) { player.start(); });
}

void VexoPlayer::stop() {
    VEXO_SINK("stop call\n");
    postForSource("stop impl call\n", [](Player &player, const Content &source) { player.stop(true, source); });
}

void VexoPlayer::setDisplay(void *surface) {
    VEXO_SINK("setDisplay call\n");
    post([this, surface] {
        if (!mPlayer) return;
        VEXO_SINK("setDisplay impl call\n");
        mPlayer->setVideoSurface(surface, false);
    });
}

void VexoPlayer::setParams(VexoParams params) {
    if (!mPlayer) return;
    if (const auto *enable = Find<bool>(params, kVideoPipelineEnable)) mPlayer->setVideoPipelineEnable(*enable);
    if (const auto *enable = Find<bool>(params, kAudioPipelineEnable)) mPlayer->setAudioPipelineEnable(*enable);
    if (const auto *volume = Find<float>(params, kAudioVolume)) mPlayer->setVolume(*volume);
    if (const auto *device = Find<std::string>(params, kAudioDeviceId)) mPlayer->setAudioDevice(*device);
}

nonstd::any VexoPlayer::getParam(std::string key) {
    if (key != kAudioVolume || !mPlayer) return {};
    return mPlayer->getVolume();
}

void VexoPlayer::onPlayEvent(int sid, int code, std::string msg, VexoParams params) {
    VEXO_SINK("onPlayEvent call sid:[%d] code:[%d] msg:[%s]\n", sid, code, msg.c_str());
    const vexo::CallbackScope scope(*mToken);
    if (auto *callback = mCallback.load()) callback->onPlayEvent(sid, code, std::move(msg), std::move(params));
}

void VexoPlayer::deliverPicture(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width,
                                int height, VexoParams &&params) {
    const vexo::CallbackScope scope(*mToken);
    if (auto *callback = mCallback.load()) {
        callback->onVideoFrame(planes, reserved0, reserved1, reserved2, reserved3, width, height, std::move(params));
    }
}

int VexoPlayer::takePicture(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width,
                            int height, VexoParams &&params) {
    IVexoPlayerCallback &self = *this;
    self.onVideoFrame(planes, reserved0, reserved1, reserved2, reserved3, width, height, std::move(params));
    return 0;
}

// A command acts on the source that was set when it was accepted. If another one has been set since, it writes its line
// and does nothing.
void VexoPlayer::postForSource(const char *taskLine, SourceCommand command) {
    post([this, taskLine, command, accepted = mSourceNumber.load()] {
        if (!mPlayer) return;
        VEXO_SINK("%s", taskLine);
        // Read before the number is compared. If a source is set after that, its content has other numbers.
        const Content source = mPlayer->content();
        if (accepted == mSourceNumber) command(*mPlayer, source);
    });
}

void VexoPlayer::post(Task task) {
    if (mustNotWait()) return append(std::move(task));
    vexo::MutexLock lock(mMutex);
    append(std::move(task));
}

void VexoPlayer::append(Task task) {
    vexo::MutexLock lock(mTaskMutex);
    mTasks.push_back(std::move(task));
    mCondition.notify_all();  // under the lock, because an abandoned object may be destroyed right after it
}

VexoPlayer::Task *VexoPlayer::firstTask() {
    vexo::MutexLock lock(mTaskMutex);
    return mTasks.empty() ? nullptr : &mTasks.front();
}

void VexoPlayer::removeFirstTask() {
    std::list<Task> done;  // destroys the task without the lock
    vexo::MutexLock lock(mTaskMutex);
    done.splice(done.begin(), mTasks, mTasks.begin());
}

void VexoPlayer::waitForTask() {
    vexo::MutexLock lock(mTaskMutex);
    while (mTasks.empty()) mCondition.wait(lock);
}

void VexoPlayer::run() {
    vexo::MutexLock work(mMutex);
    while (mRunning) {
        if (Task *task = firstTask()) {
            (*task)();
            removeFirstTask();
        } else {
            work.unlock();
            waitForTask();
            work.lock();
        }
    }
}

void VexoPlayer::threadEntry(VexoPlayer *player) {
    pthread_setname_np(pthread_self(), "vexo-cmd");
    player->run();
    if (!player->mAbandoned) return;
    player->mThread.detach();
    delete player;
}

}  // namespace VexoPlayerNS
