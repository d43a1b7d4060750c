#pragma once

#include <cstdint>
#include <functional>

#include "ffmpeg.h"
#include "output/resampler.h"
#include "output/sound.h"
#include "output/tempo.h"

namespace oriplayer {

/// From decoded frames to sound for a voice: resampled, continuous in its positions, at the set speed.
/// A gap of up to a second becomes silence and an overlap of up to a second is cut; what differs by more starts anew at
/// the frame's position.
/// Threads:  one at a time.
class SoundShaper {
public:
    /// Takes sound, the position of its first frame and what each frame covers of the source; false ends the shaping.
    using Taker = std::function<bool(const Sound &sound, double positionUs, double usPerFrame)>;

    SoundShaper(int rate, Taker taker) : rate_(rate), taker_(std::move(taker)), resampler_(rate), tempo_(rate) {}

    /// False if the taker said so.
    bool push(const AVFrame &frame, int64_t positionUs, double speed);
    /// What is inside comes out; the next frame begins anew.
    bool finish();
    void reset();

private:
    bool begin(int64_t positionUs);
    bool passOn(const Sound &sound);
    bool give(Sound &sound);
    double usPerFrame() const { return 1e6 * tempo_.speed() / rate_; }

    const int rate_;
    const Taker taker_;
    Resampler resampler_;
    Tempo tempo_;
    bool begun_ = false;
    bool cutting_ = false;   ///< the last frame was left out as an overlap: the next is cut to the sample
    double inputUs_ = 0.0;   ///< where the next frame should begin
    double outputUs_ = 0.0;  ///< where the next sound for the taker begins
};

}  // namespace oriplayer
