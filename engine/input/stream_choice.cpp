#include "input/stream_choice.h"

#include <strings.h>

#include <charconv>
#include <cstdlib>

namespace oriplayer {

namespace {

bool isStillPicture(const AVStream &stream) {
    return (stream.disposition & (AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS)) != 0;
}

/// Negative results (none, or none with a decoder) count as none.
int best(AVFormatContext &container, AVMediaType type, int wanted, int related) {
    const AVCodec *decoder = nullptr;
    const int index = av_find_best_stream(&container, type, wanted, related, &decoder, 0);
    return index < 0 ? -1 : index;
}

/// What an HLS list says of a stream's variant, bits a second; 0 elsewhere.
int64_t variantBitrate(const AVStream &stream) {
    const AVDictionaryEntry *entry = av_dict_get(stream.metadata, "variant_bitrate", nullptr, 0);
    return entry ? std::strtoll(entry->value, nullptr, 10) : 0;
}

/// The video of the best variant, `index` where there are no variants.
int topVariant(AVFormatContext &container, int index) {
    for (unsigned i = 0; index >= 0 && i < container.nb_streams; ++i) {
        const AVStream &stream = *container.streams[i];
        const bool better = variantBitrate(stream) > variantBitrate(*container.streams[index]);
        if (!better || stream.codecpar->codec_type != AVMEDIA_TYPE_VIDEO || isStillPicture(stream)) continue;
        const int found = best(container, AVMEDIA_TYPE_VIDEO, static_cast<int>(i), -1);
        if (found >= 0) index = found;
    }
    return index;
}

int chooseVideo(AVFormatContext &container) {
    // The cover of an album is a video stream to FFmpeg; any real one goes before it.
    int index = best(container, AVMEDIA_TYPE_VIDEO, -1, -1);
    if (index < 0 || !isStillPicture(*container.streams[index])) return topVariant(container, index);
    for (unsigned i = 0; i < container.nb_streams; ++i) {
        const AVStream &stream = *container.streams[i];
        if (stream.codecpar->codec_type != AVMEDIA_TYPE_VIDEO || isStillPicture(stream)) continue;
        index = best(container, AVMEDIA_TYPE_VIDEO, static_cast<int>(i), -1);
        if (index >= 0) return index;
    }
    return -1;
}

bool isTrack(const AVStream &stream, int number, const std::string &wanted) {
    int asked = -1;
    const auto [end, error] = std::from_chars(wanted.data(), wanted.data() + wanted.size(), asked);
    if (error == std::errc{} && end == wanted.data() + wanted.size()) return asked == number;
    const AVDictionaryEntry *language = av_dict_get(stream.metadata, "language", nullptr, 0);
    return language && strcasecmp(language->value, wanted.c_str()) == 0;
}

int chooseAudio(AVFormatContext &container, const std::string &wanted, int video) {
    int number = 0;
    for (unsigned i = 0; !wanted.empty() && i < container.nb_streams; ++i) {
        const AVStream &stream = *container.streams[i];
        if (stream.codecpar->codec_type != AVMEDIA_TYPE_AUDIO) continue;
        const int index = isTrack(stream, number++, wanted) ? static_cast<int>(i) : -1;
        if (index >= 0 && best(container, AVMEDIA_TYPE_AUDIO, index, -1) == index) return index;
    }
    return best(container, AVMEDIA_TYPE_AUDIO, -1, video);
}

}  // namespace

StreamChoice chooseStreams(AVFormatContext &container, const InputOptions &options) {
    StreamChoice choice;
    if (options.wantVideo) choice.video = chooseVideo(container);
    if (options.wantAudio) choice.audio = chooseAudio(container, options.audioTrack, choice.video);
    // Announced, but never seen in all that was probed: not worth waiting for where there is sound.
    if (choice.video >= 0 && choice.audio >= 0 && container.streams[choice.video]->codecpar->width == 0)
        choice.video = -1;
    for (int i = 0; i < static_cast<int>(container.nb_streams); ++i) {
        if (i != choice.video && i != choice.audio) container.streams[i]->discard = AVDISCARD_ALL;
    }
    return choice;
}

}  // namespace oriplayer
