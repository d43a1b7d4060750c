#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>

#include "output/sound.h"
#include "output/tempo.h"

namespace oriplayer {

/// One player's share of a device's mix: a queue of sound at the device's rate, its speed and gain, and the position
/// that is heard. The speed is applied when the device asks for sound, so that a change is heard at once. Cuts (pause,
/// flush, the end, a queue that runs dry, a start in the middle of sound) are ramped, so that they do not click.
///
/// Threads:  write, finish and flush come from one thread at a time, mix from the device's; all others from any.
/// Lock:     mutex_, a leaf, held for the mixing of one block at most. mix allocates nothing but what the first blocks
///           at another speed than 1.0 need.
/// Waiting:  write waits for room until interrupt().
class AudioVoice {
public:
    explicit AudioVoice(int rate);

    int rate() const { return rate_; }
    /// Queues sound whose first frame belongs at `positionUs` of the source. False if interrupted; the rest is dropped
    /// then.
    bool write(const float *stereo, std::size_t frames, double positionUs);
    /// Nothing more comes for now: running out is the end, not a gap.
    void finish();
    /// Drops everything queued; the clock stops until new sound is heard.
    void flush();
    void interrupt();
    void uninterrupt();

    void start();
    /// The same for sound of which nothing was heard yet: `positionUs` belongs to the moment `at`, and time does not
    /// wait. What the device asks for later than that is cut, so that sound falls in at its place.
    void startAt(int64_t positionUs, SoundTime at);
    void pause();
    void setVolume(float volume);
    void setMuted(bool muted);
    void setSpeed(double speed);  ///< with the pitch kept; positions count the source's time
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
    };
    /// What the device took last and when it is heard.
    struct Block {
        double startUs = 0.0;
        double endUs = 0.0;
        SoundTime heardAt;
        SoundTime endsAt;
    };

    std::size_t room() const;
    bool hasMuchRoom() const;
    void addMark(double positionUs);
    void dropMarks();
    double positionOf(double frame) const;
    void copyIn(const float *stereo, std::size_t frames);
    void shape(std::size_t frames);
    std::size_t mixShaped(float *out, std::size_t frames);
    void mixTail(float *out, std::size_t frames);
    void saveTail();
    void clearQueue();
    void fallIn(SoundTime heardAt);
    bool beginsSilent() const;
    float nextGain();
    std::size_t queued() const { return static_cast<std::size_t>(written_ - read_); }
    bool empty() const { return queued() == 0 && shaped_.frames() == 0 && tempo_.inside() == 0; }
    /// Number of the frame that is mixed next, of those written.
    double nextFrame() const;
    /// Frames of the source that shaped_ was made of.
    double shapedSource() const;
    double usPerFrame() const { return 1e6 / rate_; }
    std::optional<int64_t> positionLocked(SoundTime now) const;

    const int rate_;
    const std::size_t capacity_;
    mutable std::mutex mutex_;
    std::condition_variable roomChanged_;

    // All below is guarded by mutex_.
    std::vector<float> ring_;
    int64_t written_ = 0;  ///< frames since the start; modulo capacity_ their place in ring_
    int64_t read_ = 0;     ///< of them passed on to tempo_
    Tempo tempo_;
    Sound shaped_;                  ///< at the set speed, to be mixed next
    std::size_t formerFrames_ = 0;  ///< so many of its first were made before the last change of speed
    double formerSpeed_ = 1.0;      ///< at this one
    std::array<Mark, 64> marks_;
    std::size_t firstMark_ = 0;
    std::size_t markCount_ = 0;
    double endUs_ = 0.0;
    bool hasEnd_ = false;

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
    };
    std::optional<Appointment> appointment_;
    std::optional<Block> block_;
    SoundTime firstHeardAt_;
    bool restarts_ = true;  ///< the next block is the first since a flush or since the queue ran dry
    mutable int64_t lastAnswerUs_ = INT64_MIN;
};

}  // namespace oriplayer
