#include <SDL.h>
#include <gmock/gmock.h>

#include <chrono>
#include <thread>
#include <utility>

#include "engine/playback/watched_player.h"
#include "support/x_server.h"

// Behind all others: its macros have names that others use.
#include <X11/Xlib.h>

using oriplayer::Param;
using support::Screenshot;
using test::WatchedPlayer;

namespace {

// A window of the test's own in the upper left corner of an X server's screen.
class SurfaceWindow : public testing::Test {
protected:
    void SetUp() override {
        if (std::system("command -v Xvfb >/dev/null") != 0) GTEST_SKIP() << "no Xvfb here";
        ASSERT_NE(server_.display(), "");
        setenv("DISPLAY", server_.display().c_str(), 1);
        setenv("SDL_RENDER_DRIVER", "software", 1);  // Mesa would be loaded by either
        setenv("SDL_FRAMEBUFFER_ACCELERATION", "0", 1);
        display_ = XOpenDisplay(nullptr);
        ASSERT_TRUE(display_);
        window_ = XCreateSimpleWindow(display_, DefaultRootWindow(display_), 0, 0, 400, 400, 0, 0, 0x00FF00);
        XMapWindow(display_, window_);
        XSync(display_, False);
    }
    // The window goes before its server, and what draws there with it: an X client ends with its server.
    void TearDown() override {
        if (!display_) return;
        destroyWindow();
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (SDL_WasInit(SDL_INIT_VIDEO) != 0 && std::chrono::steady_clock::now() < until) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        XCloseDisplay(display_);
    }
    void destroyWindow() {
        if (window_ != 0) XDestroyWindow(display_, std::exchange(window_, 0));
        XSync(display_, False);
    }

    // Halves of red and blue, 160 x 240 pixels that are twice as wide as high.
    std::string colourClip() const {
        const std::string path = server_.folder() / "colours.mkv";
        const std::string command =
            "ffmpeg -nostdin -v error -y -f lavfi -i color=red:s=80x240:r=25:d=2,format=rgb24 "
            "-f lavfi -i color=blue:s=80x240:r=25:d=2,format=rgb24 -filter_complex "
            "\"hstack,scale=out_color_matrix=bt601:out_range=tv,format=yuv420p,setsar=2\" -c:v libx264 -preset "
            "ultrafast "
            "-colorspace smpte170m -color_range tv \"" +
            path + "\"";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return path;
    }
    void *handle() const { return reinterpret_cast<void *>(window_); }
    // A player that draws into the window for as long as it lives.
    std::unique_ptr<WatchedPlayer> playHere(const std::string &clip) const {
        auto player = std::make_unique<WatchedPlayer>(std::vector<std::string>{clip});
        (*player)->setVideoPipeline(nullptr);
        (*player)->setVideoSurface(handle(), false, 0);
        (*player)->setLooping(true);
        (*player)->prepareAsync();
        (*player)->start();
        return player;
    }

    // Lines are told without an event.
    static bool told(const WatchedPlayer &player) {
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (player.ear->lines == 0 && std::chrono::steady_clock::now() < until) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return player.ear->lines > 0;
    }

