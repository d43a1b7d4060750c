#include "output/tempo.h"

#include <algorithm>
#include <cmath>

namespace oriplayer {
namespace {

void fadeOut(Sound &sound, std::size_t ramp) {
    const std::size_t frames = std::min(ramp, sound.frames());
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
        finish(out);
        filter_.reset();
    } else {
        filter_ = std::make_unique<soundtouch::SoundTouch>();
        filter_->setSampleRate(static_cast<uint>(rate_));
        filter_->setChannels(kSoundChannels);
        filter_->setTempo(speed);
    }
    speed_ = speed;
}

void Tempo::process(const float *stereo, std::size_t frames, Sound &out) {
    const std::size_t before = out.samples.size();
    if (filter_) {
        filter_->putSamples(stereo, static_cast<uint>(frames));
        receive(out);
    } else {
        out.samples.insert(out.samples.end(), stereo, stereo + frames * kSoundChannels);
    }
    fadeIn(out, before / kSoundChannels);
}

void Tempo::fadeIn(Sound &out, std::size_t from) {
    const std::size_t ramp = rampFrames(rate_);
    for (; toFadeIn_ > 0 && from < out.frames(); ++from, --toFadeIn_) {
        const float gain = static_cast<float>(ramp - toFadeIn_) / static_cast<float>(ramp);
        for (std::size_t c = 0; c < kSoundChannels; ++c) out.samples[from * kSoundChannels + c] *= gain;
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
    const std::size_t before = out.samples.size();
    filter_->flush();
    receive(out);
    filter_->clear();
    // It pads what was too little for it with silence.
    while (out.samples.size() > before && std::abs(out.samples.back()) < 1e-6F) out.samples.pop_back();
    out.samples.resize((out.samples.size() + 1) / kSoundChannels * kSoundChannels);
    fadeOut(out, rampFrames(rate_));
    toFadeIn_ = rampFrames(rate_);
}

void Tempo::reset() {
    if (filter_) filter_->clear();
    toFadeIn_ = 0;
}

}  // namespace oriplayer
