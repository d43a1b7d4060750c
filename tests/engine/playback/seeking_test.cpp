#include <gtest/gtest.h>

#include <thread>

#include "engine/playback/watched_player.h"

namespace test {
namespace {

using support::clip;

// numbered.mp4: 250 pictures, 40 ms each, a key frame every 50, with sound.
constexpr int kExact = 0;
constexpr int kKeyFrame = 1;

struct SeekCase {
    int positionMs;
    int mode;
    int picture;
};
constexpr SeekCase kSeeks[] = {
    {0, kExact, 0},       {39, kExact, 0},       {40, kExact, 1},        {1999, kExact, 49},     {2000, kExact, 50},
    {7340, kExact, 183},  {9999, kExact, 249},   {20000, kExact, 249},   {-5, kExact, 0},        {0, kKeyFrame, 0},
    {1999, kKeyFrame, 0}, {2000, kKeyFrame, 50}, {7340, kKeyFrame, 150}, {9999, kKeyFrame, 200}, {100, 7, 2},
};

TEST(Seeking, WhilePausedTheNewPictureIsShown) {
    WatchedPlayer player({clip("numbered.mp4")});
    ASSERT_TRUE(player.prepare());
    player->start();
    ASSERT_TRUE(player.waitForPictures(1));
    player->pause();
    for (const auto &seek : kSeeks) {
        const auto shown = player.pictures().size();
        player->seekTo(seek.positionMs, seek.mode);
        ASSERT_TRUE(player.waitForNumber(seek.picture, shown)) << seek.positionMs << " mode " << seek.mode;
        // One that was on its way when the seek came may have been shown before.
        EXPECT_LE(player.pictures().size(), shown + 2) << seek.positionMs;
    }
    EXPECT_FALSE(player->isPlaying());
}

TEST(Seeking, BeforePreparedASeekReplacesTheStart) {
    for (const auto &seek : kSeeks) {
        WatchedPlayer player({clip("numbered.mp4")}, 3000);
        player->seekTo(seek.positionMs, seek.mode);
        ASSERT_TRUE(player.prepare());
        EXPECT_TRUE(player.pictures().empty());
        player->start();
        ASSERT_TRUE(player.waitForPictures(1));
        EXPECT_EQ(player.numbers()[0], seek.picture) << seek.positionMs << " mode " << seek.mode;
    }
}

TEST(Seeking, WhilePlayingItPlaysOnFromThere) {
    WatchedPlayer player({clip("numbered.mp4")});
    player->prepareAsync();
    player->start();
    ASSERT_TRUE(player.waitForPictures(3));
    for (const auto &seek : kSeeks) {
        const auto shown = player.pictures().size();
        player->seekTo(seek.positionMs, seek.mode);
        ASSERT_TRUE(player.waitForNumber(seek.picture, shown)) << seek.positionMs << " mode " << seek.mode;
        if (seek.picture < 245) {
            ASSERT_TRUE(player.waitForNumber(seek.picture + 3, shown)) << seek.positionMs;
        }
    }
}

TEST(Seeking, StartTimeAndPositionsAreOnTheProgrammesScale) {
    WatchedPlayer player({clip("video_only.mp4"), clip("numbered.mp4"), clip("video_only.mp4")}, 3500);
    ASSERT_TRUE(player.prepare());
    EXPECT_EQ(player.positionMs(), 3500);
    EXPECT_NEAR(static_cast<double>(player.durationMs()), 12'000, 45);
    player->start();
    ASSERT_TRUE(player.waitForPictures(1));
    EXPECT_EQ(player.numbers()[0], 62);
    EXPECT_EQ(player.pictures()[0].positionUs, 3'480'000);
    player->seekTo(400, kExact);
    ASSERT_TRUE(player.waitForNumber(10, 1));
    EXPECT_EQ(player.pictures().back().width, 320);
    player->seekTo(11'900, kExact);
    ASSERT_TRUE(player.waitForEvent(1001));
    EXPECT_EQ(player.numbers().back(), 24);
}

TEST(Seeking, OfManyOnlyTheLastOneLands) {
    WatchedPlayer player({clip("numbered.mp4")});
    for (int i = 0; i < 20; ++i) player->seekTo(400 * i, kExact);
    ASSERT_TRUE(player.prepare());
    for (int i = 0; i < 20; ++i) player->seekTo(300 * i, i % 2);
    player->seekTo(6000, kExact);
    player->start();
    ASSERT_TRUE(player.waitForPictures(1));
    EXPECT_EQ(player.numbers()[0], 150);
}

TEST(Seeking, BehindTheEndItPlaysOnAndEndsAgain) {
    WatchedPlayer player({clip("h264_aac.mp4")});
    ASSERT_TRUE(player.playToEnd());
    EXPECT_FALSE(player->isPlaying());
    const auto shown = player.pictures().size();
    player->seekTo(600, kExact);
    EXPECT_TRUE(player->isPlaying());
    ASSERT_TRUE(player.waitForEvent(1001, 2));
    EXPECT_EQ(player.pictures()[shown].clipNumber, 15);
    EXPECT_EQ(player.events(), "306 1000 1017 1001 1001");
}

TEST(Seeking, AStartBehindTheLastSoundIsAnEndAndNoFailure) {
    WatchedPlayer player({clip("h264_aac.mp4"), clip("audio_only.ogg")}, 1500);
    player->seekTo(5000, kExact);
    ASSERT_TRUE(player.playToEnd()) << player.events();
    EXPECT_EQ(player.waitForEvent(1000), true);
}

TEST(Seeking, ThePositionIsThatOfTheSeekAtOnceAndStandsWhilePaused) {
    WatchedPlayer player({clip("numbered.mp4")});
    ASSERT_TRUE(player.prepare());
    player->start();
    ASSERT_TRUE(player.waitForPictures(5));
    player->pause();
    const int64_t paused = player.positionMs();
    player->seekTo(5020, kExact);
    EXPECT_EQ(player.positionMs(), 5020);
    ASSERT_TRUE(player.waitForNumber(125));
    EXPECT_EQ(player.positionMs(), 5020);
    EXPECT_LT(paused, 1000);
    EXPECT_GE(player.positionMs(1), 5020);
    player->start();
    ASSERT_TRUE(player.waitForNumber(135));
    EXPECT_GE(player.positionMs(), 5300);
}

TEST(Pausing, NothingIsShownBeforeStartAndPauseTakesAnEarlyStartBack) {
    WatchedPlayer player({clip("numbered.mp4")});
    player->prepareAsync();
    player->start();
    player->pause();
    ASSERT_TRUE(player.waitForEvent(1000));
    player->seekTo(2000, kExact);
    EXPECT_FALSE(player->isPlaying());
    // A second player's whole way is time enough for a stray picture of the first.
    const PropertyGuard untimed(oriplayer::kPropertyUntimed, "1");
    WatchedPlayer other({clip("video_only.mp4")});
    ASSERT_TRUE(other.playToEnd());
    if (player.events().find("1017") == std::string::npos) {
        EXPECT_TRUE(player.pictures().empty());
    }
    player->start();
    ASSERT_TRUE(player.waitForNumber(50));
}

TEST(Speed, TwiceAsFastTakesHalfTheTimeAndShowsTheSamePositions) {
    WatchedPlayer player({clip("numbered.mp4")}, 6000);
    ASSERT_TRUE(player.prepare());
    oriplayer::Param speed;
    speed.putDouble(4.0);
    EXPECT_EQ(player->setParameter(2104, speed, -1), 0);
    const auto begin = std::chrono::steady_clock::now();
    player->start();
    ASSERT_TRUE(player.waitForEvent(1001));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took.count(), 0.9);  // 4 s at four times the speed, less the 100 ms that the device keeps
    EXPECT_LE(took.count(), 3.9);  // at speed 1 it would take longer
    EXPECT_EQ(player.pictures().front().clipNumber, 150);
}

}  // namespace
}  // namespace test
