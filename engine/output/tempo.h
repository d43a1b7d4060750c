#pragma once

#include <SoundTouch.h>

#include <memory>

#include "output/sound.h"

namespace oriplayer {

/// Plays sound faster or slower with its pitch kept. At speed 1.0 sound passes untouched.
/// Threads:  one at a time.
class Tempo {
public:
    explicit Tempo(int rate) : rate_(rate) {}

    double speed() const { return speed_; }
    /// Brings out what is inside at the old speed first, as finish() if the new one is 1.0.
    void setSpeed(double speed, Sound &out);
    /// Appends what comes out for these frames to `out`.
    void process(const float *stereo, std::size_t frames, Sound &out);
    /// What is still inside comes out. The end of `out` is faded, and so is the beginning of what follows.
    void finish(Sound &out);
    /// Frames that went in and did not come out yet.
    std::size_t inside() const { return filter_ ? filter_->numUnprocessedSamples() : 0; }
    void reset();

private:
    void receive(Sound &out);
    void fadeIn(Sound &out, std::size_t from);

    const int rate_;
    double speed_ = 1.0;
    std::unique_ptr<soundtouch::SoundTouch> filter_;
    std::size_t toFadeIn_ = 0;  ///< frames, after a change of the filter
};

}  // namespace oriplayer
