#pragma once

#include <cstdint>

#include "base/oriplayer/picture.h"

namespace oriplayer {

struct DRWSetup;
struct DRWInfo;
class DrawCoreVideoImpl;

/// What VideoRenderPipeline::Open answers: the result of the pipe behind it.
struct RenderOpenResult {
    int32_t value;
};

/// Where an engine player hands its pictures to. Called by the engine, one call at a time per player.
class IZPRenderPipeline {
public:
    virtual ~IZPRenderPipeline() = default;
    virtual int Pause() = 0;
    virtual int Resume() = 0;
    virtual int Reset() = 0;
    virtual int Close() = 0;
    /// One picture, on the engine's picture thread at the picture's time; `record` is valid during the call.
    virtual int Render(RenderRecord *record) = 0;
};

class VideoRenderPipeline : public IZPRenderPipeline {
public:
    /// Once before the first picture of a player.
    virtual RenderOpenResult Open(DRWSetup *&setup) = 0;
    virtual DrawCoreVideoImpl *GetRenderer() = 0;
};

}  // namespace oriplayer
