#pragma once

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "output/audio_device.h"

namespace oriplayer {

/// The playback devices of the process, one a name. A device is opened with its first user and closed a minute after
/// the last, so that going from one player to the next opens none.
///
/// Threads:  any.
/// Lock:     mutex_; nothing of the system's sound is called under it.
/// Waiting:  acquire waits at most kOpenTime, whatever the sound service does: devices are opened on a thread apart.
class AudioDevices {
public:
    static AudioDevices &instance();

    /// The device, or null with `error` set: it cannot be opened, took too long, or `cancelled` became true.
    std::shared_ptr<AudioDevice> acquire(const std::string &name, const std::atomic<bool> &cancelled,
                                         MediaError &error);
    void release(const std::shared_ptr<AudioDevice> &device);
    /// The device failed: who acquires its name from now on gets a new one.
    void abandon(const std::shared_ptr<AudioDevice> &device);
    static bool exists(const std::string &name);

private:
    struct Entry {
        bool opening = false;
        std::shared_ptr<AudioDevice> device;
        MediaError error;
        int users = 0;
        SoundTime idleSince;
    };

    AudioDevices() = default;
    void beginOpening(const std::string &name, const std::shared_ptr<Entry> &entry);
    void finishOpening(const std::string &name, Entry &entry);
    void watchIdle();
    void closeIdle();
    std::shared_ptr<AudioDevice> takeIdle(SoundTime now, SoundTime &next);

    std::mutex mutex_;
    std::condition_variable opened_;
    // Guarded by mutex_.
    std::map<std::string, std::shared_ptr<Entry>> entries_;
    bool watching_ = false;
};

}  // namespace oriplayer
