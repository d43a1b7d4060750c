#pragma once

#include <SDL_audio.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "ffmpeg.h"
#include "output/audio_voice.h"

namespace oriplayer {

/// One opened playback device. It asks for sound on a thread of SDL's, for which all voices are mixed.
///
/// Threads:  any.
/// Lock:     mutex_ guards the list of voices; the voices' own locks are taken under it.
class AudioDevice {
public:
    /// May take as long as the system's sound service does.
    static std::shared_ptr<AudioDevice> open(const std::string &name, MediaError &error);
    ~AudioDevice();
    AudioDevice(const AudioDevice &) = delete;
    AudioDevice &operator=(const AudioDevice &) = delete;

    int rate() const { return rate_; }
    void add(std::shared_ptr<AudioVoice> voice);
    /// The voice is left to play out and forgotten when it has.
    void leave(const std::shared_ptr<AudioVoice> &voice, int64_t maximumUs);
    /// What is wrong with the device, if it should have asked for sound since `since`.
    std::optional<MediaError> trouble(SoundTime since) const;

    /// Fills one block: all voices, saturated. Called by the device.
    void mix(float *out, std::size_t frames, SoundTime now);

private:
    explicit AudioDevice(std::string name) : name_(std::move(name)) {}
    static void onSoundWanted(void *self, Uint8 *bytes, int count);
    SoundTime heardAt(std::size_t frames, SoundTime now);
    void dropGone();

    const std::string name_;
    SDL_AudioDeviceID id_ = 0;  ///< set by open(), as rate_ is
    int rate_ = 0;
    std::mutex mutex_;
    std::vector<std::shared_ptr<AudioVoice>> voices_;  ///< guarded by mutex_
    std::atomic<int64_t> lastWantedNs_{0};             ///< steady clock
    SoundTime nextHeardAt_;                            ///< SDL's thread only
};

}  // namespace oriplayer
