#include "playback/video_pipe.h"

#include <iterator>
#include <utility>

#include "ffmpeg_versions.h"
#include "module/reaper.h"

namespace oriplayer {
namespace {

// A picture that is later than this is too late for the sound, so the decoder skips what it can.
constexpr int64_t kLateUs = 40'000;

}  // namespace

void VideoPipe::run() {
    while (!stage_.control.over()) {
        auto item = firstComesFirst() ? std::nullopt : stage_.videoPackets.pop(stage_.control.generation());
        if (!item) {
            if (stage_.wantsHeld) handOutHeld();
            stage_.videoWake.wait();
            continue;
        }
        if (stage_.videoPackets.wantsMore()) stage_.readWake.notify();
        handle(std::move(*item));
    }
    Reaper::instance().bury(std::move(decoder_));
}

// With pictures that were decoded in advance, only the first one is urgent. Until it is shown, this thread leaves the
// processor to the threads that start the player.
bool VideoPipe::firstComesFirst() const {
    return hasAhead_ && stage_.shownGeneration != generation_ && !outdated();
}

bool VideoPipe::outdated() const {
    return stage_.control.over() || !stage_.control.current(generation_);
}

void VideoPipe::handle(StreamItem item) {
    switch (item.kind) {
        case StreamItem::Kind::kFlush:
            beginGeneration(item);
            break;
        case StreamItem::Kind::kStream:
            drain();
            decoder_ = std::move(item.video);
            if (decoder_ && !item.goesOn) decoder_->flush();
            if (item.joinUs) joinUs_ = *item.joinUs;
            untilUs_ = INT64_MAX;
            mayStall_ = item.mayStall;
            sinceKey_.clear();
            if (decoder_) decoder_->skipBefore(landed_ ? INT64_MIN : targetUs_);
            baseUs_ = item.baseUs;
            beginsUs_ = item.pictures.empty() ? item.beginsUs : std::nullopt;
            if (!item.pictures.empty() && !item.goesOn) takenUs_ = item.pictures.back()->pts;
            takeAhead(std::move(item.pictures));
            break;
        case StreamItem::Kind::kPacket:
            stage_.wantsHeld = false;
            ++stage_.counters.videoPackets;
            stage_.counters.decoderBytes += item.packet->size;
            if (item.packet->pts != AV_NOPTS_VALUE) awaited_.insert(item.packet->pts);
            keepPace(*item.packet);
            showFirst(*item.packet);
            decode(item.packet.get());
            if (mayStall_) sinceKey_.add(*item.packet);
            if (item.packet->dts != AV_NOPTS_VALUE) lastDtsUs_ = item.packet->dts;
            stage_.decoderHolds = true;
            break;
        case StreamItem::Kind::kEnd:
            drain();
            deliverEnd(item.end);
            break;
        case StreamItem::Kind::kUntil:
            untilUs_ = item.targetUs;
            break;
    }
}

void VideoPipe::takeAhead(std::vector<FramePtr> pictures) {
    for (FramePtr &picture : pictures) {
        if (outdated()) return;
        countDecoded(*picture);
        take(std::move(picture));
    }
    hasAhead_ = landed_;
}

// Decodes the first picture alone, so that it does not wait for the next ones. The main decoder delivers it again.
void VideoPipe::showFirst(const AVPacket &packet) {
    const auto beginsUs = std::exchange(beginsUs_, std::nullopt);
    const bool first = beginsUs && packet.pts == *beginsUs && (packet.flags & AV_PKT_FLAG_KEY) != 0;
    if (!first || !decoder_ || landed_ || stage_.untimed || targetUs_ > packet.pts) return;
    FramePtr frame;
    {
        Stopwatch watch(stage_.counters.decodeUs);
        frame = decoder_->decodeAlone(packet);
    }
    if (!frame || outdated()) return;
    takenUs_ = frame->pts;
    stage_.catchesUp = true;
    countDecoded(*frame);
    take(std::move(frame));
}

bool VideoPipe::wasTaken(const AVFrame &frame) {
    if (takenUs_ && frame.pts <= *takenUs_) return true;
    caughtUp();
    return false;
}

void VideoPipe::caughtUp() {
    takenUs_.reset();
    if (stage_.catchesUp.exchange(false)) stage_.showWake.notify();
}

// Nothing arrives, and every other picture was shown. A decoder holds some back, for its threads and for the order of
// the pictures; it gives them if it is emptied, but then lacks what later pictures refer to. So it is fed again from
// the key frame on.
void VideoPipe::handOutHeld() {
    const std::vector<PacketPtr> &packets = sinceKey_.packets();
    if (decoder_ && !packets.empty() && !outdated()) {
        drain_ = Drain::kTakes;
        decode(nullptr);
        drain_ = Drain::kNo;
        decoder_->flush();
        decoder_->skipBefore(lastEndUs_);
        takenUs_ = lastOutUs_;
        for (const PacketPtr &packet : packets) decode(packet.get());
        decoder_->skipBefore(landed_ ? INT64_MIN : targetUs_);
    }
    stage_.wantsHeld = stage_.decoderHolds = false;
    stage_.showWake.notify();
}

// No picture that has still to be read is shown before this one.
bool VideoPipe::follows(const AVFrame &frame) const {
    return frame.pts <= lastDtsUs_ || (lastEndUs_ != INT64_MIN && frame.pts <= lastEndUs_ + durationOf(frame) / 2);
}

void VideoPipe::beginGeneration(const StreamItem &item) {
    generation_ = item.generation;
    targetUs_ = item.targetUs;
    baseUs_ = item.baseUs;
    untilUs_ = INT64_MAX;
    joinUs_ = INT64_MIN;
    landed_ = false;
    hasAhead_ = false;
    skipping_ = false;
    hasSkipped_ = false;
    awaited_.clear();
    skipped_.reset();
    beginsUs_.reset();
    caughtUp();
    if (!item.goesOn) {
        sinceKey_.clear();
        lastOutUs_ = lastEndUs_ = lastDtsUs_ = INT64_MIN;
    }
    if (!decoder_) return;
    if (!item.goesOn) decoder_->flush();
    decoder_->skipBefore(targetUs_);
}

// Lets the decoder skip late pictures. That is cheapest, because it knows which pictures no other picture needs.
void VideoPipe::keepPace(const AVPacket &packet) {
    if (!decoder_ || !landed_ || stage_.untimed || packet.pts == AV_NOPTS_VALUE) return;
    const bool playing = stage_.clock.running() && stage_.shownGeneration == generation_;
    const int64_t now = stage_.clock.nowUs();
    const bool late = playing && packet.pts + packet.duration < now - kLateUs;
    if (!late && !skipping_) return;
    decoder_->skipBefore(late ? now : INT64_MIN);
    skipping_ = late;
    hasSkipped_ = hasSkipped_ || late;
}

// The decoder delivers pictures in the order of their times, so an awaited picture with an earlier time was skipped.
void VideoPipe::countSkipped(int64_t playUs) {
    const auto behind = awaited_.lower_bound(playUs);
    if (hasSkipped_) stage_.counters.picturesSkipped += std::distance(awaited_.begin(), behind);
    awaited_.erase(awaited_.begin(), behind);
    awaited_.erase(playUs);
}

// Decodes a packet even if a seek has made it outdated meanwhile, because that seek may continue from this decoder
// state.
void VideoPipe::decode(const AVPacket *packet) {
    if (!decoder_) return;
    for (bool room = true; room;) {
        int result = 0;
        {
            Stopwatch watch(stage_.counters.decodeUs);
            result = decoder_->send(packet);
        }
        room = receive() && result == AVERROR(EAGAIN);
    }
}

// Takes one picture if there is one, and all others until they are outdated. False after a failure.
bool VideoPipe::receive() {
    do {
        FramePtr frame(av_frame_alloc());
        if (!frame) {
            stage_.fail(kEventDecodeFailed, {AVERROR(ENOMEM), "no memory for a picture"});
            return false;
        }
        int result = 0;
        {
            Stopwatch watch(stage_.counters.decodeUs);
            result = decoder_->receive(frame.get());
        }
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return true;
        if (result < 0 && drain_ != Drain::kNo) return true;  // what follows may still be decoded
        if (result < 0) {
            const std::string what = std::string("decoding ") + decoder_->codecName() + ": " + avErrorText(result);
            stage_.fail(kEventDecodeFailed, {result, what});
            return false;
        }
        if (outdated()) return true;
        if (drain_ == Drain::kTakes && !follows(*frame)) drain_ = Drain::kLeaves;
        if (drain_ == Drain::kLeaves) continue;
        countSkipped(frame->pts);
        if (wasTaken(*frame)) continue;
        countDecoded(*frame);
        take(std::move(frame));
    } while (!outdated());
    return true;
}

void VideoPipe::drain() {
    if (!decoder_) return;
    decode(nullptr);
    decoder_->flush();
    caughtUp();
    if (!outdated()) countSkipped(INT64_MAX);
}

// True if the picture is shown from this source and not from a replacement. Compares the middle of the picture, because
// the containers of two sources may round its time differently.
bool VideoPipe::belongs(const AVFrame &frame) {
    const int64_t middle = frame.pts + durationOf(frame) / 2;
    if (middle >= untilUs_ || middle < joinUs_) return false;
    joinUs_ = INT64_MIN;
    return true;
}

void VideoPipe::countDecoded(const AVFrame &frame) const {
    ++stage_.counters.picturesDecoded;
    stage_.counters.picturesDecodedUs += durationOf(frame);
}

void VideoPipe::take(FramePtr frame) {
    lastOutUs_ = frame->pts;
    lastEndUs_ = endOf(*frame);
    if (!belongs(*frame)) return;
    if (!landed_ && targetUs_ != INT64_MIN && lastEndUs_ <= targetUs_) {
        skipped_ = std::move(frame);
        return;
    }
    if (!landed_ && decoder_) decoder_->skipBefore(INT64_MIN);
    skipped_.reset();
    deliver(std::move(frame));
}

void VideoPipe::deliver(FramePtr frame) {
    landed_ = true;
    Picture picture;
    picture.generation = generation_;
    picture.playUs = frame->pts;
    picture.durationUs = durationOf(*frame);
    picture.baseUs = baseUs_;
    MediaError error;
    {
        Stopwatch watch(stage_.counters.decodeUs);
        picture.frame = converter_.toI420(std::move(frame), error);
    }
    if (!picture.frame) return stage_.fail(kEventDecodeFailed, error);
    if (!stage_.control.prepared()) {
        stage_.tellSize(picture.frame->width, picture.frame->height);
        stage_.tellPrepared();
    }
    put(std::move(picture));
}

// After a seek to a position after the last picture, that picture is shown.
void VideoPipe::deliverEnd(uint32_t number) {
    if (!landed_ && skipped_) deliver(std::move(skipped_));
    Picture end;
    end.generation = generation_;
    end.end = number;
    put(std::move(end));
}

void VideoPipe::put(Picture picture) {
    while (!outdated()) {
        if (stage_.pictures.push(picture)) {
            stage_.showWake.notify();
            return;
        }
        stage_.videoWake.wait();
    }
}

}  // namespace oriplayer
