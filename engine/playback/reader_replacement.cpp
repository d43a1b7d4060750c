// The reader's part in a running replacement: where the new source joins, and taking it over.
#include <algorithm>
#include <utility>

#include "playback/reader.h"

namespace oriplayer {
namespace {

// How far the join is ahead of what is decoded. Decoding the new source up to the join usually takes less.
constexpr int64_t kLeadUs = 300'000;

}  // namespace

void Reader::replace(std::shared_ptr<Replacement> replacement) {
    std::shared_ptr<Replacement> former;
    {
        std::lock_guard lock(mutex_);
        former = std::exchange(replacement_, std::move(replacement));
        addedSince_.clear();
    }
    if (former) former->cancel();
    stage_.readWake.notify();
}

std::shared_ptr<Replacement> Reader::replacement() {
    std::lock_guard lock(mutex_);
    return replacement_;
}

int64_t Reader::announcedUs() {
    const auto replacement = this->replacement();
    return replacement ? replacement->announcedUs() : 0;
}

void Reader::forget(const std::shared_ptr<Replacement> &replacement) {
    std::lock_guard lock(mutex_);
    if (replacement_ == replacement) replacement_.reset();
}

// True if nothing may be read now, because what the old source has after the join is not needed.
bool Reader::serveReplacement() {
    using State = Replacement::State;
    const auto replacement = this->replacement();
    const State state = replacement ? replacement->state() : State::kGone;
    const bool joining = state == State::kJoining || state == State::kReady;
    if (held_ && (held_->by != replacement || !joining)) putBack();
    if (!replacement) return false;
    if (state == State::kMeets) return meet(replacement);
    if (state == State::kReady) takeOver(*replacement);
    if (state == State::kReady || state == State::kGone) forget(replacement);
    return state == State::kJoining;
}

// The join is after everything that both decoders have received. Sound is decoded up to 0.3 s before it is heard.
std::optional<PacketQueue::Cut> Reader::cutForJoin() {
    PacketQueue &leading = video_ ? stage_.videoPackets : stage_.audioPackets;
    PacketQueue::CutPlace place{generation_, INT64_MIN, 0, stage_.readAll};
    if (!stage_.untimed) place.leadUs = kLeadUs;
    if (!stage_.untimed && video_) place.fromUs = stage_.audioPackets.takenUs();
    auto cut = leading.cut(place);
    if (cut || hasRoom()) return cut;
    place.leadUs = 0;  // the pictures are so large that the queue cannot hold that much time
    return leading.cut(place);
}

bool Reader::meet(const std::shared_ptr<Replacement> &replacement) {
    if (!stage_.control.current(generation_)) return false;  // a seek will be carried out next
    if (!input_ || replacement->generation() != generation_) {
        replacement->goBack();
        return false;
    }
    auto cut = cutForJoin();
    if (!cut) return false;  // more has to be read first
    Held held{replacement, generation_, {}, {}};
    (video_ ? held.video : held.audio) = std::move(cut->items);
    if (video_) held.audio = stage_.audioPackets.takeBack(cut->playUs);
    if (!video_) held.video = stage_.videoPackets.takeBack(cut->playUs);
    held_ = std::move(held);
    replacement->joinAt({cut->playUs, baseUs_});
    return true;
}

// The replacement has failed or will join elsewhere: the old source continues unchanged.
void Reader::putBack() {
    Held held = std::move(*held_);
    held_.reset();
    if (held.generation != generation_) return;
    StreamItem goOn;
    goOn.kind = StreamItem::Kind::kUntil;
    goOn.generation = generation_;
    goOn.targetUs = INT64_MAX;
    stage_.videoPackets.push(std::move(goOn));
    for (StreamItem &item : held.video) stage_.videoPackets.push(std::move(item));
    for (StreamItem &item : held.audio) stage_.audioPackets.push(std::move(item));
    stage_.wakeAll();
}

void Reader::takeOver(Replacement &replacement) {
    const auto result = replacement.take();
    if (!result) return;
    held_.reset();
    closeInput();
    discardAllBut(stage_.videoPackets.bytes() + stage_.audioPackets.bytes());
    options_ = result->options;
    options_.cancel = &stage_.control.stoppedFlag();
    options_.route = stage_.route;
    threadLimits_ = result->threadLimits;
    enter(result->data, result->programme);
    adopt(std::move(result->source), result->index);
    input_->watch(&stage_.control.stoppedFlag());
    input_->takeRoute(stage_.programme.url(index_), stage_.route);
    untouched_ = false;
    offsetUs_ = result->offsetUs;
    endUs_ = result->endUs;
    stage_.failure.clear();
    stage_.readAll = false;
    const bool more = stage_.programme.totalUs() > result->join.playUs - baseUs_;
    if (stage_.control.ended() && (more || replacement.afterEnd())) stage_.control.resumeFromEnd();
    joinStreams(result->join.playUs);
}

// Sources that were added while the replacement was pending belong to the new programme too.
void Reader::enter(const DataSource &data, const Programme &programme) {
    std::lock_guard lock(mutex_);
    source_ = data;
    stage_.programme.copy(programme);
    for (const auto &source : addedSince_) {
        const auto waits = std::find_if(added_.begin(), added_.end(),
                                        [&source](const Added &added) { return added.source == source; });
        if (waits != added_.end()) waits->index = stage_.programme.count();
        source_.period()->addSource(source);
        stage_.programme.append(source_.itemOf(*source));
    }
    addedSince_.clear();
}

void Reader::joinStreams(int64_t joinUs) {
    StreamItem pictures = pictureStream();
    StreamItem sound = soundStream();
    pictures.joinUs = sound.joinUs = joinUs;
    pictures.pictures = std::move(ahead_.pictures);
    pictures.goesOn = true;
    pictures.fedUs = offsetUs_ + baseUs_ + endUs_;
    newVideo_ = newAudio_ = false;
    stage_.videoPackets.push(std::move(pictures));
    stage_.audioPackets.push(std::move(sound));
    std::vector<OpenedSource::Packet> packets = std::move(ahead_.packets);
    ahead_.forgetAhead();
    for (auto &[packet, stream] : packets) handOn(std::move(packet), stream);
    stage_.wakeAll();
}

}  // namespace oriplayer
