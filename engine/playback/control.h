#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>

namespace oriplayer {

enum class SeekMode { kExact, kKeyFrame };

struct SeekRequest {
    int64_t positionUs = 0;
    SeekMode mode = SeekMode::kExact;
    uint32_t generation = 0;
};

/// What the application wants of one player and how far it has come. Each seek begins a new generation; what carries
/// the number of an older one is out of date.
///
/// Threads: any. Lock: mutex_, a leaf, makes the decisions that exclude each other (start and stop, seek and end).
class Control {
public:
    /// Once, before any thread of the player runs. False the second time and behind stop().
    bool prepare();
    /// False after a fatal error or stop().
    bool start();
    void pause();
    /// A seek in two steps, one seek at a time: beginSeek() makes what is under way outdated, postSeek() asks for the
    /// new; the caller clears away what is outdated in between. 0 after a fatal error or stop(): there is no seek.
    uint32_t beginSeek(int64_t positionUs);
    void postSeek(SeekRequest request);
    /// Sets where playback begins, unless a seek said so before.
    void setStart(int64_t positionUs);
    /// The last seek that nobody has carried out, at most once.
    std::optional<SeekRequest> takeSeek();
    /// Where the last seek, or the start, wants to be.
    int64_t targetUs() const { return targetUs_; }

    /// Each true once, if it may be told now.
    bool reachPrepared();
    bool reachEnd(uint32_t generation);
    bool fail();
    bool stop();

    /// Undoes reachEnd(): something was added behind it.
    void resumeFromEnd();

    uint32_t generation() const { return generation_; }
    bool current(uint32_t generation) const { return generation == generation_ && !stopped_; }
    bool preparing() const { return preparing_; }
    bool prepared() const { return prepared_; }
    bool started() const { return started_; }  ///< start() came at least once
    bool wantsToPlay() const { return playing_ && !failed_ && !stopped_; }
    const std::atomic<bool> &stoppedFlag() const { return stopped_; }
    const std::atomic<uint32_t> &newestGeneration() const { return generation_; }
    const std::atomic<bool> &playingFlag() const { return playing_; }
    bool isPlaying() const { return wantsToPlay() && prepared_ && !ended_; }
    bool ended() const { return ended_; }
    bool failed() const { return failed_; }
    bool stopped() const { return stopped_; }
    bool over() const { return failed_ || stopped_; }

private:
    mutable std::mutex mutex_;
    std::optional<SeekRequest> pending_;  ///< guarded by mutex_
    std::atomic<uint32_t> generation_{0};
    std::atomic<int64_t> targetUs_{0};
    std::atomic<bool> preparing_{false};
    std::atomic<bool> prepared_{false};
    std::atomic<bool> started_{false};
    std::atomic<bool> playing_{false};
    std::atomic<bool> ended_{false};
    std::atomic<bool> failed_{false};
    std::atomic<bool> stopped_{false};
};

}  // namespace oriplayer
