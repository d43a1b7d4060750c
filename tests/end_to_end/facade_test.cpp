#include "interface/vexo_player.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "base/oriplayer/module.h"
#include "support/clips.h"

namespace {

using namespace VexoPlayerNS;
using support::clip;
using support::expected;

/// An application with hooks; it counts what it is told and waits for at most 30 s.
class Application : public IVexoPlayerCallback {
public:
    void onPlayEvent(int, int code, std::string, VexoParams) override {
        if (onEvent) onEvent(code);
        const std::lock_guard lock(mutex_);
        if (code == 1001) ++ends_;
        if (code == 1000) ++prepared_;
        changed_.notify_all();
    }
    void onVideoFrame(void **planes, int, int, int, int, int width, int height, VexoParams params) override {
        const int stride = nonstd::any_cast<int>(params["y_stride"]);
        const int number = support::pictureNumber(static_cast<const uint8_t *>(planes[0]), stride);
        if (onPicture) onPicture(number);
        const std::lock_guard lock(mutex_);
        ++pictures_;
        sizeRight_ = sizeRight_ && width == 320 && height == 180;
        changed_.notify_all();
    }
    bool wait(const std::function<bool(int prepared, int ends, int pictures)> &holds) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return holds(prepared_, ends_, pictures_); });
    }
    int pictures() {
        const std::lock_guard lock(mutex_);
        return pictures_;
    }
    bool sizeRight() {
        const std::lock_guard lock(mutex_);
        return sizeRight_;
    }

    std::function<void(int code)> onEvent;
    std::function<void(int number)> onPicture;

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int prepared_ = 0;
    int ends_ = 0;
    int pictures_ = 0;
    bool sizeRight_ = true;
};

struct Facade : testing::Test {
    Facade() { oriplayer::setProperty(oriplayer::kPropertyUntimed, "1"); }
    ~Facade() override {
        player.reset();
        oriplayer::setProperty(oriplayer::kPropertyUntimed, nullptr);
    }
    void play(const std::string &name) {
        player->setMediaSource(IVexoMediaSource::create(clip(name)));
        player->prepareAsync();
        player->start();
    }

    Application application;
    std::shared_ptr<IVexoPlayer> player = IVexoPlayer::create(&application, {});
};

TEST_F(Facade, EveryPictureReachesTheApplication) {
    play("h264_aac.mp4");
    ASSERT_TRUE(application.wait([](int, int ends, int) { return ends == 1; }));
    EXPECT_EQ(application.pictures(), expected("h264_aac.mp4").pictures);
    EXPECT_TRUE(application.sizeRight());
}

TEST_F(Facade, ASourceOfOptionsPlaysFromTheServerThatTheyName) {
    const std::string clips = clip("mpeg2_mp2.ts").substr(0, clip("mpeg2_mp2.ts").rfind('/'));
    std::atomic<int> foreign{0};
    httplib::Server server;
    server.set_mount_point("/live", clips);
    server.set_logger([&](const httplib::Request &request, const httplib::Response &) {
        const bool first = request.path == "/live/mpeg2_mp2.ts" || request.path == "/live/list";
        const bool right = request.get_header_value("Host") == "live.example" &&
                           (!first || request.get_param_value("token") == "secret");
        if (!right) ++foreign;
    });
    server.Get("/live/list", [](const httplib::Request &, httplib::Response &response) {
        response.set_content(
            "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nmpeg2_mp2.ts?token=secret\n#EXT-X-ENDLIST\n", "text/plain");
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    std::thread thread([&] { server.listen_after_bind(); });
    while (!server.is_running()) std::this_thread::yield();
    int ends = 0;
    for (const auto &[stream, list] : {std::pair("live/mpeg2_mp2.ts", "0"), std::pair("live/list", "1")}) {
        player->setMediaSource(IVexoMediaSource::create(VexoParams{{kQzrtpDownloadIp, std::string("127.0.0.1")},
                                                                   {kQzrtpDownloadHost, std::string("live.example")},
                                                                   {kQzrtpDownloadHttpPort, port},
                                                                   {kQzrtpDownloadStreamId, std::string(stream)},
                                                                   {kQzrtpDownloadToken, std::string("secret")},
                                                                   {kQzrtpEnablePlaylist, std::string(list)}}));
        player->prepareAsync();
        player->start();
        ++ends;
        EXPECT_TRUE(application.wait([&](int, int ended, int) { return ended == ends; })) << stream;
    }
    EXPECT_EQ(application.pictures(), 50);
    EXPECT_EQ(foreign, 0);
    player->stop();
    server.stop();
    thread.join();
}

TEST_F(Facade, TheEndsHandlerStartsTheNextSource) {
    const std::vector<std::string> list = {"h264_aac.mp4", "vp9_opus.webm", "mpeg2_mp2.ts", "bframes.mkv"};
    std::size_t next = 1;
    application.onEvent = [&](int code) {
        if (code == 1001 && next < list.size()) play(list[next++]);
    };
    play(list[0]);
    ASSERT_TRUE(application.wait([](int, int ends, int) { return ends == 4; }));
    EXPECT_EQ(application.pictures(), 100);
}

TEST_F(Facade, StopAndStartInCallbacksReturnAtOnce) {
    std::atomic<int> rounds{0};
    application.onPicture = [&](int number) {
        if (number != 3 || ++rounds > 3) return;
        player->stop();
        player->prepareAsync();
        player->start();
    };
    application.onEvent = [&](int code) {
        if (code == 1017) player->start();
    };
    play("h264_aac.mp4");
    ASSERT_TRUE(application.wait([](int, int, int pictures) { return pictures > 3; }));
    player->stop();  // waits for what the callbacks asked for
    player.reset();
    EXPECT_GE(rounds, 1);
}

/// An application that drops its player in the callback of one event, or of a picture (0). A callback on another thread
/// may run a little longer than the drop: these live as long as the process.
struct Dropper {
    explicit Dropper(int code) {
        application.onEvent = [this, code](int told) {
            if (told == code) drop();
        };
        application.onPicture = [this, code](int) {
            if (code == 0) drop();
        };
    }
    static Dropper &make(int code) {
        static auto *const all = new std::vector<std::unique_ptr<Dropper>>;
        return *all->emplace_back(std::make_unique<Dropper>(code));
    }
    void drop() {
        const std::lock_guard lock(mutex);
        if (player) gone = player;
        player.reset();
    }
    /// Dropped, and destroyed by whatever thread does that.
    bool isGone() {
        const std::lock_guard lock(mutex);
        return !player && gone.expired();
    }

    Application application;
    std::mutex mutex;
    std::shared_ptr<IVexoPlayer> player;
    std::weak_ptr<IVexoPlayer> gone;
};

TEST_F(Facade, TheLastReferenceMayGoInAnyCallback) {
    player.reset();  // pictures go to the earliest player
    for (const int code : {1000, 1017, 1001, 0}) {
        Dropper &last = Dropper::make(code);
        {
            const std::lock_guard lock(last.mutex);
            last.player = IVexoPlayer::create(&last.application, {});
            last.player->setMediaSource(IVexoMediaSource::create(clip("h264_aac.mp4")));
            last.player->prepareAsync();
            last.player->start();
        }
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!last.isGone() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
        EXPECT_TRUE(last.isGone()) << code;
    }
}

}  // namespace
