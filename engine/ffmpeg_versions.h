#pragma once

#include "ffmpeg.h"

// What differs between the versions of FFmpeg from 5.1 on, which is the first one with AVChannelLayout. All other code
// uses only what the versions have in common.

namespace oriplayer {

/// How long a picture or sound lasts, in microseconds here; 0: unknown.
inline int64_t durationOf(const AVFrame &frame) {
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)  // FFmpeg 6.0; pkt_duration ended with 7.0
    return frame.duration;
#else
    return frame.pkt_duration;
#endif
}

inline void setDuration(AVFrame &frame, int64_t us) {
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)
    frame.duration = us;
#else
    frame.pkt_duration = us;
#endif
}

inline int64_t endOf(const AVFrame &frame) {
    return frame.pts + durationOf(frame);
}

inline bool isInterlaced(const AVFrame &frame) {
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 7, 100)  // FFmpeg 6.1; interlaced_frame ended with 8.0
    return (frame.flags & AV_FRAME_FLAG_INTERLACED) != 0;
#else
    return frame.interlaced_frame != 0;
#endif
}

}  // namespace oriplayer
