#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace oriplayer {

using SoundTime = std::chrono::steady_clock::time_point;

constexpr std::size_t kSoundChannels = 2;  ///< everything behind the resampler is interleaved stereo

/// Interleaved stereo samples; `frames()` counts pairs.
struct Sound {
    std::vector<float> samples;
    std::size_t frames() const { return samples.size() / kSoundChannels; }
    void appendSilence(std::size_t frames) { samples.resize(samples.size() + frames * kSoundChannels, 0.0F); }
};

/// Frames that ramps at cuts take: 2 ms, too short to be heard as a fade and long enough not to click.
inline std::size_t rampFrames(int rate) {
    return static_cast<std::size_t>(rate) / 500;
}

}  // namespace oriplayer
