#pragma once

#include <memory>

#include "decode/decoder_threads.h"
#include "ffmpeg.h"

namespace oriplayer {

/// One video stream's decoder: packets in, pictures out, times in microseconds as SourceInput gives them.
/// Threads:  one at a time.
class VideoDecoder {
public:
    VideoDecoder();
    ~VideoDecoder();
    VideoDecoder(const VideoDecoder &) = delete;
    VideoDecoder &operator=(const VideoDecoder &) = delete;

    MediaError open(const AVStream &stream, const ThreadLimits &limits);
    /// Forgets what it holds, as flush() does, and decodes with another choice of threads from the next packet on. The
    /// new threads start when that packet is sent.
    void restartWith(const ThreadLimits &limits);
    /// A null packet begins to drain. AVERROR(EAGAIN): receive first. Damage in a packet is counted and answered with
    /// 0.
    int send(const AVPacket *packet);
    /// 0 and a picture, AVERROR(EAGAIN), AVERROR_EOF when drained, another AVERROR when decoding failed for good.
    /// The frame's pts (best effort, microseconds) and duration (durationOf) are always set; an unknown duration is
    /// taken from the stream's frame rate.
    int receive(AVFrame *frame);
    /// The picture of this one packet, by another decoder with one thread. A key frame is available at once that way;
    /// this decoder would first fill its threads and its reordering delay. Null if the packet does not give one whole
    /// picture. This decoder's own state does not change.
    FramePtr decodeAlone(const AVPacket &packet) const;
    /// For a seek: forgets every packet and picture that it holds.
    void flush();
    /// Pictures that end at or before this position serve as references only: the decoder may skip those that no other
    /// picture needs. INT64_MIN: none.
    void skipBefore(int64_t positionUs);

    const char *codecName() const;
    AVCodecID codecId() const;
    int64_t damagedPackets() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace oriplayer
