#pragma once

#include <chrono>
#include <cstdint>

namespace oriplayer {

/// How fast a download is while somebody waits for it: pauses in between do not count, so that neither a full buffer
/// nor a live list that has nothing new looks like a slow line.
/// Threads: one at a time; lastKnown() and forgetAll() any.
class LineSpeed {
public:
    /// Measures the time of a scope.
    class Waiting {
    public:
        explicit Waiting(LineSpeed &speed) : speed_(speed) {}
        ~Waiting() { speed_.waited_ += std::chrono::steady_clock::now() - begin_; }
        Waiting(const Waiting &) = delete;
        Waiting &operator=(const Waiting &) = delete;

    private:
        LineSpeed &speed_;
        std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    };

    void came(int64_t bytes) { bytes_ += bytes; }
    /// Ends a segment. The estimate follows a line that gets slower at once and one that gets faster by halves.
    void endPiece();
    /// What came since the last segment's end is no measure: the download goes elsewhere.
    void dropPiece();
    /// Bits a second; 0 as long as no segment has come.
    double bitsPerSecond() const { return estimate_; }
    /// What any download of the process has found last; 0 if there was none since the network is this one.
    static double lastKnown();
    /// The network is another one: nothing is known of it, and what is under way has begun on the former.
    static void forgetAll();

private:
    static uint32_t networkNow();

    uint32_t network_ = networkNow();  ///< that the piece has begun on
    std::chrono::steady_clock::duration waited_{};
    int64_t bytes_ = 0;
    double estimate_ = 0.0;
};

}  // namespace oriplayer
