#pragma once

#include "ffmpeg.h"

namespace oriplayer {

struct CodecFree {
    void operator()(AVCodecContext *codec) const { avcodec_free_context(&codec); }
};

/// One open FFmpeg decoder with the rules that sound and picture share: damage is counted and skipped; decoding fails
/// only if nothing at all can be decoded.
/// Threads:  one at a time.
class CodecSession {
public:
    /// `threads`: 1 or more.
    MediaError open(const AVStream &stream, int threads);
    /// A decoder for the stream of another session.
    MediaError openLike(const CodecSession &other, int threads);
    /// 0, also for a damaged packet; AVERROR(EAGAIN): receive first; AVERROR_EOF after a null packet.
    int send(const AVPacket *packet);
    /// 0 and a frame, AVERROR(EAGAIN), AVERROR_EOF, or AVERROR_INVALIDDATA when nothing ever decodes.
    int receive(AVFrame *frame);
    void flush();

    AVCodecContext *context() { return codec_.get(); }
    const AVCodecContext *context() const { return codec_.get(); }
    int64_t damagedPackets() const { return damaged_; }

private:
    MediaError open(const AVCodecParameters &parameters, AVRational frameRate, int threads);
    bool isDamage(int result);

    std::unique_ptr<AVCodecContext, CodecFree> codec_;
    int64_t damaged_ = 0;
    bool decodedAny_ = false;
};

}  // namespace oriplayer
