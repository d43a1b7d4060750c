// What really reaches the device: SDL's disk driver writes it into a file.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>

#include "engine/output/tone.h"
#include "output/audio_renderer.h"

namespace {

using namespace oriplayer;
using namespace std::chrono_literals;

std::filesystem::path &file() {
    static std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("vexo_sound_" + std::to_string(getpid()) + ".raw");
    return path;
}

struct Disk : testing::Test {
    static void SetUpTestSuite() {
        setenv("SDL_AUDIODRIVER", "disk", 1);
        setenv("SDL_DISKAUDIOFILE", file().c_str(), 1);
        setenv("SDL_DISKAUDIODELAY", "4", 1);  // ms a block: five times as fast as it is heard
    }
    static void TearDownTestSuite() { std::filesystem::remove(file()); }

    static std::size_t size() {
        std::error_code notYet;
        const auto bytes = std::filesystem::file_size(file(), notYet);
        return notYet ? 0 : bytes;
    }
    static std::vector<float> written() {
        std::vector<float> samples(size() / sizeof(float) / 2 * 2);
        std::ifstream in(file(), std::ios::binary);
        in.read(reinterpret_cast<char *>(samples.data()), static_cast<std::streamsize>(samples.size() * sizeof(float)));
        return tone::left(samples);
    }
    /// All that was written once so many more samples are there.
    static std::vector<float> writtenAfter(std::size_t more) {
        const auto wanted = size() + more * 2 * sizeof(float);
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (size() < wanted && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(1ms);
        }
        return written();
    }
    static void play(AudioRenderer &sound, double hertz, float amplitude, double seconds) {
        const int frames = static_cast<int>(seconds * 44'100);
        ASSERT_TRUE(sound.push(*tone::frame(44'100, frames, hertz, amplitude), 0));
        sound.finish();
    }
};

TEST_F(Disk, TwoPlayersAreHeardTogether_SilenceBehindThem) {
    AudioRenderer low, high;
    ASSERT_FALSE(low.open(""));
    ASSERT_FALSE(high.open(""));
    play(low, 300, 0.3F, 0.25);
    play(high, 3000, 0.3F, 0.25);
    writtenAfter(4096);
    EXPECT_EQ(tone::peak(written()), 0.0F) << "nothing is heard before start";
    low.start();
    high.start();
    low.leaveToDevice(250'000);
    high.leaveToDevice(250'000);
    const auto all = writtenAfter(30'000);
    EXPECT_GT(tone::peak(all), 0.5F);
    EXPECT_LE(tone::peak(all), 0.61F);
    EXPECT_EQ(tone::peak({all.end() - 4096, all.end()}), 0.0F);
    EXPECT_LT(tone::steepest(all), static_cast<float>(0.3 * 2 * M_PI * (3300 + 400) / 48'000));
}

// A player that ends leaves its last sound in the mix; the next one, of another rate, begins behind it.
TEST_F(Disk, FromOnePlayerToTheNext_NoClick) {
    const auto before = static_cast<std::ptrdiff_t>(written().size());
    AudioRenderer next;
    {
        AudioRenderer first;
        ASSERT_FALSE(first.open(""));
        play(first, 440, 0.5F, 0.25);
        first.start();
        while (first.bufferedUs() > 100'000) std::this_thread::yield();
        first.leaveToDevice(50'000);  // cut in the middle of a wave
        ASSERT_FALSE(next.open(""));
        ASSERT_TRUE(next.push(*tone::frame(48'000, 12'000, 660, 0.5F, 20), 0));  // begins in the middle of one as well
        next.finish();
        next.start();
    }
    next.leaveToDevice(250'000);
    auto all = writtenAfter(30'000);
    all.erase(all.begin(), all.begin() + before);
    EXPECT_GT(tone::peak({all.end() - 30'000, all.end()}), 0.49F);
    EXPECT_LT(tone::steepest(all), 0.1F) << "the waves themselves rise by 0.03 and 0.04; a click would show 0.5";
}

TEST_F(Disk, TooLoudTogether_IsSaturated) {
    AudioRenderer one, other;
    ASSERT_FALSE(one.open(""));
    ASSERT_FALSE(other.open(""));
    play(one, 440, 0.9F, 0.25);
    play(other, 440, 0.9F, 0.25);
    one.start();
    other.start();
    one.leaveToDevice(250'000);
    other.leaveToDevice(250'000);
    EXPECT_EQ(tone::peak(writtenAfter(30'000)), 1.0F);
}

}  // namespace
