#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "ffmpeg.h"
#include "output/resampler.h"
#include "output/sound.h"

namespace oriplayer {

/// How far the times of frames are from where their samples are, judged over the last 20 frames: the times of single
/// packets jitter.
class TimeOffsets {
public:
    void add(double offUs);
    void clear() { count_ = 0; }
    /// 0 as long as there are too few.
    double meanUs() const;
    /// The mean, if all of them are off by more than `leastUs` in one direction; else 0.
    double lastingUs(double leastUs) const;

private:
    static constexpr std::size_t kFrames = 20;
    std::array<double, kFrames> offsUs_{};
    std::size_t count_ = 0;
};

/// From decoded frames to sound for a voice: resampled and continuous in its positions.
/// A clock of the source that runs differently is followed by resampling. A gap of up to a second becomes silence and
/// an overlap of up to a second is cut, both with ramps; what differs by more starts anew at the frame's position.
/// Threads:  one at a time.
class SoundShaper {
public:
    /// Takes sound and the position of its first frame; false ends the shaping.
    using Taker = std::function<bool(const Sound &sound, double positionUs)>;

    SoundShaper(int rate, Taker taker) : rate_(rate), taker_(std::move(taker)), resampler_(rate) {}

    /// False if the taker said so.
    bool push(const AVFrame &frame, int64_t positionUs);
    /// The next frame's sound does not continue what was pushed last: a ramp joins them.
    void cut() { joins_ = begun_; }
    /// What is inside comes out; the next frame begins anew.
    bool finish();
    void reset();

private:
    bool begin(int64_t positionUs);
    double step(double offUs);
    void fill(double gapUs, Sound &sound);
    void join(Sound &sound, std::size_t at);
    bool give(const Sound &sound);

    const int rate_;
    const Taker taker_;
    Resampler resampler_;
    TimeOffsets offsets_;
    bool begun_ = false;
    bool cutting_ = false;   ///< the last frame was left out as an overlap: the next is cut to the sample
    bool joins_ = false;     ///< a ramp is due before the next sound
    double stretch_ = 0.0;   ///< share of their length that is added to frames
    double inputUs_ = 0.0;   ///< where the next frame should begin
    double outputUs_ = 0.0;  ///< where the next sound for the taker begins
    std::array<float, kSoundChannels> last_{};  ///< sample of what was passed on
};

}  // namespace oriplayer
