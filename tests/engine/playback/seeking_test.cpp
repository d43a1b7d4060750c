#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <thread>

#include "engine/playback/loopback_server.h"
#include "engine/playback/watched_player.h"
#include "playback/kept_packets.h"

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

// A film of 250 pictures, 40 ms each, a key frame every 60, two pictures of three overtaken by the third.
TEST(Seeking, WhatWasReadAheadIsNotAskedForAgain) {
    LoopbackServer server;
    WatchedPlayer player({server.url("/numbered_better.mkv")});
    ASSERT_TRUE(player.prepare());
    player->start();
    ASSERT_TRUE(player.waitForPictures(1));
    player->pause();
    ASSERT_TRUE(support::eventually([&] { return player.positionMs(1) >= 3800; }));
    const std::size_t requests = server.requests().size();
    for (const SeekCase &seek :
         {SeekCase{1400, kExact, 35}, SeekCase{2600, kKeyFrame, 60}, SeekCase{3700, kExact, 92}}) {
        const auto shown = player.pictures().size();
        player->seekTo(seek.positionMs, seek.mode);
        ASSERT_TRUE(player.waitForNumber(seek.picture, shown)) << seek.positionMs;
        EXPECT_EQ(server.requests().size(), requests) << seek.positionMs;
    }
    player->seekTo(1000, kExact);  // it is behind what is left
    ASSERT_TRUE(player.waitForNumber(25, player.pictures().size()));
    EXPECT_GT(server.requests().size(), requests);
}

// What hangs for the one before ends, long before its time-out of 8 s.
TEST(Seeking, ANewerOneDoesNotWaitForOneThatHangsInTheNetwork) {
    const auto film = std::make_shared<Film>(clipBytes("numbered_better.mkv"));
    film->limit = film->size() / 2;
    LoopbackServer server;
    server.on("/film", [film](const Connection &connection) { (*film)(connection); });
    WatchedPlayer player({server.url()});
    ASSERT_TRUE(player.prepare());
    player->start();
    ASSERT_TRUE(player.waitForPictures(1));
    player->pause();
    const std::size_t requests = server.requests().size();
    player->seekTo(8000, kExact);
    ASSERT_TRUE(server.awaitRequests(requests + 1));
    const auto begin = std::chrono::steady_clock::now();
    const auto shown = player.pictures().size();
    player->seekTo(40, kExact);
    ASSERT_TRUE(player.waitForNumber(1, shown));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
    film->limit = SIZE_MAX;
    player->seekTo(9000, kExact);
    player->start();
    ASSERT_TRUE(player.waitForEvent(1001));
    EXPECT_EQ(player.numbers().back(), 249);
}

using oriplayer::PacketQueue;
using oriplayer::SeekMode;
using oriplayer::StreamItem;

// What waits, in the order of decoding: K (key frame), R (H.264's recovery point) or P with the picture's number, 40 ms
// each; ? has no time; | another stream begins; > the decoder has not come to a seek that it goes on from; . the end.
PacketQueue::Content waiting(const std::string &text, int fed) {
    PacketQueue::Content content;
    if (fed >= 0) content.fedUs = fed * 40'000;
    std::istringstream words(text);
    int64_t decoded = INT64_MIN;
    for (std::string word; words >> word;) {
        StreamItem item;
        item.goesOn = word[0] == '>';
        if (word[0] == '>') item.kind = StreamItem::Kind::kFlush;
        if (word[0] == '|') item.kind = StreamItem::Kind::kStream;
        if (word[0] == '.') item.kind = StreamItem::Kind::kEnd;
        if (item.kind == StreamItem::Kind::kPacket) {
            item.packet.reset(av_packet_alloc());
            av_new_packet(item.packet.get(), 6);
            const uint8_t unit[6] = {0, 0, 0, 2, static_cast<uint8_t>(word[0] == 'K' ? 0x65 : 0x41), 0};
            std::copy(std::begin(unit), std::end(unit), item.packet->data);
            item.packet->flags = word[0] == 'K' || word[0] == 'R' ? AV_PKT_FLAG_KEY : 0;
            item.packet->duration = 40'000;
            const bool timed = word[0] != '?';
            if (timed) item.packet->pts = std::stoi(word.substr(1)) * 40'000;
            decoded = decoded == INT64_MIN ? item.packet->pts - 80'000 : decoded + 40'000;
            item.packet->dts = decoded;
        }
        content.items.push_back(std::move(item));
    }
    return content;
}

