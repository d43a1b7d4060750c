#pragma once

#include <memory>
#include <vector>

#include "base/thread_annotations.h"
#include "interface/export.h"
#include "render/i_render_middleware.h"
#include "render/i_render_pipe.h"
#include "render/singleton.h"

namespace vexo {

/// The process-wide registry of middlewares and filters. A pipe that is acquired here keeps those that are registered
/// at that moment and fit its category, oldest first. Later registrations and removals do not reach it: a player
/// acquires its pipes at the first setVideoPipelineEnable(true), a facade player at its creation.
/// Threads:  any.
/// Lock:     a private mutex guards the lists; pipes and middlewares are called without it.
class VEXO_API RenderManager : public Singleton<RenderManager> {
public:
    explicit RenderManager(Token);

    /// The caller owns the pipe and gives it to ReleasePipe. Pipes given to any operation are not null.
    IRenderPipe *AcquirePipe(RenderSetup &setup);
    void ReleasePipe(IRenderPipe *pipe);
    void AttachMiddleware(RenderCat category, IRenderPipe *pipe);
    void AttachFilter(IRenderPipe *pipe);
    void DetachMiddleware(IRenderPipe *pipe);
    void DetachFilter(IRenderPipe *pipe);

    /// A pointer can be registered twice; Remove takes out its oldest entry and ignores a pointer that is not
    /// registered. A removed middleware still receives the pictures of the pipes that hold it, and they keep it alive.
    void AddMiddleware(std::shared_ptr<IRenderMiddleware> middleware);
    void RemoveMiddleware(std::shared_ptr<IRenderMiddleware> middleware);
    void AddFilter(std::shared_ptr<IRenderFilter> filter);
    void RemoveFilter(std::shared_ptr<IRenderFilter> filter);

private:
    using Middlewares = std::vector<std::shared_ptr<IRenderMiddleware>>;
    using Filters = std::vector<std::shared_ptr<IRenderFilter>>;

    Middlewares copyOfMiddlewares();
    Filters copyOfFilters();

    Middlewares mMiddlewares VEXO_GUARDED_BY(mListMutex);  ///< oldest first, as the filters
    Filters mFilters VEXO_GUARDED_BY(mListMutex);
    Mutex mListMutex;  ///< leaf
};

extern template class Singleton<RenderManager>;

}  // namespace vexo
