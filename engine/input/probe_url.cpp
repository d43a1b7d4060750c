#include <algorithm>
#include <memory>

#include "base/oriplayer/module.h"
#include "input/bounded_call.h"
#include "input/source_input.h"

namespace oriplayer {

namespace {

ProbedStream described(const AVStream &stream) {
    const AVCodecParameters &codec = *stream.codecpar;
    ProbedStream result;
    result.codec = avcodec_get_name(codec.codec_id);
    if (const AVDictionaryEntry *tag = av_dict_get(stream.metadata, "language", nullptr, 0))
        result.language = tag->value;
    if (codec.codec_type == AVMEDIA_TYPE_VIDEO) {
        result.kind = ProbedStream::Kind::kVideo;
        result.width = codec.width;
        result.height = codec.height;
        const AVRational rate = stream.avg_frame_rate.num > 0 ? stream.avg_frame_rate : stream.r_frame_rate;
        result.frameRate = rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0.0;
    } else if (codec.codec_type == AVMEDIA_TYPE_AUDIO) {
        result.kind = ProbedStream::Kind::kAudio;
        result.sampleRate = codec.sample_rate;
        result.channels = codec.ch_layout.nb_channels;
    }
    // A cover is a picture of the album, not something that plays.
    if (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) result.kind = ProbedStream::Kind::kOther;
    return result;
}

int probe(const std::string &url, const InputOptions &options, ProbeResult &result) {
    SourceInput input;
    if (const MediaError error = input.open(url, options)) {
        result.nativeError = error.native;
        result.error = error.text;
        return -1;
    }
    const AVFormatContext &container = *input.container();
    result.container = container.iformat->name;
    result.durationMs = (input.durationUs() + 500) / 1000;
    result.live = input.live();
    for (unsigned i = 0; i < container.nb_streams; ++i) result.streams.push_back(described(*container.streams[i]));
    return 0;
}

struct Probe {
    std::string url;
    InputOptions options;
    ProbeResult result;
    int outcome = -1;
};

}  // namespace

int probeUrl(const char *url, const ProbeOptions &options, ProbeResult &result) {
    result = {};
    auto probing = std::make_shared<Probe>();
    probing->url = url ? url : "";
    probing->options.timeoutMs = std::max(options.timeoutMs, 1);
    probing->options.userAgent = options.userAgent;
    probing->options.headers = options.headers;
    const auto work = [probing](const std::atomic<bool> &giveUp) {
        probing->options.cancel = &giveUp;
        probing->outcome = probe(probing->url, probing->options, probing->result);
    };
    if (boundedCall(work, probing->options.timeoutMs, options.cancel)) {
        result = std::move(probing->result);
        return probing->outcome;
    }
    const bool cancelled = options.cancel && options.cancel->load();
    result.nativeError = cancelled ? AVERROR_EXIT : AVERROR(ETIMEDOUT);
    result.error = "probing \"" + probing->url + "\": " + avErrorText(result.nativeError);
    return -1;
}

}  // namespace oriplayer
