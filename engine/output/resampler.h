#pragma once

#include <memory>

#include "ffmpeg.h"
#include "output/sound.h"

struct SwrContext;

namespace oriplayer {

/// Brings decoded sound of any format, rate and layout into interleaved stereo floats of one rate.
/// Threads:  one at a time.
class Resampler {
public:
    explicit Resampler(int rate) : rate_(rate) {}

    /// Appends what the frame gives to `out`, from its sample number `skip` on. A frame of another format than the last
    /// brings out the old one's rest first. False if the format cannot be converted; the frame is left out then.
    bool convertFrom(const AVFrame &frame, int skip, Sound &out);
    /// The frames from now on become longer by this share of their length, or shorter if it is below 0. Returns the
    /// share that is applied. 0 after the start.
    double stretch(double ratio);
    /// What is still inside comes out; the next frame begins anew.
    void finish(Sound &out);
    void reset();

private:
    struct Free {
        void operator()(SwrContext *context) const;
    };
    struct Format {
        int sample = -1;
        int rate = 0;
        int channels = 0;
        uint64_t mask = 0;
        bool operator==(const Format &) const = default;
    };
    bool fit(const AVFrame &frame, Sound &out);
    bool run(const uint8_t **data, int frames, Sound &out);

    const int rate_;
    Format format_;
    std::unique_ptr<SwrContext, Free> context_;
    int stretch_ = 0;         ///< frames of a second's output to add
    bool stretches_ = false;  ///< the context was told so
};

}  // namespace oriplayer
