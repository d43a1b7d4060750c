#include "output/sound_shaper.h"

#include <gtest/gtest.h>

#include <functional>

#include "engine/output/tone.h"

namespace {

using namespace oriplayer;

constexpr int kRate = 48'000;

/// Collects what the shaper makes and checks that its positions are of one piece.
struct Shaper : testing::Test {
    void tone(int rate, double seconds, int64_t fromUs, double speed = 1.0, double hertz = 440) {
        const int piece = rate / 50;
        for (int64_t done = 0; done < static_cast<int64_t>(rate * seconds); done += piece) {
            const auto frame = ::tone::frame(rate, piece, hertz, 0.5F, done);
            shaper.push(*frame, fromUs + done * 1'000'000 / rate, speed);
        }
    }
    std::vector<float> heard() const { return ::tone::left(out); }
    double seconds() const { return static_cast<double>(out.size()) / 2 / kRate; }

    std::vector<float> out;
    double firstUs = -1;
    double endUs = -1;
    double worstJumpUs = 0;
    SoundShaper shaper{kRate, [this](const Sound &sound, double positionUs, double usPerFrame) {
                           if (firstUs < 0) firstUs = endUs = positionUs;
                           worstJumpUs = std::max(worstJumpUs, std::abs(positionUs - endUs));
                           endUs = positionUs + static_cast<double>(sound.frames()) * usPerFrame;
                           out.insert(out.end(), sound.samples.begin(), sound.samples.end());
                           return true;
                       }};
};

TEST_F(Shaper, SpeedAndRate_KeepPitchAndPositions) {
    struct Case {
        int rate;
        double speed;
    };
    for (const Case &one : {Case{48'000, 1.0}, Case{44'100, 1.0}, Case{8'000, 1.0}, Case{96'000, 1.0},
                            Case{48'000, 2.0}, Case{44'100, 0.5}, Case{48'000, 4.0}}) {
        SCOPED_TRACE(testing::Message() << one.rate << " Hz at " << one.speed);
        out.clear();
        firstUs = -1;
        tone(one.rate, 2.0, 3'000'000, one.speed);
        shaper.finish();
        EXPECT_EQ(firstUs, 3'000'000);
        EXPECT_NEAR(endUs, 5'000'000, 60'000);  // the tempo filter works in pieces of up to about 50 ms
        EXPECT_NEAR(seconds(), 2.0 / one.speed, 0.06);
        const auto all = heard();
        const std::vector<float> middle(all.begin() + 4800, all.end() - 4800);
        EXPECT_NEAR(::tone::hertz(middle, kRate), 440, 12);
        shaper.reset();
    }
}

TEST_F(Shaper, SurroundIsMixedDownAndAFormatMayChange) {
    for (int channels : {6, 1, 2}) {
        FramePtr frame(av_frame_alloc());
        frame->format = AV_SAMPLE_FMT_S16P;
        frame->sample_rate = kRate;
        frame->nb_samples = 4800;
        av_channel_layout_default(&frame->ch_layout, channels);
        av_frame_get_buffer(frame.get(), 0);
        for (int c = 0; c < channels; ++c) {
            auto *data = reinterpret_cast<int16_t *>(frame->extended_data[c]);
            std::fill_n(data, frame->nb_samples, int16_t{32'000});
        }
        out.clear();
        shaper.push(*frame, static_cast<int64_t>(std::max(0.0, endUs)), 1.0);
        EXPECT_EQ(out.size(), 9600u) << channels;
        EXPECT_GT(*std::min_element(out.begin(), out.end()), 0.9F) << channels;
        EXPECT_LT(*std::max_element(out.begin(), out.end()), 1.0F) << "not clipped: " << channels;
    }
    EXPECT_LT(worstJumpUs, 1);
}

TEST_F(Shaper, TimesThatDifferFromTheSamplesAreFollowedWithoutClicks) {
    struct Case {
        const char *name;
        std::function<int64_t(int)> offUs;  ///< of frame number n, of 20 ms
        double seconds;                     ///< that come out of 8 s
        float silence;                      ///< seconds of it
        int rate = kRate;
    };
    const auto after = [](int64_t us) { return [us](int n) { return n < 50 ? 0 : us; }; };
    const auto jitter = [](int n) { return 12'000 * ((n + 1) % 3 - 1); };
    const auto drift = [](int64_t us) { return [us](int n) { return us * n; }; };
    // Every 10 frames the times begin anew, as in packets of 10 frames whose length is computed with another rate.
    const auto saw = [](int n) { return -1'740 * (n % 10); };
    for (const Case &one :
         {Case{"as they are", after(0), 8.0, 0}, Case{"rounded", after(4'000), 8.0, 0}, Case{"jitter", jitter, 8.0, 0},
          Case{"a clock 0.2 % slow", drift(40), 8.012, 0}, Case{"0.2 % fast", drift(-40), 7.988, 0},
          Case{"packets of another rate", saw, 7.993, 0, 44'100}, Case{"a step", after(30'000), 8.03, 0.03F},
          Case{"a step back", after(-30'000), 7.97, 0}, Case{"a gap", after(500'000), 8.5, 0.5F},
          Case{"an overlap", after(-500'000), 7.5, 0}, Case{"a jump", after(3'000'000), 8.0, 0}}) {
        SCOPED_TRACE(one.name);
        shaper.reset();
        out.clear();
        firstUs = -1;
        worstJumpUs = 0;
        for (int n = 0; n < 400; ++n) {
            const auto frame = ::tone::frame(one.rate, one.rate / 50, 440, 0.5F, n * one.rate / 50);
            shaper.push(*frame, 5'000'000 + 20'000 * n + one.offUs(n), 1.0);
        }
        shaper.finish();
        EXPECT_NEAR(seconds(), one.seconds, 0.004);
        EXPECT_NEAR(worstJumpUs, one.offUs(399) > 1'000'000 ? 3'000'000 : 0, 1'000);
        const auto all = heard();
        const auto silent = std::count_if(all.begin(), all.end(), [](float sample) { return sample == 0.0F; });
        EXPECT_NEAR(static_cast<float>(silent) / kRate, one.silence, 0.004F);
        EXPECT_LT(::tone::steepest(all), 0.5F * 2 * static_cast<float>(M_PI) * 440 / kRate + 1.0F / 96) << "a click";
    }
}

TEST_F(Shaper, ChangeOfSpeed_DoesNotClickOrJump) {
    int64_t us = 0;
    for (double speed : {1.0, 2.0, 0.75, 1.0, 1.5, 1.0}) {
        tone(kRate, 0.5, us, speed);
        us += 500'000;
    }
    const float wave = static_cast<float>(0.5 * 2 * M_PI * 440 / kRate);
    EXPECT_LT(::tone::steepest(heard()), wave * 2);
    EXPECT_LT(worstJumpUs, 60'000);
    EXPECT_NEAR(endUs, 3'000'000, 1'000);
}

}  // namespace
