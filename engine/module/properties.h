#pragma once

#include <string>

#include "decode/decoder_threads.h"

namespace oriplayer {

/// The process's properties as one player finds them when it prepares.
struct Properties {
    bool untimed = false;
    bool soundOff = false;
    bool pictureOff = false;
    std::string audioTrack;
    std::string caFile;
    int decoderThreads = 0;  ///< 0: chosen by need
    int networkTimeoutMs = 8000;
    int cores = 0;              ///< 0: those of the machine
    int preloadWindow = 3;      ///< sources kept warm after the one that plays; 0: none
    std::string cacheFastMode;  ///< property 123: kept, no effect

    ThreadLimits threadLimits() const { return {decoderThreads, cores, !untimed}; }
};

/// Thread: any.
Properties currentProperties();

}  // namespace oriplayer
