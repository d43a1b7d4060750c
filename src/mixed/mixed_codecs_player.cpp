#include "mixed/mixed_codecs_player.h"

#include <pthread.h>

#include <system_error>
#include <thread>
#include <utility>

#include "base/callback_scope.h"
#include "base/log.h"
#include "base/oriplayer/play_list.h"
#include "codec/codec_media_process.h"
#include "codec/codec_net_process.h"
#include "mixed/timeline_internal_listener.h"
#include "timeline/timeline.h"

namespace vexo {

std::shared_ptr<MixedCodecsPlayer> MixedCodecsPlayer::create() {
    return create(std::make_shared<CallbackToken>());
}

std::shared_ptr<MixedCodecsPlayer> MixedCodecsPlayer::create(std::shared_ptr<const CallbackToken> token) {
    VEXO_PRINT(LOG_INFO, "%s :enter", "MixedCodecsPlayer");
    return {new MixedCodecsPlayer(std::move(token)), &MixedCodecsPlayer::destroy};
}

MixedCodecsPlayer::MixedCodecsPlayer(std::shared_ptr<const CallbackToken> token) : token_(std::move(token)) {
    timelines_[0] = std::make_shared<Timeline>(0, token_);
    timelines_[1] = std::make_shared<Timeline>(1, token_);
    internal_listener_ = std::make_shared<TimelineInternalListener>(this, timelines_[0].get(), timelines_[1].get());
    for (std::size_t i = 0; i < timelines_.size(); ++i) {
        play_components_.push_back(std::make_shared<oriplayer::PlayComponent>());
    }
    media_processor_ = std::make_shared<CodecMediaProcess>();
    media_processor_->Initialize(timelines_[0], &codec_mutex_, -1, -1);
    net_processor_ = std::make_shared<CodecNetProcess>(this);
    net_processor_->Initialize(timelines_[0], &codec_mutex_, -1, -1);
    for (const auto &timeline : timelines_) timeline->SetInternalListener(internal_listener_);
    // A seek that ends after the other timeline has started would show one more picture.
    for (const std::size_t id : {std::size_t{0}, std::size_t{1}}) {
        const Timeline *const own = timelines_[id].get();
        const Timeline *const other = timelines_[1 - id].get();
        timelines_[id]->HidePicturesWhile(
            [own, other] { return own->GetState() == Timeline::kPaused && other->GetState() == Timeline::kStarted; });
    }
}

/// The deleter. ~MixedCodecsPlayer waits for the callbacks of this player, so it must not run inside one.
void MixedCodecsPlayer::destroy(MixedCodecsPlayer *player) {
    if (!CallbackScope::Contains(*player->token_)) {
        delete player;
        return;
    }
    player->silenceTimelines();
    try {
        std::thread([player] {
            pthread_setname_np(pthread_self(), "vexo-end");
            delete player;
        }).detach();
    } catch (const std::exception &error) {  // no thread or no memory
        VEXO_PRINT(LOG_ERROR, "cannot start a thread to destroy the player, it is leaked: %s", error.what());
    }
}

MixedCodecsPlayer::~MixedCodecsPlayer() {
    VEXO_PRINT(LOG_DEBUG, "main:%d, isolated:%d", static_cast<int>(timelines_[0].use_count()),
               static_cast<int>(timelines_[1].use_count()));
    // First, because a change of bounds on another thread uses the processors. The application may keep a processor: it
    // then works on closed timelines.
    close();
    if (media_processor_) {
        VEXO_PRINT(LOG_VERBOSE, "media not null");
        media_processor_.reset();
    }
    if (net_processor_) {
        VEXO_PRINT(LOG_VERBOSE, "net not null");
        net_processor_->RemoveCodecConfigListener();
        net_processor_.reset();
    }
}

void MixedCodecsPlayer::close() {
    silenceTimelines();
    timelines_[1]->Close();  // before the main one, which its last event may start
    timelines_[0]->Close();
}

void MixedCodecsPlayer::silenceTimelines() {
    for (const auto &timeline : timelines_) {
        timeline->SetListener(nullptr);
        timeline->SetInternalListener(nullptr);
    }
}

int MixedCodecsPlayer::getActiveIndex() {
    const bool isolatedTookOver =
        timelines_[1]->GetState() == Timeline::kStarted && timelines_[0]->GetState() == Timeline::kPaused;
    return isolatedTookOver ? 1 : 0;
}

int MixedCodecsPlayer::accessTimeline(int index, TimelineFunction fn) {
    if (index != 0 && index != 1) return -1;
    const auto &timeline = timelines_[static_cast<std::size_t>(index)];
    if (!timeline) return -1;
    fn(timeline.get());
    return 0;
}

int MixedCodecsPlayer::accessActive(TimelineFunction fn) {
    return accessTimeline(getActiveIndex(), std::move(fn));
}

void MixedCodecsPlayer::accessBoth(const TimelineFunction &fn) {
    for (const auto &timeline : timelines_) fn(timeline.get());
}

void MixedCodecsPlayer::notifyPeriodSwitched(Timeline *timeline) {
    VEXO_PRINT(LOG_DEBUG, "timeline notifyPeriodSwitched");
    if (!net_processor_ || !timeline) return;
    timeline->AccessCurrentBound([this, timeline](PlayBound *bound) {
        if (!bound || !bound->period) return;
        VEXO_PRINT(LOG_DEBUG, "timeline notifyPeriodSwitched1 %d", getActiveID());
        net_processor_->SetCurrentHeader(getActiveID(), bound->period->getHeaders());
        // Not the active timeline's id and player: the other timeline may be active.
        const int id = timeline == timelines_[1].get() ? 1 : 0;
        net_processor_->RecordDomains(id, timeline->GetActiveId(), bound->period->getHeaders());
        if (media_processor_) media_processor_->AccumulatePeriodStatistics(getActiveID());
    });
}

void MixedCodecsPlayer::resumeMain(uint64_t epoch) {
    timelines_[0]->Start(epoch);
    timelines_[0]->PostNotice(kEventTimelineSwitched, epoch);
}

void MixedCodecsPlayer::notifyTimelineSwitched(Timeline *timeline) {
    const oriplayer::Param nothing;
    if (timeline) timeline->PostMessage_(0, kEventTimelineSwitched, 0, 0, nothing);
}

std::shared_ptr<CodecMediaProcess> MixedCodecsPlayer::getMediaProcessor() {
    return media_processor_;
}

std::shared_ptr<CodecNetProcess> MixedCodecsPlayer::getNetProcessor() {
    return net_processor_;
}

std::shared_ptr<oriplayer::OriPlayer> MixedCodecsPlayer::getOriPlayer() {
    return nullptr;
}

int MixedCodecsPlayer::changePeriodById(int, int64_t, const std::shared_ptr<oriplayer::IPeriod> &,
                                        const std::shared_ptr<oriplayer::StringMap> &) {
    return -1;
}

int MixedCodecsPlayer::delPeriodById(int, int64_t) {
    return -1;
}

int MixedCodecsPlayer::setRenderConfig(int, const oriplayer::Param &, int) {
    return -1;
}

int MixedCodecsPlayer::setFilter(int, oriplayer::StringMap &, int) {
    return -1;
}

int MixedCodecsPlayer::displayFrame(const oriplayer::Param &, int) {
    return -1;
}

int MixedCodecsPlayer::addSubtitleSource(const char *, const char *) {
    return -1;
}

int MixedCodecsPlayer::setSubtitleOffset(int) {
    return -1;
}

}  // namespace vexo
