#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <optional>

#include "running_program.h"
#include "support/clips.h"
#include "support/x_server.h"

namespace apps {
namespace {

using support::Screenshot;

class Window : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(server_.display(), "");
        setting_.display = server_.display();
    }

    std::optional<Screenshot> screenshot() const { return server_.screenshot(); }

    support::XServer server_;
    Setting setting_;
};

TEST_F(Window, ThePictureStandsThereInItsColoursAndItsAspect) {
    // SDL has no matrix for BT.709 of the full range (see Window); the others are exact.
    for (const char *clip : {"colours_bt601_tv.mkv", "colours_bt709_tv.mkv", "colours_bt601_pc.mkv"}) {
        RunningProgram program({support::clip(clip)}, setting_);
        Screenshot::Area red;
        Screenshot::Area blue;
        // Looked at until it is right: a picture may be half drawn in any one look.
        EXPECT_TRUE(program.waitUntil([&] {
            const auto shot = screenshot();
            if (shot) red = shot->find({255, 0, 0}), blue = shot->find({0, 0, 255});
            const int width = red.width() + blue.width();  // the edge between them is soft
            return red.count > 30'000 && blue.count > 30'000 && std::abs(width - 320) <= 6 && red.height() == 240 &&
                   blue.height() == 240 && red.right < blue.left;
        })) << clip
            << ": red " << red.width() << "x" << red.height() << ", blue " << blue.width() << "x" << blue.height()
            << program.err();
        program.signal(SIGINT);
        EXPECT_EQ(program.finish().code, 4);
    }
}

TEST_F(Window, TwoPicturesOfAFilmDiffer) {
    RunningProgram program({support::clip("numbered.mp4")}, setting_);
    std::optional<Screenshot> first;
    ASSERT_TRUE(program.waitUntil([&] {
        first = screenshot();
        return first && first->find({255, 255, 255}).count > 100;
    })) << program.err();
    EXPECT_TRUE(program.waitUntil([&] {
        const auto next = screenshot();
        return next && next->pixels != first->pixels;
    }));
}

TEST_F(Window, WithoutADisplayItPlaysAndSaysSo) {
    const Outcome outcome = run({"--untimed", support::clip("video_only.mp4")});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.err, testing::HasSubstr("playing without a window"));
}

}  // namespace
}  // namespace apps
