#include "output/audio_renderer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "engine/output/tone.h"
#include "support/eventually.h"

namespace {

using namespace oriplayer;
using namespace std::chrono_literals;

/// A renderer on SDL's silent device, and a decoder's thread that pushes a tone.
struct Renderer : testing::Test {
    ~Renderer() override { stopPushing(); }
    void pushFrom(int64_t us, double seconds) {
        pusher = std::thread([this, us, seconds] {
            const auto frame = tone::frame(48'000, 960, 440, 0.5F);
            int64_t at = us;
            while (at < us + static_cast<int64_t>(seconds * 1e6) && sound.push(*frame, at)) at += 20'000;
            if (at >= us + static_cast<int64_t>(seconds * 1e6)) sound.finish();
        });
    }
    void stopPushing() {
        sound.interrupt();
        if (pusher.joinable()) pusher.join();
        sound.uninterrupt();
    }
    AudioRenderer sound;
    std::thread pusher;
};

TEST_F(Renderer, Flush_StartsTheClockAtTheNewPosition) {
    ASSERT_FALSE(sound.open(""));
    sound.start();
    pushFrom(0, 60);
    ASSERT_TRUE(support::eventually([&] { return sound.positionUs().has_value(); }));
    stopPushing();
    sound.flush();
    EXPECT_EQ(sound.positionUs(), std::nullopt);
    EXPECT_EQ(sound.endPositionUs(), INT64_MIN);
    pushFrom(30'000'000, 60);
    ASSERT_TRUE(support::eventually([&] { return sound.positionUs().has_value(); }));
    EXPECT_GE(*sound.positionUs(), 30'000'000);
}

TEST_F(Renderer, ChangeOfDevice_KeepsTheClock_AnUnknownOneTheDevice) {
    ASSERT_FALSE(sound.open(""));
    sound.start();
    pushFrom(0, 60);
    ASSERT_TRUE(support::eventually([&] { return sound.positionUs().value_or(0) > 50'000; }));
    const int64_t before = *sound.positionUs();
    EXPECT_FALSE(AudioRenderer::deviceExists("no such device"));
    EXPECT_FALSE(sound.setDevice("no such device").text.empty());
    EXPECT_TRUE(sound.opened());
    ASSERT_FALSE(sound.setDevice(""));
    ASSERT_TRUE(support::eventually([&] { return sound.positionUs().has_value(); }));
    // A block or two of the device.
    EXPECT_NEAR(static_cast<double>(*sound.positionUs()), static_cast<double>(before), 150'000);
}

TEST_F(Renderer, AnyThreadAnyMoment) {
    ASSERT_FALSE(sound.open(""));
    pushFrom(0, 60);
    std::atomic<bool> end{false};
    std::thread asker([&] {
        while (!end) {
            sound.positionUs(), sound.bufferedUs(), sound.drained(), sound.takeError();
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 20; ++i) {
        sound.start();
        sound.setVolume(static_cast<float>(i) / 20);
        sound.setSpeed(0.5 + i * 0.1);
        sound.setMuted(i % 2 == 1);
        if (i % 5 == 0) sound.setDevice("");
        std::this_thread::sleep_for(2ms);
        sound.pause();
    }
    sound.start();
    sound.leaveToDevice(100'000);
    EXPECT_FALSE(sound.opened());
    end = true;
    asker.join();
}

TEST(AudioRendererLife, ManyShortLives_LeaveTheDeviceOpen) {
    for (int i = 0; i < 50; ++i) {
        AudioRenderer one;
        ASSERT_FALSE(one.open(""));
        const auto frame = tone::frame(44'100, 441, 440, 0.5F);
        one.start();
        EXPECT_TRUE(one.push(*frame, 0));
        if (i % 2) one.leaveToDevice(100'000);
    }
}

}  // namespace
