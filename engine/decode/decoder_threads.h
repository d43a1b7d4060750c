#pragma once

#include "ffmpeg.h"

namespace oriplayer {

/// What a video stream asks of its decoder.
struct DecodingLoad {
    AVCodecID codec = AV_CODEC_ID_NONE;
    int width = 0;
    int height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    AVRational frameRate{0, 1};  ///< 0: unknown
};

/// What bounds the number of threads of a video decoder.
struct ThreadLimits {
    int exactly = 0;    ///< as many, whatever the stream is; 0: chosen by need
    int cores = 0;      ///< processor cores to assume; 0: those of the machine
    bool paced = true;  ///< pictures are shown at their times; false: as fast as decoding goes

    bool operator==(const ThreadLimits &) const = default;
};

/// How many threads the decoder of such a stream gets, 1 or more. Each one after the first delays the pictures by one
/// and holds one, so a stream gets no more than it needs.
/// Thread: any.
int decoderThreads(const DecodingLoad &load, const ThreadLimits &limits);

}  // namespace oriplayer
