#pragma once

#include <memory>

#include "ffmpeg.h"

namespace oriplayer {

/// One audio stream's decoder; the same rules as VideoDecoder. Frames come as the codec gives them (any sample format,
/// rate and layout, the order of channels always named) with pts and duration (durationOf) in microseconds always set.
class AudioDecoder {
public:
    AudioDecoder();
    ~AudioDecoder();
    AudioDecoder(const AudioDecoder &) = delete;
    AudioDecoder &operator=(const AudioDecoder &) = delete;

    MediaError open(const AVStream &stream);
    int send(const AVPacket *packet);
    int receive(AVFrame *frame);
    void flush();
    AVCodecID codecId() const;
    int64_t damagedPackets() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace oriplayer
