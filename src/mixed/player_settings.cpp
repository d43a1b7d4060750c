#include <utility>

#include "base/log.h"
#include "base/oriplayer/player.h"
#include "codec/codec_media_process.h"
#include "codec/codec_net_process.h"
#include "mixed/mixed_codecs_player.h"
#include "timeline/timeline.h"

namespace vexo {

/// Calls `fn` with the engine player of the active timeline's current bound, under the timeline's mutex: 0, or -1 if
/// there is none.
int MixedCodecsPlayer::accessPlayer(const std::function<void(oriplayer::IOriPlayer &)> &fn) {
    int result = -1;
    accessActive([&](Timeline *timeline) {
        timeline->AccessCurrentBound([&](PlayBound *bound) {
            const auto player = bound ? bound->Player() : nullptr;
            if (!player) return;
            fn(*player);
            result = 0;
        });
    });
    return result;
}

int MixedCodecsPlayer::setParameter(int key, const oriplayer::Param &value, int index) {
    VEXO_PRINT(LOG_INFO, "active index:%d", getActiveIndex());
    const int result = accessPlayer([&](oriplayer::IOriPlayer &player) { player.setParameter(key, value, index); });
    VEXO_PRINT(LOG_DEBUG, "result:%d", result);
    return result;
}

int MixedCodecsPlayer::getParameter(int key, oriplayer::Param *value, int index) {
    VEXO_PRINT(LOG_INFO, "active index:%d", getActiveIndex());
    const int result =
        value ? accessPlayer([&](oriplayer::IOriPlayer &player) { player.getParameter(key, value, index); }) : -1;
    VEXO_PRINT(LOG_DEBUG, "result:%d", result);
    return result;
}

bool MixedCodecsPlayer::isPlaying() {
    const auto player = timelines_[static_cast<std::size_t>(getActiveIndex())]->GetActivePlayer();
    return player && player->isPlaying();
}

bool MixedCodecsPlayer::isLooping() {
    const auto player = timelines_[static_cast<std::size_t>(getActiveIndex())]->GetActivePlayer();
    return player && player->isLooping();
}

int MixedCodecsPlayer::setLooping(bool looping) {
    VEXO_PRINT(LOG_INFO, "enter");
    accessPlayer([=](oriplayer::IOriPlayer &player) { player.setLooping(looping); });
    return 0;  // also without a player
}

std::shared_ptr<oriplayer::IPeriod> MixedCodecsPlayer::getActivePeriod() {
    std::shared_ptr<oriplayer::IPeriod> period;
    accessActive([&](Timeline *timeline) {
        timeline->AccessCurrentBound([&](PlayBound *bound) {
            if (bound) period = bound->period;
        });
    });
    return period;
}

int MixedCodecsPlayer::getActiveID() {
    int id = -1;
    accessActive([&](Timeline *timeline) { id = timeline->GetActiveId(); });
    return id;
}

int MixedCodecsPlayer::getVideoSurface(void **out) {
    if (!out) return -1;
    return accessActive([=](Timeline *timeline) {
        timeline->AccessCurrentBound([=](PlayBound *) {  // for the mutex, under which the record is freed
            if (const VideoSurface *record = timeline->GetVideoSurface()) *out = record->surface;
        });
    });
}

int MixedCodecsPlayer::setVideoSurface(void *surface, bool flag) {
    accessBoth([=](Timeline *timeline) { timeline->SetVideoSurface(VideoSurface{surface, flag}); });
    return 0;
}

void MixedCodecsPlayer::setVideoPipelineEnable(bool enable) {
    accessBoth([=](Timeline *timeline) { timeline->SetVideoPipelineEnable(enable); });
}

void MixedCodecsPlayer::setAudioPipelineEnable(bool enable) {
    accessBoth([=](Timeline *timeline) { timeline->SetAudioPipelineEnable(enable); });
}

int MixedCodecsPlayer::setUserAgent(const char *userAgent) {
    timelines_[0]->SetUserAgent(userAgent ? userAgent : "");
    return 0;
}

int MixedCodecsPlayer::setListener(std::shared_ptr<oriplayer::IOriPlayerListener> listener) {
    VEXO_PRINT(LOG_INFO, "enter");
    accessBoth([&](Timeline *timeline) { timeline->SetListener(listener); });
    MutexLock lock(fields_mutex_);
    listener_.swap(listener);  // the former one is released with the argument, after the lock
    return 0;
}

int MixedCodecsPlayer::setReporter(std::shared_ptr<protocols::IReporter> reporter) {
    accessBoth([&](Timeline *timeline) { timeline->SetReporter(reporter); });
    MutexLock lock(fields_mutex_);
    reporter_.swap(reporter);
    return 0;
}

int MixedCodecsPlayer::setConfigure(std::shared_ptr<protocols::IConfigure> configure) {
    auto former = configure;
    {
        MutexLock lock(fields_mutex_);
        configure_.swap(former);
    }
    accessBoth([&](Timeline *timeline) { timeline->SetConfigure(configure); });
    if (media_processor_) media_processor_->SetConfigure(configure);
    if (net_processor_) {
        net_processor_->RemoveCodecConfigListener();
        net_processor_->SetConfigure(configure);
        net_processor_->RegisterCodecConfigListener();
    }
    return 0;
}

std::shared_ptr<protocols::IReporter> MixedCodecsPlayer::getReporter() {
    MutexLock lock(fields_mutex_);
    return reporter_;
}

std::shared_ptr<protocols::IConfigure> MixedCodecsPlayer::getConfigure() {
    MutexLock lock(fields_mutex_);
    return configure_;
}

}  // namespace vexo
