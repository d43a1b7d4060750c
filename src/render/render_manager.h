#pragma once

#include <memory>
#include <vector>

#include "base/thread_annotations.h"
#include "interface/export.h"
#include "render/i_render_middleware.h"
#include "render/i_render_pipe.h"
#include "render/singleton.h"

namespace vexo {

/// The process-wide register of middlewares and filters. A pipe acquired here begins with those that are registered at
/// that moment and fit its category, oldest first; later changes reach later pipes only.
/// Threads:  any.
/// Lock:     a private mutex round the lists; pipes and middlewares are called without it.
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

    /// The same pointer may stand in a list twice; Remove takes out the first equal entry.
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
