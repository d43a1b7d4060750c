#include "subtitle/event_times.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace oriplayer {
namespace {

struct InputClose {
    void operator()(AVFormatContext *input) const { avformat_close_input(&input); }
};
using InputPtr = std::unique_ptr<AVFormatContext, InputClose>;

MediaError open(const std::string &path, InputPtr &input) {
    AVDictionary *options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    AVFormatContext *context = nullptr;
    int result = avformat_open_input(&context, path.c_str(), nullptr, &options);
    av_dict_free(&options);
    input.reset(context);
    if (result < 0) return {result, avErrorText(result)};
    result = av_find_best_stream(context, AVMEDIA_TYPE_SUBTITLE, -1, -1, nullptr, 0);
    if (result < 0) return {AVERROR_INVALIDDATA, "no subtitles in it"};
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        if (static_cast<int>(i) != result) context->streams[i]->discard = AVDISCARD_ALL;
    }
    return {};
}

const AVStream &chosen(const AVFormatContext &input) {
    unsigned i = 0;
    while (input.streams[i]->discard == AVDISCARD_ALL) ++i;
    return *input.streams[i];
}

// Of what has no end of its own the next text is the end, which is not known here.
EventTimes::Span spanOf(const AVPacket &packet, AVRational unit) {
    constexpr AVRational kMs{1, 1000};
    const int64_t begin = av_rescale_q(packet.pts, unit, kMs);
    return {begin, packet.duration > 0 ? begin + av_rescale_q(packet.duration, unit, kMs) : INT64_MAX};
}

// No overlong forms are looked for: the question is which of two alphabets it is.
bool isUtf8(std::string_view text) {
    int follow = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool continues = (byte & 0xC0U) == 0x80U;
        if (continues != (follow > 0)) return false;
        if (continues) {
            --follow;
        } else if (byte >= 0x80U) {
            follow = byte >= 0xF0U ? 3 : byte >= 0xE0U ? 2 : 1;
        }
    }
    return follow == 0;
}

int rowsOf(const AVCodecParameters &codec, int otherwise) {
    if (!codec.extradata) return otherwise;
    const std::string_view header(reinterpret_cast<const char *>(codec.extradata),
                                  static_cast<std::size_t>(codec.extradata_size));
    constexpr std::string_view kKey = "PlayResY:";
    const std::size_t found = header.find(kKey);
    if (found == std::string_view::npos) return otherwise;
    const int rows = std::atoi(std::string(header.substr(found + kKey.size(), 12)).c_str());
    return rows > 0 ? rows : otherwise;
}

void join(std::vector<EventTimes::Span> &spans) {
    std::sort(spans.begin(), spans.end(), [](const auto &a, const auto &b) { return a.beginMs < b.beginMs; });
    std::size_t last = 0;
    for (std::size_t i = 1; i < spans.size(); ++i) {
        if (spans[i].beginMs <= spans[last].endMs) {
            spans[last].endMs = std::max(spans[last].endMs, spans[i].endMs);
        } else {
            spans[++last] = spans[i];
        }
    }
    if (!spans.empty()) spans.resize(last + 1);
}

}  // namespace

bool EventTimes::covers(int64_t positionMs) const {
    const auto behind = std::upper_bound(spans.begin(), spans.end(), positionMs,
                                         [](int64_t position, const Span &span) { return position < span.beginMs; });
    return behind != spans.begin() && positionMs < std::prev(behind)->endMs;
}

MediaError readEventTimes(const std::string &path, EventTimes &times) {
    InputPtr input;
    if (MediaError error = open(path, input)) return error;
    const AVStream &stream = chosen(*input);
    times.scriptRows = rowsOf(*stream.codecpar, times.scriptRows);
    const PacketPtr packet(av_packet_alloc());
    if (!packet) return {AVERROR(ENOMEM), "no memory"};
    int result = 0;
    while ((result = av_read_frame(input.get(), packet.get())) >= 0) {
        if (packet->stream_index == stream.index && packet->pts != AV_NOPTS_VALUE) {
            times.spans.push_back(spanOf(*packet, stream.time_base));
            times.utf8 = times.utf8 &&
                         isUtf8({reinterpret_cast<const char *>(packet->data), static_cast<std::size_t>(packet->size)});
        }
        av_packet_unref(packet.get());
    }
    if (result != AVERROR_EOF) return {result, avErrorText(result)};
    if (times.spans.empty()) return {AVERROR_INVALIDDATA, "no subtitles in it"};
    join(times.spans);
    return {};
}

}  // namespace oriplayer
