#pragma once

#include <utility>

#include "interface/vexo_player_callback.h"
#include "player/vexo_render_middleware.h"

namespace VexoPlayerNS {

// Both callback interfaces have an onVideoFrame with the same arguments, one returns nothing and one an int, so no
// class can override both. Each port overrides one of them and forwards it to a function with another name.

/// Forwards the pictures for the application.
class PlayerCallbackPort : public IVexoPlayerCallback {
public:
    void onVideoFrame(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width, int height,
                      VexoParams params) final {
        deliverPicture(planes, reserved0, reserved1, reserved2, reserved3, width, height, std::move(params));
    }

protected:
    virtual void deliverPicture(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width,
                                int height, VexoParams &&params) = 0;
};

/// Forwards the pictures from the middleware.
class RenderCallbackPort : public VexoRenderMiddlewareCallback {
public:
    int onVideoFrame(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width, int height,
                     VexoParams params) final {
        return takePicture(planes, reserved0, reserved1, reserved2, reserved3, width, height, std::move(params));
    }

protected:
    virtual int takePicture(void **planes, int reserved0, int reserved1, int reserved2, int reserved3, int width,
                            int height, VexoParams &&params) = 0;
};

}  // namespace VexoPlayerNS
