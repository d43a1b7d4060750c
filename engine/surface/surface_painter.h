#pragma once

#include <memory>
#include <string>

#include "ffmpeg.h"
#include "surface/foreign_window.h"
#include "surface/surface_view.h"

struct SDL_Renderer;
struct SDL_Texture;
struct SDL_Window;

namespace oriplayer {

/// Draws pictures into one window of the application, with SDL. Threads: one, the same for all painters of the process.
class SurfacePainter {
public:
    SurfacePainter() = default;
    ~SurfacePainter();
    SurfacePainter(const SurfacePainter &) = delete;
    SurfacePainter &operator=(const SurfacePainter &) = delete;

    /// All three: empty, or why it cannot be drawn to.
    std::string open(void *handle);
    /// Draws 8-bit I420.
    std::string show(const AVFrame &picture, const SurfaceView &view);
    /// Looks at what has happened to the window, and draws the last picture anew if that is needed.
    std::string followWindow(const AVFrame *last, const SurfaceView &view);
    int descriptor() const { return foreign_.descriptor(); }

private:
    std::string openRenderer();
    void closeRenderer();
    bool fitTexture(const AVFrame &picture);
    void draw(const AVFrame &picture, const SurfaceView &view);

    struct Free {
        void operator()(SDL_Window *window) const;
        void operator()(SDL_Renderer *renderer) const;
        void operator()(SDL_Texture *texture) const;
    };
    void *handle_ = nullptr;
    ForeignWindow foreign_;
    bool usesVideo_ = false;
    std::unique_ptr<SDL_Window, Free> window_;
    std::unique_ptr<SDL_Renderer, Free> renderer_;
    std::unique_ptr<SDL_Texture, Free> texture_;
    int textureWidth_ = 0;
    int textureHeight_ = 0;
    int conversion_ = -1;
};

}  // namespace oriplayer
