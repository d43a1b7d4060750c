#include "decode/codec_session.h"

#include "ffmpeg_log.h"

namespace oriplayer {

namespace {

// Four seconds of pictures: a stream that is joined in the middle shows something within that.
constexpr int64_t kDamagedBeforeGivingUp = 100;

}  // namespace

MediaError CodecSession::open(const AVStream &stream, int threads) {
    return open(*stream.codecpar, stream.avg_frame_rate, threads);
}

MediaError CodecSession::openLike(const CodecSession &other, int threads) {
    struct Free {
        void operator()(AVCodecParameters *parameters) const { avcodec_parameters_free(&parameters); }
    };
    const std::unique_ptr<AVCodecParameters, Free> parameters(avcodec_parameters_alloc());
    if (!other.codec_ || !parameters) return {AVERROR(EINVAL), "there is no decoder to take after"};
    if (const int result = avcodec_parameters_from_context(parameters.get(), other.codec_.get()); result < 0)
        return {result, "cannot copy the parameters of a decoder: " + avErrorText(result)};
    return open(*parameters, other.codec_->framerate, threads);
}

MediaError CodecSession::open(const AVCodecParameters &parameters, AVRational frameRate, int threads) {
    const std::string name = avcodec_get_name(parameters.codec_id);
    const AVCodec *decoder = avcodec_find_decoder(parameters.codec_id);
    if (!decoder) return {AVERROR_DECODER_NOT_FOUND, "there is no decoder for " + name};
    codec_.reset(avcodec_alloc_context3(decoder));
    int result = codec_ ? avcodec_parameters_to_context(codec_.get(), &parameters) : AVERROR(ENOMEM);
    if (result >= 0) {
        codec_->opaque = FfmpegLog::mark();
        codec_->pkt_timebase = {1, 1'000'000};
        codec_->framerate = frameRate;
        codec_->thread_count = threads;
        codec_->max_pixels = kMostPixels;
        codec_->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
        result = avcodec_open2(codec_.get(), decoder, nullptr);
    }
    if (result >= 0) return {};
    codec_.reset();
    return {result, "cannot open the decoder for " + name + ": " + avErrorText(result)};
}

bool CodecSession::isDamage(int result) {
    if (result >= 0 || result == AVERROR(EAGAIN) || result == AVERROR_EOF || result == AVERROR(ENOMEM)) return false;
    ++damaged_;
    return true;
}

int CodecSession::send(const AVPacket *packet) {
    if (!codec_) return AVERROR(EINVAL);
    // To FFmpeg a packet without data is the end of the stream; containers store such packets for pictures left out.
    if (packet && packet->size == 0 && packet->side_data_elems == 0) return 0;
    const int result = avcodec_send_packet(codec_.get(), packet);
    return isDamage(result) ? 0 : result;
}

int CodecSession::receive(AVFrame *frame) {
    if (!codec_) return AVERROR(EINVAL);
    int result = avcodec_receive_frame(codec_.get(), frame);
    // Frame threads tell of damage here, later than the packet was sent; each failure has used up a packet.
    for (int64_t tries = 0; tries < kDamagedBeforeGivingUp && isDamage(result); ++tries) {
        result = avcodec_receive_frame(codec_.get(), frame);
    }
    if (result == 0) decodedAny_ = true;
    const bool hopeless = damaged_ >= kDamagedBeforeGivingUp || (damaged_ > 0 && result == AVERROR_EOF);
    return !decodedAny_ && hopeless ? AVERROR_INVALIDDATA : result;
}

void CodecSession::flush() {
    if (codec_) avcodec_flush_buffers(codec_.get());
}

}  // namespace oriplayer
