#include <gtest/gtest.h>

#include <atomic>
#include <utility>

#include "engine/playback/watched_player.h"

namespace test {
namespace {

using support::clip;

TEST(Reentrance, CommandsFromInsideEveryCallbackAreCarriedOut) {
    std::atomic<bool> ended{false};
    bool paused = false;
    WatchedPlayer player({clip("numbered.mp4")});
    player.ear->onEvent = [&](int event) {
        if (event == 1000) player->start();
        if (event == 1017) player->seekTo(4000, 0);
        if (event == 1001) {
            ended = true;
            player->seekTo(9000, 1);
        }
    };
    player.screen->onPicture = [&](const ShownPicture &picture) {
        // The first of each place: a busy machine drops single pictures.
        if (picture.clipNumber > 100 && !std::exchange(paused, true)) {
            player->pause();
            player->seekTo(9800, 0);
        }
        if (picture.clipNumber == 245) player->start();
        if (picture.clipNumber > 200 && ended) player->stop(true);
    };
    player->prepareAsync();
    ASSERT_TRUE(player.waitForNumber(245));
    ASSERT_TRUE(player.waitForEvent(1001));
    ASSERT_TRUE(player.record->wait([&] { return player.record->closed == 1; }));
    EXPECT_EQ(player->start(), -1);
    EXPECT_LT(player.numbers().back(), 245);
}

TEST(Reentrance, TheLastReferenceMayGoInsideAnyCallback) {
    for (const int event : {306, 1000, 1017, 1001}) {
        const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
        WatchedPlayer player({clip("h264_aac.mp4")});
        player.ear->onEvent = [&](int told) {
            if (told == event) player.letGo();
        };
        auto last = player.share();
        last->prepareAsync();
        last->start();
        last.reset();
        ASSERT_TRUE(player.waitForEvent(event)) << event;
    }
    WatchedPlayer player({clip("numbered.mp4")});
    player.screen->onPicture = [&](const ShownPicture &picture) {
        if (picture.clipNumber == 2) player.letGo();
    };
    auto last = player.share();
    last->prepareAsync();
    last->start();
    last.reset();
    ASSERT_TRUE(player.record->wait([&] { return player.record->closed == 1; }));
    EXPECT_EQ(player.numbers().back(), 2);
}

}  // namespace
}  // namespace test
