#pragma once

#include <cstdint>

#include "playback/counters.h"

namespace oriplayer {

/// Counts what a viewer notices while time runs, once each time that it begins. Told of every picture shown at its
/// time; those left out are counted elsewhere.
/// Threads: one at a time.
class Impairments {
public:
    /// Further apart sound and picture are noticed.
    static constexpr int64_t kApartUs = 40'000;
    /// A picture this late has let the one before it stand while the sound went on.
    static constexpr int64_t kStuckUs = 500'000;

    enum class Sound {
        kHeard,
        kMissing,  ///< there is some, and the device has none to play
        kNotDue,   ///< there is none, it is over, or the device is lost
    };

    explicit Impairments(Counters &counters) : counters_(counters) {}

    /// The picture comes `lateUs` behind its time.
    void shown(int64_t lateUs, Sound sound) {
        const bool heard = sound == Sound::kHeard;
        count(apart_, heard && lateUs > kApartUs, counters_.apart);
        count(stuck_, heard && lateUs > kStuckUs, counters_.picturesStuck);
        count(silent_, sound == Sound::kMissing && wasHeard_, counters_.soundsMissing);
        wasHeard_ = wasHeard_ || heard;
    }
    /// Time begins to run, behind a seek, a pause or a stall: the sound may come later than the picture.
    void restart() { wasHeard_ = false; }

private:
    static void count(bool &is, bool now, Counters::Count &begun) {
        if (now && !is) ++begun;
        is = now;
    }

    Counters &counters_;
    bool apart_ = false;
    bool stuck_ = false;
    bool silent_ = false;
    bool wasHeard_ = false;
};

}  // namespace oriplayer
