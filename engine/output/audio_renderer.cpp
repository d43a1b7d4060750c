#include "output/audio_renderer.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

#include "output/audio_devices.h"
#include "output/sound_shaper.h"

namespace oriplayer {
namespace {

SoundTime steadyNow() {
    return std::chrono::steady_clock::now();
}

}  // namespace

/// Lock: mutex guards which device and voice are in use and the settings a new voice takes over; the voice's own lock
///       is taken under it. The shaper belongs to the pushing thread.
struct AudioRenderer::Impl {
    struct Output {
        std::shared_ptr<AudioDevice> device;
        std::shared_ptr<AudioVoice> voice;
        explicit operator bool() const { return voice != nullptr; }
    };

    Output output() const {
        const std::lock_guard lock(mutex);
        return current;
    }
    Output use(std::shared_ptr<AudioDevice> device);
    void prepareShaper(const Output &to);
    template <typename Operation> void onVoice(Operation operation) const {
        if (const Output now = output()) operation(*now.voice);
    }
    void letGo(const Output &old, int64_t maximumUs) const {
        old.device->leave(old.voice, maximumUs);
        AudioDevices::instance().release(old.device);
    }

    mutable std::mutex mutex;
    Output current;  ///< guarded by mutex, as all down to `troubleTold`
    float volume = 1.0F;
    bool muted = false;
    double speed = 1.0;
    bool running = false;
    SoundTime runningSince;
    bool troubleTold = false;

    std::atomic<bool> interrupted{false};

    std::unique_ptr<SoundShaper> shaper;  ///< pushing thread, as shaped
    std::shared_ptr<AudioVoice> shaped;   ///< the voice that `shaper` writes to
};

// Makes a voice on the device with the present settings. What the old voice had queued becomes silence of the same
// length, so that the clock neither jumps nor stops. Answers the old output.
AudioRenderer::Impl::Output AudioRenderer::Impl::use(std::shared_ptr<AudioDevice> device) {
    auto voice = std::make_shared<AudioVoice>(device->rate());
    const std::lock_guard lock(mutex);
    voice->setVolume(volume);
    voice->setMuted(muted);
    voice->setSpeed(speed);
    if (interrupted) voice->interrupt();
    // A new voice takes this much without waiting.
    constexpr int64_t kMostSilenceUs = 250'000;
    const int64_t queuedUs = current ? std::min(current.voice->bufferedUs(steadyNow()), kMostSilenceUs) : 0;
    if (queuedUs > 0) {
        Sound silence;
        silence.appendSilence(static_cast<std::size_t>(queuedUs * device->rate() / 1'000'000));
        const double fromUs = static_cast<double>(current.voice->endPositionUs() - queuedUs);
        voice->write(silence.samples.data(), silence.frames(), fromUs);
    }
    if (running) voice->start();
    device->add(voice);
    const Output old = std::exchange(current, Output{std::move(device), std::move(voice)});
    runningSince = steadyNow();
    troubleTold = false;
    return old;
}

void AudioRenderer::Impl::prepareShaper(const Output &to) {
    if (shaper && shaped == to.voice) return;
    shaped = to.voice;
    shaper =
        std::make_unique<SoundShaper>(to.device->rate(), [voice = to.voice](const Sound &sound, double positionUs) {
            return voice->write(sound.samples.data(), sound.frames(), positionUs);
        });
}

AudioRenderer::AudioRenderer() : impl_(std::make_unique<Impl>()) {}

AudioRenderer::~AudioRenderer() {
    leaveToDevice(0);
}

MediaError AudioRenderer::open(const std::string &deviceName) {
    return setDevice(deviceName);
}

bool AudioRenderer::opened() const {
    return static_cast<bool>(impl_->output());
}

MediaError AudioRenderer::setDevice(const std::string &deviceName) {
    MediaError error;
    auto device = AudioDevices::instance().acquire(deviceName, impl_->interrupted, error);
    if (!device) return error;
    if (const auto old = impl_->use(std::move(device))) impl_->letGo(old, 0);
    return {};
}

bool AudioRenderer::deviceExists(const std::string &deviceName) {
    return AudioDevices::exists(deviceName);
}

bool AudioRenderer::push(const AVFrame &frame, int64_t positionUs) {
    const auto to = impl_->output();
    if (!to || impl_->interrupted) return false;
    impl_->prepareShaper(to);
    if (impl_->shaper->push(frame, positionUs)) return true;
    // A change of the device ends the old voice's wait: the frame is lost, the sound goes on.
    return !impl_->interrupted && impl_->output().voice != to.voice;
}

void AudioRenderer::cut() {
    if (impl_->shaper) impl_->shaper->cut();
}

void AudioRenderer::finish() {
    if (impl_->shaper) impl_->shaper->finish();
    impl_->onVoice([](AudioVoice &voice) { voice.finish(); });
}

void AudioRenderer::flush() {
    if (impl_->shaper) impl_->shaper->reset();
    impl_->onVoice([](AudioVoice &voice) { voice.flush(); });
}

void AudioRenderer::interrupt() {
    const std::lock_guard lock(impl_->mutex);
    impl_->interrupted = true;
    if (impl_->current) impl_->current.voice->interrupt();
}

void AudioRenderer::uninterrupt() {
    const std::lock_guard lock(impl_->mutex);
    impl_->interrupted = false;
    if (impl_->current) impl_->current.voice->uninterrupt();
}

void AudioRenderer::start() {
    const std::lock_guard lock(impl_->mutex);
    if (!impl_->running) impl_->runningSince = steadyNow();
    impl_->running = true;
    if (impl_->current) impl_->current.voice->start();
}

void AudioRenderer::startAt(int64_t positionUs, SoundTime at) {
    const std::lock_guard lock(impl_->mutex);
    if (!impl_->running) impl_->runningSince = steadyNow();
    impl_->running = true;
    if (impl_->current) impl_->current.voice->startAt(positionUs, at);
}

void AudioRenderer::pause() {
    const std::lock_guard lock(impl_->mutex);
    impl_->running = false;
    if (impl_->current) impl_->current.voice->pause();
}

void AudioRenderer::setVolume(float volume) {
    const std::lock_guard lock(impl_->mutex);
    impl_->volume = std::clamp(volume, 0.0F, 1.0F);
    if (impl_->current) impl_->current.voice->setVolume(impl_->volume);
}

float AudioRenderer::volume() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->volume;
}

