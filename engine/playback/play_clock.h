#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "output/audio_renderer.h"
#include "playback/signal.h"

namespace oriplayer {

/// Which moment of the programme is presented now, in microseconds on the play scale. The sound that is heard is the
/// master; where none is (before it, behind it, without a device), the system's monotonic clock goes on from the last
/// known moment at the set speed, so that neither hand-over jumps. Sound and time run and stand together.
///
/// Threads: any. Lock: mutex_; the renderer's own locks are taken under it.
class PlayClock {
public:
    explicit PlayClock(AudioRenderer &sound) : sound_(sound) {}

    /// Stands at this moment, of this generation.
    void setTo(int64_t playUs, uint32_t generation);
    /// The renderer's position counts for this generation from now on.
    void soundIsOf(uint32_t generation);
    /// The device is lost: the renderer's position counts no more.
    void abandonSound();
    /// Lets time and sound run if `wanted` is still set. With `awaitSound` time waits until the device plays the first
    /// sound, at most 300 ms, so that the sound is heard from its first sample on. With `since`, after setTo(), time
    /// runs from that moment on: the programme of another player continues, and the sound that is late by then is cut.
    bool run(const std::atomic<bool> &wanted, bool awaitSound, std::optional<SteadyTime> since = std::nullopt);
    void hold();
    void setSpeed(double speed);
    double speed() const;

    bool running() const;
    int64_t nowUs() const;
    /// True if nowUs() follows heard sound.
    bool soundLeads() const;
    /// When the clock will show that moment, if nothing changes.
    SteadyTime timeOf(int64_t playUs) const;

    /// From `playUs` on positions count from play scale minus `baseUs`: a new round of a loop. The reader says so long
    /// before that moment is presented.
    void addRound(int64_t playUs, int64_t baseUs);
    /// Behind a seek: one round, base 0.
    void clearRounds();
    /// nowUs() as a position of the programme.
    int64_t positionUs() const;
    /// Number of rounds that have begun but are not yet presented.
    int roundsAhead() const;

private:
    int64_t nowLocked(SteadyTime time) const;
    int64_t standLocked();

    struct Round {
        int64_t playUs;
        int64_t baseUs;
    };

    AudioRenderer &sound_;
    mutable std::mutex mutex_;
    // The last known moment and when it was; following the sound moves it.
    mutable int64_t anchorUs_ = 0;
    mutable SteadyTime anchorTime_;
    mutable bool awaitingSound_ = false;
    SteadyTime awaitUntil_;
    double speed_ = 1.0;
    bool running_ = false;
    bool fresh_ = false;  ///< set to a moment and not run since
    bool soundLost_ = false;
    uint32_t generation_ = 0;
    uint32_t soundGeneration_ = 0;
    std::vector<Round> rounds_;
};

}  // namespace oriplayer
