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
    /// Brings out what is inside at the old speed first.
    void setSpeed(double speed, Sound &out);
    /// Appends what comes out for `in` to `out`.
    void process(const Sound &in, Sound &out);
    /// What is still inside comes out.
    void finish(Sound &out);
    void reset();

private:
    void receive(Sound &out);

    const int rate_;
    double speed_ = 1.0;
    std::unique_ptr<soundtouch::SoundTouch> filter_;
    bool joins_ = false;  ///< the next sound follows a change of the filter: its first 2 ms are faded in
};

}  // namespace oriplayer
