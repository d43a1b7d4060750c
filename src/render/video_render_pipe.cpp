#include "render/video_render_pipe.h"

#include <algorithm>
#include <utility>

namespace vexo {

VideoRenderPipe::VideoRenderPipe() = default;
VideoRenderPipe::VideoRenderPipe(const VideoRenderPipe &other) = default;
VideoRenderPipe &VideoRenderPipe::operator=(const VideoRenderPipe &other) = default;
VideoRenderPipe::~VideoRenderPipe() = default;

void VideoRenderPipe::AddMiddleware(std::shared_ptr<IRenderMiddleware> middleware) {
    if (middleware) mMiddlewares.push_back(std::move(middleware));
}

void VideoRenderPipe::RemoveMiddleware(std::shared_ptr<IRenderMiddleware> middleware) {
    if (!middleware) return;
    auto found = std::find(mMiddlewares.begin(), mMiddlewares.end(), middleware);
    if (found != mMiddlewares.end()) mMiddlewares.erase(found);
}

void VideoRenderPipe::AddFilter(std::shared_ptr<IRenderFilter>) {}

void VideoRenderPipe::RemoveFilter(std::shared_ptr<IRenderFilter>) {}

long VideoRenderPipe::Open(oriplayer::DRWSetup *) {
    return 1;
}

int VideoRenderPipe::Close(bool) {
    return 0;
}

int VideoRenderPipe::Pause() {
    return 0;
}

int VideoRenderPipe::Resume() {
    return 0;
}

int VideoRenderPipe::Reset() {
    return 0;
}

int VideoRenderPipe::GetRenderInfo(int, oriplayer::DRWInfo *&) {
    return 0;
}

int VideoRenderPipe::Render(RenderOutputInfo &info) {
    if (info.cat != kRenderCatVideo || !info.picture) return -1;
    for (const auto &entry : mMiddlewares) {
        const auto middleware = entry;  // alive during the call
        if (middleware->Process(info)) return 0;
    }
    return 1;
}

oriplayer::DrawCoreVideoImpl *VideoRenderPipe::GetRenderer() {
    return nullptr;
}

}  // namespace vexo
