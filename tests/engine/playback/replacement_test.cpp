#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "engine/playback/watched_player.h"
#include "support/eventually.h"

namespace test {
namespace {

using support::clip;

// numbered.mp4 and numbered_better.mkv: the same 250 pictures of 40 ms with sound. They differ in size, codecs, key
// frames (every 50 and 60) and in what their containers round.
constexpr int kSmall = 160;
constexpr int kLarge = 320;

int codecOf(const WatchedPlayer &player) {
    return player.parameter(2019).getInt32(1);
}

// The engine tells no event when it has taken over; its statistics name the codec then.
bool waitForOtherCodec(const WatchedPlayer &player, int before) {
    return support::eventually([&] { return codecOf(player) != before; });
}

// A machine too slow for real time drops pictures, and counts them.
void expectEveryPictureOnce(WatchedPlayer &player, int first, int lastWidth) {
    const std::vector<int> numbers = player.numbers();
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end(), std::less_equal<>())) << "one came twice";
    EXPECT_EQ(static_cast<int>(numbers.size()) + player.dropped(), 250 - first);
    EXPECT_EQ(player.pictures().front().width, kSmall);
    EXPECT_EQ(player.pictures().back().width, lastWidth);
}

TEST(Replacement, EveryPictureComesOnce_AlsoIfTheOtherCannotBeOpened) {
    struct Case {
        std::string other;
        int lastWidth;
        const char *events;
    };
    const PropertyGuard untimed(9001, "1");
    for (const Case &c : {Case{clip("numbered_better.mkv"), kLarge, "306 1000 1017 306 1001"},
                          Case{"/no/such/file.mp4", kSmall, "306 1000 1017 503 1001"}}) {
        WatchedPlayer player({clip("numbered.mp4")});
        player.screen->onPicture = [&](const ShownPicture &picture) {
            if (picture.clipNumber != 30) return;
            const int codec = codecOf(player);
            EXPECT_EQ(player.replaceBy(c.other), 0);
            EXPECT_TRUE(c.lastWidth == kLarge ? waitForOtherCodec(player, codec) : player.waitForEvent(503));
        };
        ASSERT_TRUE(player.playToEnd());
        expectEveryPictureOnce(player, 0, c.lastWidth);
        EXPECT_EQ(player.events(), c.events);
    }
}

TEST(Replacement, AfterTheEnd_AnotherEndFollows) {
    const std::string numbered = clip("numbered.mp4");
    const std::string shorter = clip("h264_aac.mp4");
    const PropertyGuard untimed(9001, "1");
    for (const auto &[first, second] : {std::pair{numbered, numbered},
                                        {numbered, shorter},
                                        {shorter, numbered},
                                        {numbered, std::string("/no/such/file.mp4")}}) {
        SCOPED_TRACE(second);
        WatchedPlayer player({first});
        ASSERT_TRUE(player.playToEnd());
        EXPECT_EQ(player.replaceBy(second), 0);
        EXPECT_TRUE(player.waitForEvent(1001, 2));
    }
}

TEST(Replacement, WhilePausedItGoesOnBehindThePictureThatStands) {
    WatchedPlayer player({clip("numbered.mp4")}, 6'000);
    player.play();
    ASSERT_TRUE(player.waitForPictures(10));
    player->pause();
    const int codec = codecOf(player);
    ASSERT_EQ(player.replaceBy(clip("numbered_better.mkv")), 0);
    ASSERT_TRUE(waitForOtherCodec(player, codec));
    EXPECT_FALSE(player->isPlaying());
    const int stands = player.pictures().back().clipNumber;
    player->start();
    ASSERT_TRUE(player.waitForEvent(1001));
    const auto pictures = player.pictures();
    const auto joined = std::find_if(pictures.begin(), pictures.end(), [](const auto &p) { return p.width == kLarge; });
    ASSERT_NE(joined, pictures.end());
    EXPECT_LE(joined->clipNumber, stands + 30) << "and not where what was read ahead ends, 1.5 s further";
    expectEveryPictureOnce(player, 150, kLarge);
}

TEST(Replacement, SeeksMeanwhileAreCarriedOutAndItFollowsThem) {
    WatchedPlayer player({clip("numbered.mp4")});
    player.play();
    ASSERT_TRUE(player.waitForPictures(2));
    const int codec = codecOf(player);
    player->seekTo(3000, 0);
    ASSERT_EQ(player.replaceBy("/no/such/file.mp4"), 0);
    ASSERT_EQ(player.replaceBy(clip("numbered_better.mkv")), 0);  // the last one counts
    for (const int seconds : {8, 2, 9}) player->seekTo(seconds * 1000, 0);
    ASSERT_TRUE(player.waitForNumber(225));
    ASSERT_TRUE(player.waitForEvent(1001));
    EXPECT_NE(codecOf(player), codec);
    std::vector<int> numbers = player.numbers();
    numbers.erase(numbers.begin(), std::find(numbers.begin(), numbers.end(), 225));
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end(), std::less_equal<>()));
    const auto shown = player.pictures().size();
    player->seekTo(1000, 0);
    ASSERT_TRUE(player.waitForNumber(25, shown));
    EXPECT_EQ(player.pictures().back().width, kLarge);
}

TEST(Replacement, InALoopItJoinsTheRoundThatIsRead) {
    const PropertyGuard untimed(9001, "1");
    WatchedPlayer player({clip("numbered.mp4")});
    player->setLooping(true);
    int rounds = 0;
    player.screen->onPicture = [&](const ShownPicture &picture) {
        if (picture.clipNumber != 245 || ++rounds > 1) return;
        const int codec = codecOf(player);
        EXPECT_EQ(player.replaceBy(clip("numbered_better.mkv")), 0);
        EXPECT_TRUE(waitForOtherCodec(player, codec));
    };
    player.play();
    ASSERT_TRUE(player.waitForPictures(500));
    const std::vector<int> numbers = player.numbers();
    for (int i = 0; i < 500; ++i) ASSERT_EQ(numbers[static_cast<std::size_t>(i)], i % 250);
}

}  // namespace
}  // namespace test
