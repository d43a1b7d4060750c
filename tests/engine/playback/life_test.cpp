#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <thread>
#include <utility>

#include "engine/playback/watched_player.h"
#include "support/eventually.h"

namespace test {
namespace {

using support::clip;

int threadsOfThisProcess() {
    int count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/task")) ++count;
    return count;
}

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

TEST(Life, RandomCommandsAtRandomMomentsLeaveNothingBehind) {
    std::mt19937 random(20261122);
    const auto upTo = [&random](int most) { return static_cast<int>(random() % static_cast<unsigned>(most)); };
    const std::vector<std::string> names{"h264_aac.mp4", "audio_only.ogg", "vp9_opus.webm", "numbered.mp4"};
    const auto round = [&] {
        WatchedPlayer player({clip(names[random() % names.size()]), clip(names[random() % names.size()])}, upTo(1500));
        const std::function<void()> commands[] = {[&] { player->start(); },
                                                  [&] { player->pause(); },
                                                  [&] { player->seekTo(upTo(3000), upTo(2)); },
                                                  [&] { player->setLooping(upTo(2) == 0); },
                                                  [&] { player.waitForEvent(1000); },
                                                  [] { std::this_thread::yield(); }};
        player->prepareAsync();
        for (int left = upTo(12); left > 0; --left) {
            commands[upTo(6)]();
            EXPECT_GE(player.positionMs(), 0);
        }
    };
    for (int i = 0; i < 10; ++i) round();
    const int before = threadsOfThisProcess();
    for (int i = 0; i < 40; ++i) round();
    // A thread that has said its last word takes a moment to be gone.
    EXPECT_TRUE(support::eventually([before] { return threadsOfThisProcess() <= before; }));
}

}  // namespace
}  // namespace test
