#pragma once

#include <memory>
#include <vector>

#include "interface/export.h"
#include "render/i_render_pipe.h"

namespace vexo {

/// Offers each picture to its middlewares, oldest first, until one takes it. All else has fixed answers.
/// A copy shares the middlewares.
/// Threads:  Render on the engine's picture thread. No lock: middlewares are added and removed while nothing renders.
class VEXO_API VideoRenderPipe : public IRenderPipe {
public:
    VideoRenderPipe();
    VideoRenderPipe(const VideoRenderPipe &other);
    VideoRenderPipe &operator=(const VideoRenderPipe &other);
    ~VideoRenderPipe() override;

    /// A null pointer is ignored by both; Remove takes out the first equal entry.
    void AddMiddleware(std::shared_ptr<IRenderMiddleware> middleware) override;
    void RemoveMiddleware(std::shared_ptr<IRenderMiddleware> middleware) override;
    /// A pipe holds no filters.
    void AddFilter(std::shared_ptr<IRenderFilter> filter) override;
    void RemoveFilter(std::shared_ptr<IRenderFilter> filter) override;
    long Open(oriplayer::DRWSetup *setup) override;
    int Close(bool flag) override;
    int Pause() override;
    int Resume() override;
    int Reset() override;
    int GetRenderInfo(int key, oriplayer::DRWInfo *&info) override;
    int Render(RenderOutputInfo &info) override;
    oriplayer::DrawCoreVideoImpl *GetRenderer();

private:
    std::vector<std::shared_ptr<IRenderMiddleware>> mMiddlewares;
};

}  // namespace vexo
