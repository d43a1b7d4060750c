#include "output/tempo.h"

#include <algorithm>

namespace oriplayer {
namespace {

void fadeIn(float *samples, std::size_t frames) {
    for (std::size_t i = 0; i < frames * kSoundChannels; ++i) {
        samples[i] *= static_cast<float>(i / kSoundChannels) / static_cast<float>(frames);
    }
}

void fadeOut(Sound &sound, std::size_t ramp, std::size_t notBefore) {
    const std::size_t frames = std::min(ramp, sound.frames() - notBefore);
    float *samples = sound.samples.data() + (sound.frames() - frames) * kSoundChannels;
    for (std::size_t i = 0; i < frames * kSoundChannels; ++i) {
        samples[i] *= static_cast<float>(frames - 1 - i / kSoundChannels) / static_cast<float>(frames);
    }
}

}  // namespace

void Tempo::setSpeed(double speed, Sound &out) {
    if (speed == speed_) return;
    // Between two speeds other than 1.0 the filter itself makes the passage smooth.
    if (filter_ && speed != 1.0) {
        filter_->setTempo(speed);
    } else if (filter_) {
        const std::size_t before = out.frames();
        finish(out);
        fadeOut(out, rampFrames(rate_), before);
        filter_.reset();
        joins_ = true;
    } else {
        filter_ = std::make_unique<soundtouch::SoundTouch>();
        filter_->setSampleRate(static_cast<uint>(rate_));
        filter_->setChannels(kSoundChannels);
        filter_->setTempo(speed);
    }
    speed_ = speed;
}

void Tempo::process(const Sound &in, Sound &out) {
    const std::size_t before = out.samples.size();
    if (filter_) {
        filter_->putSamples(in.samples.data(), static_cast<uint>(in.frames()));
        receive(out);
    } else {
        out.samples.insert(out.samples.end(), in.samples.begin(), in.samples.end());
    }
    const std::size_t made = (out.samples.size() - before) / kSoundChannels;
    if (joins_ && made > 0) {
        fadeIn(out.samples.data() + before, std::min(made, rampFrames(rate_)));
        joins_ = false;
    }
}

void Tempo::receive(Sound &out) {
    while (const uint waiting = filter_->numSamples()) {
        const std::size_t before = out.samples.size();
        out.appendSilence(waiting);
        const uint got = filter_->receiveSamples(out.samples.data() + before, waiting);
        out.samples.resize(before + got * kSoundChannels);
        if (got == 0) return;
    }
}

void Tempo::finish(Sound &out) {
    if (!filter_) return;
    filter_->flush();
    receive(out);
    filter_->clear();
}

void Tempo::reset() {
    if (filter_) filter_->clear();
    joins_ = false;
}

}  // namespace oriplayer