void AudioRenderer::setMuted(bool muted) {
    const std::lock_guard lock(impl_->mutex);
    impl_->muted = muted;
    if (impl_->current) impl_->current.voice->setMuted(muted);
}

void AudioRenderer::setSpeed(double speed) {
    const std::lock_guard lock(impl_->mutex);
    impl_->speed = std::clamp(speed, 0.5, 4.0);
    if (impl_->current) impl_->current.voice->setSpeed(impl_->speed);
}

std::optional<int64_t> AudioRenderer::positionUs() const {
    const auto now = impl_->output();
    return now ? now.voice->positionUs(steadyNow()) : std::nullopt;
}

int64_t AudioRenderer::endPositionUs() const {
    const auto now = impl_->output();
    return now ? now.voice->endPositionUs() : INT64_MIN;
}

int64_t AudioRenderer::bufferedUs() const {
    const auto now = impl_->output();
    return now ? now.voice->bufferedUs(steadyNow()) : 0;
}

bool AudioRenderer::drained() const {
    const auto now = impl_->output();
    return now && now.voice->drained(steadyNow());
}

void AudioRenderer::leaveToDevice(int64_t maximumUs) {
    Impl::Output old;
    {
        const std::lock_guard lock(impl_->mutex);
        old = std::exchange(impl_->current, {});
    }
    if (old) impl_->letGo(old, maximumUs);
}

std::optional<MediaError> AudioRenderer::takeError() {
    std::shared_ptr<AudioDevice> device;
    SoundTime since;
    {
        const std::lock_guard lock(impl_->mutex);
        if (!impl_->running || !impl_->current || impl_->troubleTold) return std::nullopt;
        device = impl_->current.device;
        since = impl_->runningSince;
    }
    auto error = device->trouble(since);
    if (!error) return std::nullopt;
    AudioDevices::instance().abandon(device);
    const std::lock_guard lock(impl_->mutex);
    if (impl_->current.device == device) impl_->troubleTold = true;
    return error;
}

}  // namespace oriplayer
