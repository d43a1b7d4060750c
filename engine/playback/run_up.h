#pragma once

#include <cstdint>

#include "playback/opened_source.h"

namespace oriplayer {

/// An opened source on its way to a place inside it: read and decoded forward from the key frame in front of it. Of
/// what comes by only that is kept which belongs to the place: pictures at or behind it, and sound from a little in
/// front. Times are the play scale's, but for goTo().
///
/// Threads: one at a time.
class RunUp {
public:
    explicit RunUp(OpenedSource source) : source_(std::move(source)) {}

    /// To the key frame at or before the position; `shiftUs` later is the play scale. A source that cannot be sought is
    /// read on from where it stands, if that is not too far.
    MediaError goTo(int64_t positionUs, int64_t shiftUs);
    /// One packet further; what lies before `placeUs` is not wanted any more.
    MediaError step(int64_t placeUs);
    /// How far it has come: the picture decoded last, or without pictures the sound read last.
    int64_t reachedUs() const { return reachedUs_; }
    /// There is nothing more in it.
    bool over() const { return over_; }
    /// The picture (or, without pictures, the sound) at the place is there.
    bool arrived(int64_t placeUs) const { return over_ || middleUs_ >= placeUs; }
    int64_t endUs() const { return endUs_; }  ///< on the source's own scale, of what was read

    const OpenedSource &source() const { return source_; }
    /// The source with its pictures (their times are the play scale's) and packets from the place on.
    OpenedSource finish(int64_t placeUs);
    /// What finish() gave was not wanted: goTo() comes next.
    void takeBack(OpenedSource source) { source_ = std::move(source); }

private:
    MediaError decode(const AVPacket *packet);
    void keep(PacketPtr packet);
    void dropBefore(int64_t placeUs);

    OpenedSource source_;
    int64_t shiftUs_ = 0;
    int64_t reachedUs_ = INT64_MIN;
    int64_t middleUs_ = INT64_MIN;  ///< of the picture decoded last
    int64_t endUs_ = 0;
    bool over_ = false;
};

}  // namespace oriplayer
