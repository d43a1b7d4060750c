#include <utility>

#include "base/log.h"
#include "base/oriplayer/player.h"
#include "codec/codec_net_process.h"
#include "mixed/mixed_codecs_player.h"
#include "timeline/timeline.h"

namespace vexo {

int MixedCodecsPlayer::prepareAsync() {
    VEXO_PRINT(LOG_INFO, "enter");
    return prepareAsync(0);
}

int MixedCodecsPlayer::prepareAsync(int id) {
    VEXO_PRINT(LOG_INFO, "enter");
    return accessTimeline(id, [](Timeline *timeline) { timeline->Prepare(); });
}

int MixedCodecsPlayer::prepareAsync(const Content &content) {
    VEXO_PRINT(LOG_INFO, "enter");
    VEXO_PRINT(LOG_INFO, "enter");  // once each for prepareAsync() and prepareAsync(0)
    timelines_[0]->Prepare(content.main);
    return 0;
}

int MixedCodecsPlayer::start() {
    VEXO_PRINT(LOG_INFO, "enter");
    return start(0);
}

int MixedCodecsPlayer::start(int id) {
    return start(id, {});
}

int MixedCodecsPlayer::start(int id, std::optional<uint64_t> onlyEpoch) {
    VEXO_PRINT(LOG_INFO, "enter");
    if (net_processor_) {
        net_processor_->RemoveCodecConfigListener();
        net_processor_->RegisterCodecConfigListener();
    }
    if (id == 0 || id == 1) {
        const auto chosen = static_cast<std::size_t>(id);
        timelines_[1 - chosen]->Pause();
        timelines_[chosen]->Start(onlyEpoch);
    }
    return 0;
}

int MixedCodecsPlayer::goNext(bool withinPeriod) {
    VEXO_PRINT(LOG_INFO, "enter");
    int result = -1;
    const uint64_t mainEpoch = timelines_[0]->GetEpoch();
    VEXO_PRINT(LOG_DEBUG, "active index:%d", getActiveIndex());
    accessActive([&](Timeline *timeline) {
        if (timeline->SkipToNext(withinPeriod)) result = 0;
    });
    // The isolated timeline may be handling its last end at this moment. Only one of the two hands control back.
    if (result == -1 && getActiveIndex() == 1 && timelines_[1]->YieldEnd()) {
        result = start(0, mainEpoch);
        timelines_[0]->PostNotice(kEventTimelineSwitched, mainEpoch);
    }
    return result;
}

int MixedCodecsPlayer::pause() {
    VEXO_PRINT(LOG_INFO, "enter");
    return accessActive([](Timeline *timeline) { timeline->Pause(); });
}

int MixedCodecsPlayer::seekTo(int positionMs, int mode) {
    VEXO_PRINT(LOG_INFO, "enter");
    return accessActive([=](Timeline *timeline) { timeline->SeekTo(positionMs, mode); });
}

int MixedCodecsPlayer::seekCurrentPeriodTo(int positionMs, int mode) {
    VEXO_PRINT(LOG_INFO, "enter");
    return accessActive([=](Timeline *timeline) { timeline->SeekCurrentPeriodTo(positionMs, mode); });
}

int MixedCodecsPlayer::stop(bool) {
    empty(nullptr);
    return 0;
}

int MixedCodecsPlayer::stop(bool, const Content &content) {
    empty(&content);
    return 0;
}

std::optional<uint64_t> MixedCodecsPlayer::empty(const Content *only) {
    VEXO_PRINT(LOG_INFO, "enter");
    // While a looper is joined, a callback may fill a timeline again. That command is newer, and its content stays.
    const Content former = only ? *only : content();
    // First, because an end of the isolated timeline could otherwise raise 10240 on the emptied main timeline.
    timelines_[1]->IgnoreEnds(former.isolated);
    const auto main = timelines_[0]->Reset(former.main);
    const auto isolated = timelines_[1]->Reset(former.isolated);
    if (net_processor_ && (main || !only)) net_processor_->RemoveCodecConfigListener();
    dropPlayListOf(0, main);
    dropPlayListOf(1, isolated);
    return main;
}

MixedCodecsPlayer::Content MixedCodecsPlayer::content() const {
    return {timelines_[0]->GetEpoch(), timelines_[1]->GetEpoch()};
}

int MixedCodecsPlayer::stop(int id, bool) {
    VEXO_PRINT(LOG_INFO, "enter");
    if (net_processor_) net_processor_->RemoveCodecConfigListener();
    return accessTimeline(id, [](Timeline *timeline) { timeline->Reset(); });
}

int MixedCodecsPlayer::release() {
    VEXO_PRINT(LOG_INFO, "enter");
    return -1;
}

void MixedCodecsPlayer::setVolume(float volume) {
    accessActive([=](Timeline *timeline) { timeline->SetVolume(volume); });
}

float MixedCodecsPlayer::getVolume() {
    float volume = -1.0F;
    accessActive([&](Timeline *timeline) { volume = timeline->GetVolume(); });
    return volume;
}

void MixedCodecsPlayer::setAudioDevice(std::string device) {
    accessActive([&](Timeline *timeline) { timeline->SetAudioDevice(device); });
}

int MixedCodecsPlayer::getCurrentPosition(int64_t *positionMs, int mode) {
    VEXO_PRINT(LOG_INFO, "enter");
    if (!positionMs) return -1;
    return accessActive([=](Timeline *timeline) { *positionMs = timeline->GetCurrentPosition(mode); });
}

int MixedCodecsPlayer::getDuration(int64_t *durationMs) {
    VEXO_PRINT(LOG_INFO, "enter");
    if (!durationMs) return -1;
    return accessActive([=](Timeline *timeline) { *durationMs = timeline->GetDuration(); });
}

int MixedCodecsPlayer::getCurrentPeriodDuration(int64_t *durationMs) {
    VEXO_PRINT(LOG_INFO, "enter");
    if (!durationMs) return -1;
    return accessActive([=](Timeline *timeline) { *durationMs = timeline->GetPeriodDuration(-1); });
}

int MixedCodecsPlayer::getCurrentPeriodPosition(int64_t *positionMs, int mode) {
    VEXO_PRINT(LOG_INFO, "enter");
    if (!positionMs) return -1;
    return accessActive([=](Timeline *timeline) { *positionMs = timeline->GetPeriodCurrentPosition(mode); });
}

int MixedCodecsPlayer::getVideoWidth() {
    VEXO_PRINT(LOG_INFO, "enter");
    int width = 0;
    accessActive([&](Timeline *timeline) { width = timeline->GetVideoWidth(); });
    return width;
}

int MixedCodecsPlayer::getVideoHeight() {
    VEXO_PRINT(LOG_INFO, "enter");
    int height = 0;
    accessActive([&](Timeline *timeline) { height = timeline->GetVideoHeight(); });
    return height;
}

int MixedCodecsPlayer::getVideoSize(int *width, int *height) {
    if (!width || !height) return -1;
    return accessActive([=](Timeline *timeline) {
        *width = timeline->GetVideoWidth();
        *height = timeline->GetVideoHeight();
    });
}

}  // namespace vexo
