// pictures FILE|URL IMAGE.pgm: counts the pictures of a source and saves the brightness of the first one as an image.
#include <atomic>
#include <cstdio>
#include <fstream>
#include <future>
#include <string>

#include "interface/vexo_media_source.h"
#include "interface/vexo_player.h"

using namespace VexoPlayerNS;

class Camera : public IVexoPlayerCallback {
public:
    explicit Camera(std::string image) : image_(std::move(image)) {}
    std::future<bool> end() { return end_.get_future(); }
    int pictures() const { return pictures_; }

    void onPlayEvent(int, int code, std::string, VexoParams) override {
        const bool failed = code >= 501 && code <= 504;
        if ((code == 1001 || failed) && !finished_.exchange(true)) end_.set_value(!failed);
    }

    // Called when a picture is due, so it must return soon. The planes belong to the decoder and are valid during the
    // call.
    void onVideoFrame(void **planes, int, int, int, int, int width, int height, VexoParams params) override {
        const int *stride = nonstd::any_cast<int>(&params["y_stride"]);
        if (pictures_++ == 0 && stride) save(static_cast<const char *>(planes[0]), *stride, width, height);
    }

private:
    // Rows may be followed by padding: each row begins `stride` bytes after the one before.
    void save(const char *luma, int stride, int width, int height) {
        std::ofstream file(image_, std::ios::binary);
        file << "P5\n" << width << ' ' << height << "\n255\n";
        for (int row = 0; row < height; ++row) file.write(luma + std::ptrdiff_t{row} * stride, width);
    }

    const std::string image_;
    std::promise<bool> end_;
    std::atomic<bool> finished_{false};
    std::atomic<int> pictures_{0};
};

int main(int count, char **arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: pictures FILE|URL IMAGE.pgm\n");
        return 1;
    }
    auto camera = std::make_shared<Camera>(arguments[2]);  // shared: the player keeps it as long as it needs it
    auto end = camera->end();
    auto player = IVexoPlayer::create(camera, {});  // the picture pipeline is on by default
    player->setMediaSource(IVexoMediaSource::create(arguments[1]));
    player->prepareAsync();
    player->start();

    const bool good = end.get();
    player.reset();
    std::printf("%d pictures, the first in %s\n", camera->pictures(), arguments[2]);
    return good ? 0 : 2;
}