    // "x,y WxH" of both colours, as soon as that is what stands on the screen; else what stood there last.
    std::string seen(const std::string &expected) const {
        std::string text;
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (text != expected && std::chrono::steady_clock::now() < until) {
            if (const auto shot = server_.screenshot()) {
                text = "red " + boxOf(*shot, {255, 0, 0}) + ", blue " + boxOf(*shot, {0, 0, 255});
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return text;
    }
    // In steps of ten pixels: the edges are soft.
    static std::string boxOf(const Screenshot &shot, std::array<int, 3> colour) {
        const Screenshot::Area area = shot.find(colour);
        const auto round = [](int value) { return std::to_string((value + 5) / 10 * 10); };
        if (area.count == 0) return "none";
        return round(area.left) + "," + round(area.top) + " " + round(area.width()) + "x" + round(area.height());
    }

    support::XServer server_;
    Display *display_ = nullptr;
    ::Window window_ = 0;
};

TEST_F(SurfaceWindow, ThePictureStandsThereAsItIsToLie) {
    const auto player = playHere(colourClip());
    EXPECT_EQ(seen("red 0,50 200x300, blue 200,50 200x300"), "red 0,50 200x300, blue 200,50 200x300");
    const auto set = [&](int number, const std::vector<int> &values, const void *pointer = nullptr) {
        Param param;
        for (const int value : values) param.putInt32(value);
        if (pointer) param.putPointer(pointer);
        return (*player)->setParameter(number, param, -1);
    };
    struct Case {
        std::function<int()> change;
        std::string expected;
    };
    const float quarterLeft[] = {0, 1, 0, -1, 0, 0, 0, 0, 1};  // x goes up
    const float mirrored[] = {-1, 0, 0, 1};
    const Case cases[] = {
        {[&] { return set(2006, {90}); }, "red 50,0 300x200, blue 50,200 300x200"},
        {[&] { return set(2006, {2}); }, "red 200,50 200x300, blue 0,50 200x300"},
        {[&] {
             return set(2006, {0}) + set(2004, {9, 0}, quarterLeft);
         },
         "red 50,200 300x200, blue 50,0 300x200"},
        {[&] {
             return set(2004, {4, 0}, mirrored);
         },
         "red 200,50 200x300, blue 0,50 200x300"},
        {[&] {
             return set(2004, {0, 0}) + set(2008, {200, 200});
         },
         "red 0,30 100x150, blue 100,30 100x150"},
        {[&] {
             return set(2008, {0, 0}) + XResizeWindow(display_, window_, 600, 300) + XSync(display_, False) - 2;
         },
         "red 100,0 200x300, blue 300,0 200x300"},
    };
    for (const Case &one : cases) {
        EXPECT_EQ(one.change(), 0);
        EXPECT_EQ(seen(one.expected), one.expected);
    }
    (*player)->pause();
    EXPECT_EQ(set(2006, {180}), 0) << "also while paused";
    EXPECT_EQ(seen("red 300,0 200x300, blue 100,0 200x300"), "red 300,0 200x300, blue 100,0 200x300");
    EXPECT_EQ(set(2006, {45}), -1);
    EXPECT_EQ(set(2004, {5, 0}, mirrored), -1);
    EXPECT_EQ(set(2008, {-1, 3}), -1);
}

TEST_F(SurfaceWindow, TheNextPlayerDrawsIntoTheSame_AndOneThatWantsNoneDoesNot) {
    const std::string clip = colourClip();
    playHere(clip);
    XClearWindow(display_, window_);
    XSync(display_, False);
    const auto next = playHere(clip);
    EXPECT_EQ(seen("red 0,50 200x300, blue 200,50 200x300"), "red 0,50 200x300, blue 200,50 200x300");
    (*next)->stop(true);
    XClearWindow(display_, window_);
    XSync(display_, False);
    WatchedPlayer unwanted({clip}, 0, {{"no_need_surface", "1"}});
    unwanted->setVideoPipeline(nullptr);
    unwanted->setVideoSurface(handle(), false, 0);
    ASSERT_TRUE(unwanted.playToEnd());
    EXPECT_EQ(boxOf(*server_.screenshot(), {255, 0, 0}), "none");
}

TEST_F(SurfaceWindow, ThatGoes_IsTold_AndPlayingGoesOn) {
    const auto player = playHere(colourClip());
    const std::string there = "red 0,50 200x300, blue 200,50 200x300";
    ASSERT_EQ(seen(there), there);
    void *const gone = handle();
    destroyWindow();
    EXPECT_TRUE(told(*player));
    WatchedPlayer late({support::clip("video_only.mp4")});
    late->setVideoPipeline(nullptr);
    late->setVideoSurface(gone, false, 0);
    EXPECT_TRUE(late.playToEnd());
    EXPECT_GT(late.ear->lines, 0);
    (*player)->setLooping(false);
    EXPECT_TRUE(player->waitForEvent(1001));
}

TEST_F(SurfaceWindow, WithoutADisplay_PlayingGoesOn) {
    setenv("DISPLAY", ":4711", 1);
    WatchedPlayer player({support::clip("video_only.mp4")});
    player->setVideoPipeline(nullptr);
    player->setVideoSurface(handle(), false, 0);
    EXPECT_TRUE(player.playToEnd());
    EXPECT_GT(player.ear->lines, 0);
}

}  // namespace
