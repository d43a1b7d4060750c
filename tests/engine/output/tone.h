#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "ffmpeg.h"

namespace tone {

/// A mono frame of floats with a sine; `from` counts the samples before it.
inline oriplayer::FramePtr frame(int rate, int samples, double hertz, float amplitude, int64_t from = 0) {
    oriplayer::FramePtr made(av_frame_alloc());
    made->format = AV_SAMPLE_FMT_FLT;
    made->sample_rate = rate;
    made->nb_samples = samples;
    av_channel_layout_default(&made->ch_layout, 1);
    av_frame_get_buffer(made.get(), 0);
    auto *data = reinterpret_cast<float *>(made->data[0]);
    for (int i = 0; i < samples; ++i) {
        const double at = static_cast<double>(from + i) / rate;
        data[i] = amplitude * static_cast<float>(std::sin(2 * M_PI * hertz * at));
    }
    return made;
}

/// The left channel of interleaved stereo.
inline std::vector<float> left(const std::vector<float> &stereo) {
    std::vector<float> one;
    for (std::size_t i = 0; i < stereo.size(); i += 2) one.push_back(stereo[i]);
    return one;
}

inline float peak(const std::vector<float> &samples) {
    float most = 0;
    for (float sample : samples) most = std::max(most, std::abs(sample));
    return most;
}

/// The greatest difference of neighbours: a click shows here.
inline float steepest(const std::vector<float> &samples) {
    float most = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) most = std::max(most, std::abs(samples[i] - samples[i - 1]));
    return most;
}

/// Frequency by counting how often the wave rises through zero.
inline double hertz(const std::vector<float> &samples, int rate) {
    int rises = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) rises += samples[i - 1] < 0 && samples[i] >= 0;
    return static_cast<double>(rises) * rate / static_cast<double>(samples.size());
}

}  // namespace tone
