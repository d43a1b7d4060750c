#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <thread>

#include "engine/playback/watched_player.h"

namespace test {
namespace {

using support::clip;

int threadsOfThisProcess() {
    int count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/task")) ++count;
    return count;
}

TEST(Reentrance, CommandsFromInsideEveryCallbackAreCarriedOut) {
    WatchedPlayer player({clip("numbered.mp4")});
    player.ear->onEvent = [&](int event) {
        if (event == 1000) player->start();
        if (event == 1017) player->seekTo(4000, 0);
        if (event == 1001) player->seekTo(9000, 1);
    };
    player.screen->onPicture = [&](const ShownPicture &picture) {
        if (picture.clipNumber == 101) player->pause();
        if (picture.clipNumber == 101) player->seekTo(9800, 0);
        if (picture.clipNumber == 245) player->start();
        if (picture.clipNumber == 201) player->stop(true);
    };
    player->prepareAsync();
    ASSERT_TRUE(player.waitForNumber(245));
    ASSERT_TRUE(player.waitForEvent(1001));
    ASSERT_TRUE(player.record->wait([&] { return player.record->closed == 1; }));
    EXPECT_EQ(player->start(), -1);
    EXPECT_EQ(player.numbers().back(), 201);
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

TEST(Reentrance, StopFromTwoCallbacksAndTwoThreadsAtOnce) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    WatchedPlayer player({clip("numbered.mp4")});
    player.ear->onEvent = [&](int event) {
        if (event == 1017) player->stop(true);
    };
    player.screen->onPicture = [&](const ShownPicture &picture) {
        if (picture.clipNumber == 1) player->stop(true);
    };
    player->prepareAsync();
    player->start();
    ASSERT_TRUE(player.waitForPictures(1));
    std::thread first([&] { player->stop(true); });
    std::thread second([&] { player->stop(true); });
    first.join();
    second.join();
    const auto shown = player.pictures().size();
    const std::string events = player.events();
    player->seekTo(0, 0);
    EXPECT_EQ(player->start(), -1);
    EXPECT_EQ(player.pictures().size(), shown);
    EXPECT_EQ(player.events(), events);
}

TEST(Listening, WithoutAListenerOrAPipelineItPlaysAllTheSame) {
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    WatchedPlayer player({clip("video_only.mp4")});
    player->setVideoPipeline(nullptr);
    ASSERT_TRUE(player.playToEnd());
    EXPECT_EQ(player.parameter(2019).getInt32(12), 25);
    EXPECT_TRUE(player.pictures().empty());

    WatchedPlayer deaf({clip("video_only.mp4")});
    deaf->setListener(nullptr);
    deaf->prepareAsync();
    deaf->start();
    ASSERT_TRUE(deaf.waitForPictures(25));
    deaf->stop(true);
    EXPECT_EQ(deaf.events(), "");
}

TEST(Life, RandomCommandsAtRandomMomentsLeaveNothingBehind) {
    std::mt19937 random(20261122);
    const auto upTo = [&random](int most) { return static_cast<int>(random() % static_cast<unsigned>(most)); };
    const std::vector<std::string> names{"h264_aac.mp4", "audio_only.ogg", "vp9_opus.webm", "numbered.mp4"};
    const auto round = [&] {
        WatchedPlayer player({clip(names[random() % names.size()]), clip(names[random() % names.size()])}, upTo(1500));
        const int commands = upTo(12);
        player->prepareAsync();
        for (int i = 0; i < commands; ++i) {
            switch (upTo(6)) {
                case 0:
                    player->start();
                    break;
                case 1:
                    player->pause();
                    break;
                case 2:
                    player->seekTo(upTo(3000), upTo(2));
                    break;
                case 3:
                    player->setLooping(upTo(2) == 0);
                    break;
                case 4:
                    player.waitForEvent(1000);
                    break;
                default:
                    std::this_thread::yield();
                    break;
            }
            EXPECT_GE(player.positionMs(), 0);
        }
    };
    for (int i = 0; i < 10; ++i) round();
    const int before = threadsOfThisProcess();
    for (int i = 0; i < 40; ++i) round();
    // A thread that has said its last word takes a moment to be gone.
    for (int i = 0; i < 1000 && threadsOfThisProcess() > before; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_LE(threadsOfThisProcess(), before);
}

}  // namespace
}  // namespace test
