#include "player_session.h"

#include <algorithm>
#include <utility>

#include "base/oriplayer/param.h"
#include "base/oriplayer/play_component.h"
#include "host_configuration.h"
#include "mixed/mixed_codecs_player.h"
#include "picture_tap.h"
#include "player/vexo_reporter.h"
#include "player_listener.h"
#include "render/render_manager.h"
#include "steady_clock.h"

namespace vexoplay {
namespace {

constexpr int kParameterMute = 2009;
constexpr int kParameterSpeed = 2104;

// Presses of a key that come faster than this add up, though the position has not followed yet.
constexpr int64_t kSeekMemoryUs = 500'000;

// The exact end of an item still belongs to it: the next one is reached a millisecond behind its start.
constexpr int64_t kIntoItemMs = 1;

}  // namespace

PlayerSession::PlayerSession(Programme &programme, BoundLog &log, Config config)
    : programme_(programme),
      log_(log),
      config_(std::move(config)),
      player_(vexo::MixedCodecsPlayer::create()),
      listener_(std::make_shared<PlayerListener>([this](PlayEvent event) { onEvent(std::move(event)); })),
      interruption_(config_.interruptions, config_.interruptWith, config_.headers),
      speed_(config_.speed),
      volume_(config_.volume.value_or(-1.0)),
      muted_(config_.mute) {
    player_->setListener(listener_);
    if (config_.reports) player_->setReporter(std::make_shared<VexoPlayerNS::VexoReporter>());
    if (config_.configuration) {
        player_->setConfigure(config_.configuration);
        config_.configuration->announceDomains();
    }
    if (!config_.userAgent.empty()) player_->setUserAgent(config_.userAgent.c_str());
    if (config_.volume) player_->setVolume(static_cast<float>(*config_.volume));
}

PlayerSession::~PlayerSession() {
    close();
}

void PlayerSession::attach(std::shared_ptr<PictureTap> tap) {
    tap_ = std::move(tap);
    vexo::RenderManager::Instance().AddMiddleware(tap_);
    player_->setVideoPipelineEnable(true);  // acquires its pipe now, so the middleware stands in it
}

void PlayerSession::begin() {
    player_->stop(true);
    interruption_.rearm();
    postponed_.clear();
    pausedAside_ = -1;
    const auto component = std::make_shared<oriplayer::PlayComponent>();
    component->playList = programme_.build(config_.headers, config_.preload);
    player_->setDataSource({component}, 1, nullptr);
    finished_ = false;
    changedItem_ = -1;
    paused_ = presented_ = endReached_ = false;
    forgivenUs_ = steadyUs();
    // A seek chooses the first item by itself; preparing first would open one that is not wanted.
    if (config_.startMs > 0) {
        player_->seekTo(static_cast<int>(config_.startMs), 0);
    } else {
        player_->prepareAsync();
    }
    showSubtitles(observe().item);
    player_->start();  // at once: an item that fails can be left only while the timeline is started
    begun_ = true;
    observe();
}

void PlayerSession::close() {
    if (!player_) return;
    interruption_.rearm();  // holds no picture up any more
    player_->stop(true);
    player_->setListener(nullptr);
    if (tap_) {
        vexo::RenderManager::Instance().RemoveMiddleware(tap_);
        tap_->finish();
    }
    player_.reset();
}

// The period is read between two looks at the id: equal ids mean that it is the period of that very player.
PlayerSession::Current PlayerSession::observe() {
    const int before = player_->getActiveID();
    const std::shared_ptr<oriplayer::IPeriod> period = player_->getActivePeriod();
    Current current{player_->getActiveID(), -1};
    if (!period || current.playerId != before) return current;
    current.item = programme_.itemOf(*period);
    if (current.item >= 0) log_.entered(current.playerId, current.item, steadyUs());
    return current;
}

// The library takes over an item's real length behind the listeners of 1000, so that event comes too early to ask.
void PlayerSession::learnLengths(const Current &current) {
    int64_t total = 0;
    player_->getDuration(&total);
    if (current.item >= 0 && player_->getActiveID() == current.playerId) programme_.learnTotal(current.item, total);
}

void PlayerSession::onEvent(PlayEvent event) {
    event.wallUs = steadyUs();
    place(event);
    const Current current{event.playerId, event.timeline == 0 ? event.item : -1};
    player_->getCurrentPosition(&event.positionMs, 0);
    if (event.number == kEventPrepared) {
        log_.prepared(current.playerId);
        applySettings();
        if (event.timeline == 0) showSubtitles(event.item);
    } else {
        learnLengths(current);
    }
    if (event.number == kEventHandedBack) applySettings();
    if (event.number == kEventEnd && event.timeline == 0) {
        for (const int key : config_.infoKeys) event.infos.emplace_back(key, info(key));
    }
    if (event.number == kEventFirstPresented) presented_ = true;
    if (event.timeline == 0) event.subtitlesFailed = subtitlesFailed();
    {
        std::lock_guard lock(events_mutex_);
        events_.push_back(std::move(event));
    }
    config_.wake();
}

void PlayerSession::applySettings() {
    if (volume_ >= 0.0) player_->setVolume(static_cast<float>(volume_.load()));
    if (!config_.audioDevice.empty()) player_->setAudioDevice(config_.audioDevice);
    sendMute();
    sendSpeed();
}

void PlayerSession::sendMute() {
    oriplayer::Param mute;
    mute.putInt32(muted_ ? 1 : 0);
    player_->setParameter(kParameterMute, mute, -1);
}

// An engine player begins without any.
void PlayerSession::showSubtitles(int item) {
    sendSubtitles(config_.subtitles, item, subtitled_, *player_);
}

bool PlayerSession::subtitlesFailed() const {
    constexpr int kParameterStatistics = 2019;
    constexpr int kFailures = 24;  // its place
    oriplayer::Param statistics;
    if (config_.subtitles.files.empty()) return false;
    return player_->getParameter(kParameterStatistics, &statistics, -1) == 0 && statistics.getInt32(kFailures) > 0;
}

void PlayerSession::toggleSubtitles() {
    subtitled_ = !subtitled_;
    if (!interruption_.active()) showSubtitles(item());
}

void PlayerSession::sendSpeed() {
    oriplayer::Param speed;
    speed.putDouble(speed_);
    player_->setParameter(kParameterSpeed, speed, -1);
}

std::vector<PlayEvent> PlayerSession::poll() {
    std::vector<PlayEvent> events;
    {
        std::lock_guard lock(events_mutex_);
        events.swap(events_);
    }
    watch(events);
    for (PlayEvent &event : events) {
        if (event.number == kEventHandedBack) handBack();
        if (event.changeFailed()) changeBack(event);
        if (!event.fatal()) continue;
        if (event.timeline == 1) {
            abandon(event);
            continue;
        }
        if (interruption_.active()) {
            postponed_.push_back(event);
            continue;
        }
        const std::optional<BoundRecord> bound = log_.find(event.playerId);
        // An item whose pictures are seen has been opened: this event was waiting when its own item was left.
        const bool stale = bound && bound->pictures > 0 && event.number < kEventReadFailed && event.number != 0;
        if (!stale && bound && !bound->failed) leave(event);
    }
    interruptSound();
    if (interruption_.waiting() && !interruption_.active()) beginInterruption();
    return events;
}

void PlayerSession::watch(std::vector<PlayEvent> &events) {
    const Current current = observe();
    if (current.item < 0) return;
    const std::optional<BoundRecord> bound = log_.find(current.playerId);
    if (!bound) return;
    if (bound->prepared) learnLengths(current);
    if (bound->prepared || bound->failed) return;
    if (steadyUs() - std::max(bound->enteredUs, forgivenUs_) < kPatienceUs) return;
    for (const PlayEvent &event : events) {
        if (event.fatal() && event.playerId == current.playerId) return;
    }
    PlayEvent event;
    event.number = kEventNoAnswer;
    event.item = current.item;
    event.playerId = current.playerId;
    event.wallUs = steadyUs();
    event.text = "no answer within 9.5 s";
    events.push_back(std::move(event));
}

void PlayerSession::leave(const PlayEvent &event) {
    log_.failed(event.playerId);
    if (observe().playerId != event.playerId) return;
    const int next = event.item + 1;
    if (programme_.shape() == Programme::Shape::kOneMixedPeriod && next < programme_.size()) {
        const int64_t behind = programme_.startMs(next) + kIntoItemMs;
        if (programme_.placeOf(behind).item > event.item) {
            seekTo(behind);
            return;
        }
    }
    if (!goToNextPeriod()) finished_ = true;
}

std::string PlayerSession::changeSource() {
    const int playing = item();
    if (config_.alternative.empty() || interruption_.active() || playing < 0) return {};
    const bool back = changedItem_ == playing;
    changedItem_ = back ? -1 : playing;
    return replaceBy(playing, back ? programme_.url(playing) : config_.alternative);
}

std::string PlayerSession::replaceBy(int item, const std::string &url) {
    const auto period = programme_.replacement(item, url, config_.headers);
    return player_->changePeriod(0, programme_.periodOf(item), period, nullptr) == 0 ? url : std::string();
}

// The engine plays on, but the play list names what has failed: it would be opened when the item is entered again.
void PlayerSession::changeBack(const PlayEvent &event) {
    if (event.item < 0 || changedItem_ != event.item) return;
    changedItem_ = -1;
    replaceBy(event.item, programme_.url(event.item));
}

// Skipping needs a started timeline: a paused one is started for the moment of the call.
bool PlayerSession::goToNextPeriod() {
    if (paused_) player_->start();
    const bool gone = player_->goNext(false) == 0;
    keepPaused();
    observe();
    return gone;
}

// An item entered while paused starts by itself, unless it is told again.
void PlayerSession::keepPaused() {
    if (paused_) player_->pause();
}

bool PlayerSession::ended() {
    if (!begun_ || interruption_.active()) return false;
    if (config_.endMs && positionMs() >= *config_.endMs) endReached_ = true;
    // Behind the last item the timeline stops and has no current period any more.
    return finished_ || endReached_ || !player_->getActivePeriod();
}

void PlayerSession::togglePause() {
    paused_ = !paused_;
    if (paused_) {
        pausedAside_ = interruption_.active() ? player_->getActiveID() : -1;
        player_->pause();
        return;
    }
    player_->start(pausedAside_ < 0 ? 0 : 1);
    if (pausedAside_.exchange(-1) >= 0) applySettings();
}

Programme::Place PlayerSession::seekBy(int64_t milliseconds) {
    const bool following = steadyUs() - lastSeekUs_ < kSeekMemoryUs;
    return seekTo((following ? lastSeekMs_ : positionMs()) + milliseconds);
}

Programme::Place PlayerSession::seekTo(int64_t positionMs) {
    observe();
    Programme::Place place = programme_.placeOf(std::max<int64_t>(positionMs, 0));
    lastSeekMs_ = std::max<int64_t>(positionMs, 0);
    if (!place.lengthUnknown) lastSeekMs_ = std::min(lastSeekMs_, programme_.totalMs());
    lastSeekUs_ = steadyUs();
    player_->seekTo(static_cast<int>(std::min<int64_t>(lastSeekMs_, INT32_MAX)), 0);
    keepPaused();
    observe();
    return place;
}

bool PlayerSession::next() {
    if (interruption_.active()) return skipInterruption();
    const int current = item();
    if (current < 0 || current + 1 >= programme_.size()) return false;
    if (programme_.shape() == Programme::Shape::kPeriodEach) return goToNextPeriod();
    return seekTo(programme_.startMs(current + 1) + kIntoItemMs).item == current + 1;
}

Programme::Place PlayerSession::previous() {
    const int wanted = std::max(item() - 1, 0);
    return seekTo(wanted == 0 ? 0 : programme_.startMs(wanted) + kIntoItemMs);
}

void PlayerSession::setSpeed(double speed) {
    speed_ = speed;
    sendSpeed();
}

void PlayerSession::setVolume(double volume) {
    volume_ = volume;
    player_->setVolume(static_cast<float>(volume));
}

void PlayerSession::toggleMute() {
    muted_ = !muted_;
    sendMute();
}

void PlayerSession::forgive() {
    forgivenUs_ = steadyUs();
}

int64_t PlayerSession::positionMs() const {
    int64_t position = 0;
    player_->getCurrentPosition(&position, 0);
    return position;
}

int PlayerSession::bufferedMs() const {
    int64_t end = 0;
    player_->getCurrentPosition(&end, 1);
    return static_cast<int>(std::clamp<int64_t>(end - positionMs(), 0, INT32_MAX));
}

int64_t PlayerSession::durationMs() const {
    int64_t duration = 0;
    player_->getDuration(&duration);
    return duration;
}

int PlayerSession::item() {
    return observe().item;
}

int PlayerSession::playerId() const {
    // A paused interruption is not the active one for the library.
    const int pausedAside = pausedAside_;
    return pausedAside >= 0 ? pausedAside : player_->getActiveID();
}

bool PlayerSession::liesBehindEnd(int playerId, int64_t positionUs) {
    if (!config_.endMs) return false;
    const std::optional<BoundRecord> bound = log_.find(playerId);
    if (!bound || bound->item < 0 || bound->timeline != 0) return false;
    if (programme_.startMs(bound->item) * 1000 + positionUs < *config_.endMs * 1000) return false;
    endReached_ = true;
    config_.wake();
    return true;
}

}  // namespace vexoplay
