// How a session lets files interrupt its programme.
#include "codec/codec_media_process.h"
#include "mixed/mixed_codecs_player.h"
#include "player_session.h"
#include "steady_clock.h"

namespace vexoplay {
namespace {

constexpr int kIsolated = 1;

// An item that plays for so long without a picture has none: the position alone says when it is interrupted.
constexpr int64_t kSoundOnlyUs = 1'000'000;

}  // namespace

bool PlayerSession::interrupt() {
    return !paused_ && interruption_.ask();
}

std::string PlayerSession::info(int key) const {
    const auto processor = player_->getMediaProcessor();
    return processor ? processor->getPlayerInfoByKey(key) : std::string();
}

void PlayerSession::pictureShown(int playerId, int64_t positionUs) {
    if (paused_) return;
    const std::optional<BoundRecord> bound = log_.find(playerId);
    if (!bound || bound->timeline != 0 || bound->item < 0) return;
    if (!interruption_.due(programme_.startMs(bound->item) * 1000 + positionUs)) return;
    config_.wake();
    interruption_.gate().pass();
}

// Says which bound an event belongs to; the library answers for the active timeline alone.
void PlayerSession::place(PlayEvent &event) {
    const bool aside = player_->getActiveIndex() == kIsolated;
    Current current = observe();
    if (event.timeline == kIsolated) {
        event.url = interruption_.url(event.item);
        event.playerId = aside ? current.playerId : -1;
        log_.enteredAside(event.playerId, event.item, event.url, event.wallUs);
        int64_t length = 0;
        if (event.number == kEventFirstPresented) player_->getCurrentPeriodDuration(&length);
        if (length > 0) log_.learnedAside(event.playerId, length);
        return;
    }
    if (aside) {
        std::lock_guard lock(events_mutex_);
        current = interrupted_;
    }
    event.item = current.item;
    event.playerId = current.playerId;
}

void PlayerSession::beginInterruption() {
    const Current current = observe();
    {
        std::lock_guard lock(events_mutex_);
        interrupted_ = current;
    }
    interruption_.begin(*player_);
    if (player_->getActiveIndex() == kIsolated) {
        log_.enteredAside(player_->getActiveID(), 0, interruption_.url(0), steadyUs());
    } else {
        player_->start(0);
        interruption_.finish(*player_);
    }
    interruption_.gate().open();
}

void PlayerSession::interruptSound() {
    if (paused_ || interruption_.active() || interruption_.waiting()) return;
    const std::optional<BoundRecord> bound = log_.find(playerId());
    if (!bound || !bound->prepared || bound->pictures > 0 || bound->timeline != 0) return;
    if (steadyUs() - bound->enteredUs > kSoundOnlyUs) interruption_.due(positionMs() * 1000);
}

void PlayerSession::handBack() {
    interruption_.finish(*player_);
    for (const PlayEvent &event : std::exchange(postponed_, {})) leave(event);
}

void PlayerSession::abandon(const PlayEvent &event) {
    log_.failed(event.playerId);
    if (!interruption_.active() || player_->getActiveID() != event.playerId) return;
    if (!interruption_.abandon(*player_)) handBack();
}

// The library leaves a list that is skipped at its last file paused: it is emptied here.
bool PlayerSession::skipInterruption() {
    if (paused_) return false;
    player_->goNext(false);
    if (player_->getActiveIndex() == kIsolated) return true;
    player_->stop(kIsolated, true);
    player_->start(0);  // stop has taken the network processor's listener away
    return true;
}

}  // namespace vexoplay
