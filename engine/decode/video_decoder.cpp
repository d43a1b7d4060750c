#include "decode/video_decoder.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <type_traits>

#include "decode/codec_session.h"
#include "ffmpeg_versions.h"

namespace oriplayer {

namespace {

constexpr int64_t kUsualPictureUs = 40'000;  // where neither packets nor stream say how long a picture is

int64_t pictureUs(const AVStream &stream) {
    const AVRational rate = stream.avg_frame_rate.num > 0 ? stream.avg_frame_rate : stream.r_frame_rate;
    if (rate.num <= 0 || rate.den <= 0) return kUsualPictureUs;
    return std::max<int64_t>(1, av_rescale(1'000'000, rate.den, rate.num));
}

// A number of the stream that FFmpeg does not know stays out of the enumeration, whose other values cannot be read.
template <typename Enumeration> void keepKnown(Enumeration &field, Enumeration end, Enumeration unknown) {
    std::underlying_type_t<Enumeration> value{};
    static_assert(sizeof value == sizeof field);
    std::memcpy(&value, &field, sizeof value);
    if (static_cast<int64_t>(value) < 0 || value >= static_cast<decltype(value)>(end)) field = unknown;
}

void keepKnownColours(AVFrame &frame) {
    keepKnown(frame.colorspace, AVCOL_SPC_NB, AVCOL_SPC_UNSPECIFIED);
    keepKnown(frame.color_range, AVCOL_RANGE_NB, AVCOL_RANGE_UNSPECIFIED);
    keepKnown(frame.color_primaries, AVCOL_PRI_NB, AVCOL_PRI_UNSPECIFIED);
    keepKnown(frame.color_trc, AVCOL_TRC_NB, AVCOL_TRC_UNSPECIFIED);
}

}  // namespace

struct VideoDecoder::Impl {
    CodecSession session;
    std::optional<ThreadLimits> restart;  // the limits to start again with
    int64_t pictureUs = kUsualPictureUs;
    int64_t skipBeforeUs = INT64_MIN;

    // Since the start or the last flush:
    bool sawPts = false;
    int64_t firstPacketUs = AV_NOPTS_VALUE;  // decoding times
    int64_t lastPacketUs = AV_NOPTS_VALUE;
    int64_t lastUs = AV_NOPTS_VALUE;
    int64_t lastDurationUs = 0;

