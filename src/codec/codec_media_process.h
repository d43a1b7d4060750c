#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "base/oriplayer/filter_type.h"
#include "base/oriplayer/param.h"
#include "codec/codec_play_state.h"
#include "codec/i_codec.h"

namespace oriplayer {
class StringMap;
}

namespace vexo {

enum class Control : int;
enum class PlayerInfo : int;
class ReportText;

/// Typed controls of the engine player that plays the main timeline's current bound at the time of the call, and the
/// texts for reports on playback.
///
/// Bounds:   what a control sets belongs to one engine player. Crop, render switch, matrix, orientation, surface size
///           and subtitles end with the bound: set them again at event 1000 of the next one.
/// Results:  controls marked E return the engine's result, -1 without a player. The others return 0, also without one.
/// Threads:  any, also inside onVideoFrame. If two threads set a value at the same time, the last one wins. Call
///           SetRotationMatrix on one thread at a time, because the engine reads the stored matrix.
/// Lock:     mStateLock is a leaf and guards the stored values; caches and totals are atomic.
/// Life:     may outlive its player; the controls then have no effect.
class VEXO_API CodecMediaProcess : public ICodec {
public:
    CodecMediaProcess() = default;
    ~CodecMediaProcess() override;
    void RegisterCodecConfigListener() override {}
    void RemoveCodecConfigListener() override {}

    int SetRenderVideo(bool render);  ///< E
    int SetRenderMode(int mode, int arg);
    int SetEnhanceMode(bool isEnhance, float ratioA, float ratioB);  ///< E
    /// Shows the whole picture again. Returns -1 and changes nothing unless x and y are from 0.0 to 1.0.
    int SetVideoRendCutMode(int mode, float x, float y);
    int SetColorBlindType(int type, int level);
    /// Has an effect only after SetVideoRendCutMode; `x` is not sent.
    int SetVideoRendMove(float x, float y);
    int SetVolume(float volume);  ///< E
    float GetVolume();            ///< 0.0 without a player
    int SetAudioInfo(int type, int value);
    int SetAudioEnhance(bool enable);
    int SetNightMode(int mode);
    int SetBinocularMode(bool enable);
    /// Takes `count` floats, 0 to 16; with another count nothing happens.
    int SetRotationMatrix(int count, float *values, int arg);
    int SetPlaySpeed(double speed);
    int SetPanGuesture(int kind, float x, float y);
    int SetTcConfigParam(int value);
    int SetAudioMute(bool mute);
    /// SetVisionIndex has an effect only in mode 2.
    int SetVisionMode(int mode);
    int SetVisionIndex(int index);
    int SetSurfaceSize(int width, int height);
    int SetGyroscopActive(bool active);
    int SetInterfaceOrientation(int orientation);
    int SetWaterMarkInfo(int kind, const char *text, void *data, int a, int b, int c, int d, float e, float f, float g);
    int SetSoriVanTimeStampMode(bool enable);  ///< E
    int SetLiveSeiGettingMode(bool enable);    ///< E
    int SetLiveSEIGettingMode(bool enable);    ///< E
    int SetAudioCallback(void *callback);
    void *GetAudioCallback();

    // These three keep the engine's first answer other than 0, or the -1 of a call without a player. In a list they
    // describe the first item; for the current one use MixedCodecsPlayer::getParameter with 1600 to 1602. The flag has
    // no effect.
    double GetAvgKeyFrameSize(bool flag);
    double GetAvgVideoBitrate(bool flag);
    /// A whole number.
    double GetVideoFrameRate(bool flag);

    bool IsPlaying();
    using PreloadCallback = void (*)(void *context, int result, int reserved1, int reserved2, const char *url);
    int AddPreloadTask(const char *url, const char *cacheId, PreloadCallback callback, void *context);

    /// Sets a property of the engine player. `type` decides how `value` is read (playback_params.cpp lists the types).
    /// Returns -1 without a player, otherwise 0, also for an unknown type or a text that cannot be read.
    int SetPlaybackParam(int type, std::string value);
    /// The value of `key` in a text of entries, each a key, one character, a value and ";" (optional after the last).
    /// The first occurrence of `key` counts. Empty if there is none or an argument is null.
    static std::string parseSourceParamS(const char *key, const char *source);
    /// The value of `key` as a number, -1 if parseSourceParamS returns an empty text.
    static int parseSourceParamI(const char *key, const char *source);

