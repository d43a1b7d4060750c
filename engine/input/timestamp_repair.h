#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ffmpeg.h"

namespace oriplayer {

/// Makes one continuous scale in microseconds out of the times that a container gives: what is missing is counted on,
/// what jumps (a transport stream cut together, a counter that wrapped, files one behind the other) is moved.
///
/// A jump is found on one track first; the offset that heals it is an epoch. The other tracks take over the same epoch
/// when they come to the jump, so that sound and picture stay together. A gap that the container may mean (variable
/// frame rate, a still picture) is left alone.
/// Threads:  one at a time.
class TimestampRepair {
public:
    struct Track {
        AVRational timeBase{1, 1'000'000};
        int64_t frameUs = 0;          ///< length of a packet that does not say it; 0 if unknown
        bool ptsFromDts = false;      ///< sound: both are the same
        bool countsFromZero = false;  ///< the container stores no times at all
        bool noPts = false;           ///< the pts of packets do not say when pictures are shown: they are left out
    };

    /// `jumpsExpected`: the container's kind allows discontinuities. `endUs`: where its own times end, or INT64_MAX.
    void start(const Track &video, const Track &audio, bool jumpsExpected, int64_t endUs);

    /// Rewrites pts, dts and duration of a packet of track 0 (video) or 1 (audio) in place. False if it cannot be said
    /// where the packet belongs: it comes before the first time of its track.
    bool apply(AVPacket &packet, std::size_t track);

    /// The container's own time for a time on the continuous scale.
    int64_t containerTime(int64_t us) const { return us - epochs_[epochAt(us)].offset; }
    /// Behind a seek to `us`: the next packets are not compared with the former ones.
    void resume(int64_t us);
    /// The container is read from its first byte again.
    void restart() { resume(INT64_MIN); }

private:
    struct Epoch {
        int64_t offset;
        int64_t from;
    };
    struct State {
        Track track;
        int64_t next = AV_NOPTS_VALUE;  // where its next packet is expected
        std::size_t epoch = 0;
        int homeless = 0;  // packets in a row before its first time
    };

    bool countOn(AVPacket &packet, State &state);
    std::size_t epochAt(int64_t us) const;
    bool isJump(const State &state, int64_t us, bool decodeOrder) const;
    void heal(State &state, int64_t containerUs);

    std::array<State, 2> states_;
    std::vector<Epoch> epochs_{{0, INT64_MIN}};
    bool jumpsExpected_ = false;
    int64_t endUs_ = INT64_MAX;
};

}  // namespace oriplayer
