#include "window.h"

#include <SDL.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/oriplayer/picture.h"
#include "colour.h"

namespace vexoplay {
namespace {

constexpr double kShareOfScreen = 0.9;

// SDL knows BT.709 and BT.601 of the narrow range and BT.601 of the full range. BT.2020 is nearest to BT.709; of a
// full-range picture the range is kept, since a wrong one is the greater fault.
SDL_YUV_CONVERSION_MODE conversionOf(const PictureFacts &facts) {
    if ((facts.colour & oriplayer::kRenderFullRange) != 0) return SDL_YUV_CONVERSION_JPEG;
    return matrixOf(facts.colour, facts.height) == Matrix::kBt601 ? SDL_YUV_CONVERSION_BT601 : SDL_YUV_CONVERSION_BT709;
}

// SDL falls back to drivers that show nothing; that counts as a window only for somebody who asked for it by name.
bool showsNothing(const char *driver) {
    const bool blind = std::strcmp(driver, "dummy") == 0 || std::strcmp(driver, "offscreen") == 0;
    return blind && std::getenv("SDL_VIDEODRIVER") == nullptr;
}

Key keyOf(SDL_Keycode code) {
    switch (code) {
        case SDLK_LEFT:
            return Key::kBack5;
        case SDLK_RIGHT:
            return Key::kForward5;
        case SDLK_DOWN:
            return Key::kBack60;
        case SDLK_UP:
            return Key::kForward60;
        default:
            return Key::kNone;
    }
}

}  // namespace

void Window::Free::operator()(SDL_Window *window) const {
    SDL_DestroyWindow(window);
}
void Window::Free::operator()(SDL_Renderer *renderer) const {
    SDL_DestroyRenderer(renderer);
}
void Window::Free::operator()(SDL_Texture *texture) const {
    SDL_DestroyTexture(texture);
}

std::unique_ptr<Window> Window::create(std::string &why) {
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");  // INT and TERM are ours
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
        why = SDL_GetError();
        return nullptr;
    }
    if (showsNothing(SDL_GetCurrentVideoDriver())) {
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
        why = "no display found";
        return nullptr;
    }
    return std::unique_ptr<Window>(new Window());
}

