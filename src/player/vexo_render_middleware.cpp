#include "player/vexo_render_middleware.h"

#include <utility>

namespace VexoPlayerNS {
namespace {

VexoParams DescribePicture(const oriplayer::VideoPicture &picture) {
    VexoParams params;
    // In the order of the keys, each inserted at the end: this runs for every picture and needs no search.
    params.emplace_hint(params.end(), "u_stride", int{picture.planes[1].stride});
    params.emplace_hint(params.end(), "v_stride", int{picture.planes[2].stride});
    params.emplace_hint(params.end(), "video_height", int{picture.height});
    params.emplace_hint(params.end(), "video_type", int{picture.type});
    params.emplace_hint(params.end(), "video_width", int{picture.width});
    params.emplace_hint(params.end(), "y_stride", int{picture.planes[0].stride});
    return params;
}

}  // namespace

/// A running call of Process. The calls of a thread form a chain, so that Detach can find those of its own caller. All
/// accesses to mCalls, mDetached and mFrameCallback are sequentially consistent: either the call sees that the callback
/// is null, or Detach sees the call.
class VexoRenderMiddleware::Call {
public:
    explicit Call(VexoRenderMiddleware &middleware) : middleware_(middleware), outer_(innermost_) {
        innermost_ = this;
        middleware_.mCalls.fetch_add(1);
    }
    ~Call() {
        innermost_ = outer_;
        middleware_.mCalls.fetch_sub(1);
        if (middleware_.mDetached) middleware_.mCalls.notify_all();
    }
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;

    static int countOfThisThread(const VexoRenderMiddleware &middleware) {
        int count = 0;
        for (const Call *call = innermost_; call; call = call->outer_) count += &call->middleware_ == &middleware;
        return count;
    }

private:
    static thread_local const Call *innermost_;

    VexoRenderMiddleware &middleware_;
    const Call *const outer_;
};

thread_local const VexoRenderMiddleware::Call *VexoRenderMiddleware::Call::innermost_ = nullptr;

VexoRenderMiddleware::VexoRenderMiddleware(VexoRenderMiddlewareCallback *callback) : mFrameCallback(callback) {}

bool VexoRenderMiddleware::Process(vexo::RenderOutputInfo &info) {
    const Call call(*this);
    auto *callback = mFrameCallback.load();
    if (!callback) return !mDetached;
    const oriplayer::VideoPicture &picture = *info.picture;
    void *planes[3] = {picture.planes[0].data, picture.planes[1].data, picture.planes[2].data};
    callback->onVideoFrame(planes, 0, 0, 0, 0, picture.width, picture.height, DescribePicture(picture));
    return true;
}

vexo::RenderCat VexoRenderMiddleware::GetRenderCat() {
    return vexo::kRenderCatVideo;
}

void VexoRenderMiddleware::Detach() {
    mDetached = true;
    mFrameCallback = nullptr;
    const int own = Call::countOfThisThread(*this);
    for (int calls = mCalls; calls > own; calls = mCalls) mCalls.wait(calls);
}

}  // namespace VexoPlayerNS
