#pragma once

#include <memory>
#include <string>
#include <vector>

#include "key.h"
#include "picture_slot.h"

struct SDL_Renderer;
struct SDL_Texture;
struct SDL_Window;

namespace vexoplay {

/// The window: shows pictures with their aspect, in the middle of what room there is, and collects keys. It opens with
/// the first picture and follows changes of the picture's size until somebody drags it to a size of his own.
/// Threads:  the main thread.
class Window {
public:
    /// Empty with `why` set where there is no display.
    static std::unique_ptr<Window> create(std::string &why);
    ~Window();
    Window(const Window &) = delete;
    Window &operator=(const Window &) = delete;

    /// Empty, or why the window could not be opened; there is none from then on.
    std::string show(const StagedPicture &picture);
    void setTitle(const std::string &title);
    void toggleFullScreen();
    /// Handles what the window system has to say, and returns the keys pressed meanwhile.
    std::vector<Key> takeKeys();

private:
    Window() = default;
    std::string open(const StagedPicture &picture);
    bool fitTexture(const StagedPicture &picture);
    void followSize(const StagedPicture &picture);
    void draw();

    struct Free {
        void operator()(SDL_Window *window) const;
        void operator()(SDL_Renderer *renderer) const;
        void operator()(SDL_Texture *texture) const;
    };
    std::unique_ptr<SDL_Window, Free> window_;
    std::unique_ptr<SDL_Renderer, Free> renderer_;
    std::unique_ptr<SDL_Texture, Free> texture_;
    std::string title_ = "vexoplay";
    int textureWidth_ = 0;
    int textureHeight_ = 0;
    uint32_t colour_ = 0;
    int shownWidth_ = 0;  ///< size of the picture with square pixels
    int shownHeight_ = 0;
    bool sizedByHand_ = false;
    bool fullScreen_ = false;
};

/// The largest rectangle of a picture's aspect in the middle of a window.
struct Placement {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};
Placement placeIn(int windowWidth, int windowHeight, int pictureWidth, int pictureHeight);

}  // namespace vexoplay
