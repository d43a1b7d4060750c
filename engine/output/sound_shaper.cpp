#include "output/sound_shaper.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace oriplayer {
namespace {

// More than this is no jitter of a container.
constexpr double kCertainUs = 40'000.0;
// Lasting differences of less than this are stretched away.
constexpr double kStepUs = 10'000.0;
constexpr double kLongestRepairUs = 1'000'000.0;
// The sound of most sources is passed on untouched, although their times are rounded to 1 ms and worse.
constexpr double kDriftUs = 3'000.0;
constexpr double kDriftTimeUs = 2'000'000.0;  // to make up for it
constexpr double kMostStretch = 0.005;        // a twelfth of a semitone

}  // namespace

void TimeOffsets::add(double offUs) {
    offsUs_[count_++ % kFrames] = offUs;
}

double TimeOffsets::meanUs() const {
    if (count_ < kFrames) return 0.0;
    return std::accumulate(offsUs_.begin(), offsUs_.end(), 0.0) / kFrames;
}

double TimeOffsets::lastingUs(double leastUs) const {
    const auto [least, most] = std::minmax_element(offsUs_.begin(), offsUs_.end());
    return *least > leastUs || *most < -leastUs ? meanUs() : 0.0;
}

bool SoundShaper::push(const AVFrame &frame, int64_t positionUs) {
    if (frame.nb_samples <= 0 || frame.sample_rate <= 0) return true;
    double off = begun_ ? static_cast<double>(positionUs) - inputUs_ : 0.0;
    if (!begun_ || std::abs(off) > kLongestRepairUs) {
        if (!begin(positionUs)) return false;
        off = 0.0;
    }
    Sound sound;
    const double change = step(off);
    if (change > 0.0) fill(change, sound);
    const int skip = change < 0.0 ? static_cast<int>(-change * frame.sample_rate / 1e6) : 0;
    cutting_ = skip >= frame.nb_samples;
    if (cutting_) return true;
    if (skip > 0) {
        resampler_.finish(sound);
        joins_ = true;
    }
    const std::size_t before = sound.frames();
    // A frame that cannot be converted is a gap: the next one fills it.
    if (resampler_.convertFrom(frame, skip, sound)) {
        inputUs_ += (1.0 + stretch_) * 1e6 * (frame.nb_samples - skip) / frame.sample_rate;
    }
    if (joins_) join(sound, before);
    return give(sound);
}

bool SoundShaper::begin(int64_t positionUs) {
    const bool cuts = begun_;
    if (begun_ && !finish()) return false;
    begun_ = true;
    cutting_ = false;
    joins_ = cuts;
    offsets_.clear();
    stretch_ = resampler_.stretch(0.0);
    inputUs_ = outputUs_ = static_cast<double>(positionUs);
    return true;
}

// What has to be filled (above 0) or cut (below 0) before a frame that is so far from its place.
double SoundShaper::step(double offUs) {
    offsets_.add(offUs);
    double change = offsets_.lastingUs(kStepUs);
    if (std::abs(offUs) > kCertainUs || (cutting_ && offUs < 0.0)) change = offUs;
    if (change != 0.0) {
        offsets_.clear();
        return change;
    }
    const double mean = offsets_.meanUs();
    if (stretch_ == 0.0 && std::abs(mean) < kDriftUs) return 0.0;
    stretch_ = resampler_.stretch(std::clamp(mean / kDriftTimeUs, -kMostStretch, kMostStretch));
    return 0.0;
}

void SoundShaper::fill(double gapUs, Sound &sound) {
    resampler_.finish(sound);
    const std::size_t end = sound.frames();
    sound.appendSilence(static_cast<std::size_t>(gapUs * rate_ / 1e6));
    inputUs_ += gapUs;
    join(sound, end);
    joins_ = true;
}

// What the first frame from `at` on differs from the one before it fades away.
void SoundShaper::join(Sound &sound, std::size_t at) {
    const std::size_t frames = std::min(rampFrames(rate_), sound.frames() - at);
    for (std::size_t c = 0; frames > 0 && c < kSoundChannels; ++c) {
        float *samples = sound.samples.data() + at * kSoundChannels + c;
        const float step = (at > 0 ? *(samples - kSoundChannels) : last_[c]) - *samples;
        for (std::size_t i = 0; i < frames; ++i) {
            samples[i * kSoundChannels] += step * static_cast<float>(frames - i) / static_cast<float>(frames + 1);
        }
    }
    joins_ = joins_ && frames == 0;
}

bool SoundShaper::give(const Sound &sound) {
    if (sound.frames() == 0) return true;
    std::copy_n(sound.samples.end() - kSoundChannels, kSoundChannels, last_.begin());
    const double at = outputUs_;
    outputUs_ += static_cast<double>(sound.frames()) * 1e6 / rate_;
    return taker_(sound, at);
}

bool SoundShaper::finish() {
    Sound rest;
    resampler_.finish(rest);
    begun_ = false;
    return give(rest);
}

void SoundShaper::reset() {
    resampler_.reset();
    begun_ = joins_ = false;
}

}  // namespace oriplayer
