#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "ffmpeg.h"
#include "output/sound.h"

namespace oriplayer {

/// One player's way to the sound device: resampling, speed with the pitch kept, volume, and the clock that the sound
/// heard at this moment makes. All players of the process mix into one device a name, which stays open between them.
///
/// Threads:  push, finish and flush come from one thread at a time (the audio decoder's); all others from any.
/// Waiting:  push waits for room (about 300 ms of sound are kept); interrupt() ends the wait. Nothing else waits.
/// States:   paused until start(). Nothing is heard while paused or muted by volume 0; the clock runs while muted.
class AudioRenderer {
public:
    AudioRenderer();
    /// Sound still in the mix (at most 100 ms, see leaveToDevice) plays out, the rest is dropped with a short fade.
    ~AudioRenderer();
    AudioRenderer(const AudioRenderer &) = delete;
    AudioRenderer &operator=(const AudioRenderer &) = delete;

    /// Joins the device of this name (empty: the system's default), opening it if the process has not yet.
    MediaError open(const std::string &deviceName);
    bool opened() const;
    /// Moves to another device while playing; on failure the old one stays.
    MediaError setDevice(const std::string &deviceName);
    /// True if the system knows a playback device of this name.
    static bool deviceExists(const std::string &deviceName);

    /// Queues a decoded frame whose first sample belongs at `positionUs`. A gap in the positions of up to a second is
    /// filled with silence, an overlap is cut, a slow drift is resampled away, so that the clock follows the positions.
    /// False if interrupted or not opened.
    bool push(const AVFrame &frame, int64_t positionUs);
    /// The next frame does not continue what was pushed last: a ramp joins them. Thread: that of push.
    void cut();
    /// No more sound for now (end of the stream): what is inside the resampler and the tempo filter comes out.
    void finish();
    /// Behind a seek: everything queued goes (short fade), the clock stops until new sound plays.
    void flush();
    void interrupt();    ///< push returns false from now on
    void uninterrupt();  ///< push may wait again

    void start();
    /// Behind open or flush: `positionUs` is presented at the moment `at`, and sound falls in at its place when the
    /// device asks for it.
    void startAt(int64_t positionUs, SoundTime at);
    void pause();
    void setVolume(float volume);  ///< 0..1
    float volume() const;
    void setMuted(bool muted);
    void setSpeed(double speed);  ///< 0.5..4.0; positions keep counting the source's time

    /// The position that is heard now, interpolated between the device's calls; empty while no sound has played since
    /// open or flush, and when the queue ran dry (the sound is not a clock then).
    std::optional<int64_t> positionUs() const;
    /// Position behind the last queued sound; INT64_MIN if there is none.
    int64_t endPositionUs() const;
    int64_t bufferedUs() const;  ///< source time that is queued and not yet heard
    bool drained() const;        ///< finish() was called and everything has been heard
    /// The player ends: up to `maximumUs` of what is queued plays out in the device's mix without this object.
    void leaveToDevice(int64_t maximumUs);
    /// An error of the device since the last call (it vanished, it stopped asking for sound).
    std::optional<MediaError> takeError();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace oriplayer
