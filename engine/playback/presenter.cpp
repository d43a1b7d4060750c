#include "playback/presenter.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "playback/hand_over.h"

namespace oriplayer {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr int64_t kInTimeUs = 500;  // a picture that is due sooner than this is shown immediately
constexpr int64_t kLateUs = Impairments::kApartUs;
constexpr int64_t kLandingUs = 50'000;      // a first picture further after the target waits for its time
constexpr int kMostDropped = 7;             // consecutive pictures, so that a machine that is too slow still shows some
constexpr int64_t kDeviceTailUs = 100'000;  // sound after the last picture that the device still plays
constexpr milliseconds kLookAgain{100};     // because the sound may differ from the extrapolated time
constexpr milliseconds kAwaitSound{500};    // wait for sound that is decoded after the first picture
constexpr milliseconds kAwaitSecond{500};   // the clock waits this long for the second picture
constexpr milliseconds kAwaitPacket{200};   // then the decoder hands out the pictures that it holds back, ...
constexpr int64_t kHandOutUs = 20'000;      // ... which takes this long (1920x1080), ...
constexpr milliseconds kAskAgain{1000};     // ... but not more often than this
constexpr int64_t kInterleavedUs = 1'000'000;  // with more sound read ahead than this, pictures are not awaited
constexpr int64_t kEndPatienceUs = 500'000;    // wait for a device that does not report that it has played everything

}  // namespace

void Presenter::run() {
    while (!stage_.control.stopped()) {
        const Next next = step();
        if (!next || *next > steady_clock::now()) stage_.showWake.wait(next);
    }
    outlet_.close();
}

Presenter::Next Presenter::step() {
    followGeneration();
    dropOutdated();
    if (stage_.control.over()) return std::nullopt;
    finishUnprepared();
    if (!stage_.control.prepared()) return awaitPicture();
    if (!stage_.control.started()) return std::nullopt;
    if (stalled_ || stage_.control.ended() || !stage_.control.wantsToPlay()) outlet_.followCrop(generation_);
    if (stage_.control.ended()) return std::nullopt;
    return stage_.untimed ? playUntimed() : play();
}

void Presenter::followGeneration() {
    const uint32_t generation = stage_.control.generation();
    if (generation == generation_) return;
    generation_ = generation;
    landed_ = false;
    picturesEnd_ = 0;
    stalled_ = false;
    resumes_ = false;
    emptySince_.reset();
    pictureShown_ = false;
    lastEndUs_ = INT64_MIN;
    dropped_ = 0;
    stage_.clock.hold();
}

// Also removes the marker of an end.
void Presenter::dropOutdated() {
    for (;;) {
        uint32_t end = 0;
        const auto useless = stage_.pictures.dropUseless(generation_, end);
        if (useless == PictureQueue::Useless::kNone) return;
        if (useless == PictureQueue::Useless::kEnd) picturesEnd_ = end;
        stage_.videoWake.notify();
    }
}

// Reads sourcesWait first, because the reader resets readAll before it marks added sources as seen.
bool Presenter::picturesEnded() const {
    return stage_.sourcesWait == 0 && stage_.readAll && picturesEnd_ == stage_.ends;
}

bool Presenter::everythingDecoded() const {
    return picturesEnded() && stage_.soundEnd == picturesEnd_;
}

// If no picture can be decoded, the player is prepared with the sound; if no sound can be decoded either, it has
// failed.
void Presenter::finishUnprepared() {
    if (stage_.control.prepared() || !picturesEnded()) return;
    if (stage_.soundReady == generation_) return stage_.tellPrepared();
    if (!everythingDecoded()) return;
    if (const auto failure = stage_.failure.get()) return stage_.fail(failure->event, failure->error);
    // If playback starts after the last sound, nothing is left to play. That is an end, not a failure.
    const bool decoded = stage_.counters.picturesDecoded > 0 || stage_.counters.soundsDecoded > 0;
    if (decoded || stage_.landingUs > 0) return stage_.tellPrepared();
    stage_.fail(kEventNothingPlayable, {AVERROR_INVALIDDATA, "neither a picture nor sound could be decoded"});
}

Presenter::Next Presenter::play() {
    if (const auto error = stage_.sound.takeError()) stage_.loseSound(*error);
    if (!landed_ && !land()) return awaitPicture();
    if (!stage_.control.wantsToPlay()) return std::nullopt;
    if (!stage_.clock.running()) {
        if (const Next later = letRun(); later || !stage_.clock.running()) return later;
    }
    account();
    if (!firstTold_ && !stage_.expectVideo) return awaitFirstSound();
    if (const auto front = stage_.pictures.front(generation_)) return showDue(*front);
    return everythingDecoded() ? finish() : waitForMore();
}

