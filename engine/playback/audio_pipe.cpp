#include "playback/audio_pipe.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace oriplayer {
namespace {

// Smaller gaps are the renderer's to fill.
constexpr int64_t kSmallGapUs = 500'000;
constexpr int64_t kPieceUs = 100'000;  ///< of silence, and of long frames: see pushInPieces()
constexpr int64_t kLateUs = 40'000;
constexpr int64_t kAheadUs = 300'000;  ///< decoded ahead without a device, as the renderer keeps

int64_t durationOf(const AVFrame &frame) {
    return frame.sample_rate > 0 ? av_rescale(frame.nb_samples, 1'000'000, frame.sample_rate) : 0;
}

// Takes the first `samples` away; the data stays where it is.
void cutFront(AVFrame &frame, int samples) {
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const bool planar = av_sample_fmt_is_planar(format) != 0;
    const int channels = frame.ch_layout.nb_channels;
    const int bytes = samples * av_get_bytes_per_sample(format) * (planar ? 1 : channels);
    const int planes = planar ? channels : 1;
    for (int i = 0; i < planes; ++i) {
        frame.extended_data[i] += bytes;
        if (frame.extended_data != frame.data && i < AV_NUM_DATA_POINTERS) frame.data[i] += bytes;
    }
    frame.nb_samples -= samples;
    frame.pts += av_rescale(samples, 1'000'000, frame.sample_rate);
}

FramePtr silenceLike(const AVFrame &like, int64_t durationUs) {
    FramePtr frame(av_frame_alloc());
    if (!frame) return nullptr;
    frame->format = like.format;
    frame->sample_rate = like.sample_rate;
    frame->nb_samples = static_cast<int>(std::max<int64_t>(1, av_rescale(durationUs, like.sample_rate, 1'000'000)));
    if (av_channel_layout_copy(&frame->ch_layout, &like.ch_layout) < 0) return nullptr;
    if (av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
    av_samples_set_silence(frame->extended_data, 0, frame->nb_samples, frame->ch_layout.nb_channels,
                           static_cast<AVSampleFormat>(frame->format));
    return frame;
}

}  // namespace

void AudioPipe::run() {
    while (!stage_.control.over()) {
        auto item = stage_.audioPackets.pop(stage_.control.generation());
        if (!item) {
            stage_.audioWake.wait();
            continue;
        }
        if (stage_.audioPackets.wantsMore()) stage_.readWake.notify();
        handle(std::move(*item));
    }
    decoder_.reset();
}

bool AudioPipe::outdated() const {
    return stage_.control.over() || !stage_.control.current(generation_);
}

void AudioPipe::handle(StreamItem item) {
    switch (item.kind) {
        case StreamItem::Kind::kFlush:
            beginGeneration(item);
            break;
        case StreamItem::Kind::kStream:
            drain();
            decoder_ = std::move(item.audio);
            if (item.joinUs) targetUs_ = std::max(targetUs_, *item.joinUs);
            if (stage_.soundEnded == generation_) stage_.soundEnded = 0;  // something was added behind the end
            break;
        case StreamItem::Kind::kPacket:
            ++stage_.counters.audioPackets;
            if (stage_.untimed) {
                tellReady();
            } else {
                stage_.counters.decoderBytes += item.packet->size;
                decode(item.packet.get());
            }
            break;
        case StreamItem::Kind::kEnd:
            drain();
            end(item.end);
            break;
        case StreamItem::Kind::kUntil:
            break;
    }
}

void AudioPipe::beginGeneration(const StreamItem &item) {
    generation_ = item.generation;
    targetUs_ = item.targetUs;
    nextUs_ = INT64_MIN;
    if (decoder_ && !item.goesOn) decoder_->flush();
    stage_.sound.flush();
    stage_.soundEndUs = targetUs_ == INT64_MIN ? 0 : targetUs_;
    stage_.clock.soundIsOf(generation_);
    // A newer seek that interrupts behind this line finds its generation in outdated(), one before it as well.
    stage_.sound.uninterrupt();
}

// A packet goes in even if a seek has made it outdated meanwhile: behind that one the decoder may go on from here.
void AudioPipe::decode(const AVPacket *packet) {
    const auto decoder = decoder_;  // receive() may give it up
    if (!decoder) return;
    const int64_t damaged = decoder->damagedPackets();
    while (decoder->send(packet) == AVERROR(EAGAIN) && receive()) {}
    if (decoder_) receive();
    stage_.counters.soundsDamaged += decoder->damagedPackets() - damaged;
}

// At least one frame, if there is one, and all of them unless they are outdated. False behind a failure.
bool AudioPipe::receive() {
    const FramePtr frame(av_frame_alloc());
    if (!frame) return false;
    do {
        const int result = decoder_->receive(frame.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return true;
        if (result < 0) {
            // The picture goes on without sound; sound alone cannot.
            const MediaError error{result, "decoding sound: " + avErrorText(result)};
            decoder_.reset();
            if (!stage_.expectVideo) stage_.fail(kEventDecodeFailed, error);
            return false;
        }
        if (outdated()) return true;
        ++stage_.counters.soundsDecoded;
        stage_.counters.soundsDecodedUs += durationOf(*frame);
        take(*frame);
        av_frame_unref(frame.get());
    } while (!outdated());
    return true;
}

void AudioPipe::drain() {
    if (!decoder_) return;
    decode(nullptr);
    if (decoder_) decoder_->flush();
}

void AudioPipe::end(uint32_t number) {
    if (stage_.sound.opened()) stage_.sound.finish();
    stage_.soundEnded = generation_;
    stage_.soundEnd = number;
    stage_.showWake.notify();
}

void AudioPipe::take(AVFrame &frame) {
    if (frame.sample_rate <= 0 || frame.nb_samples <= 0) return;
    const int64_t from = targetUs_;
    if (from != INT64_MIN && frame.pts < from) {
        if (frame.pts + durationOf(frame) <= from) return;
        const auto samples = static_cast<int>(av_rescale(from - frame.pts, frame.sample_rate, 1'000'000));
        if (samples >= frame.nb_samples) return;
        cutFront(frame, samples);
    }
    play(frame);
}

void AudioPipe::play(AVFrame &frame) {
    if (!stage_.expectVideo) stage_.tellPrepared();
    const int64_t end = frame.pts + durationOf(frame);
    // Behind a hole in the sound the clock has gone on without it.
    const bool leads = stage_.clock.soundLeads();
    const bool dry = nextUs_ != INT64_MIN && stage_.clock.running() && !leads && stage_.shownGeneration == generation_;
    const int64_t now = dry ? stage_.clock.nowUs() : 0;
    if (dry && stage_.soundReady == generation_ && now > nextUs_ + kSmallGapUs && end < now - kLateUs) {
        ++stage_.counters.soundsDropped;
        nextUs_ = end;
        return;
    }
    if (!hasDevice()) {
        pace(frame.pts);
    } else if (!fillUpTo(frame.pts, frame) || !pushInPieces(frame)) {
        return;
    }
    nextUs_ = end;
    stage_.soundEndUs = end;
    tellReady();
}

// Long silence, e.g. before a sound track that begins late, is made here: the clock follows it like any sound.
bool AudioPipe::fillUpTo(int64_t playUs, const AVFrame &like) {
    if (nextUs_ == INT64_MIN && targetUs_ == INT64_MIN) return true;
    int64_t from = nextUs_ != INT64_MIN ? nextUs_ : std::max<int64_t>(0, targetUs_);
    if (nextUs_ != INT64_MIN && playUs - from < kSmallGapUs) return true;
    stage_.sound.cut();
    while (playUs - from > 1000) {
        const int64_t piece = std::min(kPieceUs, playUs - from);
        const FramePtr silence = silenceLike(like, piece);
        if (!silence || !push(*silence, from)) return false;
        from += piece;
        nextUs_ = from;
        tellReady();
    }
    stage_.sound.cut();
    return true;
}

// A frame may be longer than what the renderer keeps (4096 samples at 8 kHz): the rest waits until the first part
// plays, and that waits to hear that there is sound.
bool AudioPipe::pushInPieces(AVFrame &frame) {
    const int piece = static_cast<int>(std::max<int64_t>(1, av_rescale(kPieceUs, frame.sample_rate, 1'000'000)));
    int rest = frame.nb_samples;
    while (rest > 0) {
        const int samples = std::min(rest, piece);
        frame.nb_samples = samples;
        if (!push(frame, frame.pts)) return false;
        tellReady();
        cutFront(frame, samples);
        rest -= samples;
    }
    return true;
}

bool AudioPipe::push(const AVFrame &frame, int64_t playUs) {
    if (stage_.sound.push(frame, playUs)) return !outdated();
    // Interrupted: by a seek, by the end of the player, or because the device is lost.
    return !outdated() && stage_.soundLost;
}

void AudioPipe::pace(int64_t playUs) {
    tellReady();
    while (!outdated()) {
        const bool runs = stage_.clock.running() && stage_.shownGeneration == generation_;
        if (!runs) {
            if (playUs <= std::max<int64_t>(0, targetUs_) + kAheadUs) return;
            stage_.audioWake.wait();
            continue;
        }
        if (playUs <= stage_.clock.nowUs() + kAheadUs) return;
        stage_.audioWake.wait(stage_.clock.timeOf(playUs - kAheadUs));
    }
}

bool AudioPipe::hasDevice() {
    if (stage_.soundLost) return false;
    if (stage_.sound.opened()) return true;
    if (const MediaError error = stage_.sound.open(stage_.settings.audioDevice())) {
        if (!outdated()) stage_.loseSound(error);  // a seek or a stop interrupts the opening
        return false;
    }
    return true;
}

void AudioPipe::tellReady() {
    if (!stage_.expectVideo) stage_.tellPrepared();
    if (stage_.soundReady.exchange(generation_) != generation_) stage_.showWake.notify();
}

}  // namespace oriplayer
