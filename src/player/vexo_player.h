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
#include "player/callback_ports.h"

namespace vexo {
class MixedCodecsPlayer;
}

namespace VexoPlayerNS {

class IOriPlayerListenerImpl;
class VexoReporter;

/// The player that an application holds: options, the wiring of what plays below, and one worker for the commands.
///
/// Threads:  operations on any. The worker runs the commands; events come on the loopers, pictures on the engine's
///           picture thread, and pass through without a lock.
/// Locks:    mMutex is the worker's while there are commands: ordinary threads take it to append one, so they wait for
///           what runs. mTaskMutex guards the list itself and is a leaf: a thread inside a callback of this player (or
///           inside a command) appends under it alone and waits for nobody. The order in the list is the order of
///           running.
/// End:      ~VexoPlayer joins the worker and belongs on an ordinary thread. Release is the deleter of create(): inside
///           a callback or a command it only cuts the application off, and the worker, as its last act, destroys the
///           object.
class VexoPlayer : public IVexoPlayer, public PlayerCallbackPort, public RenderCallbackPort {
public:
    VexoPlayer(IVexoPlayerCallback *callback, VexoParams params);
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

    void deliverPicture(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width,
                        int height, VexoParams &&params) override;
    int takePicture(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width, int height,
                    VexoParams &&params) override;

    void wire(VexoParams &&params);
    void cutOffPictures();
    bool mustNotWait() const;
    void abandon();

    void post(Task task) VEXO_EXCLUDES(mMutex);
    void append(Task task);
    Task *firstTask();
    void removeFirstTask();
    void waitForTask();
    void run();
    static void threadEntry(VexoPlayer *player);

    const std::shared_ptr<vexo::CallbackToken> mToken;  ///< marks threads inside a callback; shared with mPlayer
    std::atomic<IVexoPlayerCallback *> mCallback{nullptr};
    vexo::LeafGuarded<std::shared_ptr<IVexoMediaSource>> mSource;
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
    /// Oldest first; the one that runs is still the first. Only the worker takes out.
    std::list<Task> mTasks VEXO_GUARDED_BY(mTaskMutex);
};

}  // namespace VexoPlayerNS
