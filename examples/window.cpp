// window FILE|URL: plays one source in a window of the application.
#include <SDL.h>
#include <SDL_syswm.h>

#include <atomic>
#include <cstdint>
#include <cstdio>

#include "interface/vexo_media_source.h"
#include "interface/vexo_player.h"

using namespace VexoPlayerNS;

class Viewer : public IVexoPlayerCallback {
public:
    void onPlayEvent(int, int code, std::string, VexoParams) override {
        if (code == 1001 || (code >= 501 && code <= 504)) result = code;
    }
    void onVideoFrame(void **, int, int, int, int, int, int, VexoParams) override {}

    std::atomic<int> result{0};
};

int main(int count, char **arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: window FILE|URL\n");
        return 1;
    }
    if (SDL_Init(SDL_INIT_VIDEO) != 0) return 1;
    SDL_Window *window =
        SDL_CreateWindow("vexo", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, 640, 360, SDL_WINDOW_RESIZABLE);
    SDL_SysWMinfo system;
    SDL_VERSION(&system.version);
    if (!window || !SDL_GetWindowWMInfo(window, &system) || system.subsystem != SDL_SYSWM_X11) {
        std::fprintf(stderr, "no X11 window\n");
        return 1;
    }
    void *const handle = reinterpret_cast<void *>(static_cast<std::uintptr_t>(system.info.x11.window));

    Viewer viewer;
    // With the picture pipeline on, pictures would go to onVideoFrame and the window would stay empty.
    auto player = IVexoPlayer::create(&viewer, {{kVideoPipelineEnable, false}});
    player->setMediaSource(IVexoMediaSource::create(arguments[1]));
    player->setDisplay(handle);  // after each setMediaSource, which releases the window
    player->prepareAsync();
    player->start();

    bool closed = false;
    while (!closed && viewer.result == 0) {  // the player follows the size of the window
        SDL_Event event;
        closed = SDL_WaitEventTimeout(&event, 20) != 0 && event.type == SDL_QUIT;
    }
    player.reset();  // before the window is destroyed
    SDL_DestroyWindow(window);
    SDL_Quit();
    std::printf("%s\n", closed ? "closed" : viewer.result == 1001 ? "played to its end" : "failed");
    return closed || viewer.result == 1001 ? 0 : 2;
}
