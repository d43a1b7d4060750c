// What really reaches the device: SDL's disk driver writes it into a file.

#include <gtest/gtest.h>

#include <thread>

#include "engine/output/tone.h"
#include "output/audio_renderer.h"
#include "support/disk_sound.h"
#include "support/eventually.h"

namespace {

using namespace oriplayer;
using tone::peak;

struct Disk : testing::Test {
    /// What was written from sample `begin` on, once so many more are there.
    static std::vector<float> writtenAfter(std::size_t more, std::size_t begin) {
        const std::size_t wanted = device.samples() + more;
        EXPECT_TRUE(support::eventually([wanted] { return device.samples() >= wanted; }));
        return device.left(begin);
    }
    static void play(AudioRenderer &sound, double hertz, float amplitude, double seconds) {
        const int frames = static_cast<int>(seconds * 44'100);
        ASSERT_TRUE(sound.push(*tone::frame(44'100, frames, hertz, amplitude), 0));
        sound.finish();
    }

    static inline const support::DiskSound device{"4"};  // five times as fast as heard
};

TEST_F(Disk, TwoPlayersAreHeardTogether_SilenceBeforeAndBehindThem) {
    struct Case {
        float amplitude;
        float least, most;
    };
    for (const Case &c : {Case{0.3F, 0.5F, 0.61F}, Case{0.9F, 1.0F, 1.0F}}) {  // the second is saturated
        const std::size_t begin = device.awaitSilence();
        AudioRenderer low, high;
        ASSERT_FALSE(low.open(""));
        ASSERT_FALSE(high.open(""));
        play(low, 300, c.amplitude, 0.25);
        play(high, 3000, c.amplitude, 0.25);
        EXPECT_EQ(peak(writtenAfter(4096, begin)), 0.0F) << "nothing is heard before start";
        low.start();
        high.start();
        low.leaveToDevice(250'000);
        high.leaveToDevice(250'000);
        const auto all = writtenAfter(30'000, begin);
        ASSERT_GT(all.size(), 4096U);
        EXPECT_GE(peak(all), c.least);
        EXPECT_LE(peak(all), c.most);
        EXPECT_EQ(peak({all.end() - 4096, all.end()}), 0.0F);
        EXPECT_LT(tone::steepest(all), static_cast<float>(c.amplitude * 2 * M_PI * (3300 + 400) / 48'000));
    }
}

// A player that ends leaves its last sound in the mix; the next one, of another rate, begins behind it.
TEST_F(Disk, FromOnePlayerToTheNext_NoClick) {
    const std::size_t begin = device.awaitSilence();
    AudioRenderer next;
    {
        AudioRenderer first;
        ASSERT_FALSE(first.open(""));
        play(first, 440, 0.5F, 0.25);
        first.start();
        ASSERT_TRUE(support::eventually([&] { return first.bufferedUs() <= 100'000; }));
        first.leaveToDevice(50'000);  // cut in the middle of a wave
        ASSERT_FALSE(next.open(""));
        ASSERT_TRUE(next.push(*tone::frame(48'000, 12'000, 660, 0.5F, 20), 0));  // begins in the middle of one as well
        next.finish();
        next.start();
    }
    next.leaveToDevice(250'000);
    auto all = writtenAfter(30'000, begin);
    while (!all.empty() && all.back() == 0.0F) all.pop_back();
    ASSERT_GT(all.size(), 8'000U);
    const std::vector<float> last(all.end() - 8'000, all.end());
    EXPECT_GT(peak(last), 0.49F);
    EXPECT_NEAR(tone::hertz(last, 48'000), 660, 10) << "the next player's tone, to its end";
    EXPECT_LT(tone::steepest(all), 0.1F) << "the waves themselves rise by 0.03 and 0.04; a click would show 0.5";
}

}  // namespace
