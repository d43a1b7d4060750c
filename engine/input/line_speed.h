#pragma once

#include <chrono>
#include <cstdint>

namespace oriplayer {

/// The speed of a line, measured while a download waits for it. After a pause (the player has enough, a live list has
/// nothing new) data that arrived meanwhile is read at once: this counts only as what the line brought at least, from
/// the begin of the segment on.
/// Threads: one at a time; lastKnown() and forgetAll() any.
class LineSpeed {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// `bytes` were read from a connection between these moments; 0 if none came.
    void addRead(Time begin, Time end, int64_t bytes);
    /// Ends a segment. The estimate follows a line that gets slower at once and one that gets faster by halves.
    void endPiece();
    /// Forgets what has been read since the end of the last segment, because the download continues elsewhere.
    void dropPiece();
    /// Bits per second; 0 before the end of the first segment.
    double bitsPerSecond() const { return estimate_; }
    /// The last estimate of any download of the process on the present network; 0 if there is none.
    static double lastKnown();
    /// The network has changed: nothing is known of it, and a segment that was begun before does not count.
    static void forgetAll();

private:
    static uint32_t networkNow();

    uint32_t network_ = networkNow();  ///< on which the segment was begun
    std::chrono::steady_clock::duration waited_{};
    int64_t bytes_ = 0;            ///< that were waited for
    int64_t allBytes_ = 0;         ///< of this segment
    Time begun_;                   ///< its first read
    Time lastRead_ = Time::max();  ///< end of the last read of this segment
    bool paused_ = false;          ///< since a pause every read has found its data already there
    double estimate_ = 0.0;
};

}  // namespace oriplayer
