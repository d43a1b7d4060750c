#include "output/audio_voice.h"

#include <algorithm>
#include <cmath>

namespace oriplayer {
namespace {

// Enough that a decoder held up by the system's scheduler is not heard.
constexpr double kQueueSeconds = 0.3;
constexpr double kFastest = 4.0;
// The decoder wakes for so much at once, not for every block.
constexpr double kMuchRoomSeconds = 0.1;

std::chrono::nanoseconds lengthOf(std::size_t frames, int rate) {
    return std::chrono::nanoseconds(static_cast<int64_t>(frames) * 1'000'000'000 / rate);
}

float stepTowards(float value, float target, float step) {
    return value < target ? std::min(value + step, target) : std::max(value - step, target);
}

}  // namespace

AudioVoice::AudioVoice(int rate)
    : rate_(rate),
      capacity_(static_cast<std::size_t>(rate * kQueueSeconds * kFastest)),
      ring_(capacity_ * kSoundChannels),
      tempo_(rate),
      tail_(rampFrames(rate) * kSoundChannels) {
    shaped_.samples.reserve(ring_.size() / 4);
}

bool AudioVoice::write(const float *stereo, std::size_t frames, double positionUs) {
    std::unique_lock lock(mutex_);
    finished_ = false;
    while (frames > 0) {
        if (room() == 0 || markCount_ == marks_.size()) {
            roomChanged_.wait(lock, [&] { return interrupted_ || left_ || hasMuchRoom(); });
        }
        if (interrupted_ || left_) return false;
        const std::size_t count = std::min(frames, room());
        addMark(positionUs);
        copyIn(stereo, count);
        stereo += count * kSoundChannels;
        frames -= count;
        positionUs += static_cast<double>(count) * usPerFrame();
        endUs_ = positionUs;
        hasEnd_ = true;
    }
    return true;
}

std::size_t AudioVoice::room() const {
    const auto most = static_cast<std::size_t>(rate_ * kQueueSeconds * std::max(1.0, tempo_.speed()));
    return most - std::min(most, queued());
}

bool AudioVoice::hasMuchRoom() const {
    return markCount_ < marks_.size() && static_cast<double>(room()) >= kMuchRoomSeconds * rate_;
}

void AudioVoice::addMark(double positionUs) {
    if (markCount_ > 0 && std::abs(positionOf(static_cast<double>(written_)) - positionUs) < 1000.0) return;
    marks_[(firstMark_ + markCount_) % marks_.size()] = {written_, positionUs};
    ++markCount_;
}

// The mark that holds for the next frame stays, the ones before it go.
void AudioVoice::dropMarks() {
    while (markCount_ > 1 && static_cast<double>(marks_[(firstMark_ + 1) % marks_.size()].frame) <= nextFrame()) {
        firstMark_ = (firstMark_ + 1) % marks_.size();
        --markCount_;
    }
}

double AudioVoice::positionOf(double frame) const {
    const Mark *mark = &marks_[firstMark_];
    for (std::size_t i = 1; i < markCount_; ++i) {
        const Mark &next = marks_[(firstMark_ + i) % marks_.size()];
        if (static_cast<double>(next.frame) > frame) break;
        mark = &next;
    }
    return mark->positionUs + std::max(0.0, frame - static_cast<double>(mark->frame)) * usPerFrame();
}

double AudioVoice::nextFrame() const {
    return static_cast<double>(read_) - static_cast<double>(tempo_.inside()) - shapedSource();
}

double AudioVoice::shapedSource() const {
    const auto former = static_cast<double>(std::min(formerFrames_, shaped_.frames()));
    return former * formerSpeed_ + (static_cast<double>(shaped_.frames()) - former) * tempo_.speed();
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
    tailFrames_ = transport_ > 0.0F ? std::min(shaped_.frames(), tail_.size() / kSoundChannels) : 0;
    for (std::size_t i = 0; i < tailFrames_; ++i) {
        const float fade = static_cast<float>(tailFrames_ - i) / static_cast<float>(tailFrames_);
        for (std::size_t c = 0; c < kSoundChannels; ++c) {
            tail_[i * kSoundChannels + c] = shaped_.samples[i * kSoundChannels + c] * fade * transport_ * gain_;
        }
    }
}

void AudioVoice::clearQueue() {
    read_ = written_;
    firstMark_ = markCount_ = 0;
    shaped_.samples.clear();
    tempo_.reset();
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

void AudioVoice::startAt(int64_t positionUs, SoundTime at) {
    const std::lock_guard lock(mutex_);
    running_ = true;
    appointment_ = Appointment{static_cast<double>(positionUs), at};
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
    const double lateUs = appointment.positionUs + waited.count() * tempo_.speed() - positionOf(nextFrame());
    if (lateUs <= 0.0 || lateUs > kMostUs) return;
    const auto frames = static_cast<std::size_t>(lateUs / usPerFrame());
    read_ += static_cast<int64_t>(std::min(frames, queued() - 1));
}

bool AudioVoice::beginsSilent() const {
    constexpr float kSilent = 0.003F;  // -50 dB: a step of this size is not heard as a click
    const auto begin = shaped_.samples.begin();
    return std::all_of(begin, begin + kSoundChannels, [](float sample) { return std::abs(sample) < kSilent; });
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

void AudioVoice::setSpeed(double speed) {
    const std::lock_guard lock(mutex_);
    const std::size_t before = shaped_.frames();
    const double source = shapedSource();
    const double oldSpeed = tempo_.speed();
    tempo_.setSpeed(speed, shaped_);
    formerFrames_ = shaped_.frames();
    const double added = static_cast<double>(formerFrames_ - before) * oldSpeed;
    formerSpeed_ = formerFrames_ > 0 ? (source + added) / static_cast<double>(formerFrames_) : speed;
    roomChanged_.notify_all();
}

void AudioVoice::leave(int64_t maximumUs) {
    const std::lock_guard lock(mutex_);
    left_ = true;
    const double most = nextFrame() + static_cast<double>(std::max<int64_t>(maximumUs, 0)) / usPerFrame();
    if (!running_ || maximumUs <= 0) {
        saveTail();
        clearQueue();
    } else if (static_cast<double>(written_) > most) {
        written_ = std::max(read_, static_cast<int64_t>(most));
        finished_ = false;  // the end is a cut: mix fades it
    } else {
        finished_ = true;
    }
    roomChanged_.notify_all();
}

bool AudioVoice::gone() const {
    const std::lock_guard lock(mutex_);
    return left_ && empty() && tailRead_ == tailFrames_;
}

void AudioVoice::mix(float *out, std::size_t frames, SoundTime heardAt) {
    const std::lock_guard lock(mutex_);
    mixTail(out, frames);
    if (!running_ && transport_ == 0.0F) return;
    if (empty()) {
        restarts_ = true;
        transport_ = 0.0F;
        return;
    }
    fallIn(heardAt);
    shape(frames);
    if (running_ && transport_ == 0.0F && beginsSilent()) transport_ = 1.0F;  // a ramp would only take sound away
    const double startUs = positionOf(nextFrame());
    const std::size_t count = mixShaped(out, frames);
    const auto taken = static_cast<std::ptrdiff_t>(count * kSoundChannels);
    shaped_.samples.erase(shaped_.samples.begin(), shaped_.samples.begin() + taken);
    formerFrames_ -= std::min(formerFrames_, count);
    // The last frame's own length belongs to the block, also where the next frame's position jumps.
    const double endUs = positionOf(nextFrame() - 1.0) + usPerFrame();
    block_ = Block{startUs, std::max(startUs, endUs), heardAt, heardAt + lengthOf(count, rate_)};
    if (restarts_) firstHeardAt_ = heardAt;
    restarts_ = false;
    dropMarks();
    if (hasMuchRoom()) roomChanged_.notify_all();
}

// Makes so many frames ready to be mixed and, so that a cut can be faded, those of a ramp.
void AudioVoice::shape(std::size_t frames) {
    const std::size_t wanted = frames + rampFrames(rate_);
    while (shaped_.frames() < wanted && queued() > 0) {
        const std::size_t place = static_cast<std::size_t>(read_) % capacity_;
        const auto missing = static_cast<double>(wanted - shaped_.frames()) * tempo_.speed();
        const std::size_t count = std::min({static_cast<std::size_t>(std::ceil(missing)), queued(), capacity_ - place});
        tempo_.process(&ring_[place * kSoundChannels], count, shaped_);
        read_ += static_cast<int64_t>(count);
    }
    if (queued() == 0 && (finished_ || left_ || shaped_.frames() < frames)) tempo_.finish(shaped_);
    if (shaped_.frames() == 0) shaped_.appendSilence(1);  // a filter that kept less than it needs for one frame
}

// Returns how many frames were taken: fewer than asked for if the sound or the pause's ramp ends first.
std::size_t AudioVoice::mixShaped(float *out, std::size_t frames) {
    const std::size_t count = std::min(frames, shaped_.frames());
    const std::size_t ramp = rampFrames(rate_);
    const bool runsDry = queued() == 0 && shaped_.frames() <= frames;
    const bool fades = runsDry || finished_ || left_;  // a clip may end in the middle of a wave
    for (std::size_t i = 0; i < count; ++i) {
        float gain = nextGain();
        const std::size_t rest = shaped_.frames() + queued() - i - 1;
        if (fades && rest < ramp) gain *= static_cast<float>(rest) / static_cast<float>(ramp);
        for (std::size_t c = 0; c < kSoundChannels; ++c) {
            out[i * kSoundChannels + c] += shaped_.samples[i * kSoundChannels + c] * gain;
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
    if (running_ && empty() && now >= block_->endsAt) return std::nullopt;
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
    const double from = heard ? static_cast<double>(*heard) : empty() ? endUs_ : positionOf(nextFrame());
    return static_cast<int64_t>(std::max(0.0, endUs_ - from));
}

bool AudioVoice::drained(SoundTime now) const {
    const std::lock_guard lock(mutex_);
    return finished_ && empty() && (!block_ || now >= block_->endsAt);
}

bool AudioVoice::running() const {
    const std::lock_guard lock(mutex_);
    return running_;
}

}  // namespace oriplayer
