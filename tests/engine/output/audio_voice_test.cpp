#include "output/audio_voice.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "engine/output/tone.h"

namespace {

using namespace oriplayer;
using namespace std::chrono_literals;

constexpr int kRate = 48'000;
constexpr std::size_t kBlock = 1024;

/// A voice and a device whose time the test moves: each block is heard when the one before it has ended.
struct Voice : testing::Test {
    void write(std::size_t frames, double positionUs, float level = 0.5F) {
        const std::vector<float> sound(frames * 2, level);
        ASSERT_TRUE(voice.write(sound.data(), frames, positionUs));
    }
    void mix(int blocks = 1) {
        for (; blocks > 0; --blocks) {
            std::vector<float> block(kBlock * 2);
            voice.mix(block.data(), kBlock, heardAt);
            const auto one = tone::left(block);
            heard.insert(heard.end(), one.begin(), one.end());
            heardAt += std::chrono::nanoseconds(kBlock * 1'000'000'000 / kRate);
        }
    }
    const SoundTime start{1000s};
    AudioVoice voice{kRate};
    SoundTime heardAt = start;
    std::vector<float> heard;
};

TEST_F(Voice, Position_IsWhatIsHeardAtThatMoment) {
    write(4800, 700'000);
    mix();
    EXPECT_EQ(voice.positionUs(start), std::nullopt) << "nothing plays before start";
    voice.start();
    const SoundTime begin = heardAt;
    mix();
    EXPECT_EQ(voice.positionUs(begin - 1ms), std::nullopt) << "mixed, but not heard yet";
    EXPECT_EQ(voice.positionUs(begin), 700'000);
    EXPECT_NEAR(static_cast<double>(*voice.positionUs(begin + 10ms)), 710'000, 2);
    EXPECT_NEAR(static_cast<double>(*voice.positionUs(begin + 50ms)), 721'333, 2) << "never ahead of the mix";
    mix();
    EXPECT_NEAR(static_cast<double>(*voice.positionUs(begin + 10ms)), 721'333, 2) << "never backwards";
    EXPECT_EQ(voice.endPositionUs(), 800'000);
    EXPECT_NEAR(static_cast<double>(voice.bufferedUs(begin + 40ms)), 60'000, 2);
}

TEST_F(Voice, StartAt_CutsWhatTheDeviceAsksForTooLate) {
    write(9600, 700'000);
    voice.startAt(700'000, heardAt - 50ms);
    const SoundTime begin = heardAt;
    mix();
    EXPECT_NEAR(static_cast<double>(*voice.positionUs(begin)), 750'000, 30);
    voice.flush();
    write(9600, 700'000);
    voice.startAt(700'000, heardAt - 500ms);
    const SoundTime later = heardAt;
    mix();
    EXPECT_EQ(voice.positionUs(later), 700'000) << "too far behind for a device: nothing is cut";
}

TEST_F(Voice, AChangeOfSpeedIsHeardWithin100MsAndThePositionsFollow) {
    constexpr double kBlockMs = 1000.0 * kBlock / kRate;
    for (const auto &[from, to] : {std::pair(1.0, 0.5), {1.0, 2.0}, {2.0, 4.0}, {2.0, 1.0}, {4.0, 1.0}, {1.0, 4.0}}) {
        SCOPED_TRACE(testing::Message() << from << " to " << to);
        std::destroy_at(&voice);
        std::construct_at(&voice, kRate);
        heard.clear();
        voice.setSpeed(from);
        write(9600, 0);
        write(4800, 200'000, 0.25F);
        voice.start();
        std::vector<double> positionsMs;
        for (int block = 0; block < 20; ++block) {
            if (block == 1) voice.setSpeed(to);
            const SoundTime begin = heardAt;
            mix();
            positionsMs.push_back(static_cast<double>(voice.positionUs(begin).value_or(0)) / 1000.0);
        }
        const auto changed = std::find_if(heard.rbegin(), heard.rend(), [](float x) { return x > 0.4F; }).base();
        const double changedMs = 1000.0 * static_cast<double>(changed - heard.begin()) / kRate;
        const double atOnceMs = kBlockMs + (200.0 - from * kBlockMs) / to;
        EXPECT_NEAR(changedMs, atOnceMs, 100.0 * std::abs(1.0 - from / to));
        const auto block = static_cast<std::size_t>(changedMs / kBlockMs);
        const double inBlockMs = changedMs - static_cast<double>(block) * kBlockMs;
        EXPECT_NEAR(positionsMs[block] / to + inBlockMs, 200.0 / to, 40.0);
    }
}

TEST_F(Voice, ChangesOfSpeedKeepThePitchAndDoNotClick) {
    int64_t written = 0;
    voice.start();
    for (const double speed : {1.0, 2.0, 0.75, 1.0, 1.5, 0.5, 4.0, 1.0}) {
        voice.setSpeed(speed);
        for (int block = 0; block < 20; ++block) {
            while (static_cast<double>(voice.bufferedUs(heardAt)) < 280'000 * std::max(1.0, speed)) {
                const auto one = tone::frame(kRate, 480, 440, 0.5F, written);
                const auto *mono = reinterpret_cast<const float *>(one->data[0]);
                std::vector<float> stereo;
                for (int i = 0; i < 480; ++i) stereo.insert(stereo.end(), 2, mono[i]);
                ASSERT_TRUE(voice.write(stereo.data(), 480, static_cast<double>(written) * 1e6 / kRate));
                written += 480;
            }
            mix();
        }
    }
    EXPECT_NEAR(tone::hertz(heard, kRate), 440, 12);
    EXPECT_LT(tone::steepest(heard), 3 * 0.5F * 2 * static_cast<float>(M_PI) * 440 / kRate);
}

TEST_F(Voice, RunningDry_IsNoClock_AndNewSoundIsOneAgain) {
    write(1000, 0);
    voice.start();
    mix(2);
    EXPECT_FALSE(voice.drained(heardAt)) << "more may come";
    EXPECT_EQ(voice.positionUs(heardAt), std::nullopt);
    write(4800, 500'000);
    const SoundTime again = heardAt;
    mix();
    EXPECT_EQ(voice.positionUs(again - 1ms), std::nullopt);
    EXPECT_EQ(voice.positionUs(again), 500'000);
}

TEST_F(Voice, Finished_DrainsWhenTheLastSoundWasHeard) {
    write(1000, 0);
    voice.finish();
    voice.start();
    EXPECT_FALSE(voice.drained(heardAt));
    mix();
    EXPECT_FALSE(voice.drained(start + 20ms));
    EXPECT_TRUE(voice.drained(start + 21ms));
    EXPECT_GT(heard[900], 0.49F);
    EXPECT_LT(tone::steepest({heard.begin() + 900, heard.end()}), 0.01F) << "a stream that ends within a wave is faded";
}

TEST_F(Voice, Paused_NothingIsTakenAndThePositionStands) {
    write(9600, 0);
    voice.start();
    mix(2);
    voice.pause();
    mix();
    const auto stands = voice.positionUs(heardAt + 1s);
    heard.clear();
    mix(3);
    EXPECT_EQ(tone::peak(heard), 0.0F);
    EXPECT_EQ(voice.positionUs(heardAt + 2s), stands);
    voice.start();
    const SoundTime again = heardAt;
    mix();
    EXPECT_NEAR(static_cast<double>(*voice.positionUs(again)), static_cast<double>(*stands), 2);
}

TEST_F(Voice, Cuts_AreRampedNotClicked) {
    struct Case {
        const char *name;
        std::function<void()> cut;
    };
    const Case cases[] = {
        {"start", [] {}},
        {"pause", [this] { voice.pause(); }},
        {"flush", [this] { voice.flush(); }},
        {"flush and new sound", [this] { voice.flush(), write(4800, 0); }},
        {"mute", [this] { voice.setMuted(true); }},
        {"volume", [this] { voice.setVolume(0.1F); }},
        {"left with little", [this] { voice.leave(5'000); }},
        {"left with nothing", [this] { voice.leave(0); }},
        {"run dry", [this] { mix(20); }},
    };
    for (const Case &one : cases) {
        SCOPED_TRACE(one.name);
        std::destroy_at(&voice);
        std::construct_at(&voice, kRate);
        heard.assign(1, 0.0F);
        write(7000, 0);
        voice.start();
        mix(2);
        one.cut();
        mix(3);
        EXPECT_GT(tone::peak(heard), 0.49F);
        EXPECT_LT(tone::steepest(heard), 0.5F / 96 * 1.1F);  // the whole level in 2 ms
    }
}

TEST_F(Voice, Left_PlaysOutSoMuchAndIsGone) {
    struct Case {
        int64_t maximumUs;
        bool running;
        std::size_t frames;
    };
    for (const Case &one : {Case{100'000, true, 4800}, Case{500'000, true, 9000}, Case{100'000, false, 0}}) {
        AudioVoice left(kRate);
        const std::vector<float> level(9000 * 2, 0.5F);
        left.write(level.data(), 9000, 0);
        if (one.running) left.start();
        left.leave(one.maximumUs);
        std::size_t sounding = 0;
        for (int i = 0; i < 12; ++i) {
            std::vector<float> block(kBlock * 2);
            left.mix(block.data(), kBlock, heardAt);
            for (float sample : tone::left(block)) sounding += sample > 0;
        }
        EXPECT_NEAR(static_cast<double>(sounding), static_cast<double>(one.frames), 2) << one.maximumUs;
        EXPECT_TRUE(left.gone());
    }
}

TEST_F(Voice, Write_WaitsForRoomUntilInterrupted) {
    write(14'400, 0);  // the 300 ms that a voice keeps
    bool written = true;
    std::thread writer([&] {
        const std::vector<float> more(20'000 * 2, 0.5F);
        written = voice.write(more.data(), 20'000, 300'000);
    });
    voice.start();
    mix(2);
    voice.interrupt();
    writer.join();
    EXPECT_FALSE(written);
    voice.uninterrupt();
    voice.flush();
    write(4800, 0);
    EXPECT_EQ(voice.endPositionUs(), 100'000);
}

}  // namespace