    /// Returns the engine's result, -1 without a player. The crop needs "left", "right", "top" and "bottom", fractions
    /// of the picture from 0.0 to 1.0, and returns 0, or -1 if one is missing.
    int SetFilter(oriplayer::EDRWFilterType type, const std::map<std::string, std::string> &params);
    /// Sets where to find film styles and colour conversions: a JSON array of {"id": number, "url": text}. Empty by
    /// default.
    void SetFilterResources(std::string json);

    /// The text for `key`, a PlayerInfoKey (media_keys.h); empty for other numbers.
    std::string getPlayerInfoByKey(int key);
    /// The part of the full record on adaptive HLS playback, `label:value&` for each entry.
    std::string getHlsInfo();

    /// Adds to the totals the engine's figures for `playerId`, the active timeline's player, and the bytes used and
    /// time played of the main timeline's player. Called under a timeline's mutex; it takes no timeline's mutex itself.
    void AccumulatePeriodStatistics(int playerId);

private:
    using Remember = std::function<void(CodecPlayState &)>;

    int send(Control control, const oriplayer::Param &param, const Remember &remember = nullptr);
    int64_t ask(int key, int64_t (*read)(const oriplayer::Param &)) const;
    int64_t askOnce(int key, std::atomic<int64_t> &cache) const;
    CodecPlayState state() const;
    void change(const Remember &remember);

    void sendDeferredText(oriplayer::IOriPlayer &player, const std::string &value);

    using FilterParams = std::map<std::string, std::string>;
    std::string filterResources() const;
    void chooseFilmStyle(const FilterParams &params, oriplayer::StringMap &sent);
    void chooseColorSpace(const FilterParams &params, oriplayer::StringMap &sent);
    int crop(oriplayer::IOriPlayer *player, const FilterParams &params);

    int64_t activeInfo(PlayerInfo key, int64_t none) const;
    std::string usedBytes(oriplayer::IOriPlayer *player) const;
    std::string storedBytes() const;
    std::string bufferAdaptation() const;
    std::string bytesByTransport() const;
    std::string classifiedSizes() const;
    std::string buffSched() const;
    std::string playerRecord(oriplayer::IOriPlayer *player);
    void putBufferSizes(oriplayer::IOriPlayer *player, ReportText &text);
    void readBufferSchedule(oriplayer::IOriPlayer *player);
    static void putEngineText(oriplayer::IOriPlayer *player, ReportText &text);
    void putStatistics(oriplayer::IOriPlayer *player, ReportText &text);

    std::atomic<double> mVideoFrameRate{0.0};
    std::atomic<bool> mSoriVanTimeStampMode{false};
    std::atomic<int64_t> mAvgVideoBitrate{0};
    std::atomic<int64_t> mAvgKeyFrameSize{0};
    // Totals of AccumulatePeriodStatistics. They only grow, and usually stay 0.
    std::atomic<int64_t> mTotalDownloadBufferSize{0};
    std::atomic<int64_t> mTotalUsedBufferSize{0};
    std::atomic<int64_t> mTotalConsumeDuration{0};
    std::atomic<int64_t> mTotalExternalBufferSize{0};
    std::atomic<int64_t> mTotalCdn{0};
    std::atomic<int64_t> mTotalP2p{0};
    std::atomic<int64_t> mTotalCronetQuic{0};
    std::atomic<int64_t> mTotalCronetHttp{0};
    std::atomic<int64_t> mTotalCurl{0};
    const int mBufferAdaptiveChangeCnt = 0;  // nothing sets these two yet
    const int mCurTargetBuffer = 0;

    mutable Mutex mStateLock;
    std::string mDeferredText VEXO_GUARDED_BY(mStateLock);
    int mDeferredTextState VEXO_GUARDED_BY(mStateLock) = 0;  // 9 once a text has been sent
    std::string mBuffSched VEXO_GUARDED_BY(mStateLock);
    std::string mFilterResources VEXO_GUARDED_BY(mStateLock);
    CodecPlayState mState VEXO_GUARDED_BY(mStateLock);
};

}  // namespace vexo
