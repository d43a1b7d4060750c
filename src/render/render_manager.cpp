#include "render/render_manager.h"

#include <algorithm>
#include <utility>

#include "render/video_render_pipe.h"

namespace vexo {
namespace {

template <typename T> void EraseFirst(std::vector<std::shared_ptr<T>> &list, const std::shared_ptr<T> &entry) {
    auto found = std::find(list.begin(), list.end(), entry);
    if (found != list.end()) list.erase(found);
}

}  // namespace

template class Singleton<RenderManager>;

RenderManager::RenderManager(Token) {}

IRenderPipe *RenderManager::AcquirePipe(RenderSetup &setup) {
    auto pipe = std::make_unique<VideoRenderPipe>();
    AttachMiddleware(setup.cat, pipe.get());
    AttachFilter(pipe.get());
    return pipe.release();
}

void RenderManager::ReleasePipe(IRenderPipe *pipe) {
    DetachMiddleware(pipe);
    DetachFilter(pipe);
    delete pipe;
}

void RenderManager::AttachMiddleware(RenderCat category, IRenderPipe *pipe) {
    for (auto &middleware : copyOfMiddlewares()) {
        if (middleware && middleware->GetRenderCat() == category) pipe->AddMiddleware(middleware);
    }
}

void RenderManager::AttachFilter(IRenderPipe *pipe) {
    for (auto &filter : copyOfFilters()) pipe->AddFilter(filter);
}

void RenderManager::DetachMiddleware(IRenderPipe *pipe) {
    for (auto &middleware : copyOfMiddlewares()) pipe->RemoveMiddleware(middleware);
}

void RenderManager::DetachFilter(IRenderPipe *pipe) {
    for (auto &filter : copyOfFilters()) pipe->RemoveFilter(filter);
}

void RenderManager::AddMiddleware(std::shared_ptr<IRenderMiddleware> middleware) {
    MutexLock lock(mListMutex);
    mMiddlewares.push_back(std::move(middleware));
}

void RenderManager::RemoveMiddleware(std::shared_ptr<IRenderMiddleware> middleware) {
    // `middleware` outlives the lock, so that its destruction, if this was the last reference, runs without it.
    MutexLock lock(mListMutex);
    EraseFirst(mMiddlewares, middleware);
}

void RenderManager::AddFilter(std::shared_ptr<IRenderFilter> filter) {
    MutexLock lock(mListMutex);
    mFilters.push_back(std::move(filter));
}

void RenderManager::RemoveFilter(std::shared_ptr<IRenderFilter> filter) {
    MutexLock lock(mListMutex);
    EraseFirst(mFilters, filter);
}

RenderManager::Middlewares RenderManager::copyOfMiddlewares() {
    MutexLock lock(mListMutex);
    return mMiddlewares;
}

RenderManager::Filters RenderManager::copyOfFilters() {
    MutexLock lock(mListMutex);
    return mFilters;
}

}  // namespace vexo