Window::~Window() {
    texture_.reset();
    renderer_.reset();
    window_.reset();
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

std::string Window::open(const StagedPicture &picture) {
    window_.reset(SDL_CreateWindow(title_.c_str(), SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED,
                                   displayWidth(picture.facts.width, picture.facts.aspect), picture.facts.height,
                                   SDL_WINDOW_RESIZABLE | SDL_WINDOW_HIDDEN));
    if (!window_) return SDL_GetError();
    // Without waiting for the screen's refresh: a hidden window would make that wait a long one on some systems.
    renderer_.reset(SDL_CreateRenderer(window_.get(), -1, 0));
    if (!renderer_) return SDL_GetError();
    return {};
}

bool Window::fitTexture(const StagedPicture &picture) {
    const PictureFacts &facts = picture.facts;
    if (texture_ && textureWidth_ == facts.width && textureHeight_ == facts.height && colour_ == facts.colour) {
        return true;
    }
    SDL_SetYUVConversionMode(conversionOf(facts));
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
    texture_.reset(SDL_CreateTexture(renderer_.get(), SDL_PIXELFORMAT_IYUV, SDL_TEXTUREACCESS_STREAMING, facts.width,
                                     facts.height));
    textureWidth_ = facts.width;
    textureHeight_ = facts.height;
    colour_ = facts.colour;
    return texture_ != nullptr;
}

// Keeps the window as large as the picture, but within the screen.
void Window::followSize(const StagedPicture &picture) {
    const int width = displayWidth(picture.facts.width, picture.facts.aspect);
    const int height = picture.facts.height;
    if (width == shownWidth_ && height == shownHeight_) return;
    const bool first = shownWidth_ == 0;
    shownWidth_ = width;
    shownHeight_ = height;
    if (sizedByHand_ || fullScreen_) return;
    SDL_Rect screen{0, 0, width, height};
    SDL_GetDisplayUsableBounds(std::max(SDL_GetWindowDisplayIndex(window_.get()), 0), &screen);
    const double scale = std::min({1.0, kShareOfScreen * screen.w / width, kShareOfScreen * screen.h / height});
    SDL_SetWindowSize(window_.get(), std::max(1, static_cast<int>(width * scale)),
                      std::max(1, static_cast<int>(height * scale)));
    if (!first) return;
    SDL_SetWindowPosition(window_.get(), SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED);
    SDL_ShowWindow(window_.get());
}

std::string Window::show(const StagedPicture &picture) {
    if (!window_) {
        if (const std::string error = open(picture); !error.empty()) {
            renderer_.reset();
            window_.reset();
            return error;
        }
    }
    if (!fitTexture(picture)) return SDL_GetError();
    followSize(picture);
    const auto &planes = picture.view().planes;
    if (SDL_UpdateYUVTexture(texture_.get(), nullptr, planes[0].data, planes[0].stride, planes[1].data,
                             planes[1].stride, planes[2].data, planes[2].stride) != 0) {
        return SDL_GetError();
    }
    draw();
    return {};
}

void Window::draw() {
    if (!texture_) return;
    int width = 0;
    int height = 0;
    SDL_GetRendererOutputSize(renderer_.get(), &width, &height);
    const Placement place = placeIn(width, height, shownWidth_, shownHeight_);
    const SDL_Rect target{place.x, place.y, place.width, place.height};
    SDL_SetRenderDrawColor(renderer_.get(), 0, 0, 0, 255);
    SDL_RenderClear(renderer_.get());
    SDL_RenderCopy(renderer_.get(), texture_.get(), nullptr, &target);
    SDL_RenderPresent(renderer_.get());
}

void Window::setTitle(const std::string &title) {
    if (title == title_) return;
    title_ = title;
    if (window_) SDL_SetWindowTitle(window_.get(), title_.c_str());
}

void Window::toggleFullScreen() {
    if (!window_) return;
    fullScreen_ = !fullScreen_;
    SDL_SetWindowFullscreen(window_.get(), fullScreen_ ? SDL_WINDOW_FULLSCREEN_DESKTOP : 0);
}

std::vector<Key> Window::takeKeys() {
    std::vector<Key> keys;
    SDL_Event event;
    while (SDL_PollEvent(&event) == 1) {
        Key key = Key::kNone;
        if (event.type == SDL_QUIT) key = Key::kQuit;
        if (event.type == SDL_TEXTINPUT) key = keyOfCharacter(event.text.text[0]);
        if (event.type == SDL_KEYDOWN) key = keyOf(event.key.keysym.sym);
        if (event.type == SDL_KEYDOWN && event.key.keysym.sym == SDLK_ESCAPE && fullScreen_) key = Key::kFullScreen;
        if (event.type == SDL_WINDOWEVENT) {
            sizedByHand_ = sizedByHand_ || (event.window.event == SDL_WINDOWEVENT_RESIZED && !fullScreen_ &&
                                            (event.window.data1 != shownWidth_ || event.window.data2 != shownHeight_));
            if (event.window.event == SDL_WINDOWEVENT_EXPOSED || event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED) {
                draw();
            }
        }
        if (event.type == SDL_RENDER_TARGETS_RESET || event.type == SDL_RENDER_DEVICE_RESET) texture_.reset();
        if (key != Key::kNone) keys.push_back(key);
    }
    return keys;
}

Placement placeIn(int windowWidth, int windowHeight, int pictureWidth, int pictureHeight) {
    if (pictureWidth <= 0 || pictureHeight <= 0) return {0, 0, windowWidth, windowHeight};
    const double scale =
        std::min(static_cast<double>(windowWidth) / pictureWidth, static_cast<double>(windowHeight) / pictureHeight);
    const int width = std::max(1, static_cast<int>(pictureWidth * scale + 0.5));
    const int height = std::max(1, static_cast<int>(pictureHeight * scale + 0.5));
    return {(windowWidth - width) / 2, (windowHeight - height) / 2, width, height};
}

}  // namespace vexoplay
