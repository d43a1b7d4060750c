#pragma once

#include <memory>

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

    /// `threads` 0: the machine's cores.
    MediaError open(const AVStream &stream, int threads);
    /// A null packet begins to drain. AVERROR(EAGAIN): receive first. Damage in a packet is counted and answered with
    /// 0.
    int send(const AVPacket *packet);
    /// 0 and a picture, AVERROR(EAGAIN), AVERROR_EOF when drained, another AVERROR when decoding failed for good.
    /// The frame's pts (best effort, microseconds) and pkt_duration are always set; an unknown duration is taken from
    /// the stream's frame rate.
    int receive(AVFrame *frame);
    /// The picture of this one packet, by a decoder of its own with one thread: a key frame is seen at once, where the
    /// decoder proper first fills its threads and the pictures that overtake each other. Null if the packet does not
    /// give one whole picture. What is under way in the decoder proper is not touched.
    FramePtr decodeAlone(const AVPacket &packet) const;
    /// Behind a seek: forgets everything that is under way.
    void flush();
    /// Pictures that end at or before this position are only needed as references: the decoder may leave out what no
    /// other picture needs. INT64_MIN: none.
    void skipBefore(int64_t positionUs);

    const char *codecName() const;
    AVCodecID codecId() const;
    int64_t damagedPackets() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace oriplayer
