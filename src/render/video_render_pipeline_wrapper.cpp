#include "render/video_render_pipeline_wrapper.h"

#include <algorithm>
#include <iterator>

#include "render/render_manager.h"
#include "render/video_render_pipe.h"

namespace vexo {
namespace {

IRenderPipe *AcquireVideoPipe() {
    RenderSetup setup{kRenderCatVideo};
    return RenderManager::Instance().AcquirePipe(setup);
}

}  // namespace

VideoRenderPipelineWrapper::VideoRenderPipelineWrapper() : VideoRenderPipelineWrapper(AcquireVideoPipe()) {}

VideoRenderPipelineWrapper::VideoRenderPipelineWrapper(IRenderPipe *pipe) : mPipe(pipe) {}

VideoRenderPipelineWrapper::~VideoRenderPipelineWrapper() {
    if (mPipe) RenderManager::Instance().ReleasePipe(mPipe);
    mPipe = nullptr;
}

int VideoRenderPipelineWrapper::Pause() {
    if (!mPipe) return -1;
    mPipe->Pause();
    return 0;
}

int VideoRenderPipelineWrapper::Resume() {
    if (!mPipe) return -1;
    mPipe->Resume();
    return 0;
}

int VideoRenderPipelineWrapper::Reset() {
    if (!mPipe) return -1;
    mPipe->Reset();
    return 0;
}

int VideoRenderPipelineWrapper::Close() {
    if (!mPipe) return -1;
    mPipe->Close(false);
    return 0;
}

int VideoRenderPipelineWrapper::Render(oriplayer::RenderRecord *record) {
    if (!mPipe) return -1;
    RenderOutputInfo info;
    info.cat = kRenderCatVideo;
    std::copy(std::begin(record->words), std::end(record->words), std::begin(info.words));
    info.picture = record->picture;
    mPipe->Render(info);
    return 0;
}

oriplayer::RenderOpenResult VideoRenderPipelineWrapper::Open(oriplayer::DRWSetup *&setup) {
    if (!mPipe) return {0};
    return {static_cast<int32_t>(mPipe->Open(setup))};
}

oriplayer::DrawCoreVideoImpl *VideoRenderPipelineWrapper::GetRenderer() {
    auto *pipe = dynamic_cast<VideoRenderPipe *>(mPipe);
    return pipe ? pipe->GetRenderer() : nullptr;
}

}  // namespace vexo
