#include "output/audio_renderer.h"

#include <gtest/gtest.h>

#include <thread>

#include "engine/output/tone.h"
#include "support/eventually.h"

namespace {

using namespace oriplayer;
using namespace std::chrono_literals;

/// A renderer on SDL's silent device, and a decoder's thread that pushes a tone for a minute.
struct Renderer : testing::Test {
    Renderer() {
        EXPECT_FALSE(sound.open(""));
        pusher = std::thread([this] {
            const auto frame = tone::frame(48'000, 960, 440, 0.5F);
            for (int64_t us = 0; us < 60'000'000 && sound.push(*frame, us);) us += 20'000;
        });
    }
    ~Renderer() override {
        sound.interrupt();
        pusher.join();
    }

    AudioRenderer sound;
    std::thread pusher;
};

TEST_F(Renderer, ChangeOfDevice_KeepsTheClock_AnUnknownOneTheDevice) {
    sound.start();
    ASSERT_TRUE(support::eventually([&] { return sound.positionUs().value_or(0) > 50'000; }));
    const int64_t before = *sound.positionUs();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(AudioRenderer::deviceExists("no such device"));
    EXPECT_FALSE(sound.setDevice("no such device").text.empty());
    EXPECT_TRUE(sound.opened());
    ASSERT_FALSE(sound.setDevice(""));
    ASSERT_TRUE(support::eventually([&] { return sound.positionUs().has_value(); }));
    const auto moved = std::chrono::microseconds(*sound.positionUs() - before);
    EXPECT_LT(std::chrono::abs(moved), std::chrono::steady_clock::now() - begin + 150ms)
        << "a few blocks of the device";
}

}  // namespace
