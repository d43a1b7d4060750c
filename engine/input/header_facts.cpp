#include "input/header_facts.h"

#include <algorithm>
#include <string>

namespace oriplayer {

namespace {

bool reorders(AVCodecID codec) {
    return codec != AV_CODEC_ID_VP8 && codec != AV_CODEC_ID_VP9 && codec != AV_CODEC_ID_AV1;
}

bool known(const AVStream &stream, bool decodingTimes) {
    const AVCodecParameters &codec = *stream.codecpar;
    const bool attached = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    if (attached || codec.codec_type == AVMEDIA_TYPE_DATA) return true;
    if (codec.codec_id == AV_CODEC_ID_NONE) return false;
    if (codec.codec_type == AVMEDIA_TYPE_AUDIO) return codec.sample_rate > 0 && codec.ch_layout.nb_channels > 0;
    if (codec.codec_type != AVMEDIA_TYPE_VIDEO) return true;
    const bool timed = decodingTimes || !reorders(codec.codec_id);
    return timed && codec.width > 0 && codec.height > 0 && stream.avg_frame_rate.num > 0;
}

}  // namespace

bool headerTells(const AVFormatContext &container) {
    const std::string name = container.iformat->name;
    const bool mp4 = name.rfind("mov,", 0) == 0;
    // Matroska stores no decoding times: where pictures are reordered, probing works them out.
    if (!mp4 && name.rfind("matroska,", 0) != 0) return false;
    if ((container.ctx_flags & AVFMTCTX_NOHEADER) || container.duration <= 0 || container.nb_streams == 0) return false;
    for (unsigned i = 0; i < container.nb_streams; ++i) {
        if (!known(*container.streams[i], mp4)) return false;
    }
    return true;
}

int64_t beginningOf(const AVFormatContext &container, std::initializer_list<const AVStream *> chosen) {
    if (container.start_time != AV_NOPTS_VALUE || !headerTells(container)) return container.start_time;
    int64_t startUs = AV_NOPTS_VALUE;
    for (const AVStream *stream : chosen) {
        const AVIndexEntry *first = stream ? avformat_index_get_entry(const_cast<AVStream *>(stream), 0) : nullptr;
        if (!first) continue;
        const int64_t us = av_rescale_q(first->timestamp, stream->time_base, {1, 1'000'000});
        startUs = startUs == AV_NOPTS_VALUE ? us : std::min(startUs, us);
    }
    return startUs == AV_NOPTS_VALUE ? 0 : startUs;
}

}  // namespace oriplayer
