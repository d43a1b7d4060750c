#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "interface/export.h"

namespace oriplayer {

/// Properties of the whole process, for setProperty. They apply to players that are prepared afterwards. A switch is on
/// with "1"; an empty or null text restores the default.
enum EngineProperty : int {
    kPropertyUntimed = 9001,         ///< "1": as fast as decoding goes, no sound, no picture dropped
    kPropertySoundOff = 9002,        ///< "1": sound is neither decoded nor played
    kPropertyPictureOff = 9003,      ///< "1": pictures are neither decoded nor shown
    kPropertyAudioTrack = 9004,      ///< number among a source's audio streams from 0, or a language tag such as "deu"
    kPropertyCaFile = 9005,          ///< PEM file of certificate authorities to trust; default: the system's
    kPropertyDecoderThreads = 9006,  ///< threads of a video decoder; default: chosen by codec, picture size and rate
    kPropertyNetworkTimeout = 9007,  ///< milliseconds for opening and for each read; default 8000
    kPropertyPreloadWindow = 9008,   ///< preload tasks kept open behind the one that plays; default 3, "0" turns it off
    kPropertyCores = 9009,           ///< processor cores to assume, 1 or more; default: those of the machine
};

/// Sets a process-wide property. 0, or -1 for a number the engine does not know or a text it cannot read.
/// Thread: any.
ORI_API int setProperty(int number, const char *value);

/// Requests that a URL is opened and up to `kib` KiB of it are read ahead. Thread: any. 0, or -1 for a null or empty
/// url.
ORI_API int addPreloadTask(const char *url, int64_t kib);

/// Requests the preload as above and calls `callback(context, result, 0, 0, url)` once on an engine thread, with the
/// result 0 if it is done or -1 if it failed.
using PreloadCallback = void (*)(void *context, int result, int reserved1, int reserved2, const char *url);
ORI_API int addPreloadTask(const char *url, const char *cacheId, PreloadCallback callback, void *context);

/// Writes one figure of an existing player to `out`, whose type depends on the key (docs/engine.md). Returns 0, or -1
/// for an unknown player, an unknown key or a null `out`; then nothing is written.
ORI_API int getInfoByPlayerId(int playerId, int key, void *out);

/// The engine's download statistics. This project reads two fields; the others are zero.
struct cache_static_t {
    uint8_t opaque0[1200];
    double downloadSpeed;  ///< bytes per second
    uint8_t opaque1[772];
    int32_t downloadStatus;  ///< 1 while downloading, else 0
    uint8_t opaque2[344];
};
static_assert(sizeof(cache_static_t) == 2328);
static_assert(offsetof(cache_static_t, downloadSpeed) == 1200);
static_assert(offsetof(cache_static_t, downloadStatus) == 1980);

/// Returns 0, or -1 for an unknown player or a null `out`; then nothing is written.
ORI_API int getDownloadStatisticInfo(int playerId, cache_static_t *out);

/// The function that the engine calls after a change of network, on a thread of its own, to get the domains to use:
/// (player id, buffer, its usable size, network state, URL, reserved) -> 0 if it has filled the buffer.
using NetworkSwitchDomainCB = int (*)(int, char *, int, int &, const char *, const char *);
ORI_API void setNetworkSwitchDomainCB(NetworkSwitchDomainCB callback);

/// What probeUrl may use and how long it may take.
struct ProbeOptions {
    int timeoutMs = 8000;
    const std::atomic<bool> *cancel = nullptr;  ///< if any thread sets it, probeUrl returns within 100 ms
    std::string userAgent;                      ///< empty: the engine's own
    std::vector<std::pair<std::string, std::string>> headers;  ///< request headers of network sources
};

struct ProbedStream {
    enum class Kind { kVideo, kAudio, kOther } kind = Kind::kOther;
    std::string codec;  ///< FFmpeg's short name, e.g. "h264"
    int width = 0;
    int height = 0;
    double frameRate = 0.0;
    int sampleRate = 0;
    int channels = 0;
    std::string language;  ///< as tagged, or empty
};

struct ProbeResult {
    std::string container;   ///< FFmpeg's name of the format, e.g. "matroska,webm"
    int64_t durationMs = 0;  ///< 0 if unknown
    bool live = false;       ///< the end of the source cannot be known
    std::vector<ProbedStream> streams;
    int nativeError = 0;  ///< FFmpeg's error number if probing failed
    std::string error;    ///< what failed, and FFmpeg's text
};

/// Finds the length and the streams of any URL without a player, on the calling thread. Returns 0, or -1 with
/// `nativeError` and `error` set, at most 100 ms after the timeout or the cancel flag.
/// Thread: any, also several at the same time.
ORI_API int probeUrl(const char *url, const ProbeOptions &options, ProbeResult &result);

}  // namespace oriplayer
