#pragma once

#include <string>

namespace oriplayer {

/// The process's properties as one player finds them when it prepares.
struct Properties {
    bool untimed = false;
    bool soundOff = false;
    bool pictureOff = false;
    std::string audioTrack;
    std::string caFile;
    int decoderThreads = 0;  ///< 0: the machine's cores
    int networkTimeoutMs = 8000;
    int preloadWindow = 3;      ///< sources kept warm behind the one that plays; 0: none
    std::string cacheFastMode;  ///< property 123: kept, no effect
};

/// Thread: any.
Properties currentProperties();

}  // namespace oriplayer
