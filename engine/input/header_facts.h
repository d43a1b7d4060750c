#pragma once

#include <cstdint>
#include <initializer_list>

#include "ffmpeg.h"

namespace oriplayer {

/// The header of an open container says all that a decoder wants to know, and its packets carry every time that is
/// needed: what lies behind the header need not be looked at before playing (20 ms for 720p, 50 ms for 1080p).
bool headerTells(const AVFormatContext &container);

/// Where the container's times begin, in microseconds: as probing found it, or the first of what the tables of the
/// chosen streams say (null: no such stream). AV_NOPTS_VALUE if it stores no times.
int64_t beginningOf(const AVFormatContext &container, std::initializer_list<const AVStream *> chosen);

}  // namespace oriplayer
