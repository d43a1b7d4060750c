#include "output/sound_shaper.h"

#include <cmath>

namespace oriplayer {
namespace {

// Containers round times to 1 ms and worse; less than this is not a gap, and nobody sees it against the picture.
constexpr double kToleranceUs = 10'000.0;
constexpr double kLongestRepairUs = 1'000'000.0;

}  // namespace

bool SoundShaper::push(const AVFrame &frame, int64_t positionUs, double speed) {
    if (frame.nb_samples <= 0 || frame.sample_rate <= 0) return true;
    const double off = begun_ ? static_cast<double>(positionUs) - inputUs_ : 0.0;
    if (!begun_ || std::abs(off) > kLongestRepairUs) {
        if (!begin(positionUs)) return false;
    }
    if (speed != tempo_.speed()) {
        Sound rest;
        const double oldUsPerFrame = usPerFrame();
        tempo_.setSpeed(speed, rest);
        if (rest.frames() > 0 && !taker_(rest, outputUs_, oldUsPerFrame)) return false;
        // Whatever the filter made too much or too little of ends where its input did.
        if (speed == 1.0) outputUs_ = inputUs_;
    }
    int skip = 0;
    Sound sound;
    if (std::abs(off) <= kLongestRepairUs && off > kToleranceUs) {
        sound.appendSilence(static_cast<std::size_t>(off * rate_ / 1e6));
        inputUs_ += off;
    } else if (std::abs(off) <= kLongestRepairUs && off < (cutting_ ? 0.0 : -kToleranceUs)) {
        skip = static_cast<int>(-off * frame.sample_rate / 1e6);
        cutting_ = skip >= frame.nb_samples;
        if (cutting_) return true;
    }
    cutting_ = false;
    // A frame that cannot be converted is a gap: the next one fills it.
    if (resampler_.convertFrom(frame, skip, sound)) inputUs_ += 1e6 * (frame.nb_samples - skip) / frame.sample_rate;
    return passOn(sound);
}

bool SoundShaper::begin(int64_t positionUs) {
    if (begun_ && !finish()) return false;
    begun_ = true;
    cutting_ = false;
    inputUs_ = outputUs_ = static_cast<double>(positionUs);
    return true;
}

bool SoundShaper::passOn(const Sound &sound) {
    Sound shaped;
    tempo_.process(sound, shaped);
    return give(shaped);
}

bool SoundShaper::give(Sound &sound) {
    if (sound.frames() == 0) return true;
    const double at = outputUs_;
    outputUs_ += static_cast<double>(sound.frames()) * usPerFrame();
    return taker_(sound, at, usPerFrame());
}

bool SoundShaper::finish() {
    Sound rest;
    resampler_.finish(rest);
    Sound shaped;
    tempo_.process(rest, shaped);
    tempo_.finish(shaped);
    begun_ = false;
    return give(shaped);
}

void SoundShaper::reset() {
    resampler_.reset();
    tempo_.reset();
    begun_ = false;
}

}  // namespace oriplayer
