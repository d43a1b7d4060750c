#pragma once

#include <memory>

#include "base/oriplayer/render_pipeline.h"
#include "interface/export.h"
#include "render/i_render_middleware.h"

namespace vexo {

/// The way of a picture out of the engine. Its owner is whoever acquired it from RenderManager.
/// Threads:  Render on the engine's picture thread; the list changes while nothing renders.
class VEXO_API IRenderPipe {
public:
    virtual ~IRenderPipe() = default;
    virtual void AddMiddleware(std::shared_ptr<IRenderMiddleware> middleware) = 0;
    virtual void RemoveMiddleware(std::shared_ptr<IRenderMiddleware> middleware) = 0;
    virtual void AddFilter(std::shared_ptr<IRenderFilter> filter) = 0;
    virtual void RemoveFilter(std::shared_ptr<IRenderFilter> filter) = 0;
    virtual long Open(oriplayer::DRWSetup *setup) = 0;
    virtual int Close(bool flag) = 0;
    virtual int Pause() = 0;
    virtual int Resume() = 0;
    virtual int Reset() = 0;
    virtual int GetRenderInfo(int key, oriplayer::DRWInfo *&info) = 0;
    /// 0 if a middleware took the picture, 1 if none did, -1 without a picture or for another category than video.
    virtual int Render(RenderOutputInfo &info) = 0;
};

}  // namespace vexo
