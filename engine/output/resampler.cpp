#include "output/resampler.h"

#include <array>
#include <cmath>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace oriplayer {

void Resampler::Free::operator()(SwrContext *context) const {
    swr_free(&context);
}

bool Resampler::convertFrom(const AVFrame &frame, int skip, Sound &out) {
    if (skip >= frame.nb_samples || !fit(frame, out)) return false;
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const bool planar = av_sample_fmt_is_planar(format) != 0;
    const int channels = frame.ch_layout.nb_channels;
    const int step = av_get_bytes_per_sample(format) * (planar ? 1 : channels);
    std::array<const uint8_t *, 64> planes{};
    const int count = planar ? channels : 1;
    if (static_cast<std::size_t>(count) > planes.size()) return false;
    for (int i = 0; i < count; ++i) {
        planes[static_cast<std::size_t>(i)] = frame.extended_data[i] + static_cast<std::ptrdiff_t>(skip) * step;
    }
    if (stretch_ != 0 || stretches_) {
        swr_set_compensation(context_.get(), stretch_, rate_);
        stretches_ = true;
    }
    return run(planes.data(), frame.nb_samples - skip, out);
}

double Resampler::stretch(double ratio) {
    stretch_ = static_cast<int>(std::lround(ratio * rate_));
    return static_cast<double>(stretch_) / rate_;
}

bool Resampler::fit(const AVFrame &frame, Sound &out) {
    const Format format{frame.format, frame.sample_rate, frame.ch_layout.nb_channels,
                        frame.ch_layout.order == AV_CHANNEL_ORDER_NATIVE ? frame.ch_layout.u.mask : 0};
    if (context_ && format == format_) return true;
    finish(out);
    if (frame.sample_rate <= 0 || frame.ch_layout.nb_channels <= 0) return false;

    AVChannelLayout from{};
    // Decoders that know only a number of channels mean the usual layout of that number.
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
        av_channel_layout_default(&from, frame.ch_layout.nb_channels);
    } else if (av_channel_layout_copy(&from, &frame.ch_layout) < 0) {
        return false;
    }
    AVChannelLayout to{};
    av_channel_layout_default(&to, kSoundChannels);
    SwrContext *context = nullptr;
    int result = swr_alloc_set_opts2(&context, &to, AV_SAMPLE_FMT_FLT, rate_, &from,
                                     static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
    av_channel_layout_uninit(&from);
    // One channel is played by both speakers as it is, not 3 dB lower.
    constexpr double kBoth[kSoundChannels] = {1.0, 1.0};
    if (result >= 0 && frame.ch_layout.nb_channels == 1) result = swr_set_matrix(context, kBoth, 1);
    // All channels together are no louder than one.
    if (result >= 0) result = av_opt_set_double(context, "rematrix_maxval", 1.0, 0);
    if (result >= 0) result = swr_init(context);
    context_.reset(context);
    if (result < 0) context_.reset();
    format_ = format;
    return result >= 0;
}

bool Resampler::run(const uint8_t **data, int frames, Sound &out) {
    const int most = swr_get_out_samples(context_.get(), frames);
    if (most < 0) return false;
    const std::size_t before = out.samples.size();
    out.appendSilence(static_cast<std::size_t>(most));
    auto *to = reinterpret_cast<uint8_t *>(out.samples.data() + before);
    const int made = swr_convert(context_.get(), &to, most, data, frames);
    out.samples.resize(before + static_cast<std::size_t>(made > 0 ? made : 0) * kSoundChannels);
    return made >= 0;
}

void Resampler::finish(Sound &out) {
    if (context_) run(nullptr, 0, out);
    reset();
}

void Resampler::reset() {
    context_.reset();
    stretches_ = false;
}

}  // namespace oriplayer
