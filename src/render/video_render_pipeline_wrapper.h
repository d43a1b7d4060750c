#pragma once

#include "base/oriplayer/render_pipeline.h"
#include "interface/export.h"
#include "render/i_render_pipe.h"

namespace vexo {

/// Gives an engine player a pipe of RenderManager as its pipeline; players of one timeline share it.
/// Every operation answers -1 (Open the value 0, GetRenderer null) where there is no pipe.
/// Threads:  the engine's; the pipe stays the same from construction to destruction.
class VEXO_API VideoRenderPipelineWrapper : public oriplayer::VideoRenderPipeline {
public:
    /// Acquires a video pipe with the middlewares registered now.
    VideoRenderPipelineWrapper();
    /// Takes `pipe`, which may be null, over from its owner.
    explicit VideoRenderPipelineWrapper(IRenderPipe *pipe);
    ~VideoRenderPipelineWrapper() override;
    VideoRenderPipelineWrapper(const VideoRenderPipelineWrapper &) = delete;
    VideoRenderPipelineWrapper &operator=(const VideoRenderPipelineWrapper &) = delete;

    int Pause() override;
    int Resume() override;
    int Reset() override;
    int Close() override;
    /// 0 whether or not a middleware took the picture.
    int Render(oriplayer::RenderRecord *record) override;
    oriplayer::RenderOpenResult Open(oriplayer::DRWSetup *&setup) override;
    oriplayer::DrawCoreVideoImpl *GetRenderer() override;

private:
    IRenderPipe *mPipe;
};

}  // namespace vexo
