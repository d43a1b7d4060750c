// embed FILE|URL: plays one source and prints its events and the number of its pictures.
#include <atomic>
#include <cstdio>
#include <future>
#include <string>

#include "base/oriplayer/param.h"
#include "interface/vexo_media_source.h"
#include "interface/vexo_player.h"

using namespace VexoPlayerNS;

// The player calls this on threads of its own. The object must outlive the player.
class Viewer : public IVexoPlayerCallback {
public:
    std::future<int> end() { return end_.get_future(); }
    int pictures() const { return pictures_; }

    void onPlayEvent(int sid, int code, std::string, VexoParams params) override {
        std::printf("event %d of bound %06x\n", code, static_cast<unsigned>(sid));
        if (code == 1001) finish(0);
        if (code >= 501 && code <= 504) {  // playback has failed; 505, no sound device, is only a warning
            const auto *details = nonstd::any_cast<oriplayer::Param>(&params["1"]);
            const int number = details ? details->getInt32(-1) : 0;
            const char *text = details ? details->getCString(-1) : nullptr;
            std::printf("error %d: %s\n", number, text ? text : "no details");
            finish(code);
        }
    }

    // 8-bit I420: planes[0] is Y, planes[1] U, planes[2] V, and params holds their strides. Copy what you keep.
    void onVideoFrame(void **planes, int, int, int, int, int width, int height, VexoParams params) override {
        const int *stride = nonstd::any_cast<int>(&params["y_stride"]);
        if (pictures_++ == 0 && planes[0] && stride) std::printf("%d x %d, rows of %d bytes\n", width, height, *stride);
    }

private:
    void finish(int result) {
        if (!finished_.exchange(true)) end_.set_value(result);
    }

    std::promise<int> end_;
    std::atomic<bool> finished_{false};
    std::atomic<int> pictures_{0};
};

int main(int count, char **arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: embed FILE|URL\n");
        return 1;
    }
    Viewer viewer;
    std::future<int> end = viewer.end();
    auto player = IVexoPlayer::create(&viewer, {{kAudioVolume, 0.8f}});
    player->setMediaSource(IVexoMediaSource::create(arguments[1]));
    player->prepareAsync();
    player->start();

    const int result = end.get();
    player.reset();  // after this line no callback runs
    std::printf("%d pictures\n", viewer.pictures());
    return result == 0 ? 0 : 2;
}
