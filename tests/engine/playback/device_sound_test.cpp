// What of a player's sound reaches the device, in real time.

#include <gtest/gtest.h>

#include <algorithm>

#include "engine/output/tone.h"
#include "engine/playback/watched_player.h"
#include "support/disk_sound.h"

namespace test {
namespace {

using support::clip;

struct DeviceSound : testing::Test {
    static inline const support::DiskSound disk{};
};

struct MuteCase {
    const char *name;
    std::vector<int> before;  ///< values of 2009 before prepareAsync
    std::vector<int> after;
    float volume;    ///< set last; below 0: not set
    float answered;  ///< by 3005
    bool heard;
};

TEST_F(DeviceSound, AMuteBeforePreparingIsAVolumeOfZero_ALaterOneIsNot) {
    const MuteCase cases[] = {{"before", {1}, {}, -1.0F, 0.0F, false},
                              {"before, volume 0", {1}, {}, 0.0F, 0.0F, false},
                              {"later", {}, {1}, 0.5F, 0.5F, false},
                              {"both", {1}, {1}, 0.5F, 0.5F, false},
                              {"before, then muted and unmuted", {1}, {1, 0}, -1.0F, 0.0F, false},
                              {"before, then a volume", {1}, {}, 0.5F, 0.5F, true},
                              {"taken back", {1}, {0}, -1.0F, 1.0F, true}};
    for (const auto &c : cases) {
        const std::size_t begin = disk.awaitSilence();
        WatchedPlayer player({clip("audio_only.wav")});
        for (const int mute : c.before) EXPECT_EQ(player.set(2009, mute), 0);
        player->prepareAsync();
        for (const int mute : c.after) EXPECT_EQ(player.set(2009, mute), 0);
        if (c.volume >= 0.0F) {
            EXPECT_EQ(player.set(3004, c.volume), 0);
        }
        EXPECT_EQ(player.parameter(3005).getFloat(-1), c.answered) << c.name;
        player->start();
        ASSERT_TRUE(player.waitForEvent(1001)) << c.name << ": " << player.events();
        EXPECT_EQ(tone::peak(disk.left(begin)) > 0.01F, c.heard) << c.name;
    }
}

std::size_t soundingFrames(const std::vector<float> &samples) {
    const auto sounds = [](float sample) { return std::abs(sample) > 0.005F; };
    const auto first = std::find_if(samples.begin(), samples.end(), sounds);
    return static_cast<std::size_t>(std::find_if(samples.rbegin(), samples.rend(), sounds).base() - first);
}

TEST_F(DeviceSound, EverySampleFromTheFirstOnIsHeard) {
    for (const char *name : {"audio_only.wav", "h264_aac.mp4"}) {
        const std::size_t begin = disk.awaitSilence();
        WatchedPlayer player({clip(name)});
        player.play();
        ASSERT_TRUE(player.waitForEvent(1001)) << name << ": " << player.events();
        disk.awaitSilence();
        EXPECT_GE(soundingFrames(disk.left(begin)), 47'900U)
            << name << ": 48,000 of a second, less what the wave hides";
    }
}

/// Between the first sound and the last.
std::size_t longestSilence(const std::vector<float> &samples) {
    const auto sounds = [](float sample) { return std::abs(sample) > 0.005F; };
    const auto first = std::find_if(samples.begin(), samples.end(), sounds);
    const auto last = std::find_if(samples.rbegin(), samples.rend(), sounds).base();
    std::size_t longest = 0;
    std::size_t run = 0;
    for (auto sample = first; sample < last; ++sample) {
        run = sounds(*sample) ? 0 : run + 1;
        longest = std::max(longest, run);
    }
    return longest;
}

TEST_F(DeviceSound, AReplacementJoinsWithoutAGap) {
    const std::size_t begin = disk.awaitSilence();
    {
        WatchedPlayer player({clip("numbered.mp4")});
        player.play();
        ASSERT_TRUE(player.waitForNumber(20));
        ASSERT_EQ(player.replaceBy(clip("numbered_better.mkv")), 0);
        ASSERT_TRUE(player.record->wait([&] { return player.record->pictures.back().width == 320; }));
        ASSERT_TRUE(player.waitForNumber(80));
    }
    constexpr std::size_t kDeviceBuffer = 1024;
    const auto samples = disk.left(begin);
    ASSERT_GT(samples.size(), 2U * 44'100);
    EXPECT_LE(longestSilence(samples), kDeviceBuffer);
}

}  // namespace
}  // namespace test
