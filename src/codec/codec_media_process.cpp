#include "codec/codec_media_process.h"

#include "base/log.h"
#include "base/oriplayer/module.h"
#include "base/oriplayer/player.h"

namespace vexo {

CodecMediaProcess::~CodecMediaProcess() = default;

CodecPlayState CodecMediaProcess::state() const {
    MutexLock lock(mStateLock);
    return mState;
}

void CodecMediaProcess::change(const Remember &remember) {
    MutexLock lock(mStateLock);
    remember(mState);
}

float CodecMediaProcess::GetVolume() {
    VEXO_PRINT(LOG_DEBUG, "%s enter", "CodecMediaProcess::GetVolume");
    constexpr int kKeyVolume = 3005;
    oriplayer::Param param;
    if (const auto player = activePlayer()) player->getParameter(kKeyVolume, &param, -1);
    return param.getFloat(-1);
}

void *CodecMediaProcess::GetAudioCallback() {
    VEXO_PRINT(LOG_DEBUG, "%s enter", "CodecMediaProcess::GetAudioCallback");
    void *callback = state().audioCallback;
    VEXO_PRINT(LOG_DEBUG, "%s exit", "CodecMediaProcess::GetAudioCallback");
    return callback;
}

/// The engine's answer under `key`, its result where that is not 0, or -1 without a player.
int64_t CodecMediaProcess::ask(int key, int64_t (*read)(const oriplayer::Param &)) const {
    const auto player = activePlayer();
    if (!player) return -1;
    oriplayer::Param param;
    const int result = player->getParameter(key, &param, -1);
    return result == 0 ? read(param) : result;
}

int64_t CodecMediaProcess::askOnce(int key, std::atomic<int64_t> &cache) const {
    if (const int64_t known = cache) return known;
    return cache = ask(key, [](const oriplayer::Param &param) { return param.getInt64(-1); });
}

double CodecMediaProcess::GetAvgKeyFrameSize(bool) {
    VEXO_PRINT(LOG_DEBUG, "%s enter", "CodecMediaProcess::GetAvgKeyFrameSize");
    const int64_t size = askOnce(1602, mAvgKeyFrameSize);
    VEXO_PRINT(LOG_DEBUG, "getAvgKeyFrameSize exit, %lld", static_cast<long long>(size));
    return static_cast<double>(size);
}

double CodecMediaProcess::GetAvgVideoBitrate(bool) {
    VEXO_PRINT(LOG_DEBUG, "%s enter", "CodecMediaProcess::GetAvgVideoBitrate");
    const int64_t bitrate = askOnce(1601, mAvgVideoBitrate);
    VEXO_PRINT(LOG_DEBUG, "GetAvgVideoBitrate exit, %lld", static_cast<long long>(bitrate));
    return static_cast<double>(bitrate);
}

double CodecMediaProcess::GetVideoFrameRate(bool) {
    VEXO_PRINT(LOG_DEBUG, "%s enter", "CodecMediaProcess::GetVideoFrameRate");
    double rate = mVideoFrameRate;
    if (rate == 0.0) {
        rate = static_cast<double>(ask(1600, [](const oriplayer::Param &param) {
            return static_cast<int64_t>(param.getDouble(-1));  // reports show whole pictures a second
        }));
        mVideoFrameRate = rate;
    }
    VEXO_PRINT(LOG_DEBUG, "GetVideoFrameRate exit, %f", rate);
    return rate;
}

bool CodecMediaProcess::IsPlaying() {
    VEXO_PRINT(LOG_DEBUG, "%s enter", "CodecMediaProcess::IsPlaying");
    const auto player = activePlayer();
    return player && player->isPlaying();
}

int CodecMediaProcess::AddPreloadTask(const char *url, const char *cacheId, PreloadCallback callback, void *context) {
    VEXO_PRINT(LOG_DEBUG, "%s enter", "CodecMediaProcess::AddPreloadTask");
    const int result = oriplayer::addPreloadTask(url, cacheId, callback, context);
    VEXO_PRINT(LOG_DEBUG, "%s exit", "CodecMediaProcess::AddPreloadTask");
    return result;
}

}  // namespace vexo
