// What of a player's sound reaches the device: SDL's disk driver writes it into a file.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "engine/playback/watched_player.h"

namespace test {
namespace {

using support::clip;

void setMute(WatchedPlayer &player, int on) {
    oriplayer::Param param;
    param.putInt32(on);
    EXPECT_EQ(player->setParameter(2009, param, -1), 0);
}

void setVolume(WatchedPlayer &player, float volume) {
    oriplayer::Param param;
    param.putFloat(volume);
    EXPECT_EQ(player->setParameter(3004, param, -1), 0);
}

struct MuteCase {
    const char *name;
    int muteBefore;  ///< prepareAsync; -1: not said
    int muteAfter;
    float volume;  ///< said last; below 0: not said
    bool heard;
};

TEST(Mute, OneSaidBeforePreparingEndsWithTheVolumeALaterOneDoesNot) {
    const std::string file = testing::TempDir() + "vexo_mute_" + std::to_string(getpid()) + ".raw";
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", file.c_str(), 1);
    std::ofstream(file).close();
    // Sound in the device's mix outlasts its player: what is not heard comes first.
    const MuteCase cases[] = {{"before", 1, -1, -1.0F, false},
                              {"before, volume 0", 1, -1, 0.0F, false},
                              {"later", -1, 1, 0.5F, false},
                              {"both", 1, 1, 0.5F, false},
                              {"before, then a volume", 1, -1, 0.5F, true},
                              {"taken back", 1, 0, -1.0F, true}};
    for (const auto &c : cases) {
        const auto begin = static_cast<std::streamoff>(std::filesystem::file_size(file));
        WatchedPlayer player({clip("audio_only.wav")});
        if (c.muteBefore >= 0) setMute(player, c.muteBefore);
        player->prepareAsync();
        if (c.muteAfter >= 0) setMute(player, c.muteAfter);
        if (c.volume >= 0.0F) setVolume(player, c.volume);
        player->start();
        ASSERT_TRUE(player.waitForEvent(1001)) << c.name << ": " << player.events();
        std::ifstream in(file, std::ios::binary);
        in.seekg(begin);
        float peak = 0.0F;
        for (float sample = 0.0F; in.read(reinterpret_cast<char *>(&sample), sizeof sample);)
            peak = std::max(peak, std::abs(sample));
        EXPECT_EQ(peak > 0.01F, c.heard) << c.name << ": " << peak;
    }
    std::filesystem::remove(file);
}

}  // namespace
}  // namespace test
