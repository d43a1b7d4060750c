// The reader's part in a seek.
#include <algorithm>
#include <utility>
#include <vector>

#include "playback/packet_times.h"
#include "playback/reader.h"

namespace oriplayer {

void Reader::carryOut(const SeekRequest &seek) {
    generation_ = seek.generation;
    held_.reset();
    if (const auto replacement = this->replacement()) replacement->goBack();
    stage_.readAll = false;
    stage_.failure.clear();
    stage_.videoPackets.clear();
    stage_.audioPackets.clear();
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

// Opens the source that holds the position and goes there; cuts the target to what there is.
bool Reader::arrive(int64_t &target) {
    if (input_) target = withinProgramme(target);
    const auto place = stage_.programme.locate(target);
    if ((!input_ || place.index != index_) && !open(place.index)) return false;
    target = withinProgramme(target);
    offsetUs_ = place.startUs;
    if (!goTo(target - offsetUs_)) return false;
    if (!input_->seekable() && !untouched_) target = INT64_MIN;  // it goes on where it stands
    return true;
}

int64_t Reader::withinProgramme(int64_t positionUs) const {
    const int64_t total = stage_.programme.totalUs();
    return total > 0 ? std::min(positionUs, total) : positionUs;
}

bool Reader::goTo(int64_t positionUs) {
    if (untouched_ && positionUs <= 0) return true;
    if (!input_->seekable()) return true;
    if (const MediaError error = input_->seek(positionUs)) {
        giveUp(kEventReadFailed, error);
        return false;
    }
    endUs_ = 0;
    soughtUs_ = positionUs;
    untouched_ = false;
    ahead_.forgetAhead();
    return true;
}

// The key frame's own time is where the sound has to begin: it is known when the packet has been read.
void Reader::landOnKeyFrame(int64_t targetUs) {
    std::vector<std::pair<PacketPtr, SourceInput::Stream>> held;
    constexpr std::size_t kMost = 2000;  // packets; sound alone over 20 s means that there is no picture to find
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

void Reader::beginGeneration(int64_t targetUs) {
    stage_.landingUs = targetUs;
    stage_.expectVideo = video_ != nullptr;
    stage_.expectAudio = audio_ != nullptr && !stage_.untimed;
    pushBoth(StreamItem::Kind::kFlush, targetUs);
    stage_.variants.restart();
    pushStreams();
}

}  // namespace oriplayer
