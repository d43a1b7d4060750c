#include "interface/vexo_player.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "base/oriplayer/module.h"
#include "support/clips.h"

namespace {

using namespace VexoPlayerNS;
using support::clip;

/// Counts the ends and the pictures that it is told of, and waits for at most 30 s.
class Application : public IVexoPlayerCallback {
public:
    void onPlayEvent(int, int code, std::string, VexoParams) override {
        if (code != 1001) return;
        if (onEnd) onEnd();
        const std::lock_guard lock(mutex_);
        ++ends_;
        changed_.notify_all();
    }
    void onVideoFrame(void **planes, int, int, int, int, int width, int height, VexoParams params) override {
        const int stride = nonstd::any_cast<int>(params["y_stride"]);
        const int number = support::pictureNumber(static_cast<const uint8_t *>(planes[0]), stride);
        right += number == pictures++ % 25 && width == 320 && height == 180;
    }
    bool waitForEnds(int ends) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return ends_ == ends; });
    }

    std::function<void()> onEnd;
    std::atomic<int> pictures{0};
    std::atomic<int> right{0};  ///< those that hold the next number, of clips of 25, and have the right size

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int ends_ = 0;
};

struct Facade : testing::Test {
    Facade() { oriplayer::setProperty(oriplayer::kPropertyUntimed, "1"); }
    ~Facade() override {
        player.reset();
        oriplayer::setProperty(oriplayer::kPropertyUntimed, nullptr);
    }
    void play(std::shared_ptr<IVexoMediaSource> source) {
        player->setMediaSource(std::move(source));
        player->prepareAsync();
        player->start();
    }

    Application application;
    std::shared_ptr<IVexoPlayer> player = IVexoPlayer::create(&application, {});
};

TEST_F(Facade, TheEndsHandlerStartsTheNextSource_EveryPictureReachesTheApplication) {
    std::vector<std::string> list = {"bframes.mkv", "mpeg2_mp2.ts", "vp9_opus.webm", "h264_aac.mp4"};
    const auto playNext = [&] {
        if (list.empty()) return;
        const std::string next = list.back();
        list.pop_back();
        play(IVexoMediaSource::create(clip(next)));  // its end may call this again at once, on another thread
    };
    application.onEnd = playNext;
    playNext();
    ASSERT_TRUE(application.waitForEnds(4));
    EXPECT_EQ(application.pictures, 100);
    EXPECT_EQ(application.right, 100);
}

}  // namespace