// Begins a generation: the target picture of the seek is shown immediately, also while paused.
bool Presenter::land() {
    const auto front = stage_.pictures.front(generation_);
    const bool silent = stage_.soundReady != generation_ && stage_.soundEnded != generation_ && !stage_.soundLost;
    if (!front && (!(picturesEnded() || !stage_.expectVideo) || silent)) return false;
    int64_t moment = stage_.landingUs;
    if (moment == INT64_MIN) moment = front ? front->playUs : 0;
    stage_.clock.setTo(moment, generation_);
    accountedUs_ = moment;
    landed_ = true;
    landedAt_ = steady_clock::now();
    stage_.shownGeneration = generation_;
    stage_.audioWake.notify();
    if (!front) return true;
    const bool waits = front->playUs > moment + kLandingUs && stage_.control.wantsToPlay();
    if (!waits) {
        if (auto picture = stage_.pictures.pop(generation_)) present(std::move(*picture), 0);
    }
    return true;
}

// Starts sound and clock together. While something is missing, returns when to try again.
Presenter::Next Presenter::letRun() {
    const bool soundDue = stage_.expectAudio && stage_.soundReady != generation_ && stage_.soundEnded != generation_;
    if (stalled_) {
        if (!refilled()) return steady_clock::now() + kLookAgain;
        stalled_ = false;
        resumes_ = true;
        landedAt_ = steady_clock::now();
    }
    const bool pictureDue = resumes_ && stage_.expectVideo && !picturesEnded() && !stage_.pictures.front(generation_);
    if (pictureDue && steady_clock::now() < landedAt_ + kAwaitSecond) return awaitPicture();
    resumes_ = false;
    if (soundDue && !stage_.soundLost && steady_clock::now() < landedAt_ + kAwaitSound) return landedAt_ + kAwaitSound;
    if (stage_.catchesUp && steady_clock::now() < landedAt_ + kAwaitSecond) {
        return std::min(*awaitPicture(), landedAt_ + kAwaitSecond);
    }
    if (stage_.clock.run(stage_.control.playingFlag(), soundPlays(), endBefore())) stage_.audioWake.notify();
    impairments_.restart();
    return std::nullopt;
}

// On the first start of this player: when the player before it ended, if its time continues from there.
std::optional<SteadyTime> Presenter::endBefore() {
    if (std::exchange(begun_, true)) return std::nullopt;
    return HandOver::instance().takeOver(stage_.made, steady_clock::now());
}

// True if enough has been read after a stall, or no more can be.
bool Presenter::refilled() {
    const bool full = stage_.videoPackets.full() || stage_.audioPackets.full();
    return stage_.readAll || full || refill_.enough(stage_.bufferedEndUs - stage_.positionUs());
}

bool Presenter::soundPlays() const {
    return stage_.soundReady == generation_ && !stage_.soundLost && stage_.sound.bufferedUs() > 0;
}

Impairments::Sound Presenter::soundNow() const {
    if (stage_.clock.soundLeads()) return Impairments::Sound::kHeard;
    const bool due = stage_.expectAudio && !stage_.soundLost && stage_.soundEnded != generation_;
    return due ? Impairments::Sound::kMissing : Impairments::Sound::kNotDue;
}

Presenter::Next Presenter::showDue(const Front &front) {
    const int64_t now = stage_.clock.nowUs();
    if (front.playUs > now + kInTimeUs) {
        return std::min(stage_.clock.timeOf(front.playUs), steady_clock::now() + kLookAgain);
    }
    auto picture = stage_.pictures.pop(generation_);
    if (!picture) return steady_clock::now();
    if (tooLate(front, now)) {
        ++dropped_;
        lastEndUs_ = picture->playUs + picture->durationUs;
        outlet_.drop();
        stage_.videoWake.notify();
    } else {
        impairments_.shown(now - front.playUs, soundNow());
        present(std::move(*picture), now - front.playUs);
    }
    return steady_clock::now();
}

// True if the next picture is due too or, if that is not decoded yet, if this picture's own time is over.
bool Presenter::tooLate(const Front &front, int64_t nowUs) const {
    if (nowUs - front.playUs <= kLateUs || dropped_ >= kMostDropped) return false;
    return front.nextUs.value_or(front.playUs + front.durationUs) <= nowUs;
}

void Presenter::present(Picture picture, int64_t lateUs) {
    dropped_ = 0;
    pictureShown_ = true;
    lastEndUs_ = picture.playUs + picture.durationUs;
    outlet_.show(std::move(picture), lateUs);
    stage_.videoWake.notify();
    if (firstTold_) return;
    firstTold_ = true;
    stage_.notifier.post(kEventFirstShown);
}

Presenter::Next Presenter::awaitFirstSound() {
    const bool heard = stage_.clock.soundLeads() || stage_.soundLost || everythingDecoded();
    if (!heard) return steady_clock::now() + milliseconds(10);
    firstTold_ = true;
    stage_.notifier.post(kEventFirstShown);
    return steady_clock::now();
}

