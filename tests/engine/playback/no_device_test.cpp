#include <gtest/gtest.h>

#include "engine/playback/watched_player.h"

namespace test {
namespace {

// A program of its own: a device that was once opened stays open.
TEST(NoDevice, OneEventAndThePictureGoesOn) {
    setenv("SDL_AUDIODRIVER", "no-such-driver", 1);
    for (const char *name : {"h264_aac.mp4", "audio_only.ogg"}) {
        WatchedPlayer player({support::clip(name)});
        const auto begin = std::chrono::steady_clock::now();
        ASSERT_TRUE(player.playToEnd()) << player.events();
        EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900));
        const std::string events = player.events();
        EXPECT_NE(events.find("505"), std::string::npos) << name << ": " << events;
        EXPECT_EQ(events.find("505"), events.rfind("505")) << name << ": " << events;
        EXPECT_EQ(static_cast<int>(player.pictures().size()) + player.dropped(), support::expected(name).pictures);
    }
}

}  // namespace
}  // namespace test
