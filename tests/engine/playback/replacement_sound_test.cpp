// What reaches the device while the source is replaced: SDL's disk driver writes it into a file, in real time.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

#include "engine/playback/watched_player.h"

namespace test {
namespace {

using support::clip;

constexpr std::size_t kDeviceBuffer = 1024;  // samples of each channel, as the engine opens devices

std::vector<float> written(const std::filesystem::path &file) {
    std::vector<float> samples(std::filesystem::file_size(file) / sizeof(float));
    std::ifstream in(file, std::ios::binary);
    in.read(reinterpret_cast<char *>(samples.data()), static_cast<std::streamsize>(samples.size() * sizeof(float)));
    return samples;
}

/// Of one channel, between the first sound and the last.
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
    return longest / 2;
}

TEST(ReplacementSound, JoinsWithoutAGap) {
    const auto file = std::filesystem::temp_directory_path() / ("vexo_join_" + std::to_string(getpid()) + ".raw");
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", file.c_str(), 1);
    {
        WatchedPlayer player({clip("numbered.mp4")});
        player->prepareAsync();
        player->start();
        ASSERT_TRUE(player.waitForNumber(20));
        const auto better = oriplayer::IPeriod::create();
        better->addSource(oriplayer::ISource::create(clip("numbered_better.mkv").c_str(), 0.0));
        better->setChangeMode(2);
        ASSERT_EQ(player->changePeriod(0, 0, better, nullptr), 0);
        ASSERT_TRUE(player.record->wait([&] { return player.record->pictures.back().width == 320; }));
        ASSERT_TRUE(player.waitForNumber(80));
    }
    const auto samples = written(file);
    std::filesystem::remove(file);
    ASSERT_GT(samples.size(), 2U * 2 * 44'100);
    EXPECT_LE(longestSilence(samples), kDeviceBuffer);
}

}  // namespace
}  // namespace test