    void restartIfDue();
    void look(const AVPacket &packet);
    int64_t timeOf(const AVFrame &frame);
    void stamp(AVFrame &frame);
};

// If no other decoder can be made, this one goes on with the threads that it has.
void VideoDecoder::Impl::restartIfDue() {
    if (!restart || !session.context()) return;
    CodecSession again;
    const AVCodecContext &codec = *session.context();
    const DecodingLoad load{codec.codec_id, codec.width, codec.height, codec.pix_fmt, codec.framerate};
    if (!again.openLike(session, decoderThreads(load, *restart))) session = std::move(again);
    restart.reset();
}

void VideoDecoder::Impl::look(const AVPacket &packet) {
    if (firstPacketUs == AV_NOPTS_VALUE) firstPacketUs = packet.dts;
    if (packet.dts != AV_NOPTS_VALUE) lastPacketUs = packet.dts;
    sawPts = sawPts || packet.pts != AV_NOPTS_VALUE;
    const bool timed = packet.pts != AV_NOPTS_VALUE && skipBeforeUs != INT64_MIN;
    const bool wanted = !timed || packet.pts + std::max(packet.duration, pictureUs) > skipBeforeUs;
    session.context()->skip_frame = wanted ? AVDISCARD_DEFAULT : AVDISCARD_NONREF;
}

/// The time of a picture as far as the packets tell it, else AV_NOPTS_VALUE.
int64_t VideoDecoder::Impl::timeOf(const AVFrame &frame) {
    const int64_t best = frame.best_effort_timestamp;
    if (sawPts) return best;
    // Only decoding times: a picture comes out with the packet that lies as many places after its own in the order of
    // display as the decoder reorders. After the last packet there is none.
    const int64_t delayUs = session.context()->has_b_frames * pictureUs;
    if (best != AV_NOPTS_VALUE) return best - delayUs;
    const bool counts = lastUs != AV_NOPTS_VALUE || lastPacketUs == AV_NOPTS_VALUE;
    return counts ? AV_NOPTS_VALUE : std::max(firstPacketUs, lastPacketUs + pictureUs - delayUs);
}

void VideoDecoder::Impl::stamp(AVFrame &frame) {
    if (durationOf(frame) <= 0) setDuration(frame, pictureUs + pictureUs * frame.repeat_pict / 2);
    int64_t us = timeOf(frame);
    if (us == AV_NOPTS_VALUE) us = lastUs == AV_NOPTS_VALUE ? 0 : lastUs + lastDurationUs;
    // Times that do not grow: half a picture on, so that the true times are met again soon.
    if (lastUs != AV_NOPTS_VALUE && us <= lastUs) us = lastUs + std::max<int64_t>(1, lastDurationUs / 2);
    frame.pts = us;
    lastUs = us;
    lastDurationUs = durationOf(frame);
}

VideoDecoder::VideoDecoder() : impl_(std::make_unique<Impl>()) {}
VideoDecoder::~VideoDecoder() = default;

MediaError VideoDecoder::open(const AVStream &stream, const ThreadLimits &limits) {
    impl_ = std::make_unique<Impl>();
    impl_->pictureUs = pictureUs(stream);
    const AVCodecParameters &codec = *stream.codecpar;
    const DecodingLoad load{codec.codec_id, codec.width, codec.height, static_cast<AVPixelFormat>(codec.format),
                            stream.avg_frame_rate};
    return impl_->session.open(stream, decoderThreads(load, limits));
}

void VideoDecoder::restartWith(const ThreadLimits &limits) {
    flush();
    impl_->restart = limits;
}

int VideoDecoder::send(const AVPacket *packet) {
    impl_->restartIfDue();
    if (packet && impl_->session.context()) impl_->look(*packet);
    return impl_->session.send(packet);
}

int VideoDecoder::receive(AVFrame *frame) {
    const int result = impl_->session.receive(frame);
    if (result != 0) return result;
    impl_->stamp(*frame);
    keepKnownColours(*frame);
    return result;
}

FramePtr VideoDecoder::decodeAlone(const AVPacket &packet) const {
    CodecSession alone;
    if (alone.openLike(impl_->session, 1) || alone.send(&packet) < 0) return nullptr;
    alone.send(nullptr);
    FramePtr frame(av_frame_alloc());
    if (!frame || alone.receive(frame.get()) != 0) return nullptr;
    // A field of its own is half a picture.
    const bool whole = frame->decode_error_flags == 0 && (frame->flags & AV_FRAME_FLAG_CORRUPT) == 0;
    if (!whole || isInterlaced(*frame)) return nullptr;
    keepKnownColours(*frame);
    frame->pts = packet.pts;
    if (durationOf(*frame) <= 0) setDuration(*frame, impl_->pictureUs);
    return frame;
}

void VideoDecoder::flush() {
    impl_->session.flush();
    impl_->sawPts = false;
    impl_->firstPacketUs = impl_->lastPacketUs = AV_NOPTS_VALUE;
    impl_->lastUs = AV_NOPTS_VALUE;
}

void VideoDecoder::skipBefore(int64_t positionUs) {
    impl_->skipBeforeUs = positionUs;
}

const char *VideoDecoder::codecName() const {
    return avcodec_get_name(codecId());
}

AVCodecID VideoDecoder::codecId() const {
    const AVCodecContext *codec = impl_->session.context();
    return codec ? codec->codec_id : AV_CODEC_ID_NONE;
}

int64_t VideoDecoder::damagedPackets() const {
    return impl_->session.damagedPackets();
}

}  // namespace oriplayer
