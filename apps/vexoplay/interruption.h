#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "picture_gate.h"

namespace vexo {
class MixedCodecsPlayer;
}

namespace vexoplay {

/// A list of files that plays in the middle of the programme.
struct InterruptionPoint {
    int64_t positionMs = 0;
    std::vector<std::string> urls;
};

/// Lets lists of files interrupt the programme: the main timeline pauses at the first picture at or behind a point, the
/// isolated one plays the files, and the main one goes on where it stood.
///
/// Threads:  commands on the main thread; due(), url() and the gate on the library's too.
/// Lock:     mutex_, a leaf round what the picture thread and the main thread share.
/// Gate:     closed by due() with its answer true, and opened when the files have been started.
class Interruption {
public:
    using Headers = std::vector<std::pair<std::string, std::string>>;

    Interruption(std::vector<InterruptionPoint> points, std::vector<std::string> byHand, Headers headers);

    /// All points lie ahead again.
    void rearm();
    /// Asks for the files of --interrupt-with at the next picture. False if there are none, or one plays.
    bool ask();
    /// True, once for each point: the programme is to be interrupted at this place of it. `gate()` is closed then.
    bool due(int64_t positionUs);
    /// One was found due and has not begun.
    bool waiting() const { return waiting_; }
    /// It plays, or the programme is just about to go on.
    bool active() const { return active_; }

    /// Pauses the programme and starts the files that were asked for; the engine player's id and the file's URL are
    /// known then. The gate stays closed for the caller to open.
    void begin(vexo::MixedCodecsPlayer &player);
    /// The programme goes on at once. True if event 10240 will come, as behind the last file.
    bool abandon(vexo::MixedCodecsPlayer &player);
    /// Event 10240 has come: the files are done with.
    void finish(vexo::MixedCodecsPlayer &player);

    /// The file that the period `index` of the isolated timeline plays, or empty.
    std::string url(int index) const;
    PictureGate &gate() { return gate_; }

private:
    const std::vector<InterruptionPoint> points_;  ///< in the order of their places
    const std::vector<std::string> byHand_;
    const Headers headers_;

    mutable std::mutex mutex_;
    std::size_t next_ = 0;  ///< the first point that lies ahead
    bool handAsked_ = false;
    std::vector<std::string> urls_;  ///< of the interruption at hand
    std::atomic<bool> waiting_{false};
    std::atomic<bool> active_{false};
    PictureGate gate_;
};

}  // namespace vexoplay
