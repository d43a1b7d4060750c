#pragma once

#include <atomic>

#include "interface/vexo_params.h"
#include "render/i_render_middleware.h"

namespace VexoPlayerNS {

/// Where VexoRenderMiddleware hands its pictures to.
class VexoRenderMiddlewareCallback {
public:
    virtual ~VexoRenderMiddlewareCallback() = default;
    /// As IVexoPlayerCallback::onVideoFrame; the result is not read.
    virtual int onVideoFrame(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width,
                             int height, VexoParams params) = 0;
};

/// Turns a picture into a call of onVideoFrame. Copies no plane, writes no log line, takes no lock.
///
/// Threads:  Process on the engine's picture threads, several at once; Detach on any.
/// Life:     pipes may hold the object longer than its player lives. Detach cuts it off from the player.
class VexoRenderMiddleware final : public vexo::IRenderMiddleware {
public:
    /// `callback` may be null: pictures are then taken and dropped.
    explicit VexoRenderMiddleware(VexoRenderMiddlewareCallback *callback);

    /// True, the picture is taken; false once detached, so that the pipe offers it to the next player.
    bool Process(vexo::RenderOutputInfo &info) override;
    vexo::RenderCat GetRenderCat() override;

    /// No call of the callback begins any more, and none is under way on another thread when this returns: it waits as
    /// long as the application stays in onVideoFrame. May be called inside Process; that call is not waited for.
    void Detach();

private:
    class Call;

    std::atomic<VexoRenderMiddlewareCallback *> mFrameCallback;
    std::atomic<bool> mDetached{false};
    std::atomic<int> mCalls{0};  ///< threads inside Process, a nested one counted again
};

}  // namespace VexoPlayerNS
