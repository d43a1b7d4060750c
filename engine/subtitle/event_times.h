#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ffmpeg.h"

namespace oriplayer {

/// When a file of subtitles has something to show, and what drawing it needs to know.
struct EventTimes {
    struct Span {
        int64_t beginMs;
        int64_t endMs;
    };
    std::vector<Span> spans;  ///< in order, apart from each other
    int scriptRows = 288;     ///< height of the picture that the script's sizes are meant for
    bool utf8 = true;         ///< every text is valid UTF-8

    bool covers(int64_t positionMs) const;
};

/// Reads the file's best subtitle stream, from the local disk only.
MediaError readEventTimes(const std::string &path, EventTimes &times);

}  // namespace oriplayer
