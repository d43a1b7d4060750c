#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>

namespace oriplayer {

/// Keeps the time of players that follow each other as one programme: the one made behind another's end begins to
/// count its time at that end, not when its first picture is there, or each hand-over would make the programme longer.
/// Threads: any, no lock.
class HandOver {
public:
    using Time = std::chrono::steady_clock::time_point;
    /// Behind a longer break the next player begins at its own time: half a picture at 25 a second.
    static constexpr std::chrono::milliseconds kMost{20};

    static HandOver &instance();

    /// A player has presented everything; its last picture's time was up at `at`.
    void ended(Time at) { endedAt_ = at.time_since_epoch().count(); }
    /// When time begins for a player made at `made` that is ready at `now`; each end serves one player.
    std::optional<Time> takeOver(Time made, Time now);

private:
    static constexpr int64_t kNone = INT64_MIN;
    std::atomic<int64_t> endedAt_{kNone};
};

}  // namespace oriplayer
