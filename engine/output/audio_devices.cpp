#include "output/audio_devices.h"

#include <SDL.h>

#include <system_error>
#include <thread>

namespace oriplayer {
namespace {

constexpr std::chrono::seconds kOpenTime{3};
constexpr std::chrono::milliseconds kCancelPoll{10};
constexpr std::chrono::minutes kKeepOpen{1};

// SDL's sound system is started once and stays; nothing else of SDL is touched, its signal handlers least of all.
bool startSound(std::string &error) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    if (SDL_WasInit(SDL_INIT_AUDIO) != 0) return true;
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    if (SDL_InitSubSystem(SDL_INIT_AUDIO) == 0) return true;
    error = SDL_GetError();
    return false;
}

std::shared_ptr<AudioDevice> openDevice(const std::string &name, MediaError &error) {
    std::string text;
    if (startSound(text)) return AudioDevice::open(name, error);
    error = {AVERROR(ENODEV), "starting the system's sound: " + text};
    return nullptr;
}

}  // namespace

// Never destroyed: SDL's threads and ours may still use it while the process ends.
AudioDevices &AudioDevices::instance() {
    static auto *const devices = new AudioDevices;
    return *devices;
}

std::shared_ptr<AudioDevice> AudioDevices::acquire(const std::string &name, const std::atomic<bool> &cancelled,
                                                   MediaError &error) {
    const SoundTime deadline = std::chrono::steady_clock::now() + kOpenTime;
    std::unique_lock lock(mutex_);
    auto &slot = entries_[name];
    if (!slot) slot = std::make_shared<Entry>();
    const std::shared_ptr<Entry> entry = slot;
    if (!entry->device && !entry->opening) beginOpening(name, entry);
    while (entry->opening && !cancelled && std::chrono::steady_clock::now() < deadline) {
        opened_.wait_for(lock, kCancelPoll);
    }
    if (entry->device) {
        ++entry->users;
        return entry->device;
    }
    error = entry->opening ? MediaError{cancelled ? AVERROR_EXIT : AVERROR(ETIMEDOUT),
                                        "opening the sound device '" + name + "' took too long"}
                           : entry->error;
    return nullptr;
}

void AudioDevices::beginOpening(const std::string &name, const std::shared_ptr<Entry> &entry) {
    entry->error = {};
    try {
        std::thread([this, name, entry] { finishOpening(name, *entry); }).detach();
        entry->opening = true;
    } catch (const std::system_error &failure) {
        entry->error = {AVERROR(EAGAIN), std::string("opening the sound device: ") + failure.what()};
    }
}

void AudioDevices::finishOpening(const std::string &name, Entry &entry) {
    MediaError error;
    auto device = openDevice(name, error);
    const std::lock_guard lock(mutex_);
    entry.opening = false;
    entry.device = std::move(device);
    entry.error = std::move(error);
    entry.idleSince = std::chrono::steady_clock::now();
    opened_.notify_all();
    watchIdle();  // whoever wanted it may be gone by now
}

void AudioDevices::release(const std::shared_ptr<AudioDevice> &device) {
    const std::lock_guard lock(mutex_);
    for (auto &[name, entry] : entries_) {
        if (entry->device != device) continue;
        --entry->users;
        entry->idleSince = std::chrono::steady_clock::now();
    }
    watchIdle();
}

void AudioDevices::abandon(const std::shared_ptr<AudioDevice> &device) {
    const std::lock_guard lock(mutex_);
    std::erase_if(entries_, [&](const auto &pair) { return pair.second->device == device; });
}

// Under mutex_. One thread waits for the idle devices' time; it ends when none is idle.
void AudioDevices::watchIdle() {
    if (watching_) return;
    try {
        std::thread([this] { closeIdle(); }).detach();
        watching_ = true;
    } catch (const std::system_error &) {
        // The device stays open until the next release.
    }
}

void AudioDevices::closeIdle() {
    for (;;) {
        SoundTime next = SoundTime::max();
        if (takeIdle(std::chrono::steady_clock::now(), next)) continue;  // closed here, without the lock
        if (next == SoundTime::max()) return;
        std::this_thread::sleep_until(next);
    }
}

std::shared_ptr<AudioDevice> AudioDevices::takeIdle(SoundTime now, SoundTime &next) {
    const std::lock_guard lock(mutex_);
    for (auto it = entries_.begin(); it != entries_.end(); ++it) {
        const Entry &entry = *it->second;
        if (!entry.device || entry.users > 0) continue;
        if (now >= entry.idleSince + kKeepOpen) {
            auto device = entry.device;
            entries_.erase(it);
            return device;
        }
        next = std::min(next, entry.idleSince + kKeepOpen);
    }
    if (next == SoundTime::max()) watching_ = false;
    return nullptr;
}

bool AudioDevices::exists(const std::string &name) {
    std::string error;
    if (name.empty()) return true;
    if (!startSound(error)) return false;
    for (int i = 0; i < SDL_GetNumAudioDevices(0); ++i) {
        const char *known = SDL_GetAudioDeviceName(i, 0);
        if (known && name == known) return true;
    }
    return false;
}

}  // namespace oriplayer
