#pragma once

#include <atomic>

#include "interface/vexo_params.h"
#include "render/i_render_middleware.h"

namespace VexoPlayerNS {

/// Receives the pictures of VexoRenderMiddleware.
class VexoRenderMiddlewareCallback {
public:
    virtual ~VexoRenderMiddlewareCallback() = default;
    /// As IVexoPlayerCallback::onVideoFrame; the result is not read.
    virtual int onVideoFrame(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width,
                             int height, VexoParams params) = 0;
};

/// Turns a picture into a call of onVideoFrame. Copies no plane, writes no log line, takes no lock.
///
/// Threads:  Process on the engine's picture threads, several at the same time; Detach on any.
/// Life:     pipes may hold the object longer than its player exists. Detach disconnects it from the player.
class VexoRenderMiddleware final : public vexo::IRenderMiddleware {
public:
    /// `callback` may be null: pictures are then accepted and dropped.
    explicit VexoRenderMiddleware(VexoRenderMiddlewareCallback *callback);

    /// True if the picture is accepted. False after Detach, so that the pipe offers it to the next player.
    bool Process(vexo::RenderOutputInfo &info) override;
    vexo::RenderCat GetRenderCat() override;

    /// When this returns, the callback is not called again and is not running on another thread: it waits for the
    /// application's onVideoFrame. It can be called inside Process, and does not wait for that call.
    void Detach();

private:
    class Call;

    std::atomic<VexoRenderMiddlewareCallback *> mFrameCallback;
    std::atomic<bool> mDetached{false};
    std::atomic<int> mCalls{0};  ///< calls of Process that are running, including nested ones
};

}  // namespace VexoPlayerNS
