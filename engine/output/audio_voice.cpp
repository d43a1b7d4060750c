#include "output/audio_voice.h"

#include <algorithm>
#include <cmath>

namespace oriplayer {
namespace {

// Enough that a decoder held up by the system's scheduler is not heard, little enough that a change of speed soon is.
constexpr double kQueueUs = 300'000.0;
// The decoder wakes for so much at once, not for every block.
constexpr double kMuchRoomUs = 100'000.0;
// The slowest speed, 0.5, makes 600 ms of sound out of 300 ms of the source.
constexpr double kQueueSeconds = 0.65;

std::chrono::nanoseconds lengthOf(std::size_t frames, int rate) {
    return std::chrono::nanoseconds(static_cast<int64_t>(frames) * 1'000'000'000 / rate);
}

float stepTowards(float value, float target, float step) {
    return value < target ? std::min(value + step, target) : std::max(value - step, target);
}

}  // namespace

AudioVoice::AudioVoice(int rate)
    : rate_(rate),
      capacity_(static_cast<std::size_t>(rate * kQueueSeconds)),
      ring_(capacity_ * kSoundChannels),
      tail_(rampFrames(rate) * kSoundChannels) {}

bool AudioVoice::write(const float *stereo, std::size_t frames, double positionUs, double usPerFrame) {
    std::unique_lock lock(mutex_);
    finished_ = false;
    while (frames > 0) {
        usPerFrame_ = usPerFrame;
        if (room(usPerFrame) == 0) {
            roomChanged_.wait(lock, [&] { return interrupted_ || left_ || hasMuchRoom(); });
        }
        if (interrupted_ || left_) return false;
        const std::size_t count = std::min(frames, room(usPerFrame));
        addMark(positionUs, usPerFrame);
        copyIn(stereo, count);
        stereo += count * kSoundChannels;
        frames -= count;
        positionUs += static_cast<double>(count) * usPerFrame;
        endUs_ = positionUs;
        hasEnd_ = true;
    }
    return true;
}

std::size_t AudioVoice::room(double usPerFrame) const {
    if (markCount_ == marks_.size()) return 0;
    const double queuedUs = queued() > 0 ? endUs_ - positionOf(read_) : 0.0;
    // A jump backwards in the positions makes the difference meaningless; the ring's size bounds it then.
    const double sourceRoom = std::max(0.0, kQueueUs - std::max(0.0, queuedUs)) / usPerFrame;
    return std::min(capacity_ - queued(), static_cast<std::size_t>(std::min(sourceRoom, 1e9)));
}

bool AudioVoice::hasMuchRoom() const {
    return static_cast<double>(room(usPerFrame_)) * usPerFrame_ >= kMuchRoomUs;
}

void AudioVoice::addMark(double positionUs, double usPerFrame) {
    if (markCount_ > 0) {
        const Mark &last = marks_[(firstMark_ + markCount_ - 1) % marks_.size()];
        const double expected = last.positionUs + static_cast<double>(written_ - last.frame) * last.usPerFrame;
        if (last.usPerFrame == usPerFrame && std::abs(expected - positionUs) < 1000.0) return;
    }
    marks_[(firstMark_ + markCount_) % marks_.size()] = {written_, positionUs, usPerFrame};
    ++markCount_;
}

// The mark that holds for the next frame stays, the ones before it go.
void AudioVoice::dropMarks() {
    while (markCount_ > 1 && marks_[(firstMark_ + 1) % marks_.size()].frame <= read_) {
        firstMark_ = (firstMark_ + 1) % marks_.size();
        --markCount_;
    }
}

const AudioVoice::Mark &AudioVoice::markOf(int64_t frame) const {
    const Mark *mark = &marks_[firstMark_];
    for (std::size_t i = 1; i < markCount_; ++i) {
        const Mark &next = marks_[(firstMark_ + i) % marks_.size()];
        if (next.frame > frame) break;
        mark = &next;
    }
    return *mark;
}

double AudioVoice::positionOf(int64_t frame) const {
    const Mark &mark = markOf(frame);
    return mark.positionUs + static_cast<double>(frame - mark.frame) * mark.usPerFrame;
}

void AudioVoice::copyIn(const float *stereo, std::size_t frames) {
    for (std::size_t done = 0; done < frames;) {
        const std::size_t place = static_cast<std::size_t>(written_) % capacity_;
        const std::size_t count = std::min(frames - done, capacity_ - place);
        std::copy_n(stereo + done * kSoundChannels, count * kSoundChannels, &ring_[place * kSoundChannels]);
        written_ += static_cast<int64_t>(count);
        done += count;
    }
}

void AudioVoice::finish() {
    const std::lock_guard lock(mutex_);
    finished_ = true;
}

void AudioVoice::flush() {
    const std::lock_guard lock(mutex_);
    saveTail();
    clearQueue();
    block_.reset();
    hasEnd_ = false;
    finished_ = false;
    restarts_ = true;
    appointment_.reset();
    lastAnswerUs_ = INT64_MIN;
    transport_ = 0.0F;
    roomChanged_.notify_all();
}

void AudioVoice::saveTail() {
    tailRead_ = 0;
    tailFrames_ = transport_ > 0.0F ? std::min(queued(), tail_.size() / kSoundChannels) : 0;
    for (std::size_t i = 0; i < tailFrames_; ++i) {
        const float fade = static_cast<float>(tailFrames_ - i) / static_cast<float>(tailFrames_);
        const std::size_t place = static_cast<std::size_t>(read_ + static_cast<int64_t>(i)) % capacity_;
        for (std::size_t c = 0; c < kSoundChannels; ++c) {
            tail_[i * kSoundChannels + c] = ring_[place * kSoundChannels + c] * fade * transport_ * gain_;
        }
    }
}

void AudioVoice::clearQueue() {
    read_ = written_;
    firstMark_ = markCount_ = 0;
}

void AudioVoice::interrupt() {
    const std::lock_guard lock(mutex_);
    interrupted_ = true;
    roomChanged_.notify_all();
}

void AudioVoice::uninterrupt() {
    const std::lock_guard lock(mutex_);
    interrupted_ = false;
}

void AudioVoice::start() {
    const std::lock_guard lock(mutex_);
    running_ = true;
}

void AudioVoice::startAt(int64_t positionUs, SoundTime at, double speed) {
    const std::lock_guard lock(mutex_);
    running_ = true;
    appointment_ = Appointment{static_cast<double>(positionUs), at, speed};
}

void AudioVoice::pause() {
    const std::lock_guard lock(mutex_);
    running_ = false;
    appointment_.reset();
}

// With the lock. What comes after the cut is faded in like every start in the middle of sound.
void AudioVoice::fallIn(SoundTime heardAt) {
    if (!appointment_) return;
    const auto appointment = *appointment_;
    appointment_.reset();
    if (!restarts_) return;
    constexpr double kMostUs = 200'000.0;  // two buffers of a slow device
    const std::chrono::duration<double, std::micro> waited = heardAt - appointment.at;
    const double lateUs = appointment.positionUs + waited.count() * appointment.speed - positionOf(read_);
    const double usPerFrame = markOf(read_).usPerFrame;
    if (lateUs <= 0.0 || lateUs > kMostUs || usPerFrame <= 0.0) return;
    const auto frames = static_cast<std::size_t>(lateUs / usPerFrame);
    read_ += static_cast<int64_t>(std::min(frames, queued() - 1));
    dropMarks();
}

bool AudioVoice::silentAt(int64_t frame) const {
    constexpr float kSilent = 0.003F;  // -50 dB: a step of this size is not heard as a click
    const float *at = &ring_[static_cast<std::size_t>(frame) % capacity_ * kSoundChannels];
    return std::all_of(at, at + kSoundChannels, [](float sample) { return std::abs(sample) < kSilent; });
}

void AudioVoice::setVolume(float volume) {
    const std::lock_guard lock(mutex_);
    volume_ = volume;
    if (transport_ == 0.0F) gain_ = muted_ ? 0.0F : volume_;  // nothing is heard that could click
}

void AudioVoice::setMuted(bool muted) {
    const std::lock_guard lock(mutex_);
    muted_ = muted;
    if (transport_ == 0.0F) gain_ = muted_ ? 0.0F : volume_;
}

void AudioVoice::leave(int64_t maximumUs) {
    const std::lock_guard lock(mutex_);
    left_ = true;
    const auto most = static_cast<std::size_t>(std::max<int64_t>(maximumUs, 0) * rate_ / 1'000'000);
    if (!running_ || most == 0) {
        saveTail();
        clearQueue();
    } else if (queued() > most) {
        written_ = read_ + static_cast<int64_t>(most);
        finished_ = false;  // the end is a cut: mix fades it
    } else {
        finished_ = true;
    }
    roomChanged_.notify_all();
}

bool AudioVoice::gone() const {
    const std::lock_guard lock(mutex_);
    return left_ && queued() == 0 && tailRead_ == tailFrames_;
}

void AudioVoice::mix(float *out, std::size_t frames, SoundTime heardAt) {
    const std::lock_guard lock(mutex_);
    mixTail(out, frames);
    if (!running_ && transport_ == 0.0F) return;
    if (queued() == 0) {
        restarts_ = true;
        transport_ = 0.0F;
        return;
    }
    fallIn(heardAt);
    if (running_ && transport_ == 0.0F && silentAt(read_)) transport_ = 1.0F;  // a ramp would only take sound away
    const double startUs = positionOf(read_);
    const std::size_t count = mixQueue(out, frames);
    // The last frame's own length belongs to the block, also where the next frame's position jumps.
    const int64_t last = read_ + static_cast<int64_t>(count) - 1;
    const double endUs = positionOf(last) + markOf(last).usPerFrame;
    block_ = Block{startUs, std::max(startUs, endUs), heardAt, heardAt + lengthOf(count, rate_)};
    if (restarts_) firstHeardAt_ = heardAt;
    restarts_ = false;
    read_ += static_cast<int64_t>(count);
    dropMarks();
    if (hasMuchRoom()) roomChanged_.notify_all();
}

// Answers how many frames were taken: fewer than asked for if the queue or the pause's ramp ends first.
std::size_t AudioVoice::mixQueue(float *out, std::size_t frames) {
    const std::size_t count = std::min(frames, queued());
    const std::size_t ramp = rampFrames(rate_);
    const bool runsDry = queued() <= frames;
    const bool fades = runsDry || finished_ || left_;  // a clip may end in the middle of a wave
    for (std::size_t i = 0; i < count; ++i) {
        float gain = nextGain();
        const std::size_t rest = queued() - i - 1;
        if (fades && rest < ramp) gain *= static_cast<float>(rest) / static_cast<float>(ramp);
        const std::size_t place = static_cast<std::size_t>(read_ + static_cast<int64_t>(i)) % capacity_;
        for (std::size_t c = 0; c < kSoundChannels; ++c) {
            out[i * kSoundChannels + c] += ring_[place * kSoundChannels + c] * gain;
        }
        if (!running_ && transport_ == 0.0F) return i + 1;
    }
    if (runsDry) transport_ = 0.0F;
    return count;
}

float AudioVoice::nextGain() {
    const float step = 1.0F / static_cast<float>(rampFrames(rate_));
    transport_ = stepTowards(transport_, running_ ? 1.0F : 0.0F, step);
    gain_ = stepTowards(gain_, muted_ ? 0.0F : volume_, step);
    return transport_ * gain_;
}

void AudioVoice::mixTail(float *out, std::size_t frames) {
    const std::size_t count = std::min(frames, tailFrames_ - tailRead_);
    const float *from = &tail_[0] + tailRead_ * kSoundChannels;
    for (std::size_t i = 0; i < count * kSoundChannels; ++i) out[i] += from[i];
    tailRead_ += count;
}

std::optional<int64_t> AudioVoice::positionUs(SoundTime now) const {
    const std::lock_guard lock(mutex_);
    return positionLocked(now);
}

std::optional<int64_t> AudioVoice::positionLocked(SoundTime now) const {
    if (!block_ || now < firstHeardAt_) return std::nullopt;
    if (running_ && queued() == 0 && now >= block_->endsAt) return std::nullopt;
    const std::chrono::duration<double> length = block_->endsAt - block_->heardAt;
    const std::chrono::duration<double> heard = now - block_->heardAt;
    // Before the block is heard the one before it is, at the same pace.
    const double us = block_->startUs + (block_->endUs - block_->startUs) * (heard / length);
    lastAnswerUs_ = std::max(lastAnswerUs_, static_cast<int64_t>(std::min(us, block_->endUs)));
    return lastAnswerUs_;
}

int64_t AudioVoice::endPositionUs() const {
    const std::lock_guard lock(mutex_);
    return hasEnd_ ? static_cast<int64_t>(endUs_) : INT64_MIN;
}

int64_t AudioVoice::bufferedUs(SoundTime now) const {
    const std::lock_guard lock(mutex_);
    if (!hasEnd_) return 0;
    const auto heard = positionLocked(now);
    const double from = heard ? static_cast<double>(*heard) : queued() > 0 ? positionOf(read_) : endUs_;
    return static_cast<int64_t>(std::max(0.0, endUs_ - from));
}

bool AudioVoice::drained(SoundTime now) const {
    const std::lock_guard lock(mutex_);
    return finished_ && queued() == 0 && (!block_ || now >= block_->endsAt);
}

bool AudioVoice::running() const {
    const std::lock_guard lock(mutex_);
    return running_;
}

}  // namespace oriplayer
