#include "output/sound_shaper.h"

#include <gtest/gtest.h>

#include <functional>

#include "engine/output/tone.h"

namespace {

using namespace oriplayer;

constexpr int kRate = 48'000;

/// Collects what the shaper makes and checks that its positions are of one piece.
struct Shaper : testing::Test {
    std::vector<float> heard() const { return ::tone::left(out); }
    double seconds() const { return static_cast<double>(out.size()) / 2 / kRate; }

    std::vector<float> out;
    double firstUs = -1;
    double endUs = -1;
    double worstJumpUs = 0;
    SoundShaper shaper{kRate, [this](const Sound &sound, double positionUs) {
                           if (firstUs < 0) firstUs = endUs = positionUs;
                           worstJumpUs = std::max(worstJumpUs, std::abs(positionUs - endUs));
                           endUs = positionUs + static_cast<double>(sound.frames()) * 1e6 / kRate;
                           out.insert(out.end(), sound.samples.begin(), sound.samples.end());
                           return true;
                       }};
};

TEST_F(Shaper, RatesKeepPitchAndPositions) {
    for (const int rate : {48'000, 44'100, 8'000, 96'000}) {
        SCOPED_TRACE(rate);
        out.clear();
        firstUs = -1;
        for (int n = 0; n < 100; ++n) {
            shaper.push(*::tone::frame(rate, rate / 50, 440, 0.5F, n * rate / 50), 3'000'000 + 20'000 * n);
        }
        shaper.finish();
        EXPECT_EQ(firstUs, 3'000'000);
        EXPECT_NEAR(endUs, 5'000'000, 1'000);
        EXPECT_NEAR(::tone::hertz(heard(), kRate), 440, 12);
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
        shaper.push(*frame, static_cast<int64_t>(std::max(0.0, endUs)));
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
            shaper.push(*frame, 5'000'000 + 20'000 * n + one.offUs(n));
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

}  // namespace
