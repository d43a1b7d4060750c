#include "decode/audio_decoder.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include "decode/codec_session.h"
#include "ffmpeg_versions.h"

namespace oriplayer {

struct AudioDecoder::Impl {
    CodecSession session;
    int64_t nextUs = AV_NOPTS_VALUE;         // where the next frame begins if nothing else is said
    int64_t firstPacketUs = AV_NOPTS_VALUE;  // since the start or the last flush

    void stamp(AVFrame &frame);
};

void AudioDecoder::Impl::stamp(AVFrame &frame) {
    int64_t us = frame.best_effort_timestamp;
    if (us == AV_NOPTS_VALUE) us = nextUs;
    if (us == AV_NOPTS_VALUE) us = firstPacketUs == AV_NOPTS_VALUE ? 0 : firstPacketUs;
    frame.pts = us;
    setDuration(frame, frame.sample_rate > 0 ? av_rescale(frame.nb_samples, 1'000'000, frame.sample_rate) : 0);
    nextUs = endOf(frame);
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
        av_channel_layout_default(&frame.ch_layout, frame.ch_layout.nb_channels);
    }
}

AudioDecoder::AudioDecoder() : impl_(std::make_unique<Impl>()) {}
AudioDecoder::~AudioDecoder() = default;

MediaError AudioDecoder::open(const AVStream &stream) {
    impl_ = std::make_unique<Impl>();
    return impl_->session.open(stream, 1);
}

int AudioDecoder::send(const AVPacket *packet) {
    if (packet && impl_->firstPacketUs == AV_NOPTS_VALUE) impl_->firstPacketUs = packet->pts;
    return impl_->session.send(packet);
}

int AudioDecoder::receive(AVFrame *frame) {
    const int result = impl_->session.receive(frame);
    if (result == 0) impl_->stamp(*frame);
    return result;
}

void AudioDecoder::flush() {
    impl_->session.flush();
    impl_->nextUs = AV_NOPTS_VALUE;
    impl_->firstPacketUs = AV_NOPTS_VALUE;
}

AVCodecID AudioDecoder::codecId() const {
    const AVCodecContext *codec = impl_->session.context();
    return codec ? codec->codec_id : AV_CODEC_ID_NONE;
}

int64_t AudioDecoder::damagedPackets() const {
    return impl_->session.damagedPackets();
}

}  // namespace oriplayer
