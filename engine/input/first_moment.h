#pragma once

#include <cstdint>

#include "input/source_input.h"

namespace oriplayer {

/// Finds where a source begins from its first packets: the first picture if it comes at most 50 ms behind the first
/// sound, else the first of both.
/// Threads:  one at a time.
class FirstMoment {
public:
    FirstMoment(bool video, bool audio) : wantVideo_(video), wantAudio_(audio) {}

    /// Takes the next packet, its times in microseconds. True when enough is known.
    bool take(const AVPacket &packet, SourceInput::Stream stream, int audioRate);
    /// The moment, with what is known so far; 0 if nothing is.
    int64_t us() const;

private:
    void takePicture(const AVPacket &packet);
    void takeSound(const AVPacket &packet, int rate);

    bool wantVideo_;
    bool wantAudio_;
    bool sawKey_ = false;
    bool videoDone_ = false;
    int pictures_ = 0;
    int64_t firstPicture_ = AV_NOPTS_VALUE;
    int64_t firstSound_ = AV_NOPTS_VALUE;
    int64_t latestPicture_ = AV_NOPTS_VALUE;
    int64_t latestSound_ = AV_NOPTS_VALUE;
};

}  // namespace oriplayer
