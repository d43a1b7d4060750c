// The reader's part in a seek.
#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "playback/packet_times.h"
#include "playback/reader.h"

namespace oriplayer {
namespace {

int64_t bytesOf(const std::vector<StreamItem> &packets) {
    int64_t bytes = 0;
    for (const StreamItem &item : packets) bytes += item.packet->size;
    return bytes;
}

}  // namespace

void Reader::carryOut(const SeekRequest &seek) {
    generation_ = seek.generation;
    serveGeneration();
    const bool whole = !held_;
    held_.reset();
    if (const auto replacement = this->replacement()) replacement->goBack();
    if (whole && readsOn(seek)) return;
    stage_.readAll = false;
    stage_.failure.clear();
    stage_.videoPackets.clear();
    stage_.audioPackets.clear();
    discardAllBut(0);
    stage_.clock.clearRounds();
    stage_.readBaseUs = baseUs_ = 0;
    int64_t target = seek.positionUs;
    if (!arrive(target)) {
        beginGeneration(target);
        return pushEnd();
    }
    if (seek.mode == SeekMode::kKeyFrame && video_ && target > 0) {
        landOnKeyFrame(target);
    } else {
        beginGeneration(target);
    }
}

// A newer seek interrupts network calls of this generation. This does not apply to a source that does not support
// seeking: it could not be read any further.
void Reader::serveGeneration() {
    if (!input_) return;
    input_->serve(input_->seekable() ? &stage_.control.newestGeneration() : nullptr, generation_);
}

// Seeks within the packets that have been read already: the input is not moved, and the packets from the target on are
// used. False if the result might differ from that of a real seek; the packets are dropped then.
bool Reader::readsOn(const SeekRequest &seek) {
    int64_t target = withinProgramme(seek.positionUs);
    auto pictures = stage_.videoPackets.takeAll();
    auto sound = stage_.audioPackets.takeAll();
    if (!standsIn(target)) return false;
    std::optional<KeptPackets> keptPictures = KeptPackets{};
    std::optional<KeptPackets> keptSound = KeptPackets{};
    if (video_) {
        const SeekMode mode = target > 0 ? seek.mode : SeekMode::kExact;
        keptPictures = keepPictures(std::move(pictures), target, mode, video_->codecId());
        if (!keptPictures) return false;
        if (mode == SeekMode::kKeyFrame) target = keptPictures->packets.front().packet->pts;
    }
    const SoundRole role = video_ ? SoundRole::kBesidePictures : SoundRole::kAlone;
    if (audio_) keptSound = keepSound(std::move(sound), target, role);
    if (!keptSound) return false;
    discardAllBut(bytesOf(keptPictures->packets) + bytesOf(keptSound->packets));
    announceGeneration(target);
    handBack(stage_.videoPackets, std::move(*keptPictures), pictureStream(), target);
    handBack(stage_.audioPackets, std::move(*keptSound), soundStream(), target);
    if (stage_.readAll) pushEnd();
    stage_.wakeAll();
    return true;
}

// True if the target is in the source that is being read, in the first round of a loop.
bool Reader::standsIn(int64_t targetUs) const {
    const bool reads = input_ && !brokenOff_ && (video_ || audio_) && !stage_.failure.get();
    if (!reads || !input_->seekable() || baseUs_ != 0 || newVideo_ || newAudio_) return false;
    const auto place = stage_.programme.locate(targetUs);
    return place.index == index_ && place.startUs == offsetUs_;
}

void Reader::handBack(PacketQueue &queue, KeptPackets kept, StreamItem stream, int64_t targetUs) const {
    StreamItem flush;
    flush.kind = StreamItem::Kind::kFlush;
    flush.generation = generation_;
    flush.targetUs = targetUs;
    flush.goesOn = kept.goesOn;
    flush.fedUs = kept.fedUs;
    queue.push(std::move(flush));
    if (!kept.goesOn) queue.push(std::move(stream));
    for (StreamItem &item : kept.packets) {
        item.generation = generation_;
        queue.push(std::move(item));
    }
}

// Opens the source that contains the position and seeks in it. Limits the target to the programme.
bool Reader::arrive(int64_t &target) {
    if (input_) target = withinProgramme(target);
    const auto place = stage_.programme.locate(target);
    if ((!input_ || place.index != index_) && !open(place.index)) return false;
    target = withinProgramme(target);
    offsetUs_ = place.startUs;
    if (!goTo(target - offsetUs_)) return false;
    if (!input_->seekable() && !untouched_) target = INT64_MIN;  // it continues where it is
    return true;
}

int64_t Reader::withinProgramme(int64_t positionUs) const {
    const int64_t total = stage_.programme.totalUs();
    return total > 0 ? std::min(positionUs, total) : positionUs;
}

bool Reader::goTo(int64_t positionUs) {
    if (untouched_ && positionUs <= 0) return true;
    if (!input_->seekable()) return true;
    untouched_ = false;
    const MediaError error = input_->seek(positionUs);
    brokenOff_ = error.native == AVERROR_EXIT && !stage_.control.current(generation_);
    if (error) {
        if (!brokenOff_) giveUp(kEventReadFailed, error);
        return false;
    }
    endUs_ = 0;
    soughtUs_ = positionUs;
    ahead_.forgetAhead();
    return true;
}

// The sound has to begin at the time of the key frame, which is known only after its packet has been read.
void Reader::landOnKeyFrame(int64_t targetUs) {
    std::vector<std::pair<PacketPtr, SourceInput::Stream>> held;
    constexpr std::size_t kMost = 2000;  // packets: 20 s of sound without a picture mean that there is none
    while (held.size() < kMost) {
        SourceInput::Stream stream{};
        PacketPtr packet = read(stream);
        if (!packet) break;
        const bool picture = stream == SourceInput::Stream::kVideo;
        if (picture && shownAt(*packet) != AV_NOPTS_VALUE) targetUs = shownAt(*packet) + offsetUs_;
        held.emplace_back(std::move(packet), stream);
        if (picture) break;
    }
    beginGeneration(targetUs);
    for (auto &[packet, stream] : held) handOn(std::move(packet), stream);
}

void Reader::announceGeneration(int64_t targetUs) {
    stage_.landingUs = targetUs;
    stage_.expectVideo = video_ != nullptr;
    stage_.expectAudio = audio_ != nullptr && !stage_.untimed;
    stage_.variants.restart();
}

void Reader::beginGeneration(int64_t targetUs) {
    announceGeneration(targetUs);
    pushBoth(StreamItem::Kind::kFlush, targetUs);
    pushStreams();
}

}  // namespace oriplayer