std::string told(const std::optional<oriplayer::KeptPackets> &kept) {
    if (!kept) return "nothing";
    std::string text = kept->goesOn ? "on" : "anew";
    for (const auto &item : kept->packets) text += " " + std::to_string(item.packet->pts / 40'000);
    return text;
}

TEST(Seeking, OfWhatWaitsThatIsKeptWhichShowsTheSame) {
    constexpr int kFresh = -1;
    const struct {
        const char *waits;
        int fed;  ///< pictures of the same stream that the decoder has got
        int target;
        SeekMode mode;
        const char *kept;
    } cases[] = {
        {"P3 P1 P2 K6 P4 P5 P9 P7 P8", 1, 6, SeekMode::kExact, "anew 6 4 5 9 7 8"},
        {"P3 P1 P2 K6 P4 P5 P9 P7 P8", 1, 5, SeekMode::kExact,
         "on 3 1 2 6 4 5 9 7 8"},                                                // leans on the picture before 6
        {"P3 P1 P2 K6 P4 P5 P9 P7 P8", 3, 2, SeekMode::kExact, "nothing"},       // decoded, perhaps
        {"P3 P1 P2 K6 P4 P5 P9 P7 P8", kFresh, 5, SeekMode::kExact, "nothing"},  // what is before was not read
        {"P3 P1 P2 K6 P4 P5 P9 P7 P8", 1, 10, SeekMode::kExact, "nothing"},
        {"P3 P1 P2 K6 P4 P5 P9 P7 P8", 1, 6, SeekMode::kKeyFrame, "anew 6 4 5 9 7 8"},
        {"P3 P1 P2 K6 P4 P5 P9", 1, 8, SeekMode::kKeyFrame, "nothing"},  // the next one may still be 8
        {"P3 P1 P2 K6 P4 P5 P9 P7 P8", 1, 5, SeekMode::kKeyFrame, "nothing"},
        {"K0 P1 K2 P3 K4 P5 .", kFresh, 3, SeekMode::kExact, "anew 2 3 4 5"},
        {"P1 R2 P3 P4", 1, 3, SeekMode::kExact, "on 1 2 3 4"},
        {"P1 R2 P3 P4", kFresh, 3, SeekMode::kExact, "nothing"},
        {"P1 ? P3 P4", 1, 3, SeekMode::kExact, "nothing"},
        {"P1 | P2 P3 P4", 1, 3, SeekMode::kExact, "nothing"},
        {"P1 | K2 P3 P4", 1, 3, SeekMode::kExact, "anew 2 3 4"},
        {"> P1 P2 P3 P4", 1, 3, SeekMode::kExact, "on 1 2 3 4"},
    };
    for (const auto &each : cases) {
        const auto kept =
            keepPictures(waiting(each.waits, each.fed), each.target * 40'000, each.mode, AV_CODEC_ID_H264);
        EXPECT_EQ(told(kept), each.kept) << each.waits << " fed " << each.fed << " target " << each.target;
    }
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

TEST(Pausing, ACropChangesThePictureThatIsSeen_AlsoAfterTheEnd) {
    WatchedPlayer player({clip("numbered.mp4")}, 9000);
    ASSERT_TRUE(player.prepare());
    player->start();
    player->pause();
    player->seekTo(9800, kExact);
    ASSERT_TRUE(player.waitForNumber(245));
    const auto expectCropped = [&](float right, int width) {
        const auto last = player.pictures().back();
        oriplayer::Param crop;
        for (const float value : {5.0F, 0.0F, 0.0F, 0.0F, right, 0.0F, 1.0F}) crop.putFloat(value);
        EXPECT_EQ(player->setRenderConfig(2011, crop, 0), 0);
        ASSERT_TRUE(player.record->wait([&] { return player.record->pictures.back().width == width; }));
        EXPECT_EQ(player.pictures().back().positionUs, last.positionUs);
    };
    const int width = player.pictures().back().width;
    expectCropped(0.5F, width / 2);
    player->start();
    ASSERT_TRUE(player.waitForEvent(1001));
    expectCropped(1.0F, width);
}

TEST(Speed, TwiceAsFastTakesHalfTheTimeAndShowsTheSamePositions) {
    WatchedPlayer player({clip("numbered.mp4")}, 6000);
    ASSERT_TRUE(player.prepare());
    EXPECT_EQ(player.set(2104, 4.0), 0);
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
