#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace oriplayer {

/// How fast a download is while somebody waits for it: pauses in between do not count, so that neither a full buffer
/// nor a live list that has nothing new looks like a slow line.
/// Threads: one at a time; lastKnown() any.
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
    void dropPiece() { waited_ = {}, bytes_ = 0; }
    /// Bits a second; 0 as long as no segment has come.
    double bitsPerSecond() const { return estimate_; }
    /// What any download of the process has found last; 0 if there was none.
    static double lastKnown();

private:
    std::chrono::steady_clock::duration waited_{};
    int64_t bytes_ = 0;
    double estimate_ = 0.0;
};

}  // namespace oriplayer
