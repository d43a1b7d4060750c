#include <SDL.h>
#include <gmock/gmock.h>

#include <utility>

#include "engine/playback/watched_player.h"
#include "support/eventually.h"
#include "support/x_server.h"

// Behind all others: its macros have names that others use.
#include <X11/Xlib.h>

using oriplayer::Param;
using support::Screenshot;
using test::PropertyGuard;
using test::WatchedPlayer;

namespace {

// A window of the test's own in the upper left corner of an X server's screen.
class SurfaceWindow : public testing::Test {
protected:
    void SetUp() override {
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
    // The server stops last: libX11 ends a process whose connection breaks, and the drawing thread has connections.
    void TearDown() override {
        if (!display_) return;
        destroyWindow();
        EXPECT_TRUE(support::eventually([] { return !draws(); }));
        XCloseDisplay(display_);
    }
    static bool draws() {
        const auto isDrawing = [](const std::filesystem::directory_entry &task) {
            std::string name;
            std::getline(std::ifstream(task.path() / "comm"), name);
            return name == "ori-surface";
        };
        const std::filesystem::directory_iterator tasks("/proc/self/task");
        return std::any_of(begin(tasks), end(tasks), isDrawing);
    }
    void destroyWindow() {
        if (window_ != 0) XDestroyWindow(display_, std::exchange(window_, 0));
        XSync(display_, False);
    }

    void *handle() const { return reinterpret_cast<void *>(window_); }
    // A player that draws into the window for as long as it lives.
    std::unique_ptr<WatchedPlayer> playHere() const {
        auto player = std::make_unique<WatchedPlayer>(std::vector<std::string>{kColours});
        giveWindow(*player, handle());
        player->play();
        return player;
    }
    static void giveWindow(WatchedPlayer &player, void *handle) {
        player->setVideoPipeline(nullptr);
        player->setVideoSurface(handle, false, 0);
    }

    // True as soon as that is what stands on the screen: "x,y WxH" of both colours.
    testing::AssertionResult shows(const std::string &expected) const {
        std::string seen;
        const bool right = support::eventually([&] {
            const auto shot = server_.screenshot();
            if (shot) seen = "red " + boxOf(*shot, {255, 0, 0}) + ", blue " + boxOf(*shot, {0, 0, 255});
            return seen == expected;
        });
        return (right ? testing::AssertionSuccess() : testing::AssertionFailure()) << seen;
    }
    // In steps of ten pixels: the edges are soft.
    static std::string boxOf(const Screenshot &shot, std::array<int, 3> colour) {
        const Screenshot::Area area = shot.find(colour);
        const auto round = [](int value) { return std::to_string((value + 5) / 10 * 10); };
        if (area.count == 0) return "none";
        return round(area.left) + "," + round(area.top) + " " + round(area.width()) + "x" + round(area.height());
    }

    // Halves of red and blue, 160 x 240 pixels that are twice as wide as high.
    static inline const std::string kColours = support::clip("colours_bt601_tv.mkv");
    static constexpr const char *kUpright = "red 0,50 200x300, blue 200,50 200x300";

    support::XServer server_;
    Display *display_ = nullptr;
    ::Window window_ = 0;
};

TEST_F(SurfaceWindow, ThePictureStandsThereAsItIsToLie) {
    const auto player = playHere();
    EXPECT_TRUE(shows(kUpright));
    const auto set = [&](int number, const std::vector<int> &values, const void *pointer = nullptr) {
        Param param;
        for (const int value : values) param.putInt32(value);
        if (pointer) param.putPointer(pointer);
        return (*player)->setParameter(number, param, -1);
    };
    const float quarterLeft[] = {0, 1, 0, -1, 0, 0, 0, 0, 1};  // x goes up
    const float mirrored[] = {-1, 0, 0, 1};
    EXPECT_EQ(set(2006, {90}), 0);
    EXPECT_TRUE(shows("red 50,0 300x200, blue 50,200 300x200"));
    EXPECT_EQ(set(2006, {2}), 0);
    EXPECT_TRUE(shows("red 200,50 200x300, blue 0,50 200x300"));
    EXPECT_EQ(set(2006, {0}) + set(2004, {9, 0}, quarterLeft), 0);
    EXPECT_TRUE(shows("red 50,200 300x200, blue 50,0 300x200"));
    EXPECT_EQ(set(2004, {4, 0}, mirrored), 0);
    EXPECT_TRUE(shows("red 200,50 200x300, blue 0,50 200x300"));
    EXPECT_EQ(set(2004, {0, 0}) + set(2008, {200, 200}), 0);
    EXPECT_TRUE(shows("red 0,30 100x150, blue 100,30 100x150"));
    EXPECT_EQ(set(2008, {0, 0}), 0);
    XResizeWindow(display_, window_, 600, 300);
    XSync(display_, False);
    EXPECT_TRUE(shows("red 100,0 200x300, blue 300,0 200x300"));
    (*player)->pause();
    EXPECT_EQ(set(2006, {180}), 0) << "also while paused";
    EXPECT_TRUE(shows("red 300,0 200x300, blue 100,0 200x300"));
    EXPECT_EQ(set(2006, {45}), -1);
    EXPECT_EQ(set(2004, {5, 0}, mirrored), -1);
    EXPECT_EQ(set(2008, {-1, 3}), -1);
}

TEST_F(SurfaceWindow, TheNextPlayerDrawsIntoTheSame_AndOneThatWantsNoneDoesNot) {
    playHere();
    XClearWindow(display_, window_);
    XSync(display_, False);
    const auto next = playHere();
    EXPECT_TRUE(shows(kUpright));
    (*next)->stop(true);
    XClearWindow(display_, window_);
    XSync(display_, False);
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    WatchedPlayer unwanted({kColours}, 0, {{"no_need_surface", "1"}});
    giveWindow(unwanted, handle());
    ASSERT_TRUE(unwanted.playToEnd());
    EXPECT_EQ(boxOf(*server_.screenshot(), {255, 0, 0}), "none");
}

TEST_F(SurfaceWindow, ThatGoes_IsTold_AndPlayingGoesOn) {
    const auto player = playHere();
    ASSERT_TRUE(shows(kUpright));
    void *const gone = handle();
    destroyWindow();
    EXPECT_TRUE(support::eventually([&] { return player->ear->lines > 0; }));
    (*player)->seekTo(19'500, 0);
    EXPECT_TRUE(player->waitForEvent(1001));
    WatchedPlayer late({support::clip("video_only.mp4")});
    giveWindow(late, gone);
    EXPECT_TRUE(late.playToEnd());
    EXPECT_GT(late.ear->lines, 0);
}

TEST_F(SurfaceWindow, WithoutADisplay_PlayingGoesOn) {
    setenv("DISPLAY", ":4711", 1);
    WatchedPlayer player({support::clip("video_only.mp4")});
    giveWindow(player, handle());
    EXPECT_TRUE(player.playToEnd());
    EXPECT_GT(player.ear->lines, 0);
}

}  // namespace
