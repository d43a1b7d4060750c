#pragma once

#include <cstdint>

#include "ffmpeg.h"

namespace oriplayer {

// A packet's times in microseconds, AV_NOPTS_VALUE where the container tells none.

inline int64_t startOf(const AVPacket &packet) {
    return packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
}

inline int64_t shownAt(const AVPacket &packet) {
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

constexpr int64_t kUnknownEnd = INT64_MAX;

/// When its picture or sound is over, as far as the container tells it.
inline int64_t endOf(const AVPacket &packet) {
    return packet.pts != AV_NOPTS_VALUE && packet.duration > 0 ? packet.pts + packet.duration : kUnknownEnd;
}

}  // namespace oriplayer
