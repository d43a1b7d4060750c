#include "output/audio_device.h"

#include <SDL_error.h>

#include <algorithm>
#include <system_error>
#include <thread>

namespace oriplayer {
namespace {

constexpr int kRate = 48'000;
constexpr Uint16 kBlockFrames = 1024;  // 21 ms: what desktop sound services take without crackling
constexpr std::chrono::seconds kStall{2};

int64_t nanoseconds(SoundTime time) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

// Closing waits for the device's thread, which a lost device may hold for ever: no player waits for that.
void closeApart(AudioDevice *device) {
    try {
        std::thread([device] { delete device; }).detach();
    } catch (const std::system_error &) {
        delete device;
    }
}

}  // namespace

std::shared_ptr<AudioDevice> AudioDevice::open(const std::string &name, MediaError &error) {
    std::shared_ptr<AudioDevice> device(new AudioDevice(name), closeApart);
    SDL_AudioSpec wanted{};
    wanted.freq = kRate;
    wanted.format = AUDIO_F32SYS;
    wanted.channels = kSoundChannels;
    wanted.samples = kBlockFrames;
    wanted.callback = &AudioDevice::onSoundWanted;
    wanted.userdata = device.get();
    SDL_AudioSpec got{};
    device->id_ =
        SDL_OpenAudioDevice(name.empty() ? nullptr : name.c_str(), 0, &wanted, &got, SDL_AUDIO_ALLOW_FREQUENCY_CHANGE);
    if (device->id_ == 0) {
        const std::string shown = name.empty() ? "the default sound device" : "sound device '" + name + "'";
        error = {AVERROR(ENODEV), "opening " + shown + ": " + SDL_GetError()};
        return nullptr;
    }
    device->rate_ = got.freq;
    SDL_PauseAudioDevice(device->id_, 0);
    return device;
}

AudioDevice::~AudioDevice() {
    if (id_ != 0) SDL_CloseAudioDevice(id_);
}

void AudioDevice::add(std::shared_ptr<AudioVoice> voice) {
    const std::lock_guard lock(mutex_);
    dropGone();
    voices_.push_back(std::move(voice));
}

void AudioDevice::leave(const std::shared_ptr<AudioVoice> &voice, int64_t maximumUs) {
    voice->leave(maximumUs);
    const std::lock_guard lock(mutex_);
    dropGone();
}

void AudioDevice::dropGone() {
    std::erase_if(voices_, [](const std::shared_ptr<AudioVoice> &voice) { return voice->gone(); });
}

std::optional<MediaError> AudioDevice::trouble(SoundTime since) const {
    const std::string shown = name_.empty() ? "the default sound device" : "sound device '" + name_ + "'";
    if (SDL_GetAudioDeviceStatus(id_) == SDL_AUDIO_STOPPED) return MediaError{AVERROR(ENODEV), shown + " is gone"};
    const int64_t last = std::max(lastWantedNs_.load(std::memory_order_relaxed), nanoseconds(since));
    const auto silent = std::chrono::nanoseconds(nanoseconds(std::chrono::steady_clock::now()) - last);
    if (silent < kStall) return std::nullopt;
    return MediaError{AVERROR(ETIMEDOUT), shown + " has not asked for sound for 2 s"};
}

void AudioDevice::onSoundWanted(void *self, Uint8 *bytes, int count) {
    auto *device = static_cast<AudioDevice *>(self);
    const std::size_t frames = static_cast<std::size_t>(count) / (sizeof(float) * kSoundChannels);
    device->mix(reinterpret_cast<float *>(bytes), frames, std::chrono::steady_clock::now());
}

void AudioDevice::mix(float *out, std::size_t frames, SoundTime now) {
    lastWantedNs_.store(nanoseconds(now), std::memory_order_relaxed);
    std::fill_n(out, frames * kSoundChannels, 0.0F);
    const SoundTime heard = heardAt(frames, now);
    {
        const std::lock_guard lock(mutex_);
        for (const auto &voice : voices_) voice->mix(out, frames, heard);
    }
    for (std::size_t i = 0; i < frames * kSoundChannels; ++i) out[i] = std::clamp(out[i], -1.0F, 1.0F);
}

// A block is heard when the one before it, which the device plays meanwhile, has ended. The thread wakes up unevenly,
// the device plays evenly: small differences are smoothed.
SoundTime AudioDevice::heardAt(std::size_t frames, SoundTime now) {
    const std::chrono::nanoseconds block(static_cast<int64_t>(frames) * 1'000'000'000 / std::max(rate_, 1));
    const SoundTime measured = now + block;
    const auto off = measured - nextHeardAt_;
    const SoundTime heard = std::chrono::abs(off) < block ? nextHeardAt_ + off / 8 : measured;
    nextHeardAt_ = heard + block;
    return heard;
}

}  // namespace oriplayer
