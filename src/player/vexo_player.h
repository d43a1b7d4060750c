#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <thread>

#include "base/callback_scope.h"
#include "base/leaf_guarded.h"
#include "base/thread_annotations.h"
#include "interface/vexo_player.h"
#include "mixed/mixed_codecs_player.h"
#include "player/callback_ports.h"

namespace VexoPlayerNS {

class IOriPlayerListenerImpl;
class VexoReporter;

/// The player that an application holds: its options, its connections to the parts below, and one worker for commands.
///
/// Threads:  operations on any. The worker runs the commands. Events arrive on the loopers, pictures on the engine's
///           picture thread; both are forwarded without a lock.
/// Locks:    the worker holds mMutex while it has commands. Ordinary threads take it to append one, so they wait for
///           the command that runs. mTaskMutex guards the list itself and is a leaf: a thread inside a callback of this
///           player (or inside a command) appends under it alone and does not wait. Commands run in the order of the
///           list.
/// Source:   each setMediaSource increments mSourceNumber. prepareAsync, start and stop act only on the source that was
///           set when they were accepted. Otherwise `stop(); setMediaSource(next);` would empty `next`.
/// End:      ~VexoPlayer joins the worker and the loopers and belongs on an ordinary thread. Release is the deleter of
///           create(): inside a callback or a command it only detaches the application, and the worker destroys the
///           object as its last act.
class VexoPlayer : public IVexoPlayer, public PlayerCallbackPort, public RenderCallbackPort {
public:
    /// Keeps `owned` until it is destroyed.
    VexoPlayer(IVexoPlayerCallback *callback, VexoParams params, std::shared_ptr<IVexoPlayerCallback> owned = nullptr);
    ~VexoPlayer() override;
    VexoPlayer(const VexoPlayer &) = delete;
    VexoPlayer &operator=(const VexoPlayer &) = delete;

    static void Release(VexoPlayer *player);

    void setMediaSource(std::shared_ptr<IVexoMediaSource> source) override;
    void prepareAsync() override;
    void start() override;
    void stop() override;
    void setDisplay(void *surface) override;
    void setParams(VexoParams params) override;
    nonstd::any getParam(std::string key) override;

    void onPlayEvent(int sid, int code, std::string msg, VexoParams params) override;

private:
    using Task = std::function<void()>;
    using Player = vexo::MixedCodecsPlayer;
    using Content = vexo::MixedCodecsPlayer::Content;
    using SourceCommand = void (*)(Player &player, const Content &source);

    void deliverPicture(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width,
                        int height, VexoParams &&params) override;
    int takePicture(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width, int height,
                    VexoParams &&params) override;

    void wire(VexoParams &&params);
    void cutOffPictures();
    bool mustNotWait() const;
    void abandon();

    void postForSource(const char *taskLine, SourceCommand command) VEXO_EXCLUDES(mMutex);
    void post(Task task) VEXO_EXCLUDES(mMutex);
    void append(Task task);
    Task *firstTask();
    void removeFirstTask();
    void waitForTask();
    void run();
    static void threadEntry(VexoPlayer *player);

    const std::shared_ptr<IVexoPlayerCallback> mOwnedCallback;  ///< first, so that it is destroyed after its users
    const std::shared_ptr<vexo::CallbackToken> mToken;  ///< marks threads inside a callback; shared with mPlayer
    std::atomic<IVexoPlayerCallback *> mCallback{nullptr};
    vexo::LeafGuarded<std::shared_ptr<IVexoMediaSource>> mSource;
    std::atomic<uint64_t> mSourceNumber{0};  ///< counts the calls of setMediaSource
    // Set once by the constructor.
    std::shared_ptr<vexo::MixedCodecsPlayer> mPlayer;
    std::shared_ptr<IOriPlayerListenerImpl> mListener;
    std::shared_ptr<VexoRenderMiddleware> mMiddleware;
    std::shared_ptr<VexoReporter> mReporter;

    std::atomic<bool> mRunning{true};
    std::atomic<bool> mAbandoned{false};  ///< the worker destroys the object
    std::thread mThread;
    vexo::Mutex mMutex;
    vexo::Mutex mTaskMutex;
    std::condition_variable_any mCondition;  ///< with mTaskMutex
    /// Oldest first, including the one that runs. Only the worker removes tasks.
    std::list<Task> mTasks VEXO_GUARDED_BY(mTaskMutex);
};

}  // namespace VexoPlayerNS
