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

/// Typed controls over the engine player of the main timeline's current bound, whichever that is at the call, and the
/// texts that reports on a playback are made of.
///
/// Bounds:   what a control sets belongs to one engine player. Crop, render switch, matrix, orientation, surface size
///           and subtitles end with the bound: set them again at its 1000.
/// Results:  controls marked E answer what the engine answered, -1 without a player; the others 0, also without one.
/// Threads:  any, also inside onVideoFrame; of two calls at once the last one wins. Call SetRotationMatrix on one
///           thread at a time, because the engine reads the stored matrix.
/// Lock:     mStateLock is a leaf round what is remembered; caches and totals are atomic.
/// Life:     may outlive its player; controls then reach nothing.
class VEXO_API CodecMediaProcess : public ICodec {
public:
    CodecMediaProcess() = default;
    ~CodecMediaProcess() override;
    void RegisterCodecConfigListener() override {}
    void RemoveCodecConfigListener() override {}

    int SetRenderVideo(bool render);  ///< E
    int SetRenderMode(int mode, int arg);
    int SetEnhanceMode(bool isEnhance, float ratioA, float ratioB);  ///< E
    /// -1, and nothing changes, unless x and y are from 0.0 to 1.0. Shows the whole picture again.
    int SetVideoRendCutMode(int mode, float x, float y);
    int SetColorBlindType(int type, int level);
    /// Only behind SetVideoRendCutMode; `x` is not sent.
    int SetVideoRendMove(float x, float y);
    int SetVolume(float volume);  ///< E
    float GetVolume();            ///< 0.0 without a player
    int SetAudioInfo(int type, int value);
    int SetAudioEnhance(bool enable);
    int SetNightMode(int mode);
    int SetBinocularMode(bool enable);
    /// `count` floats, 0 to 16; else nothing happens.
    int SetRotationMatrix(int count, float *values, int arg);
    int SetPlaySpeed(double speed);
    int SetPanGuesture(int kind, float x, float y);
    int SetTcConfigParam(int value);
    int SetAudioMute(bool mute);
    /// SetVisionIndex acts in mode 2 alone.
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

    // The first answer other than 0 is kept, -1 without a player included. In a list it describes the first item:
    // MixedCodecsPlayer::getParameter with 1600 to 1602 answers for the current one. The flag has no effect.
    double GetAvgKeyFrameSize(bool flag);
    double GetAvgVideoBitrate(bool flag);
    /// A whole number.
    double GetVideoFrameRate(bool flag);

    bool IsPlaying();
    using PreloadCallback = void (*)(void *context, int result, int reserved1, int reserved2, const char *url);
    int AddPreloadTask(const char *url, const char *cacheId, PreloadCallback callback, void *context);

    /// Hands a property of the client's to the engine, its text read as the type wants it (the types: see
    /// playback_params.cpp). -1 without a player; else 0, also for a type or a text that means nothing.
    int SetPlaybackParam(int type, std::string value);
    /// The value of `key` in a text of entries "key", one character, value, ";" (the last ";" may lack). The first
    /// place where `key` stands counts. Empty if there is none or an argument is null.
    static std::string parseSourceParamS(const char *key, const char *source);
    /// The same as a number, -1 if it is empty.
    static int parseSourceParamI(const char *key, const char *source);

    /// The engine's answer, -1 without a player. The crop needs "left", "right", "top" and "bottom", each a share of
    /// the picture from 0.0 to 1.0: 0, or -1 if one lacks.
    int SetFilter(oriplayer::EDRWFilterType type, const std::map<std::string, std::string> &params);
    /// Where film styles and colour conversions lie: a JSON array of {"id": number, "url": text}. Empty at first.
    void SetFilterResources(std::string json);

    /// The text on `key`, one of PlayerInfoKey (media_keys.h); empty for others.
    std::string getPlayerInfoByKey(int key);
    /// What the full record says of adaptive HLS playback, `label:value&` for each.
    std::string getHlsInfo();

    /// Adds to the totals what the engine answers for `playerId`, the active timeline's player, and the bytes used and
    /// the time played of the main timeline. Runs under a timeline's mutex, and takes none itself.
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
    // What AccumulatePeriodStatistics has added; they only grow, and mostly stay 0.
    std::atomic<int64_t> mTotalDownloadBufferSize{0};
    std::atomic<int64_t> mTotalUsedBufferSize{0};
    std::atomic<int64_t> mTotalConsumeDuration{0};
    std::atomic<int64_t> mTotalExternalBufferSize{0};
    std::atomic<int64_t> mTotalCdn{0};
    std::atomic<int64_t> mTotalP2p{0};
    std::atomic<int64_t> mTotalCronetQuic{0};
    std::atomic<int64_t> mTotalCronetHttp{0};
    std::atomic<int64_t> mTotalCurl{0};
    const int mBufferAdaptiveChangeCnt = 0;  // no source yet, as the next one
    const int mCurTargetBuffer = 0;

    mutable Mutex mStateLock;
    std::string mDeferredText VEXO_GUARDED_BY(mStateLock);
    int mDeferredTextState VEXO_GUARDED_BY(mStateLock) = 0;  // 9 once a text has been sent
    std::string mBuffSched VEXO_GUARDED_BY(mStateLock);
    std::string mFilterResources VEXO_GUARDED_BY(mStateLock);
    CodecPlayState mState VEXO_GUARDED_BY(mStateLock);
};

}  // namespace vexo