// Called when there is nothing to show, but more will follow. If nothing was read, the clock stops after what there is,
// so that the sound waits for the missing pictures. A decoder that is only slow does not stop the clock.
Presenter::Next Presenter::waitForMore() {
    const int64_t now = stage_.clock.nowUs();
    const int64_t askUs = pictureShown_ ? lastEndUs_ - kHandOutUs : INT64_MIN;
    const bool early = now < askUs;
    if (pictureShown_ && !early) askForHeld();
    const int64_t soundEndUs = stage_.soundEndUs;
    const bool together = starved() && pictureShown_ && soundEndUs < lastEndUs_ + kInterleavedUs;
    const int64_t horizon = together ? lastEndUs_ : std::max(lastEndUs_, soundEndUs);
    if (now < horizon) {
        return std::min(stage_.clock.timeOf(early ? askUs : horizon), steady_clock::now() + kLookAgain);
    }
    const bool goesOn = !starved() || (stage_.clock.soundLeads() && !together);
    if (goesOn || stage_.wantsHeld) return steady_clock::now() + milliseconds(20);
    stalled_ = true;
    refill_.begin(steady_clock::now());
    if (stage_.sound.bufferedUs() == 0) stage_.soundReady = 0;
    stage_.clock.hold();
    stage_.reportStall();
    return std::nullopt;
}

bool Presenter::starved() const {
    return stage_.videoPackets.empty() && stage_.audioPackets.empty() && !stage_.readAll;
}

// No packet waits for the decoder, so the pictures that it holds back would be late. To get them costs much: the
// decoder is fed again afterwards.
void Presenter::askForHeld() {
    if (!stage_.decoderHolds || !stage_.videoPackets.empty() || stage_.readAll) return;
    const auto now = steady_clock::now();
    if (now < askedAt_ + kAskAgain && !starved()) return;
    askedAt_ = now;
    stage_.wantsHeld = true;
    stage_.videoWake.notify();
}

// Where no clock says when the next picture is due.
Presenter::Next Presenter::awaitPicture() {
    const auto now = steady_clock::now();
    const int64_t readUs = std::exchange(readUs_, stage_.bufferedEndUs);
    if (!emptySince_ || readUs != readUs_ || !stage_.videoPackets.empty()) emptySince_ = now;
    if (now >= *emptySince_ + kAwaitPacket) askForHeld();
    return now + kAwaitPacket;
}

Presenter::Next Presenter::finish() {
    const int64_t now = stage_.clock.nowUs();
    if (pictureShown_ && now < lastEndUs_) return stage_.clock.timeOf(lastEndUs_);
    int64_t endUs = pictureShown_ ? lastEndUs_ : now;
    const int64_t soundEnd = stage_.soundEndUs;
    if (stage_.soundLost) {
        if (!pictureShown_ && now < soundEnd) return stage_.clock.timeOf(soundEnd);
    } else if (stage_.soundReady == generation_ && !stage_.sound.drained()) {
        const int64_t waitFor = pictureShown_ ? soundEnd - kDeviceTailUs : soundEnd;
        if (now < waitFor) return std::min(stage_.clock.timeOf(waitFor), steady_clock::now() + kLookAgain);
        const bool patient = !pictureShown_ && now < soundEnd + kEndPatienceUs;
        if (patient) return steady_clock::now() + milliseconds(5);
        endUs = std::max(endUs, waitFor);
    }
    return conclude(endUs);
}

// `endUs` is the end of the programme on the play scale.
Presenter::Next Presenter::conclude(int64_t endUs) {
    account();
    const int64_t now = stage_.clock.nowUs();
    if (const auto failure = stage_.failure.get()) {
        if (stage_.control.current(generation_)) stage_.fail(failure->event, failure->error);
        return std::nullopt;
    }
    if (!stage_.control.reachEnd(generation_)) return std::nullopt;
    if (!stage_.untimed) {
        stage_.sound.leaveToDevice(kDeviceTailUs);
        const auto since =
            static_cast<int64_t>(static_cast<double>(std::max<int64_t>(0, now - endUs)) / stage_.clock.speed());
        stage_.clock.setTo(now, generation_);
        HandOver::instance().ended(steady_clock::now() - microseconds(since));
    }
    stage_.tellEnd();
    return std::nullopt;
}

// Shows pictures as fast as they are decoded, without dropping any. The position is that of the last one.
Presenter::Next Presenter::playUntimed() {
    if (!stage_.control.wantsToPlay() && landed_) return std::nullopt;
    auto picture = stage_.pictures.pop(generation_);
    if (picture) {
        landed_ = true;
        stage_.shownGeneration = generation_;
        stage_.clock.setTo(picture->playUs, generation_);
        stage_.counters.presentedUs += picture->durationUs;
        stage_.variants.presented(picture->playUs, picture->durationUs);
        present(std::move(*picture), 0);
        return steady_clock::now();
    }
    if (!everythingDecoded()) return awaitPicture();
    if (!stage_.control.wantsToPlay()) return std::nullopt;
    stage_.shownGeneration = generation_;
    if (pictureShown_) stage_.clock.setTo(lastEndUs_, generation_);
    return conclude(lastEndUs_);
}

void Presenter::account() {
    const int64_t now = stage_.clock.nowUs();
    if (stage_.untimed || now <= accountedUs_) return;
    stage_.counters.presentedUs += now - accountedUs_;
    stage_.variants.presented(now, now - accountedUs_);
    accountedUs_ = now;
}

}  // namespace oriplayer
