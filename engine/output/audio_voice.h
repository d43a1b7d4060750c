#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>

#include "output/sound.h"

namespace oriplayer {

/// One player's share of a device's mix: a queue of sound at the device's rate, its gain, and the position that is
/// heard. Cuts (pause, flush, the end, a queue that runs dry, a start in the middle of sound) are ramped, so that they
/// do not click.
///
/// Threads:  write, finish and flush come from one thread at a time, mix from the device's; all others from any.
/// Lock:     mutex_, a leaf, held for the copying of one block at most; mix allocates nothing.
/// Waiting:  write waits for room until interrupt().
class AudioVoice {
public:
    explicit AudioVoice(int rate);

    int rate() const { return rate_; }
    /// Queues sound whose first frame belongs at `positionUs` of the source and of which each frame covers
    /// `usPerFrame` there. False if interrupted; the rest is dropped then.
    bool write(const float *stereo, std::size_t frames, double positionUs, double usPerFrame);
    /// Nothing more comes for now: running out is the end, not a gap.
    void finish();
    /// Drops everything queued; the clock stops until new sound is heard.
    void flush();
    void interrupt();
    void uninterrupt();

    void start();
    /// The same for sound of which nothing was heard yet: `positionUs` belongs to the moment `at`, and time does not
    /// wait. What the device asks for later than that is cut, so that sound falls in at its place.
    void startAt(int64_t positionUs, SoundTime at, double speed);
    void pause();
    void setVolume(float volume);
    void setMuted(bool muted);
    /// No owner any more: up to `maximumUs` of what is queued plays out, without a clock.
    void leave(int64_t maximumUs);
    /// Left by its owner and played out.
    bool gone() const;

    /// Adds the next `frames` to `out`, whose first frame is heard at `heardAt`.
    void mix(float *out, std::size_t frames, SoundTime heardAt);

    /// See AudioRenderer, which passes these on.
    std::optional<int64_t> positionUs(SoundTime now) const;
    int64_t endPositionUs() const;
    int64_t bufferedUs(SoundTime now) const;
    bool drained(SoundTime now) const;
    bool running() const;

private:
    /// From frame number `frame` on (counted since the start) positions go on from `positionUs`.
    struct Mark {
        int64_t frame = 0;
        double positionUs = 0.0;
        double usPerFrame = 0.0;
    };
    /// What the device took last and when it is heard.
    struct Block {
        double startUs = 0.0;
        double endUs = 0.0;
        SoundTime heardAt;
        SoundTime endsAt;
    };

    std::size_t room(double usPerFrame) const;
    bool hasMuchRoom() const;
    void addMark(double positionUs, double usPerFrame);
    void dropMarks();
    const Mark &markOf(int64_t frame) const;
    double positionOf(int64_t frame) const;
    void copyIn(const float *stereo, std::size_t frames);
    std::size_t mixQueue(float *out, std::size_t frames);
    void mixTail(float *out, std::size_t frames);
    void saveTail();
    void clearQueue();
    void fallIn(SoundTime heardAt);
    bool silentAt(int64_t frame) const;
    float nextGain();
    std::size_t queued() const { return static_cast<std::size_t>(written_ - read_); }
    std::optional<int64_t> positionLocked(SoundTime now) const;

    const int rate_;
    const std::size_t capacity_;
    mutable std::mutex mutex_;
    std::condition_variable roomChanged_;

    // All below is guarded by mutex_.
    std::vector<float> ring_;
    int64_t written_ = 0;  ///< frames since the start; modulo capacity_ their place in ring_
    int64_t read_ = 0;
    std::array<Mark, 64> marks_;
    std::size_t firstMark_ = 0;
    std::size_t markCount_ = 0;
    double endUs_ = 0.0;
    bool hasEnd_ = false;
    double usPerFrame_ = 1.0;  ///< of what was written last

    bool interrupted_ = false;
    bool running_ = false;
    bool finished_ = false;
    bool left_ = false;
    bool muted_ = false;
    float volume_ = 1.0F;
    float gain_ = 1.0F;        ///< on its way to volume_, or 0 while muted
    float transport_ = 0.0F;   ///< on its way to 1 while running, else 0
    std::vector<float> tail_;  ///< the faded end of what flush() dropped
    std::size_t tailFrames_ = 0;
    std::size_t tailRead_ = 0;

    struct Appointment {
        double positionUs = 0.0;
        SoundTime at;
        double speed = 1.0;
    };
    std::optional<Appointment> appointment_;
    std::optional<Block> block_;
    SoundTime firstHeardAt_;
    bool restarts_ = true;  ///< the next block is the first since a flush or since the queue ran dry
    mutable int64_t lastAnswerUs_ = INT64_MIN;
};

}  // namespace oriplayer
