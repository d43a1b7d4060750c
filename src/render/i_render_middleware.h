#pragma once

#include <cstdint>

#include "base/oriplayer/picture.h"
#include "interface/export.h"

/// Registered with RenderManager and handed to pipes; nothing calls it.
class VEXO_API IRenderFilter {
public:
    virtual ~IRenderFilter() = default;
};

namespace vexo {

/// Categories of pipes and middlewares.
enum RenderCat : int32_t {
    kRenderCatVideo = 0,
};

/// The request for a pipe.
struct RenderSetup {
    RenderCat cat = kRenderCatVideo;
};

/// What a pipe renders: the engine's render record under a category.
struct RenderOutputInfo {
    RenderCat cat;
    uint32_t words[10];                ///< as oriplayer::RenderWord names them
    oriplayer::VideoPicture *picture;  ///< valid during the call
};
static_assert(sizeof(void *) != 4 || sizeof(RenderOutputInfo) == 4 + sizeof(oriplayer::RenderRecord));

/// Sees the pictures of the pipes that hold it. Owned by shared pointers only.
class VEXO_API IRenderMiddleware {
public:
    /// True takes the picture: no later middleware of the pipe sees it.
    /// Thread: the engine's picture thread; several at once, if several players play.
    virtual bool Process(RenderOutputInfo &info) = 0;
    virtual RenderCat GetRenderCat() = 0;

protected:
    ~IRenderMiddleware() = default;  // not virtual: the interface has two slots, the shared pointer knows the class
};

}  // namespace vexo
